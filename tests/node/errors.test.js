'use strict';
// Every function of a video window refuses: what nothing plays in, a window that is closed, a host that has gone.

const assert = require('assert');
const test = require('node:test');
const { pellora, hosts, media, until, newHost, playing, TELL } = require('./bed.js');

const { VideoWindow, PelloraError } = pellora;

const LINE = { from: { x: 1, y: 1 }, to: { x: 2, y: 2 } };
// Arguments with which each function goes well where something plays.
const ALL = {
    setGeometry: [{ x: 0, y: 0, width: 100, height: 100 }],
    setVisible: [true],
    setClipAreas: [[]],
    split: [4],
    enterFullScreen: [],
    leaveFullScreen: [],
    selectPane: [0],
    preview: [0],
    previewAll: [[{ camera: 0 }]],
    stopPreview: [{ pane: 0 }],
    stopAllPreviews: [],
    showAnalysis: [true],
    playFile: [media('h264.mp4')],
    stopFile: [{ pane: 0 }],
    play: [{ pane: 0 }],
    pause: [{ pane: 0 }],
    resume: [{ pane: 0 }],
    faster: [{ pane: 0 }],
    slower: [{ pane: 0 }],
    nextPicture: [{ pane: 0 }],
    previousPicture: [{ pane: 0 }],
    seek: [1, { pane: 0 }],
    position: [{ pane: 0 }],
    duration: [{ pane: 0 }],
    fileDuration: [media('h264.mp4')],
    recordingTimes: [{ pane: 0 }],
    recordingTime: [{ pane: 0 }],
    pictureSize: [{ pane: 0 }],
    capture: [{ pane: 0 }],
    setDisplayRegion: [null, { pane: 0 }],
    openSound: [{ pane: 0 }],
    closeSound: [{ pane: 0 }],
    setVolume: [1, { pane: 0 }],
    volume: [{ pane: 0 }],
    setOrigin: ['topLeft', { pane: 0 }],
    openOverlay: [{ pane: 0 }],
    closeOverlay: [{ pane: 0 }],
    createRule: [{ type: 'line' }],
    setRule: [0, LINE],
    getRule: [0],
    destroyRule: [0],
    clearRules: [],
    setArrows: [0, 'a'],
};
// What the library bears where nothing plays, or answers with nothing.
const BORNE = ['setGeometry', 'setVisible', 'setClipAreas', 'split', 'enterFullScreen', 'leaveFullScreen', 'selectPane',
    'stopPreview', 'stopAllPreviews', 'showAnalysis', 'playFile', 'stopFile', 'position', 'duration', 'fileDuration', 'recordingTimes',
    'recordingTime', 'volume', 'setOrigin', 'createRule', 'clearRules'];
// Begin something, or need a rule that is there.
const APART = ['preview', 'previewAll', 'playFile', 'createRule', 'setRule', 'getRule', 'destroyRule', 'setArrows'];

function isRefusal(error, pattern) {
    assert.ok(error instanceof PelloraError, String(error && error.stack));
    assert.strictEqual(error.code, 'ERR_PELLORA');
    assert.match(error.function, /^(PELLORA_\w+|VideoWindow)$/);
    assert.match(error.reason, pattern);
    return true;
}

test('knows every function', () => {
    const own = Object.getOwnPropertyNames(VideoWindow.prototype)
        .filter((name) => !name.startsWith('_') && !['constructor', 'isOpen', 'close'].includes(name));
    assert.deepStrictEqual(Object.keys(ALL).sort(), own.sort());
});

test('refuses what needs a picture where nothing plays, with the reason', async () => {
    const video = await VideoWindow.open({ host: newHost() });
    const refused = [];
    for (const [name, values] of Object.entries(ALL).filter(([each]) => !APART.includes(each))) {
        await video[name](...values).then(() => undefined, (error) => {
            isRefusal(error, /nothing plays in pane 0 of window \d|no sound|not open|has no/);
            refused.push(name);
        });
    }
    assert.deepStrictEqual(refused.sort(), Object.keys(ALL).filter((name) => !APART.includes(name) && !BORNE.includes(name)).sort());
    await video.close();
});

test('refuses everything once the window is closed', async () => {
    const video = await VideoWindow.open({ host: newHost() });
    await video.createRule({ type: 'line' });
    await video.close();
    for (const [name, values] of Object.entries(ALL)) {
        await assert.rejects(async () => video[name](...values), (error) => isRefusal(error, /the video window is closed/), name);
    }
});

test('refuses everything once the host window has gone', async () => {
    const host = newHost();
    const video = await VideoWindow.open({ host });
    await video.createRule({ type: 'line' });
    hosts.tell(host, TELL.destroy, 0);
    await until(() => video.split(4).then(() => false, () => true), 'the host is gone');
    for (const [name, values] of Object.entries(ALL)) {
        await assert.rejects(async () => video[name](...values), (error) => isRefusal(error, /the host window was destroyed/), name);
    }
    await video.close();
});

test('takes every function in any order without waiting for the one before', async () => {
    const video = await VideoWindow.open({ host: newHost(), panes: 4 });
    await playing(video, 'h264.mp4', { pane: 0, loop: true, overlay: true });
    await video.createRule({ type: 'line' });
    const order = [];
    const calls = Object.entries(ALL).filter(([name]) => !['preview', 'previewAll'].includes(name))
        .map(([name, values]) => video[name](...values).then(() => order.push(name), (error) => {
            isRefusal(error, /./);
            order.push(name);
        }));
    await Promise.all(calls);
    assert.strictEqual(order.length, calls.length);
    await video.close();
});

test('refuses calls beyond those that may wait, and answers all the others', async () => {
    const MOST = 65536;
    const host = newHost();
    const video = await VideoWindow.open({ host });
    hosts.tell(host, TELL.hold, 0);
    let answered = 0;
    const reasons = new Map();
    const calls = Array.from({ length: MOST + 100 }, () => video.position().then(() => ++answered, ({ reason }) =>
        reasons.set(reason, (reasons.get(reason) || 0) + 1)));
    hosts.release();
    await Promise.all(calls);
    // Some may have been taken before the thread was held.
    assert.ok(answered >= MOST, String(answered));
    assert.deepStrictEqual([...reasons], [['too many calls wait for the thread of the host window', MOST + 100 - answered]]);
    await video.close();
});
