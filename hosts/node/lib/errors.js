'use strict';
// Failures of the library as exceptions.

/** A call that has failed: function is whose, reason is what the library's log says. */
class PelloraError extends Error {
    constructor(functionName, reason) {
        super(`${functionName}: ${reason}`);
        this.name = 'PelloraError';
        this.code = 'ERR_PELLORA';
        this.function = functionName;
        this.reason = reason;
    }
}

/** As the add-on's, with the class and the stack of the caller. */
function mine(error) {
    return error && error.code === 'ERR_PELLORA' ? new PelloraError(error.function, error.reason) : error;
}

function direct(call) {
    try {
        return call();
    } catch (error) {
        throw mine(error);
    }
}

async function later(call) {
    try {
        return await call();
    } catch (error) {
        throw mine(error);
    }
}

module.exports = { PelloraError, direct, later };
