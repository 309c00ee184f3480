/** Places and holes of the shell's page, with numbers alone: node --test tests/shell */
import assert from 'node:assert/strict';
import { test } from 'node:test';

import {
  area, contains, fewest, gridFor, hiddenStrips, intersection, nearest, originOf, outwards, placement, samePlacement, toDevice,
} from '../../hosts/shell/page/geometry.js';

const rect = (left, top, right, bottom) => ({ left, top, right, bottom });
const BOX = rect(100, 50, 500, 350);
const VIEWPORT = rect(0, 0, 1000, 800);

test('zoom and scale multiply page pixels, and both edges are rounded by themselves', () => {
  for (const [ratio, expected] of [
    [1, { x: 100, y: 50, width: 400, height: 300 }],
    [1.25, { x: 125, y: 63, width: 500, height: 375 }],
    [1.5, { x: 150, y: 75, width: 600, height: 450 }],
    [2, { x: 200, y: 100, width: 800, height: 600 }],
  ]) {
    const { holes, ...place } = placement(BOX, BOX, [], { ratio });
    assert.deepEqual(place, expected, `ratio ${ratio}`);
    assert.deepEqual(holes, []);
  }
});

test('boxes that touch in the page touch in device pixels at every ratio', () => {
  for (let ratio = 0.5; ratio <= 3; ratio += 0.05) {
    for (let edge = 10; edge < 40; edge += 0.3) {
      const left = placement(rect(0, 0, edge, 9), VIEWPORT, [], { ratio });
      const right = placement(rect(edge, 0, 60, 9), VIEWPORT, [], { ratio });
      assert.equal(left.x + left.width, right.x, `ratio ${ratio}, edge ${edge}`);
    }
  }
});

test('a page that does not begin at the corner of the host window moves the video', () => {
  const place = placement(BOX, BOX, [], { ratio: 1.5, originX: 8, originY: 31 });
  assert.deepEqual([place.x, place.y, place.width, place.height], [158, 106, 600, 450]);
});

test('what two fingers enlarge moves and grows the video', () => {
  const pinch = { scale: 2, offsetLeft: 40, offsetTop: 10 };
  assert.deepEqual(toDevice(BOX, { ratio: 1, pinch }), rect(120, 80, 920, 680));
});

test('what is scrolled out becomes holes, and the video keeps its size', () => {
  const place = placement(BOX, rect(100, 120, 500, 300), [], { ratio: 1 });
  assert.deepEqual([place.x, place.y, place.width, place.height], [100, 50, 400, 300]);
  assert.deepEqual(place.holes.map(({ x, y, width, height }) => [x, y, width, height]),
    [[0, 0, 400, 70], [0, 250, 400, 50]]);
});

test('nothing is placed where nothing can be seen', () => {
  assert.equal(placement(BOX, null, [], { ratio: 1 }), null);
  assert.equal(placement(rect(0, 0, 0, 0), VIEWPORT, [], { ratio: 1 }), null);
  assert.equal(placement(BOX, rect(0, 0, 99, 40), [], { ratio: 1 }), null);
});

test('a menu over the video is a hole in pixels of the video, rounded away from its border', () => {
  const menu = { ...rect(150.4, 60.4, 250.4, 120.4), radius: 6 };
  const [hole] = placement(BOX, BOX, [menu], { ratio: 1.25 }).holes;
  assert.deepEqual(hole, { x: 63, y: 12, width: 125, height: 76, radius: 15 });
});

test('a menu that hangs over an edge keeps its whole shape, so that its corners stay round where they are', () => {
  const [hole] = placement(BOX, BOX, [{ ...rect(450, 20, 550, 100), radius: 4 }], { ratio: 1 }).holes;
  assert.deepEqual(hole, { x: 350, y: -30, width: 100, height: 80, radius: 8 });
});

test('what lies beside the video is no hole', () => {
  assert.deepEqual(placement(BOX, BOX, [rect(500, 50, 600, 350), rect(0, 0, 100, 50)], { ratio: 1 }).holes, []);
});

test('a hole within another one is left out, and of two equal ones one stays', () => {
  const outer = rect(0, 0, 50, 50);
  assert.deepEqual(fewest([rect(10, 10, 20, 20), outer, { ...outer }], VIEWPORT), [outer]);
});

