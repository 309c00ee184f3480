'use strict';
// The package in Node.js, with hosts on another thread than the script's.

const assert = require('assert');
const test = require('node:test');
const { pellora, hosts, media, until, next, newHost, playing, TELL, MOUSE } = require('./bed.js');

const { VideoWindow, Camera, PelloraError } = pellora;

/** A window for one test; nothing of it is left behind. */
function withWindow(name, options, body) {
    test(name, async () => {
        const host = newHost();
        const video = await VideoWindow.open({ host, ...options });
        try {
            await body(video, host);
        } finally {
            await video.close();
            await until(() => hosts.children(host) === 0, 'no window of the video is left');
            hosts.tell(host, TELL.destroy, 0);
        }
    });
}

function refuses(promise, functionName, reason) {
    return assert.rejects(promise, (error) => {
        assert.ok(error instanceof PelloraError, String(error.stack));
        assert.strictEqual(error.code, 'ERR_PELLORA');
        assert.strictEqual(error.function, functionName);
        assert.match(error.reason, reason);
        assert.strictEqual(error.message, `${error.function}: ${error.reason}`);
        return true;
    });
}

function closeTo(actual, expected, difference) {
    assert.ok(Math.abs(actual - expected) <= difference, `${actual} is not ${expected}`);
}

/** The library keeps rules in pixels of the pane: within some thousandths. */
function sameShape(actual, expected) {
    assert.deepStrictEqual(Object.keys(actual).sort(), Object.keys(expected).sort());
    for (const [key, value] of Object.entries(expected)) {
        if (typeof value === 'number') {
            closeTo(actual[key], value, 4);
        } else if (typeof value === 'object') {
            sameShape(actual[key], value);
        } else {
            assert.strictEqual(actual[key], value);
        }
    }
}

function fileAddress(name) {
    return `file:///${media(name).replace(/\\/g, '/')}`;
}

withWindow('takes every command of a window', { panes: 9 }, async (video) => {
    await video.setGeometry({ x: 10, y: 20, width: 300, height: 200 });
    await video.setClipAreas([{ x: 5, y: 5, width: 50, height: 40, radius: 8 }, { x: 100, y: 0, width: 10, height: 10 }]);
    await video.setClipAreas([]);
    for (const panes of [1, 4, 9]) {
        await video.split(panes);
    }
    await video.selectPane(3);
    await video.enterFullScreen();
    await video.leaveFullScreen();
    await video.setVisible(false);
    await video.setVisible(true);
    assert.strictEqual(video.isOpen, true);
});

withWindow('takes every command of a file', {}, async (video) => {
    await playing(video, 'h264.mp4', { loop: true, overlay: true });
    assert.deepStrictEqual(await video.pictureSize(), { width: 320, height: 240 });
    const duration = await video.duration();
    assert.ok(duration > 0);
    assert.strictEqual(await video.fileDuration(media('h264.mp4')), duration);
    await video.pause();
    await video.seek(2);
    await until(async () => await video.position() === 2, 'the second second');
    await video.nextPicture();
    await until(() => video.previousPicture().then(() => true), 'the file is indexed');
    await video.faster();
    await video.slower();
    await video.resume();
    await video.play();
    await video.setDisplayRegion({ left: 0, top: 0, right: 500, bottom: 500 });
    await video.setDisplayRegion(null);
    await video.setVolume(0.5);
    assert.ok(Math.abs(await video.volume() - 0.5) < 0.001);
    await video.closeSound();
    await video.showAnalysis(true);
    const times = await video.recordingTimes();
    assert.ok(times === null || times.start instanceof Date);
    const time = await video.recordingTime();
    assert.ok(time === null || time instanceof Date);
    await video.stopFile();
});

withWindow('captures the picture and parts of it as Buffers', {}, async (video) => {
    await playing(video, 'h264.mp4');
    await video.pause();
    const whole = await video.capture();
    assert.ok(Buffer.isBuffer(whole));
    assert.strictEqual(whole.readUInt16BE(0), 0xFFD8);
    assert.strictEqual(whole.readUInt16BE(whole.length - 2), 0xFFD9);
    const part = await video.capture({ part: { left: 0, top: 0, right: 500, bottom: 500 } });
    const coarse = await video.capture({ quality: 5 });
    assert.ok(part.length < whole.length && coarse.length < whole.length);
    assert.deepStrictEqual(sizeOf(part), [160, 120]);
    assert.deepStrictEqual(sizeOf(coarse), [320, 240]);
});

