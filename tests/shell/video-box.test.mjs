/** In which order the video is placed, cut and hidden, and when it is measured: a page whose frames the test counts. */
import assert from 'node:assert/strict';
import { EventEmitter } from 'node:events';
import { beforeEach, test } from 'node:test';

import { VideoBox } from '../../hosts/shell/page/video-box.js';

let frames;
let place;
let now;
let calls;
let refuse;
let changed;
let resized;
let disconnected;
let queries;
let menu;

/** What listens to a window or a document. */
class Target {
  constructor() {
    this.events = new EventEmitter().setMaxListeners(30);
  }

  addEventListener(type, listener) {
    this.events.on(type, listener);
  }

  removeEventListener(type, listener) {
    this.events.off(type, listener);
  }

  listeners() {
    return this.events.eventNames().length;
  }
}

const box = {
  parentElement: null,
  getBoundingClientRect: () => place,
  contains: () => false,
};

const video = Object.fromEntries(['setGeometry', 'setClipAreas', 'setVisible'].map((name) => [name, async (value) => {
  calls.push([name, value]);
  if (refuse === name) throw new Error('refused');
}]));

const frame = async () => {
  for (const run of frames.splice(0)) run();
  await new Promise((resolve) => { setImmediate(resolve); });
};
const names = () => calls.map(([name]) => name);

beforeEach(() => {
  frames = [];
  calls = [];
  queries = [];
  menu = null;
  refuse = null;
  now = 0;
  disconnected = 0;
  place = { left: 100, top: 50, right: 500, bottom: 350 };
  globalThis.performance = { now: () => now };
  globalThis.window = Object.assign(new Target(), {
    devicePixelRatio: 1,
    matchMedia(text) {
      const query = { text, addListener(listener) { this.listener = listener; }, removeListener() { this.listener = null; } };
      queries.push(query);
      return query;
    },
  });
  globalThis.document = Object.assign(new Target(), {
    documentElement: { clientWidth: 1000, clientHeight: 800 },
    body: { querySelectorAll: () => (menu ? [menu] : []) },
    elementsFromPoint: () => [],
  });
  globalThis.getComputedStyle = () => ({ position: 'static', visibility: 'visible', opacity: '1', borderTopLeftRadius: '0px' });
  globalThis.requestAnimationFrame = (run) => frames.push(run);
  globalThis.cancelAnimationFrame = (number) => { frames[number - 1] = () => {}; };
  globalThis.ResizeObserver = class {
    constructor(listener) { resized = listener; }

    observe() {}

    disconnect() { disconnected += 1; }
  };
  globalThis.MutationObserver = class {
    constructor(listener) { changed = listener; }

    observe() {}

    disconnect() { disconnected += 1; }
  };
});

test('the video is placed first and cut afterwards, at every change of its place', async () => {
  const follower = new VideoBox(box, video);
  await frame();
  assert.deepEqual(calls, [['setGeometry', { x: 100, y: 50, width: 400, height: 300 }], ['setClipAreas', []]]);
  place = { ...place, right: 600 };
  resized();
  await frame();
  assert.deepEqual(names(), ['setGeometry', 'setClipAreas', 'setGeometry', 'setClipAreas']);
  follower.release();
});

test('nothing is asked for where nothing has changed, and once a frame is measured however much happens', async () => {
  const follower = new VideoBox(box, video);
  await frame();
  for (let i = 0; i < 5; i++) resized();
  document.events.emit('scroll');
  assert.equal(frames.length, 1);
  await frame();
  assert.equal(calls.length, 2);
  follower.release();
});

for (const [what, happen] of [
  ['scrolls', () => document.events.emit('scroll')],
  ['gets another size', () => window.events.emit('resize')],
  ['is changed', () => changed()],
  ['shows something by its style sheet alone', () => document.events.emit('pointerover')],
  ['ends a transition', () => document.events.emit('transitionend')],
  ['comes to a screen of another scale', () => queries[0].listener()],
]) {
  test(`the video follows a page that ${what}`, async () => {
    const follower = new VideoBox(box, video);
    await frame();
    place = { ...place, top: 60 };
    happen();
    await frame();
    assert.equal(calls[2][1].y, 60);
    follower.release();
  });
}