test('five holes become four by joining the two that lose the least of the video', () => {
  const holes = [rect(0, 0, 10, 10), rect(300, 0, 310, 10), rect(0, 300, 10, 310), rect(300, 300, 310, 310),
    rect(12, 0, 22, 10)];
  const left = fewest(holes, VIEWPORT);
  assert.equal(left.length, 4);
  assert.deepEqual(left[0], { ...rect(0, 0, 22, 10), radius: 0 });
  assert.deepEqual(left.slice(1), holes.slice(1, 4));
});

test('however many lie over the video, four holes hold them all', () => {
  let seed = 7;
  const random = (most) => (seed = (seed * 48271) % 2147483647) % most;
  for (let round = 0; round < 300; round++) {
    const overlays = Array.from({ length: 1 + random(12) }, () => {
      const left = random(900);
      const top = random(700);
      return rect(left, top, left + 1 + random(200), top + 1 + random(200));
    });
    const ratio = [1, 1.25, 1.5][random(3)];
    const place = placement(BOX, BOX, overlays, { ratio });
    assert.ok(place.holes.length <= 4);
    const holes = place.holes.map(({ x, y, width, height }) => rect(x, y, x + width, y + height));
    const video = rect(0, 0, place.width, place.height);
    for (const overlay of overlays) {
      const device = toDevice(overlay, { ratio });
      const inVideo = intersection(video, rect(device.left - place.x, device.top - place.y, device.right - place.x,
        device.bottom - place.y));
      assert.ok(!inVideo || holes.some((hole) => contains(hole, inVideo)), JSON.stringify({ overlay, place }));
    }
  }
});

test('holes that do not exceed four stay as they are', () => {
  const four = [rect(0, 0, 10, 10), rect(20, 0, 30, 10), rect(40, 0, 50, 10), rect(60, 0, 70, 10)];
  assert.deepEqual(fewest(four, VIEWPORT), four);
});

test('strips and what is seen make up the whole', () => {
  for (const visible of [rect(120, 60, 400, 300), rect(0, 0, 200, 100), BOX, rect(300, 0, 350, 800)]) {
    const strips = hiddenStrips(BOX, visible);
    const sum = strips.reduce((all, strip) => all + area(strip), 0);
    assert.equal(sum + area(intersection(BOX, visible)), area(BOX));
    for (const strip of strips) assert.equal(intersection(strip, visible), null);
  }
  assert.deepEqual(hiddenStrips(BOX, null), [BOX]);
});

test('rectangles that only touch share nothing', () => {
  assert.equal(intersection(rect(0, 0, 10, 10), rect(10, 0, 20, 10)), null);
  assert.deepEqual(intersection(rect(0, 0, 10, 10), rect(9, 9, 20, 20)), rect(9, 9, 10, 10));
});

test('rounding goes to the nearest for the video and outwards for holes', () => {
  assert.deepEqual(nearest(rect(0.4, 0.6, 9.4, 9.6)), rect(0, 1, 9, 10));
  assert.deepEqual(outwards(rect(0.4, 0.6, 9.4, 9.6)), rect(0, 0, 10, 10));
});

test('the same place twice is told apart from another one', () => {
  const place = () => placement(BOX, BOX, [rect(150, 60, 250, 120)], { ratio: 1 });
  assert.ok(samePlacement(place(), place()));
  assert.ok(samePlacement(null, null));
  assert.ok(!samePlacement(place(), null));
  assert.ok(!samePlacement(undefined, null));
  assert.ok(!samePlacement(place(), placement(BOX, BOX, [rect(150, 60, 251, 120)], { ratio: 1 })));
});

test('a page begins below the caption that the shell paints, also where it is zoomed, and never above its window', () => {
  assert.deepEqual(originOf({ width: 1280, height: 823 }, { height: 800 }), { x: 0, y: 23 });
  assert.deepEqual(originOf({ width: 1280, height: 823 }, { height: (800 / 1.5) * 1.5 }), { x: 0, y: 23 });
  assert.deepEqual(originOf({ width: 1280, height: 800 }, { height: 800 }), { x: 0, y: 0 });
  assert.deepEqual(originOf({ width: 1280, height: 700 }, { height: 800 }), { x: 0, y: 0 });
});

test('the grid is the smallest that shows all', () => {
  assert.deepEqual([0, 1, 2, 4, 5, 9, 12].map(gridFor), [1, 1, 4, 4, 9, 9, 9]);
});
