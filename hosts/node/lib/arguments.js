'use strict';
// Arguments: what makes no sense is refused before anything reaches the library.

const CURRENT_PANE = -1;
const PANES = 9;

function lookUp(table, key, what) {
    if (Object.prototype.hasOwnProperty.call(table, key)) {
        return table[key];
    }
    throw new TypeError(`${what} is one of ${Object.keys(table).join(', ')}, not ${key}`);
}

function whole(value, least, most, what) {
    if (!Number.isInteger(value) || value < least || value > most) {
        throw new RangeError(`${what} is a whole number from ${least} to ${most}, not ${value}`);
    }
    return value;
}

function paneOf(options, otherwise = CURRENT_PANE) {
    return options === undefined || options.pane === undefined ? otherwise
        : whole(options.pane, 0, PANES - 1, 'a pane');
}

function handleOf(host) {
    if (Buffer.isBuffer(host) && host.length >= 8) {
        return Number(host.readBigUInt64LE(0));
    }
    const handle = Number(host);
    if (!(handle > 0 && Number.isInteger(handle) && handle <= 0xFFFFFFFF)) {
        throw new TypeError('the host is a window handle: a Buffer of 8 bytes, a bigint or a number');
    }
    return handle;
}

module.exports = { CURRENT_PANE, PANES, lookUp, whole, paneOf, handleOf };
