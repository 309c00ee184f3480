'use strict';
// Emitters that a script may forget and still hear of.

const { EventEmitter } = require('events');

const listenedTo = new Set();

/**
 * Like the web's own sources of events, one that lives and has listeners is not collected: a script that waits for an
 * event often refers to nothing else.
 */
class LastingEmitter extends EventEmitter {
    /** Those that live and have listeners. */
    static get listenedTo() {
        return [...listenedTo];
    }

    constructor() {
        super();
        this._lives = false;
    }

    /** Whether there can be events. */
    _setLife(lives) {
        this._lives = lives;
        this._keep();
    }

    _keep() {
        if (this._lives && this.eventNames().length > 0) {
            listenedTo.add(this);
        } else {
            listenedTo.delete(this);
        }
    }
}

// once() goes through these, when it begins and when it is over.
for (const name of ['on', 'addListener', 'prependListener', 'off', 'removeListener', 'removeAllListeners']) {
    LastingEmitter.prototype[name] = function changeListeners(...values) {
        EventEmitter.prototype[name].apply(this, values);
        this._keep();
        return this;
    };
}

module.exports = LastingEmitter;
