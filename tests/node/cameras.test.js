'use strict';
// Starts of cameras that fail, hang or are clicked on, with the library and its threads.

const assert = require('assert');
const net = require('net');
const test = require('node:test');
const { pellora, hosts, media, until, next, newHost } = require('./bed.js');

const { VideoWindow, Camera, PelloraError } = pellora;

/** A camera that takes connections, and ends them at once or says nothing. */
async function badCamera(ends) {
    const sockets = [];
    const server = net.createServer((socket) => {
        sockets.push(socket.on('error', () => undefined));
        if (ends) {
            socket.destroy();
        }
    });
    await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
    return {
        address: `rtsp://127.0.0.1:${server.address().port}/ch{channel}`,
        connected: () => until(() => sockets.length > 0, 'a connection'),
        end: () => {
            sockets.forEach((socket) => socket.destroy());
            server.close();
        },
    };
}

test('tells the reason of each of a hundred failing starts, never that there is none', async (context) => {
    const video = await VideoWindow.open({ host: newHost(), panes: 9 });
    const bad = await badCamera(true);
    context.after(bad.end);
    const camera = new Camera(bad.address);
    for (let round = 0; round < 12; ++round) {
        const outcomes = await video.previewAll(Array.from({ length: 9 }, (_, i) => ({ camera, channel: i + 1 })));
        for (const { status, reason } of outcomes) {
            assert.strictEqual(status, 'rejected');
            assert.ok(reason instanceof PelloraError);
            assert.match(reason.message, /^SELVIK_DCM_StartPreview: (?!refused)\w.*/);
        }
        await video.stopAllPreviews();
    }
    await video.close();
    await camera.logout();
});

test('takes a click on a camera that starts for no outcome', async (context) => {
    const host = newHost();
    const video = await VideoWindow.open({ host });
    const silent = await badCamera(false);
    context.after(silent.end);
    const camera = new Camera(silent.address);
    let outcome = 'none';
    const started = video.preview(camera).then(() => {
        outcome = 'begun';
    }, (error) => {
        outcome = error.function;
    });
    await silent.connected();
    for (let i = 0; i < 5; ++i) {
        const clicked = next(video, 'status');
        hosts.click(host, 300, 200);
        assert.deepStrictEqual(await clicked, { pane: 0, playing: false, login: camera.login, channel: 1, clicked: true });
        assert.strictEqual(outcome, 'none');
    }
    silent.end();
    await started;
    assert.strictEqual(outcome, 'SELVIK_DCM_StartPreview');
    await video.close();
    await camera.logout();
});

test('fails a start with a log-in that is none', async () => {
    const video = await VideoWindow.open({ host: newHost() });
    await assert.rejects(video.preview(4711), (error) => error instanceof PelloraError);
    await video.close();
});

test('fails a start of a file that is none', async () => {
    const video = await VideoWindow.open({ host: newHost() });
    const camera = new Camera(`file:///${media('nowhere.mp4').replace(/\\/g, '/')}`);
    await assert.rejects(video.preview(camera), (error) => error instanceof PelloraError);
    await video.close();
    await camera.logout();
});
