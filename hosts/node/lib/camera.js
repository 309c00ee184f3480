'use strict';

const { loaded } = require('./binding.js');
const { direct, later } = require('./errors.js');

/** A log-in at a camera or recorder; opens no connection. */
class Camera {
    constructor(address, { user = '', password = '' } = {}) {
        this.login = direct(() => loaded().login(String(address), String(user), String(password)));
    }

    /** Ends what plays with it. */
    async logout() {
        const login = this.login;
        this.login = -1;
        await later(() => loaded().logout(login));
    }
}

module.exports = Camera;
