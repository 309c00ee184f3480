/**
 * Rules as JSON beside the video: the add-on's plain objects as text, and back with words for what is wrong in it.
 *
 *     { "type": "captionedRect", "colour": "#ffd23f", "caption": "Gate",
 *       "shape": { "left": 100, "top": 200, "right": 400, "bottom": 600 } }
 *
 * Coordinates are thousandths of the picture. A rule that nobody has drawn yet has no shape.
 */

/** Of each type: its name for users, its shape, and whether it bears a caption. */
export const TYPES = {
  point: { name: 'Point', family: 'point' },
  line: { name: 'Line', family: 'line' },
  rect: { name: 'Rectangle', family: 'rect' },
  polygon: { name: 'Polygon', family: 'polygon' },
  text: { name: 'Text', family: 'text' },
  arrowLine: { name: 'Line with arrows', family: 'line' },
  captionedRect: { name: 'Rectangle with text', family: 'rect', caption: true },
  captionedPolygon: { name: 'Polygon with text', family: 'polygon', caption: true },
  captionedLine: { name: 'Line with text', family: 'line', caption: true },
  captionedCross: { name: 'Cross with text', family: 'point', caption: true },
};

const EDGE = 1000;
const FEWEST_POINTS = 3;
const MOST_POINTS = 10;

const isCoordinate = (value) => Number.isInteger(value) && value >= 0 && value <= EDGE;
const isPoint = (point) => Boolean(point) && isCoordinate(point.x) && isCoordinate(point.y);

/** Whether a shape is one of its family, and what to say where it is not. */
const SHAPES = {
  point: [isPoint, '{ "x", "y" }'],
  line: [(shape) => isPoint(shape.from) && isPoint(shape.to), '{ "from": { "x", "y" }, "to": { "x", "y" } }'],
  rect: [({ left, top, right, bottom }) => [left, top, right, bottom].every(isCoordinate), '{ "left", "top", "right", "bottom" }'],
  polygon: [
    ({ points }) => Array.isArray(points) && points.length >= FEWEST_POINTS && points.length <= MOST_POINTS && points.every(isPoint),
    `{ "points": ${FEWEST_POINTS} to ${MOST_POINTS} of { "x", "y" } }`,
  ],
  text: [(shape) => isPoint(shape) && typeof shape.text === 'string', '{ "text", "x", "y" }'],
};

/** Throws an Error with words for whoever wrote the text. */
export function parseRule(text) {
  let rule;
  try {
    rule = JSON.parse(text);
  } catch (error) {
    throw new Error(`This is no JSON: ${error.message}`);
  }
  const type = rule && Object.prototype.hasOwnProperty.call(TYPES, rule.type) ? TYPES[rule.type] : null;
  if (!type) throw new Error(`"type" is one of ${Object.keys(TYPES).join(', ')}.`);
  if (!/^#[0-9a-f]{6}$/i.test(rule.colour)) throw new Error('"colour" is # and six hexadecimal digits.');
  const [isShape, wanted] = SHAPES[type.family];
  if (!rule.shape || !isShape(rule.shape)) throw new Error(`"shape" is ${wanted}, each from 0 to ${EDGE}.`);
  if (rule.caption !== undefined && typeof rule.caption !== 'string') throw new Error('"caption" is a text.');
  return {
    type: rule.type,
    colour: rule.colour.toLowerCase(),
    ...(type.caption ? { caption: rule.caption || '' } : {}),
    shape: rule.shape,
  };
}

export function ruleText(rule) {
  return JSON.stringify(rule, null, 2);
}

/** Whether only the place differs, which the library changes; of another kind it makes another rule. */
export function differInPlaceAlone(a, b) {
  return a.type === b.type && a.colour === b.colour && (a.caption || '') === (b.caption || '');
}
