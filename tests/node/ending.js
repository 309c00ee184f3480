'use strict';
// Ends with everything running, in the way that the first argument says: nothing may hold the process.

const { pellora, hosts, playing, newHost, TELL } = require('./bed.js');

const { VideoWindow, Camera } = pellora;
const ownThread = process.argv[3] === 'own';
const WAYS = {
    exit: () => process.exit(7),
    throw: () => {
        setImmediate(() => {
            throw new Error('the host has failed');
        });
    },
    // For a window's thread that does nothing any more, the end does not wait for ever.
    stuck: (host) => {
        hosts.tell(host, TELL.hold, 0);
        process.exit(7);
    },
    // Windows and events keep no process alive.
    nothing: () => {
        process.exitCode = 7;
    },
};

(async () => {
    const pump = ownThread ? setInterval(() => hosts.pump(), 5) : undefined;
    const host = ownThread ? hosts.create(0, 640, 480) : newHost();
    const videos = await Promise.all([VideoWindow.open({ host, panes: 9 }), VideoWindow.open({ host, panes: 4 })]);
    await playing(videos[0], 'long.mp4', { loop: true, overlay: true });
    await videos[0].createRule({ type: 'rect', shape: { left: 1, top: 1, right: 500, bottom: 500 } });
    const camera = new Camera(`file:///${process.env.PELLORA_TEST_MEDIA.replace(/\\/g, '/')}/h264.mp4`);
    await videos[1].preview(camera, { pane: 1 });
    const silent = new Camera('rtsp://127.0.0.1:9/');
    const outcome = videos[1].preview(silent, { pane: 3 }).catch(() => undefined);
    if (process.argv[2] === 'nothing') {
        // A start that is waited for is something to do.
        await outcome;
    }
    for (let i = 0; i < 500; ++i) {
        videos[0].setRule(0, { left: i, top: 1, right: 900, bottom: 900 }).catch(() => undefined);
    }
    global.kept = { videos, camera, silent };
    clearInterval(pump);
    console.log('running');
    WAYS[process.argv[2]](host);
})();
