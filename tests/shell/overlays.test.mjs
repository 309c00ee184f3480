/** What lies over the video, in a page of a few boxes whose places and order the test says. */
import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import { Overlays, visiblePart } from '../../hosts/shell/page/overlays.js';

const rect = (left, top, right, bottom) => ({ left, top, right, bottom });
/** From the topmost to the lowest. */
let stack;
let all;

class Box {
  constructor(name, place, parent, style = {}, marks = {}) {
    Object.assign(this, { name, place, parentElement: parent, marks, clientLeft: 0, clientTop: 0 });
    this.style = { position: 'static', visibility: 'visible', opacity: '1', overflowX: 'visible', overflowY: 'visible', borderTopLeftRadius: '0px', ...style };
    all.push(this);
  }

  get clientWidth() { return this.place.right - this.place.left - (this.scrollBar || 0); }

  get clientHeight() { return this.place.bottom - this.place.top; }

  getBoundingClientRect() { return this.style.display === 'none' ? rect(0, 0, 0, 0) : this.place; }

  getAttribute(name) { return name in this.marks ? this.marks[name] : null; }

  hasAttribute(name) { return name in this.marks; }

  contains(other) {
    for (let one = other; one; one = one.parentElement) if (one === this) return true;
    return false;
  }
}

let body;
let stage;
let wall;

beforeEach(() => {
  all = [];
  body = new Box('body', rect(0, 0, 1000, 800), null);
  body.querySelectorAll = () => all.filter((box) => box !== body);
  globalThis.document = {
    body,
    documentElement: { clientWidth: 1000, clientHeight: 800 },
    elementsFromPoint: (x, y) => stack.filter(({ style, place: { left, top, right, bottom } }) =>
      style.pointerEvents !== 'none' && !(style.isRing && x > left + 10 && x < right - 10) && style.display !== 'none' && x >= left && x < right && y >= top && y < bottom),
  };
  globalThis.getComputedStyle = (box) => box.style;
  stage = new Box('stage', rect(200, 50, 900, 750), body);
  wall = new Box('wall', rect(210, 60, 890, 500), stage);
  stack = [wall, stage, body];
});

const MARK = 'data-over-video';

/** A box over the wall, at the page's end. */
function over(name, place, style, marks, parent = body) {
  const box = new Box(name, place, parent, style, marks);
  stack.unshift(box);
  return box;
}

function rectangles() {
  const overlays = new Overlays(wall);
  overlays.refresh();
  return overlays.rectangles(visiblePart(wall)).map(({ left, top, right, bottom, radius }) => [left, top, right, bottom, radius]);
}

test('an element is seen as far as the viewport and what scrolls around it let it', () => {
  assert.deepEqual(visiblePart(wall), rect(210, 60, 890, 500));
  stage.style.overflowY = 'auto';
  stage.scrollBar = 15;
  wall.place = rect(210, -100, 890, 340);
  assert.deepEqual(visiblePart(wall), rect(210, 50, 885, 340));
  stage.style.overflowY = 'visible';
  assert.deepEqual(visiblePart(wall), rect(210, 0, 890, 340));
  wall.place = rect(210, 60, 1200, 900);
  assert.deepEqual(visiblePart(wall), rect(210, 60, 1000, 800));
  wall.place = rect(210, 800, 890, 900);
  assert.equal(visiblePart(wall), null);
});

test('what is fixed is cut by nobody but the viewport', () => {
  Object.assign(stage.style, { overflowY: 'auto', overflowX: 'auto' });
  const panel = over('panel', rect(100, 20, 300, 900), { position: 'fixed' }, {}, stage);
  assert.deepEqual(visiblePart(panel), rect(100, 20, 300, 800));
});

test('a menu over the video is found by itself, with its corners', () => {
  over('menu', rect(800, 40, 950, 200), { position: 'absolute', borderTopLeftRadius: '6px' });
  assert.deepEqual(rectangles(), [[800, 40, 950, 200, 6]]);
});

test('a menu is found where only a corner of it lies over the video', () => {
  over('menu', rect(880, 490, 990, 600), { position: 'absolute' });
  assert.equal(rectangles().length, 1);
});

test('a frame through whose middle the mouse passes is found by its corners', () => {
  over('frame', rect(300, 100, 400, 200), { position: 'absolute', isRing: true });
  assert.deepEqual(rectangles(), [[300, 100, 400, 200, 0]]);
});

test('of a container that lets the mouse pass only what is in it is a hole', () => {
  const toasts = over('toasts', rect(250, 100, 850, 400), { position: 'fixed', pointerEvents: 'none' });
  over('toast', rect(500, 200, 600, 300), { position: 'relative' }, {}, toasts);
  assert.deepEqual(rectangles(), [[500, 200, 600, 300, 0]]);
});

for (const [what, style, marks] of [
  ['is not shown', { position: 'absolute', display: 'none' }],
  ['is not visible', { position: 'absolute', visibility: 'hidden' }],
  ['is wholly transparent', { position: 'absolute', opacity: '0' }],
  ['is in the flow of the page', {}],
  ['only dims the page', { position: 'fixed' }, { [MARK]: 'no' }],
  ['lets the mouse pass and does not say that it covers', { position: 'fixed', pointerEvents: 'none' }],
]) {
  test(`what ${what} is no hole`, () => {
    over('panel', rect(300, 100, 400, 200), style, marks);
    assert.deepEqual(rectangles(), []);
  });
}

test('what lies below or beside the video is no hole', () => {
  stack.push(new Box('below', rect(300, 100, 400, 200), body, { position: 'absolute' }));
  over('beside', rect(0, 100, 200, 200), { position: 'absolute' });
  assert.deepEqual(rectangles(), []);
});

test('a tooltip that lets the mouse pass is a hole because it says so, and only while it is shown', () => {
  const tip = over('tip', rect(300, 480, 400, 510), { position: 'fixed', pointerEvents: 'none' }, { [MARK]: '' });
  assert.deepEqual(rectangles(), [[300, 480, 400, 510, 0]]);
  tip.style.display = 'none';
  assert.deepEqual(rectangles(), []);
});

test('what is inside the element, or around it, is none unless it says so', () => {
  stage.style.position = 'relative';
  // In the middle, where the mouse finds it before the element and all that is around it.
  over('badge', rect(540, 270, 560, 290), { position: 'absolute' }, {}, wall);
  assert.deepEqual(rectangles(), []);
  over('label', rect(400, 100, 440, 120), { position: 'absolute' }, { [MARK]: '' }, wall);
  assert.deepEqual(rectangles(), [[400, 100, 440, 120, 0]]);
});

test('a submenu within its menu is no hole of its own, and one beside it is', () => {
  const menu = over('menu', rect(300, 100, 400, 300), { position: 'absolute' });
  over('inner', rect(310, 110, 390, 140), { position: 'absolute' }, {}, menu);
  over('outer', rect(400, 100, 500, 200), { position: 'absolute' }, {}, menu);
  assert.deepEqual(rectangles(), [[300, 100, 400, 300, 0], [400, 100, 500, 200, 0]]);
});

test('of what scrolls out itself only the rest is a hole, with square corners', () => {
  const list = over('list', rect(300, 100, 400, 300), { position: 'static', overflowY: 'auto', overflowX: 'hidden' });
  over('row', rect(300, 280, 400, 330), { position: 'relative', borderTopLeftRadius: '9px' }, {}, list);
  assert.deepEqual(rectangles(), [[300, 280, 400, 300, 0]]);
});
