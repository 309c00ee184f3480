'use strict';
// Around the blocks of the guide: a host window for them to use, clips in the place of addresses and files, and as much of a page
// and of Electron as the blocks name.
const hosts = require(process.env.PELLORA_NODE_HOSTS);
const media = process.env.PELLORA_TEST_MEDIA;
const pellora = require('pellora');
const Module = require('module');

// Behind the package's own listener, which closes the windows.
pellora.load();
process.once('exit', () => hosts.rest());

const host = hosts.create(1, 640, 480);
const handle = Buffer.from(new BigUint64Array([BigInt(host)]).buffer);
const win = { getNativeWindowHandle: () => handle };
const clip = `${media}\\h264.mp4`;
const playFile = pellora.VideoWindow.prototype.playFile;
pellora.VideoWindow.prototype.playFile = function play(file, options) {
    return playFile.call(this, file === 'C:\\clips\\gate.mp4' ? clip : file, options);
};
const Camera = pellora.Camera;
pellora.Camera = class extends Camera {
    constructor(address, credentials) {
        super(address.includes('192.0.2.7') ? `file:///${clip.replace(/\\/g, '/')}` : address, credentials);
    }
};

// The page: its title is that of its window, a moment later.
const window = Object.assign(new EventTarget(), { devicePixelRatio: 1.25 });
const element = { getBoundingClientRect: () => ({ x: 16, y: 8, width: 320, height: 240 }) };
const document = { title: 'Wall', querySelector: (name) => (name === '#video' ? element : null) };
const findWindow = pellora.findWindow;
let asked = 0;
pellora.findWindow = (title) => {
    asked += 1;
    return title === `Wall ${process.pid}` && asked > 2 ? findWindow(`Host ${host}`) : null;
};
const observed = [];
global.ResizeObserver = class {
    constructor(listener) {
        this.listener = listener;
    }

    observe(target) {
        observed.push(target);
        this.listener();
    }
};

// Electron: one process here, and no page.
const handlers = new Map();
const answers = [];
const electron = {
    app: { whenReady: async () => undefined },
    BrowserWindow: class extends require('events').EventEmitter {
        constructor(options) {
            super();
            if (!options.webPreferences.preload.endsWith('preload.js')) {
                throw new Error('no preload');
            }
        }

        getNativeWindowHandle() {
            return handle;
        }

        async loadFile(file) {
            this.file = file;
        }
    },
    ipcMain: { handle: (name, handler) => handlers.set(name, handler) },
    ipcRenderer: { invoke: (name, ...values) => answers.push(handlers.get(name)({}, ...values)) },
};
const load = Module._load;
Module._load = (name, ...rest) => (name === 'electron' ? electron : load(name, ...rest));

(async () => {
BLOCKS
    await Promise.all(answers);
    if (handlers.size !== answers.length || observed.some((target) => target !== element)) {
        throw new Error('the page has not told its place');
    }
    console.log('the guide has run');
    process.exit(0);
})().catch((error) => {
    console.log(error);
    process.exit(3);
});
