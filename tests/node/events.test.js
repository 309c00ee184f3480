'use strict';
// What the package makes of what it is told, in every order in which two threads can tell it. Nothing of the library is loaded.

const assert = require('assert');
const path = require('path');
const test = require('node:test');
const addOn = require('./add_on_double.js');

const { load, cameras, Camera, PelloraError, VideoWindow } = require(path.resolve(process.env.PELLORA_PACKAGE));

load({ addOn: require.resolve('./add_on_double.js') });

const STATES = { starting: 1, playing: 2, lost: 3, failed: 4, stopped: 5 };
const LOGIN = 5;
const PANE = 2;

function open() {
    return VideoWindow.open({ host: 1, panes: 9 });
}

/** A camera's state, as a thread of the device library tells it. */
function state(video, name, { login = LOGIN, channel = 1, stream = 0, reason = name === 'failed' ? 'no such host' : '' } = {}) {
    addOn.tell(video, 'camera', login, channel, stream, STATES[name], reason === '' ? 0 : 6, reason);
}

/** What the window's thread tells of a pane. */
function status(video, playing, { login = LOGIN, channel = 1, clicked = 0, pane = PANE } = {}) {
    addOn.tell(video, 'status', pane, playing, login, channel, clicked);
}

/** Lets what was promised go on. */
function turn() {
    return new Promise((resolve) => setImmediate(resolve));
}

const REASON = 'SELVIK_DCM_StartPreview: no such host';
const UNPLAYABLE = 'PELLORA_PreviewStream: its stream cannot be played';
const ORDERS = {
    'the reason before the outcome': [['starting', 'failed', 0], REASON],
    'the reason behind the outcome': [['starting', 0, 'failed'], REASON],
    'an outcome before any state': [[0, 'starting', 'failed'], REASON],
    'a reason without a beginning': [['failed', 0], REASON],
    'the stream before its outcome': [['starting', 'playing', 1], 'begun'],
    'an outcome before the stream': [[1, 'playing'], 'begun'],
    'a stream that cannot be played': [['starting', 'playing', 0], UNPLAYABLE],
    'a stream that cannot be played, told first': [['starting', 0, 'playing'], UNPLAYABLE],
    'a click while it starts': [['starting', 'click 0', 'playing', 1], 'begun'],
    'a click when the stream is there and not shown yet': [['starting', 'playing', 'click 0', 1], 'begun'],
    'a click before a failure': [['starting', 'click 0', 'failed'], REASON],
    'an outcome that is taken for a click': [['starting', 'playing', 'click 1'], 'begun'],
    'an outcome that is taken for a click, told first': [['starting', 'click 1', 'playing'], 'begun'],
    'a click on what played there before': [['click 1', 'starting', 'failed', 0], REASON],
    'a camera that is lost before it is shown': [['starting', 'playing', 'lost', 'playing', 1], 'begun'],
    'the end of the preview before': [['stopped', 'starting', 'playing', 1], 'begun'],
    'an outcome of another camera': [['other 0', 'starting', 'playing', 1], 'begun'],
    'a failure of another camera': [['other failed', 'starting', 'playing', 1], 'begun'],
};

function tell(video, event) {
    const [word, rest] = String(event).split(' ');
    if (word === 'click') {
        status(video, Number(rest), { clicked: 1 });
    } else if (word === 'other') {
        (rest === 'failed' ? state(video, 'failed', { login: 9 }) : status(video, Number(rest), { login: 9 }));
    } else if (word in STATES) {
        state(video, word);
    } else {
        status(video, Number(word));
    }
}

for (const [name, [events, expected]] of Object.entries(ORDERS)) {
    test(`tells the outcome of a start: ${name}`, async () => {
        const video = await open();
        const outcomes = [];
        const started = video.preview(LOGIN, { pane: PANE })
            .then(() => outcomes.push('begun'), (error) => outcomes.push(`${error.function}: ${error.reason}`));
        await turn();
        for (const [i, event] of events.entries()) {
            tell(video, event);
            await turn();
            // Decided by the last event alone, or, once the outcome was told, by it.
            assert.ok(outcomes.length === 0 || i === events.length - 1 || events[i] === 1, `decided by ${event}`);
        }
        await started;
        assert.deepStrictEqual(outcomes, [expected]);
        await video.close();
    });
}

test('does not wait for ever for a reason, nor for an outcome', async (context) => {
    const video = await open();
    context.mock.timers.enable({ apis: ['setTimeout'] });
    const silent = assert.rejects(video.preview(LOGIN, { pane: 0 }), /no outcome came/);
    const unexplained = assert.rejects(video.preview(LOGIN, { pane: 1, channel: 2 }), /the device tells no reason/);
    await turn();
    status(video, 0, { pane: 1, channel: 2 });
    await turn();
    context.mock.timers.tick(5000);
    await unexplained;
    context.mock.timers.tick(55000);
    await silent;
    await video.close();
});

