'use strict';
// The add-on, loaded once in each JavaScript environment, and whom it tells what happens.

const { EventEmitter } = require('events');
const path = require('path');
const { isMainThread } = require('worker_threads');
const { PelloraError, direct } = require('./errors.js');

const CAMERA_STATES = ['', 'starting', 'playing', 'lost', 'failed', 'stopped'];
const DEFAULT_LIBRARY = path.join(__dirname, '..', 'pellora', 'Pellora.dll');

let binding = null;
const cameras = new EventEmitter();

function dispatch(target, kind, ...values) {
    if (kind === 'camera') {
        const [login, channel, stream, state, error, reason] = values;
        const news = { login, channel, stream, state: CAMERA_STATES[state], error, reason };
        if (target === null) {
            cameras.emit('camera', news);
        } else {
            target._onCamera(news);
        }
    } else if (kind === 'lost') {
        if (target !== null) {
            target.emit('lost', values[0]);
        }
    } else if (target !== null) {
        target[`_on_${kind}`](...values);
    }
}

/** Loads Pellora.dll; without it the first use does, from the folder pellora of this package. */
function load(options = {}) {
    if (binding !== null) {
        return;
    }
    const addOn = require(options.addOn || path.join(__dirname, '..', 'pellora.node'));
    if (typeof addOn.start !== 'function') {
        throw new PelloraError('load', 'this process has no Node-API of version 5 or later');
    }
    direct(() => addOn.start(path.resolve(options.library || DEFAULT_LIBRARY), dispatch, isMainThread));
    binding = addOn;
    // Node.js does not tell add-ons when process.exit() or an exception ends it.
    process.once('exit', () => addOn.end());
}

function loaded() {
    load();
    return binding;
}

/** The window of an NW.js page by its title; null where there is none (yet). */
function findWindow(title) {
    return direct(() => loaded().findWindow(String(title)));
}

/** What the children of a window are placed in, in device pixels; null where there is no such window. */
function clientSize(host) {
    const size = direct(() => loaded().clientSize(host));
    return size && { width: size[0], height: size[1] };
}

module.exports = { cameras, clientSize, findWindow, load, loaded };
