'use strict';
// A library that is not there.

const assert = require('assert');
const path = require('path');
const test = require('node:test');

const pellora = require(path.resolve(process.env.PELLORA_PACKAGE));

test('says what is missing when the library is not there', () => {
    assert.throws(() => pellora.load({ library: 'C:\\nowhere\\Pellora.dll' }), (error) => {
        assert.ok(error instanceof pellora.PelloraError);
        assert.match(error.reason, /Pellora\.dll or a library beside it is not there/);
        return true;
    });
});

test('loads a library afterwards that is there', () => {
    pellora.load();
    assert.ok(new pellora.Camera('file:///C:/clip.mp4').login >= 0);
});

test('refuses an address that is none', () => {
    assert.throws(() => new pellora.Camera('no address'), (error) => {
        assert.strictEqual(error.function, 'SELVIK_DCM_Login');
        return true;
    });
});