test('ends starts that are stopped, replaced or closed, and refuses a second one in a pane', async () => {
    const video = await open();
    const starts = [0, 1, 2, 3].map((pane) => video.preview(LOGIN, { pane }));
    const ended = Promise.allSettled(starts);
    await assert.rejects(video.preview(LOGIN, { pane: 2 }), /under way in pane 2/);
    await video.stopPreview({ pane: 0 });
    await video.playFile('a.mp4', { pane: 1 });
    const other = await open();
    const last = assert.rejects(other.preview(LOGIN), /closed before/);
    await turn();
    await other.close();
    await last;
    await video.stopAllPreviews();
    assert.deepStrictEqual((await ended).map(({ reason }) => reason.reason),
        ['stopped before its outcome', 'a file took its place', 'stopped before its outcome', 'stopped before its outcome']);
    await video.close();
});

test('tells an outcome for each of several starts', async () => {
    const video = await open();
    const all = video.previewAll([{ camera: LOGIN, channel: 1 }, { camera: LOGIN, channel: 2 }, { camera: LOGIN, channel: 3 }]);
    await turn();
    status(video, 1, { pane: 2, channel: 3 });
    state(video, 'failed', { channel: 2 });
    status(video, 0, { pane: 1, channel: 2 });
    status(video, 1, { pane: 0, channel: 1 });
    assert.deepStrictEqual((await all).map((outcome) => [outcome.status, outcome.reason && outcome.reason.reason]),
        [['fulfilled', undefined], ['rejected', 'no such host'], ['fulfilled', undefined]]);
    await video.close();
});

test('rejects starts that the library refuses, and forgets them', async () => {
    const video = await open();
    addOn.refuse({ function: 'PELLORA_PreviewStream', reason: 'a stop is under way' });
    await assert.rejects(video.preview(LOGIN), (error) => {
        assert.ok(error instanceof PelloraError);
        assert.strictEqual(error.message, 'PELLORA_PreviewStream: a stop is under way');
        return true;
    });
    addOn.refuse(null);
    const again = video.preview(LOGIN);
    await turn();
    status(video, 1, { pane: 0 });
    await again;
    await video.close();
});

test('tells events in their order, with all that they carry', async () => {
    const video = await open();
    const told = [];
    for (const event of ['status', 'camera', 'end', 'rule', 'lost', 'close']) {
        video.on(event, (news) => told.push([event, news]));
    }
    cameras.once('camera', (news) => told.push(['all', news]));
    const line = Buffer.alloc(16);
    [100, 200, 300, 400].forEach((value, i) => line.writeInt32LE(value, 4 * i));
    status(video, 1, { clicked: 1 });
    addOn.tell(video, 'rule', 3, 7, 2, 4, line, 320, 240);
    addOn.tell(video, 'end', 8);
    addOn.tell(null, 'camera', 1, 2, 1, STATES.lost, 6, 'time-out');
    addOn.tell(video, 'camera', 1, 2, 1, STATES.lost, 6, 'time-out');
    addOn.tell(null, 'lost', 12);
    addOn.tell(video, 'lost', 12);
    await video.close();
    const news = { login: 1, channel: 2, stream: 1, state: 'lost', error: 6, reason: 'time-out' };
    assert.deepStrictEqual(told, [
        ['status', { pane: PANE, playing: true, login: LOGIN, channel: 1, clicked: true }],
        ['rule', { pane: 3, rule: 7, type: 'line', state: 'editing', shape: { from: { x: 100, y: 200 }, to: { x: 300, y: 400 } },
            pixels: { from: { x: 32, y: 48 }, to: { x: 96, y: 96 } } }],
        ['end', { pane: 8 }],
        ['all', news],
        ['camera', news],
        ['lost', 12],
        ['close', undefined],
    ]);
});

test('closes a window that could not be made as it was wanted', async () => {
    const before = addOn.calls.length;
    await assert.rejects(VideoWindow.open({ host: 1, panes: 5 }), /the number of panes/);
    assert.strictEqual(addOn.calls.length, before, 'nothing is opened for arguments that make no sense');
    addOn.refuseAfter(1, { function: 'PELLORA_SplitScreen', reason: 'the host window was destroyed' });
    await assert.rejects(VideoWindow.open({ host: 1, panes: 4 }), /destroyed/);
    addOn.refuse(null);
    assert.deepStrictEqual(addOn.calls.slice(before).map((call) => call[0]), ['open', 'call', 'close']);
});

test('knows a camera by its log-in, and a camera that was logged out no longer', async () => {
    const camera = new Camera('rtsp://192.0.2.7/');
    assert.strictEqual(camera.login, LOGIN);
    const video = await open();
    await camera.logout();
    await assert.rejects(video.preview(camera), RangeError);
    await video.close();
});