/** Width and height in a JPEG's frame header. */
function sizeOf(jpeg) {
    for (let at = 2; at < jpeg.length; at += 2 + jpeg.readUInt16BE(at + 2)) {
        if ([0xC0, 0xC1, 0xC2].includes(jpeg[at + 1])) {
            return [jpeg.readUInt16BE(at + 7), jpeg.readUInt16BE(at + 5)];
        }
    }
    return null;
}

withWindow('keeps rules of every type in thousandths and in pixels', {}, async (video) => {
    await playing(video, 'h264.mp4', { overlay: true });
    const shapes = {
        point: { x: 100, y: 200 },
        line: { from: { x: 100, y: 100 }, to: { x: 900, y: 800 } },
        rect: { left: 100, top: 200, right: 300, bottom: 400 },
        polygon: { points: [{ x: 100, y: 100 }, { x: 200, y: 100 }, { x: 200, y: 300 }] },
        text: { text: 'Tor 7 – 門', anchor: 'topLeft', x: 50, y: 60 },
        arrowLine: { from: { x: 200, y: 100 }, to: { x: 700, y: 800 } },
        captionedRect: { left: 10, top: 20, right: 30, bottom: 40 },
        captionedPolygon: { points: [{ x: 1, y: 1 }, { x: 2, y: 1 }, { x: 2, y: 3 }, { x: 1, y: 3 }] },
        captionedLine: { from: { x: 1, y: 2 }, to: { x: 3, y: 4 } },
        captionedCross: { x: 500, y: 500 },
    };
    for (const [type, shape] of Object.entries(shapes)) {
        const rule = await video.createRule({ type, colour: '#00ff80', caption: type.startsWith('captioned') ? 'é' : undefined,
            shape });
        sameShape(await video.getRule(rule), shape);
        if (type === 'arrowLine') {
            await video.setArrows(rule, 'a');
        }
    }
    const rule = await video.createRule({ type: 'rect', limits: ['left', 'top'], unit: 'pixels',
        shape: { left: 32, top: 24, right: 160, bottom: 120 } });
    sameShape(await video.getRule(rule), { left: 100, top: 100, right: 500, bottom: 500 });
    sameShape(await video.getRule(rule, { unit: 'pixels' }), { left: 32, top: 24, right: 160, bottom: 120 });
    await video.setOrigin('bottomLeft');
    await video.setOrigin('topLeft');
    await video.destroyRule(rule);
    await refuses(video.getRule(rule), 'VideoWindow', /no rule/);
    await video.closeOverlay();
    await video.openOverlay();
    await video.clearRules({ pane: 0 });
    await video.clearRules();
});

withWindow('previews cameras and tells outcomes', { panes: 4 }, async (video) => {
    const camera = new Camera(fileAddress('h264.mp4'));
    const status = next(video, 'status');
    await video.preview(camera, { pane: 1 });
    assert.deepStrictEqual(await status, { pane: 1, playing: true, login: camera.login, channel: 1, clicked: false });
    await video.stopPreview({ pane: 1 });
    const both = await video.previewAll([{ camera }, { camera, address: fileAddress('h265.mp4') }]);
    assert.deepStrictEqual(both.map((outcome) => outcome.status), ['fulfilled', 'fulfilled']);
    await video.stopAllPreviews();
    await camera.logout();
    await refuses(video.preview(camera), 'VideoWindow', /./).catch((error) => {
        assert.match(String(error), /a log-in is a whole number/);
    });
});

