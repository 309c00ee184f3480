'use strict';
// Starts of cameras that have no outcome yet, by pane.

const { PelloraError } = require('./errors.js');

// The library tells an outcome within seconds; starts wait for each other.
const LONGEST_START = 60000;
// Between an outcome and its reason, which lie some lines of code apart.
const LONGEST_REASON = 5000;

class Starts {
    constructor() {
        this._starts = new Map();
    }

    /** requests: pane, login, channel and stream; begin() asks the library. As of Promise.allSettled. */
    async run(requests, begin) {
        const busy = requests.find(({ pane }) => this._starts.has(pane));
        if (busy !== undefined) {
            throw new PelloraError('PELLORA_PreviewStream', `a start is under way in pane ${busy.pane}`);
        }
        const outcomes = requests.map((request) => this._outcomeOf(request));
        const all = Promise.all(outcomes.map((outcome) => outcome.then(
            (value) => ({ status: 'fulfilled', value }), (reason) => ({ status: 'rejected', reason }))));
        try {
            await begin();
        } catch (error) {
            this.end(requests.map(({ pane }) => pane), error.reason);
            await all;
            throw error;
        }
        return all;
    }

    /** What has no outcome gets none. */
    end(panes, reason) {
        panes.filter((pane) => this._starts.has(pane)).forEach((pane) =>
            this._starts.get(pane).reject(new PelloraError('PELLORA_PreviewStream', reason)));
    }

    endAll(reason) {
        this.end([...this._starts.keys()], reason);
    }

    /** The library has told how a pane is. */
    onStatus(news) {
        const start = this._starts.get(news.pane);
        if (start !== undefined && start.login === news.login && start.channel === news.channel) {
            this._judge(start, news);
        }
    }

    /** The device has told how a camera is. */
    onCamera(news) {
        const meant = ({ login, channel, stream }) => login === news.login && channel === news.channel && stream === news.stream;
        for (const start of [...this._starts.values()].filter(meant)) {
            start.state = news.state;
            start.reason = news.reason;
            if (start.told !== null) {
                this._judge(start, start.told);
            }
        }
    }

    _outcomeOf({ pane, login, channel, stream }) {
        return new Promise((resolve, reject) => {
            let timer;
            // The timer also keeps the process alive until the outcome is there.
            const wait = (time, reason) => {
                clearTimeout(timer);
                timer = setTimeout(() => this.end([pane], reason), time);
            };
            const end = (settle) => (value) => {
                clearTimeout(timer);
                this._starts.delete(pane);
                settle(value);
            };
            this._starts.set(pane, { login, channel, stream, state: '', reason: '', told: null, wait, resolve: end(resolve),
                reject: end(reject) });
            wait(LONGEST_START, 'no outcome came');
        });
    }

    /**
     * What is no click is the outcome; the device's reason comes on another thread, before it or behind. Of what is probably
     * a click no more is believed than the device's state confirms.
     */
    _judge(start, { playing, clicked }) {
        if (playing && (!clicked || start.state === 'playing')) {
            start.resolve();
        } else if (!playing && start.state === 'failed') {
            start.reject(new PelloraError('SELVIK_DCM_StartPreview', start.reason));
        } else if (!playing && !clicked && start.state === 'playing') {
            start.reject(new PelloraError('PELLORA_PreviewStream', 'its stream cannot be played'));
        } else {
            start.told = { playing, clicked };
            if (!clicked) {
                start.wait(LONGEST_REASON, 'refused; the device tells no reason');
            }
        }
    }
}

module.exports = Starts;
