'use strict';
// What the tests in JavaScript share. PELLORA_PACKAGE, PELLORA_NODE_HOSTS and PELLORA_TEST_MEDIA name what is tried.

const path = require('path');

const pellora = require(path.resolve(process.env.PELLORA_PACKAGE));
const hosts = require(path.resolve(process.env.PELLORA_NODE_HOSTS));

// Behind the package's own listener, which closes the windows.
function restAtTheEnd() {
    pellora.load();
    process.once('exit', () => hosts.rest());
}

const DEADLINE = 60000;
const TELL = { hang: 1, endThread: 2, destroy: 3, hold: 5 };
const MOUSE = { move: 0x200, down: 0x201, up: 0x202 };

function media(name) {
    return path.join(process.env.PELLORA_TEST_MEDIA, name);
}

/**
 * Waits until the condition, which may be a promise, answers something; a question that fails is asked again. What is
 * waited for are words, or a function that tells them, or a promise of them, when it was in vain.
 */
async function until(condition, what) {
    const deadline = Date.now() + DEADLINE;
    for (;;) {
        const answer = await Promise.resolve().then(condition).catch(() => undefined);
        if (answer) {
            return answer;
        }
        if (Date.now() > deadline) {
            throw new Error(`not reached: ${typeof what === 'function' ? await what() : what}`);
        }
        await new Promise((resolve) => setTimeout(resolve, 10));
    }
}

function next(emitter, event) {
    return new Promise((resolve, reject) => {
        const timer = setTimeout(() => reject(new Error(`no event ${event}`)), DEADLINE);
        emitter.once(event, (news) => {
            clearTimeout(timer);
            resolve(news);
        });
    });
}

let resting = false;

/** A host on the thread of all hosts, which is not the script's. */
function newHost(width = 640, height = 480) {
    if (!resting) {
        resting = true;
        restAtTheEnd();
    }
    return hosts.create(1, width, height);
}

/** Plays a file and waits for its first picture. */
async function playing(video, name, options) {
    await video.playFile(media(name), options);
    // Not its size, which the file's head tells before any picture is there.
    await until(() => video.capture(), 'a picture');
}

module.exports = { pellora, hosts, media, until, next, newHost, playing, TELL, MOUSE };