withWindow('says why a camera does not play', {}, async (video) => {
    const camera = new Camera('rtsp://127.0.0.1:9/ch{channel}', { user: 'u', password: 'p' });
    const failed = new Promise((resolve) => {
        video.on('camera', (news) => news.state === 'failed' && resolve(news));
    });
    await refuses(video.preview(camera), 'SELVIK_DCM_StartPreview', /host|reach/i);
    assert.strictEqual((await failed).login, camera.login);
    await camera.logout();
    await refuses(camera.logout(), 'SELVIK_DCM_Logout', /./);
});

withWindow('refuses with the reason in the log', {}, async (video) => {
    await refuses(video.pause(), 'PELLORA_Pause', /nothing plays in pane 0 of window \d/);
    await refuses(video.faster(), 'PELLORA_Fast', /nothing plays/);
    await refuses(video.setVolume(1), 'PELLORA_SetVolume', /nothing plays/);
    await refuses(video.openOverlay({ pane: 0 }), 'PELLORA_OpenDraw', /nothing plays/);
    await refuses(video.capture(), 'PELLORA_Capture', /nothing plays/);
    await refuses(video.pictureSize(), 'PELLORA_GetPictureSize', /nothing plays/);
    await refuses(video.pictureSize(), 'PELLORA_GetPictureSize', /nothing plays/);
    await refuses(video.playFile('Z:\\nowhere\\clip.mp4'), 'PELLORA_PreviewFile', /Kavun_OpenFile error: 4/);
    for (let i = 0; i < 64; ++i) {
        await video.createRule({ type: 'point' });
    }
    await refuses(video.createRule({ type: 'point' }), 'PELLORA_CreateRule', /the max count is: 64/);
});

withWindow('refuses arguments before they reach the library', {}, async (video) => {
    await assert.rejects(video.split(5), TypeError);
    await assert.rejects(video.selectPane(9), RangeError);
    await assert.rejects(video.setVolume(2), RangeError);
    await assert.rejects(video.seek(-1), RangeError);
    await assert.rejects(video.setClipAreas(Array(5).fill({ x: 0, y: 0, width: 1, height: 1 })), RangeError);
    await assert.rejects(video.createRule({ type: 'circle' }), TypeError);
    await assert.rejects(video.createRule({ type: 'point', colour: 'red' }), TypeError);
    await assert.rejects(video.createRule({ type: 'polygon', points: 11 }), TypeError);
    await assert.rejects(video.createRule({ type: 'point', limits: ['middle'] }), TypeError);
    await assert.rejects(video.createRule({ type: 'line', shape: { from: { x: 1, y: 1 } } }), TypeError);
    await assert.rejects(video.createRule({ type: 'text', shape: { text: 'x'.repeat(1024), x: 0, y: 0 } }), TypeError);
    await assert.rejects(video.setOrigin('middle'), TypeError);
    await assert.rejects(video.preview(0, { stream: 'fourth' }), TypeError);
    await assert.rejects(video.preview(-1), RangeError);
    await assert.rejects(VideoWindow.open({ host: 'window' }), TypeError);
    await assert.rejects(VideoWindow.open({ host: newHost(), embed: 'deep' }), TypeError);
});

test('finds the windows of this process by their titles', () => {
    const [first, second] = [newHost(), newHost()];
    assert.strictEqual(pellora.findWindow(`Host ${second}`), second);
    assert.strictEqual(pellora.findWindow(`Host ${first}`), first);
    assert.strictEqual(pellora.findWindow('Host'), null);
    assert.strictEqual(pellora.findWindow('Größe – 門'), null);
});

test('tells how large the inside of a window is', () => {
    assert.deepStrictEqual(pellora.clientSize(newHost(640, 480)), { width: 640, height: 480 });
    assert.strictEqual(pellora.clientSize(0x12345676), null);
});

test('refuses host windows that are none', async () => {
    await refuses(VideoWindow.open({ host: 0x12345676 }), 'PELLORA_CreateWindow', /no such host window/);
});

test('refuses a host of another thread than the first one', async () => {
    await refuses(VideoWindow.open({ host: hosts.create(2, 100, 100) }), 'PELLORA_CreateWindow', /thread/);
});

