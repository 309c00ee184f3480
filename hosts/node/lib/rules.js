'use strict';
// Rules as plain objects, and the library's records of them: PelloraTypes.h has the layouts.

const { lookUp } = require('./arguments.js');

const WORD = 4;
const RECORD_BYTES = 1040;
const TEXT_BYTES = 1024;
const MOST_POINTS = 10;
const TEXT_POINT = TEXT_BYTES + WORD;

const TYPES = ['point', 'line', 'rect', 'polygon', 'text', 'arrowLine', 'captionedRect', 'captionedPolygon', 'captionedLine',
    'captionedCross'];
const FAMILY_OF = {
    point: 'point', captionedCross: 'point',
    line: 'line', arrowLine: 'line', captionedLine: 'line',
    rect: 'rect', captionedRect: 'rect',
    polygon: 'polygon', captionedPolygon: 'polygon',
    text: 'text',
};
const LIMITS = { left: 1, top: 2, right: 4, bottom: 8 };
const ANCHORS = { topLeft: 1, topRight: 2 };
const DOCKS = { none: 0, left: 1, right: 2 };
const STATES = { 0: 'complete', 2: 'drawing', 4: 'editing' };

function fail(text) {
    throw new TypeError(text);
}

function typeNumber(type) {
    const number = TYPES.indexOf(type) + 1;
    return number > 0 ? number : fail(`the type of a rule is one of ${TYPES.join(', ')}, not ${type}`);
}

function coordinate(value) {
    return Number.isFinite(value) && Math.abs(value) < 2 ** 31 ? Math.round(value)
        : fail(`a coordinate is a number, not ${value}`);
}

/** The corners of a shape, in the order of its record. */
function pointsOf(family, shape) {
    switch (family) {
    case 'point':
    case 'text':
        return [shape];
    case 'line':
        return [shape.from || fail('a line has from and to'), shape.to || fail('a line has from and to')];
    case 'rect':
        return [{ x: shape.left, y: shape.top }, { x: shape.right, y: shape.bottom }];
    default:
        if (!Array.isArray(shape.points) || shape.points.length > MOST_POINTS) {
            fail(`a polygon has points, ${MOST_POINTS} at most`);
        }
        return shape.points;
    }
}

function writeText(record, text) {
    const bytes = Buffer.from(String(text), 'utf8');
    if (bytes.length >= TEXT_BYTES) {
        fail(`a text has ${TEXT_BYTES - 1} bytes of UTF-8 at most`);
    }
    bytes.copy(record);
}

/** The record, and where in it the coordinates are: first byte and number of words. */
function toRecord(type, shape) {
    typeNumber(type);
    const family = FAMILY_OF[type];
    const record = Buffer.alloc(RECORD_BYTES);
    const first = family === 'text' ? TEXT_POINT : 0;
    const points = pointsOf(family, shape);
    points.forEach((point, i) => {
        record.writeInt32LE(coordinate(point.x), first + 2 * i * WORD);
        record.writeInt32LE(coordinate(point.y), first + (2 * i + 1) * WORD);
    });
    if (family === 'polygon') {
        record.writeUInt16LE(points.length, 2 * MOST_POINTS * WORD);
    }
    if (family === 'text') {
        writeText(record, shape.text === undefined ? '' : shape.text);
        record.writeUInt16LE(lookUp(ANCHORS, shape.anchor || 'topLeft', 'an anchor'), TEXT_BYTES);
        record.writeUInt8(lookUp(DOCKS, shape.dock || 'none', 'a dock'), TEXT_POINT + 2 * WORD);
    }
    return { record, first, words: points.length * 2 };
}

/** The shape in a record; width and height turn thousandths into pixels. */
function fromRecord(type, record, width, height) {
    const point = (offset) => {
        const x = record.readInt32LE(offset);
        const y = record.readInt32LE(offset + WORD);
        return width ? { x: Math.round(x * width / 1000), y: Math.round(y * height / 1000) } : { x, y };
    };
    switch (FAMILY_OF[type]) {
    case 'point':
        return point(0);
    case 'line':
        return { from: point(0), to: point(2 * WORD) };
    case 'rect': {
        const [topLeft, bottomRight] = [point(0), point(2 * WORD)];
        return { left: topLeft.x, top: topLeft.y, right: bottomRight.x, bottom: bottomRight.y };
    }
    case 'polygon': {
        const count = Math.min(record.readUInt16LE(2 * MOST_POINTS * WORD), MOST_POINTS);
        return { points: Array.from({ length: count }, (_, i) => point(2 * i * WORD)) };
    }
    default: {
        const end = record.indexOf(0);
        const anchor = record.readUInt16LE(TEXT_BYTES) === ANCHORS.topRight ? 'topRight' : 'topLeft';
        return { text: record.toString('utf8', 0, Math.min(end < 0 ? TEXT_BYTES : end, TEXT_BYTES)), anchor,
            ...point(TEXT_POINT) };
    }
    }
}

/** What PELLORA_CreateRule takes besides the type: null, a caption, or the points of a polygon and its caption. */
function toExtension(type, { points, finishEarly, caption }) {
    const text = caption === undefined ? null : Buffer.from(`${caption}\0`, 'utf8');
    if (FAMILY_OF[type] !== 'polygon') {
        return text;
    }
    if (points === undefined && !finishEarly && text === null) {
        return null;
    }
    const head = Buffer.alloc(3);
    const count = points === undefined ? 4 : points;
    if (!Number.isInteger(count) || count < 1 || count > MOST_POINTS) {
        fail(`a polygon has 1 to ${MOST_POINTS} points, not ${count}`);
    }
    head.writeUInt16LE(count, 0);
    head.writeUInt8(finishEarly ? 1 : 0, 2);
    return Buffer.concat([head, text || Buffer.alloc(1)]);
}

function toColour(colour) {
    const match = /^#([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})$/i.exec(colour);
    return match ? match.slice(1).map((digits) => parseInt(digits, 16)) : fail(`a colour is "#rrggbb", not ${colour}`);
}

function toLimits(edges) {
    return edges.reduce((mask, edge) => mask | lookUp(LIMITS, edge, 'an edge'), 0);
}

module.exports = { TYPES, STATES, typeNumber, toRecord, fromRecord, toExtension, toColour, toLimits };
