'use strict';
// In the add-on's place: answers 1 to all that is asked, and lets a test tell events in any order.

const calls = [];
let dispatch = null;
let failure = null;
let answers = 0;

function answer(name) {
    return async (...asked) => {
        calls.push([name, ...asked]);
        if (failure !== null && answers-- <= 0) {
            throw Object.assign(new Error('refused'), { code: 'ERR_PELLORA', ...failure });
        }
        return [1, []];
    };
}

/** All calls but so many are refused with this, until it is null. */
function refuseAfter(count, error) {
    answers = count;
    failure = error;
}

module.exports = {
    calls,
    refuseAfter,
    refuse: (error) => refuseAfter(0, error),
    /** target, kind and values as the add-on tells them. */
    tell: (target, kind, ...values) => dispatch(target, kind, ...values),
    start: (library, told) => {
        dispatch = told;
    },
    end: () => undefined,
    open: answer('open'),
    hasHost: () => 1,
    close: async () => {
        calls.push(['close']);
    },
    call: answer('call'),
    playFile: answer('playFile'),
    batch: answer('batch'),
    login: () => 5,
    logout: answer('logout'),
};