test('opens nine windows and refuses a tenth without showing it', async () => {
    const host = newHost();
    const videos = [];
    for (let i = 0; i < 9; ++i) {
        videos.push(await VideoWindow.open({ host: Buffer.from(new BigUint64Array([BigInt(host)]).buffer) }));
    }
    const before = hosts.children(host);
    await refuses(VideoWindow.open({ host: BigInt(host) }), 'PELLORA_CreateWindow', /nine/);
    assert.strictEqual(hosts.children(host), before);
    await Promise.all(videos.map((video) => video.close()));
    await until(() => hosts.children(host) === 0, 'no window is left');
});

withWindow('tells the ends of files with their panes', { panes: 4 }, async (video) => {
    const ends = [];
    video.on('end', ({ pane }) => ends.push(pane));
    for (const pane of [2, 0]) {
        await playing(video, 'h264.mp4', { pane });
        await video.seek(1000, { pane });
        await until(() => ends.includes(pane), `the end of pane ${pane}`);
    }
    assert.deepStrictEqual([...new Set(ends)], [2, 0]);
});

withWindow('is refused once its host window has gone', {}, async (video, host) => {
    hosts.tell(host, TELL.destroy, 0);
    await until(() => video.split(4).then(() => false, () => true), 'the host is gone');
    await refuses(video.split(4), 'PELLORA_SplitScreen', /destroyed/);
});

withWindow('never waits for a host that hangs', {}, async (video, host) => {
    const begin = Date.now();
    hosts.tell(host, TELL.hang, 3000);
    let nAlive = 0;
    const alive = setInterval(() => ++nAlive, 10);
    const call = video.split(4);
    // The script goes on while the other thread is stuck.
    await until(() => nAlive > 20, 'the timers of the script');
    await call;
    clearInterval(alive);
    assert.ok(Date.now() - begin >= 2000, 'the host did hang');
});

withWindow('loses none of three thousand rule updates, and keeps their order', {}, async (video) => {
    await playing(video, 'h264.mp4', { overlay: true });
    const rule = await video.createRule({ type: 'point', shape: { x: 0, y: 0 } });
    const settled = [];
    const begin = Date.now();
    await new Promise((resolve, reject) => {
        let sent = 0;
        const timer = setInterval(() => {
            // A thousand a second, however long a timer of this machine takes.
            while (sent < 3000 && sent <= Date.now() - begin) {
                const i = sent++;
                video.setRule(rule, { x: i % 1000, y: Math.floor(i / 1000) }).then(() => settled.push(i), reject);
            }
            if (sent === 3000) {
                clearInterval(timer);
                resolve();
            }
        }, 5);
    });
    await until(() => settled.length === 3000, 'all updates');
    assert.deepStrictEqual(settled, Array.from({ length: 3000 }, (_, i) => i));
    sameShape(await video.getRule(rule), { x: 999, y: 2 });
});

withWindow('tells every step of a rule that is dragged while the script is busy, in order', {}, async (video, host) => {
    await playing(video, 'h264.mp4', { overlay: true, loop: true });
    const rule = await video.createRule({ type: 'rect', shape: { left: 100, top: 100, right: 300, bottom: 300 } });
    const told = [];
    video.on('rule', (news) => told.push(news));
    // To and fro, by 64 pixels, a tenth of the pane.
    const places = Array.from({ length: 3000 }, (_, i) => Math.abs(64 - (i + 64) % 128));
    const begin = Date.now();
    hosts.mouse(host, MOUSE.down, 1, 128, 96);
    places.forEach((place, i) => {
        if (i % 500 === 250) {
            // What the display's own mouse does meanwhile is nothing to it.
            hosts.jolt(host, 300 + i % 7, 300);
        }
        hosts.mouse(host, MOUSE.move, 1, 128 + place, 96);
    });
    hosts.mouse(host, MOUSE.up, 0, 128 + places[2999], 96);
    const rate = Math.round(3000 / (Date.now() - begin) * 1000);
    assert.strictEqual(told.length, 0, 'nothing came while the script was busy');
    await until(() => told.length >= places.length, () => `${places.length} steps; there are ${told.length}`);
    console.log(`# ${told.length} steps of ${places.length}, at ${rate} a second`);
    assert.strictEqual(told.length, places.length);
    assert.ok(told.every((news) => news.rule === rule && news.state === 'editing' && news.type === 'rect' && news.pane === 0));
    told.forEach(({ shape }, i) => closeTo(shape.left, 100 + places[i] * 1000 / 640, 4));
    const { shape, pixels } = told[told.length - 1];
    closeTo(pixels.left, shape.left * 0.32, 1);
});

