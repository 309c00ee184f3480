'use strict';
// What index.d.ts declares is what index.js has.

const assert = require('assert');
const fs = require('fs');
const path = require('path');
const test = require('node:test');
const { pellora } = require('./bed.js');

const folder = path.join(path.dirname(require.resolve(path.resolve(process.env.PELLORA_PACKAGE))));
const text = fs.readFileSync(path.join(folder, 'index.d.ts'), 'utf8');

function declared(className) {
    const body = text.slice(text.indexOf(`export class ${className} `));
    const members = body.slice(0, body.indexOf('\n}\n')).match(/^ {4}(?:static |readonly )?(\w+)(?=[(<:])/gm) || [];
    return new Set(members.map((line) => line.trim().split(' ').pop()));
}

function present(constructor) {
    const own = [...Object.getOwnPropertyNames(constructor.prototype), ...Object.keys(Object.getOwnPropertyDescriptors(constructor))];
    return new Set(own.filter((name) => !name.startsWith('_') && !['length', 'name', 'prototype'].includes(name)));
}

test('declares every member of a video window', () => {
    const names = declared('VideoWindow');
    names.delete('on');
    const found = present(pellora.VideoWindow);
    found.delete('constructor');
    assert.ok(found.size > 40);
    assert.deepStrictEqual([...names].sort(), [...found].sort());
});

test('declares every export', () => {
    const names = [...text.matchAll(/^export (?:function|class|const) (\w+)/gm)].map((match) => match[1]);
    assert.deepStrictEqual(names.sort(), Object.keys(pellora).sort());
});
