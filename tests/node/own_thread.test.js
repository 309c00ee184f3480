'use strict';
// Hosts on the script's own thread, as in the main process of a shell: calls are made at once, and nothing waits for itself.

const assert = require('assert');
const test = require('node:test');
const { pellora, hosts, until, playing } = require('./bed.js');

const { VideoWindow, Camera } = pellora;

let pump;
test.before(() => {
    pump = setInterval(() => hosts.pump(), 5);
});
test.after(() => clearInterval(pump));

test('plays, captures and tells on the thread of its host', async () => {
    const host = hosts.create(0, 640, 480);
    const video = await VideoWindow.open({ host, panes: 1 });
    await playing(video, 'h264.mp4', { overlay: true, loop: true });
    assert.strictEqual((await video.capture()).readUInt16BE(0), 0xFFD8);
    const clicked = new Promise((resolve) => video.once('status', resolve));
    hosts.click(host, 300, 200);
    const news = await clicked;
    assert.deepStrictEqual([news.pane, news.clicked], [0, true]);
    await assert.rejects(video.selectPane(3).then(() => video.capture()), /nothing plays in pane 3/);
    await video.close();
    await until(() => hosts.children(host) === 0, 'the end of the window');
});

test('calls from inside a listener, and closes there', async () => {
    const host = hosts.create(0, 640, 480);
    const video = await VideoWindow.open({ host });
    await playing(video, 'h264.mp4');
    let captured = null;
    video.once('end', async () => {
        captured = await video.capture().catch((error) => error);
        await video.close();
    });
    await video.seek(1000);
    await until(() => captured !== null && !video.isOpen, async () => `the end, at ${await video.position()} s`);
    assert.ok(captured.length > 0, String(captured));
    await until(() => hosts.children(host) === 0, 'the end of the window');
});

test('starts cameras on the thread of its host', async () => {
    const host = hosts.create(0, 640, 480);
    const video = await VideoWindow.open({ host, panes: 4 });
    const camera = new Camera(`file:///${process.env.PELLORA_TEST_MEDIA.replace(/\\/g, '/')}/h264.mp4`);
    await video.preview(camera, { pane: 2 });
    await video.close();
    await camera.logout();
});

test('closes a collected window, though not inside the collection', async () => {
    const host = hosts.create(0, 320, 240);
    await (async () => {
        await VideoWindow.open({ host });
        assert.ok(hosts.children(host) > 0);
    })();
    await until(() => {
        global.gc();
        return hosts.children(host) === 0;
    }, 'the collection of the window');
});