test('a menu that comes is a hole, and none when it has gone', async () => {
  const follower = new VideoBox(box, video);
  await frame();
  menu = {
    parentElement: null,
    getAttribute: () => '',
    hasAttribute: () => true,
    getBoundingClientRect: () => ({ left: 450, top: 300, right: 550, bottom: 400 }),
  };
  changed();
  await frame();
  assert.deepEqual(calls[3], ['setClipAreas', [{ x: 350, y: 250, width: 100, height: 100, radius: 0 }]]);
  menu = null;
  changed();
  await frame();
  assert.deepEqual(calls[5], ['setClipAreas', []]);
  follower.release();
});

test('where the page begins is asked again when the window has got its size, and only then', async () => {
  const timers = [];
  const { setTimeout: set, clearTimeout: clear } = globalThis;
  globalThis.setTimeout = (run) => timers.push(run);
  globalThis.clearTimeout = (number) => { timers[number - 1] = () => {}; };
  let top = 23;
  const follower = new VideoBox(box, video, { origin: () => ({ x: 0, y: top }) });
  await frame();
  assert.equal(calls[0][1].y, 73);
  top = 0;
  window.events.emit('resize');
  window.events.emit('resize');
  await frame();
  assert.equal(calls.length, 2, 'not before the window rests');
  for (const run of timers) run();
  await frame();
  assert.equal(calls[2][1].y, 50);
  window.events.emit('resize');
  follower.release();
  const before = timers.map(String);
  assert.equal(before[before.length - 1], '() => {}', 'nothing is asked after the end');
  Object.assign(globalThis, { setTimeout: set, clearTimeout: clear });
});

test('every scale is watched in its turn', async () => {
  const follower = new VideoBox(box, video);
  await frame();
  window.devicePixelRatio = 1.5;
  queries[0].listener();
  await frame();
  assert.equal(queries[1].text, '(resolution: 1.5dppx)');
  assert.equal(queries[0].listener, null);
  assert.equal(calls[2][1].width, 600);
  follower.release();
});

test('a video of which nothing is seen is hidden, and placed before it is shown again', async () => {
  const follower = new VideoBox(box, video);
  await frame();
  place = { left: 100, top: -400, right: 500, bottom: -100 };
  document.events.emit('scroll');
  await frame();
  assert.deepEqual(calls[2], ['setVisible', false]);
  place = { left: 100, top: 0, right: 500, bottom: 300 };
  document.events.emit('scroll');
  await frame();
  assert.deepEqual(names().slice(3), ['setGeometry', 'setClipAreas', 'setVisible']);
  assert.deepEqual(calls[5], ['setVisible', true]);
  follower.release();
});

test('what moves by itself is measured in each frame, and not for ever', async () => {
  const follower = new VideoBox(box, video);
  await frame();
  document.events.emit('animationstart');
  for (let i = 1; i <= 3; i++) {
    place = { ...place, top: 50 + i };
    await frame();
    assert.equal(calls[2 * i][1].y, 50 + i);
    assert.equal(frames.length, 1);
  }
  now = 3000;
  await frame();
  assert.equal(frames.length, 0);
  follower.release();
});

test('a call that is refused is told, and made again at the next occasion', async () => {
  const failures = [];
  refuse = 'setGeometry';
  const follower = new VideoBox(box, video, { failed: (error) => failures.push(error.message) });
  await frame();
  assert.deepEqual(failures, ['refused']);
  refuse = null;
  resized();
  await frame();
  assert.deepEqual(names(), ['setGeometry', 'setGeometry', 'setClipAreas']);
  follower.release();
});

test('a follower that is released hears and does nothing any more', async () => {
  const follower = new VideoBox(box, video);
  await frame();
  place = { ...place, top: 60 };
  resized();
  follower.release();
  await frame();
  resized();
  assert.equal(frames.length, 0);
  assert.equal(calls.length, 2);
  assert.equal(document.listeners() + window.listeners(), 0);
  assert.equal(disconnected, 2);
  assert.equal(queries[0].listener, null);
});

test('a follower that is released while nothing is to be measured measures nothing any more', async () => {
  const follower = new VideoBox(box, video);
  await frame();
  follower.release();
  resized();
  follower.follow();
  assert.equal(frames.length, 0);
});