withWindow('closes once, and refuses afterwards', {}, async (video) => {
    let closes = 0;
    video.on('close', () => ++closes);
    await video.close();
    await video.close();
    assert.strictEqual(closes, 1);
    await refuses(video.split(1), 'VideoWindow', /closed/);
});

/** A window that no script refers to, whatever its listeners do. */
async function openAndForget(host, prepare) {
    const video = await VideoWindow.open({ host });
    await prepare(video);
    assert.ok(hosts.children(host) > 0);
}

function collected(host) {
    return until(() => {
        global.gc();
        return hosts.children(host) === 0;
    }, 'the collection of the window');
}

async function collectOften() {
    for (let i = 0; i < 20; ++i) {
        global.gc();
        await new Promise((resolve) => setTimeout(resolve, 5));
    }
}

test('closes a window whose owner is collected', async () => {
    const host = newHost();
    await openAndForget(host, async (video) => {
        const split = () => video.split(1);
        video.on('status', split);
        video.off('status', split);
        video.on('end', split);
        video.removeAllListeners();
    });
    await collected(host);
});

test('keeps a window that somebody listens to until nobody does', async () => {
    const host = newHost();
    let ends = 0;
    await openAndForget(host, async (video) => {
        await playing(video, 'h264.mp4');
        video.once('end', () => ++ends);
    });
    await collectOften();
    await until(() => ends === 1, 'the end of the file');
    await collected(host);
});

test('closes a window that is listened to and has lost its host when another one opens', async () => {
    const [gone, host] = [newHost(), newHost()];
    let closes = 0;
    const lost = await VideoWindow.open({ host: gone });
    lost.on('close', () => ++closes);
    hosts.tell(gone, TELL.destroy, 0);
    await until(() => lost.split(1).then(() => false, ({ reason }) => /destroyed/.test(reason)), 'the end of the host');
    assert.strictEqual(closes, 0);
    const video = await VideoWindow.open({ host });
    await until(() => closes === 1, 'the end of the first window');
    await video.close();
});

test('closes with a page that goes', async () => {
    const host = newHost();
    const page = new EventTarget();
    await VideoWindow.open({ host, page });
    page.dispatchEvent(new Event('unload'));
    await until(() => hosts.children(host) === 0, 'the end of the window');
});

test('closes two hundred windows without a rest', async () => {
    const host = newHost();
    for (let i = 0; i < 200; ++i) {
        const video = await VideoWindow.open({ host });
        await video.close();
    }
    await until(() => hosts.children(host) === 0, 'the end of the last window');
});

test('closes the windows of a worker that ends', async () => {
    const { Worker } = require('worker_threads');
    const host = newHost();
    const worker = new Worker(`
        const { pellora } = require(${JSON.stringify(require.resolve('./bed.js'))});
        pellora.VideoWindow.open({ host: ${host} }).then((video) => {
            global.kept = video;
            require('worker_threads').parentPort.postMessage('open');
            setInterval(() => undefined, 1000);
        });`, { eval: true });
    await next(worker, 'message');
    assert.ok(hosts.children(host) > 0);
    await worker.terminate();
    await until(() => hosts.children(host) === 0, 'the end of its window');
});

// The last one: the hosts' thread ends.
test('fails what waits for a thread that ends', async () => {
    const host = newHost();
    const video = await VideoWindow.open({ host });
    hosts.tell(host, TELL.hang, 500);
    hosts.tell(host, TELL.endThread, 0);
    const calls = await Promise.allSettled(Array.from({ length: 100 }, () => video.split(1)));
    const late = await until(() => video.split(1).then(() => false, (error) => error), 'the end of the thread');
    assert.match(late.reason, /thread of the host window has ended|destroyed/);
    assert.strictEqual(calls.length, 100);
    await video.close();
});
