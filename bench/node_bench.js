'use strict';
// What the add-on's bridge costs: processor time of the whole process, all threads, for each call, beside the same call in C.

const { pellora, hosts, playing, newHost } = require('../tests/node/bed.js');

const CALLS = 4000;
const ROUNDS = 5;
const UPDATES = 10000;

function median(values) {
    return values.sort((a, b) => a - b)[Math.floor(values.length / 2)];
}

/** Prints microseconds of processor time for each of count calls, and calls a second: the medians of some rounds. */
async function measure(name, count, body) {
    const costs = [];
    const rates = [];
    for (let i = 0; i < ROUNDS; ++i) {
        const cpu = process.cpuUsage();
        const begin = process.hrtime.bigint();
        await body(count);
        const { user, system } = process.cpuUsage(cpu);
        costs.push((user + system) / count);
        rates.push(count / (Number(process.hrtime.bigint() - begin) / 1e9));
    }
    console.log(`${name}: ${median(costs).toFixed(1)} us, ${Math.round(median(rates))} calls a second`);
}

async function oneByOne(call, count) {
    for (let i = 0; i < count; ++i) {
        await call(i);
    }
}

async function atOnce(call, count) {
    await Promise.all(Array.from({ length: count }, (_, i) => call(i)));
}

async function calls(name, host) {
    const video = await pellora.VideoWindow.open({ host });
    await playing(video, 'long.mp4', { overlay: true });
    await video.pause();
    const position = () => video.position();
    await measure(`${name}, position, one by one`, CALLS, (count) => oneByOne(position, count));
    await measure(`${name}, position, at once`, CALLS, (count) => atOnce(position, count));
    const rule = await video.createRule({ type: 'rect', shape: { left: 1, top: 1, right: 500, bottom: 500 } });
    const update = (i) => video.setRule(rule, { left: 1 + i % 400, top: 1, right: 500, bottom: 500 });
    await measure(`${name}, setRule, at once`, CALLS, (count) => atOnce(update, count));
    return { video, update };
}

/** Share of a core while a picture is held, and with a thousand updates of a rule each second. */
async function steady(update) {
    const share = async (body) => {
        const cpu = process.cpuUsage();
        const begin = process.hrtime.bigint();
        await body();
        const { user, system } = process.cpuUsage(cpu);
        return (user + system) / (Number(process.hrtime.bigint() - begin) / 1000);
    };
    const seconds = UPDATES / 1000;
    const idle = await share(() => new Promise((resolve) => setTimeout(resolve, seconds * 1000)));
    let arrived = 0;
    const busy = await share(() => new Promise((resolve, reject) => {
        const begin = Date.now();
        let sent = 0;
        const timer = setInterval(() => {
            while (sent < UPDATES && sent <= Date.now() - begin) {
                update(sent++).then(() => ++arrived === UPDATES && resolve(), reject);
            }
            if (sent === UPDATES) {
                clearInterval(timer);
            }
        }, 5);
    }));
    console.log(`a thousand updates a second: ${busy.toFixed(3)} of a core, ${idle.toFixed(3)} without; ${arrived} of ${UPDATES} arrived`);
}

(async () => {
    // The library takes one thread of a process, so that each way is a process of its own.
    if (process.argv[2] === 'own') {
        const pump = setInterval(() => hosts.pump(), 5);
        const { video } = await calls('host on the script\'s thread', hosts.create(0, 640, 480));
        await measure('in C, position', CALLS, (count) => hosts.direct(0, count));
        await video.close();
        clearInterval(pump);
    } else {
        const { video, update } = await calls('host on another thread', newHost());
        await steady(update);
        await video.close();
    }
})();
