/** Rules as text beside the video. */
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { TYPES, differInPlaceAlone, parseRule, ruleText } from '../../hosts/shell/page/rule-text.js';

const point = (x, y) => ({ x, y });
const SHAPES = {
  point: point(0, 1000),
  line: { from: point(1, 2), to: point(3, 4) },
  rect: { left: 100, top: 200, right: 300, bottom: 400 },
  polygon: { points: [point(1, 1), point(500, 1), point(250, 900)] },
  text: { text: 'Gate', anchor: 'topRight', x: 5, y: 6 },
};

test('a rule of every type comes back from its text as it was', () => {
  assert.equal(Object.keys(TYPES).length, 10);
  for (const [type, { family, caption }] of Object.entries(TYPES)) {
    const rule = { type, colour: '#ffd23f', ...(caption ? { caption: 'Gate "1" – ä' } : {}), shape: SHAPES[family] };
    assert.deepEqual(parseRule(ruleText(rule)), rule, type);
  }
});

const good = { type: 'line', colour: '#ffffff', shape: SHAPES.line };
for (const [what, text, words] of [
  ['no JSON', '{', /no JSON/],
  ['nothing', 'null', /"type" is one of/],
  ['a type that there is not', JSON.stringify({ ...good, type: 'circle' }), /"type" is one of point, line/],
  ['a type by a name that all objects have', JSON.stringify({ ...good, type: 'constructor' }), /"type" is one of/],
  ['a colour by name', JSON.stringify({ ...good, colour: 'red' }), /"colour"/],
  ['a rule without a shape', JSON.stringify({ ...good, shape: undefined }), /"shape" is/],
  ['a shape of another family', JSON.stringify({ ...good, shape: SHAPES.rect }), /"from"/],
  ['two points of a polygon', JSON.stringify({ ...good, type: 'polygon', shape: { points: [point(0, 0), point(1, 1)] } }), /3 to 10/],
  ['eleven points of a polygon', JSON.stringify({ ...good, type: 'polygon', shape: { points: Array(11).fill(point(0, 0)) } }), /3 to 10/],
  ['a point outside of the picture', JSON.stringify({ ...good, shape: { from: point(0, 0), to: point(1001, 0) } }), /0 to 1000/],
  ['half a thousandth', JSON.stringify({ ...good, shape: { from: point(0.5, 0), to: point(1, 0) } }), /0 to 1000/],
  ['a point that is null', JSON.stringify({ ...good, shape: { from: null, to: point(1, 0) } }), /"from"/],
  ['a text without its text', JSON.stringify({ ...good, type: 'text', shape: point(1, 1) }), /"text"/],
  ['a caption that is a number', JSON.stringify({ ...good, type: 'captionedLine', caption: 5 }), /"caption"/],
]) {
  test(`${what} is refused in words`, () => assert.throws(() => parseRule(text), words));
}

test('another place is told apart from another look', () => {
  assert.ok(differInPlaceAlone(good, { ...good, shape: SHAPES.rect, caption: '' }));
  for (const other of [{ type: 'arrowLine' }, { colour: '#fffffe' }, { caption: 'x' }]) {
    assert.ok(!differInPlaceAlone(good, { ...good, ...other }));
  }
});
