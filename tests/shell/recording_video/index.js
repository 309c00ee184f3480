/**
 * Stands for the add-on in tests of the page alone: notes what the page asks for, and tells it what the test says.
 *
 * In the page: require(process.env.PELLORA_NODE).calls, .tell(type, news), .refuse(name, reason).
 */
'use strict';

const { CALLS } = require('./calls.js');

const { EventEmitter } = require('events');

const calls = [];
const refusals = new Map();
const windows = [];
let logins = 0;

class Camera {
  constructor(address, options) {
    calls.push({ name: 'login', parameters: [address, options] });
    this.login = logins;
    logins += 1;
  }

  async logout() {
    calls.push({ name: 'logout', parameters: [this.login] });
  }
}

class VideoWindow extends EventEmitter {
  static async open({ page, ...options }) {
    calls.push({ name: 'open', parameters: [{ ...options, withPage: Boolean(page) }] });
    const video = new VideoWindow();
    windows.push(video);
    return video;
  }

  constructor() {
    super();
    this.rules = 0;
  }
}

const answers = {
  createRule: (video) => (video.rules += 1) - 1,
  position: () => 7,
  duration: () => 60,
  capture: () => Buffer.from([0xff, 0xd8, 0xff, 0xd9]),
};

for (const name of CALLS) {
  VideoWindow.prototype[name] = async function call(...parameters) {
    // Asked for four times a second, and nothing that a test counts.
    if (name !== 'position' && name !== 'duration') calls.push({ name, parameters });
    if (refusals.has(name)) throw new Error(refusals.get(name));
    return answers[name] ? answers[name](this) : undefined;
  };
}

module.exports = {
  Camera,
  VideoWindow,
  clientSize: () => null,
  findWindow: () => 65538,
  calls,
  tell(type, news) {
    for (const video of windows) video.emit(type, news);
  },
  refuse: (name, reason) => (reason ? refusals.set(name, reason) : refusals.delete(name)),
};
