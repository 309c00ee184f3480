/** What belongs together in the shell's page and no engine compares before it runs. */
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { createRequire } from 'node:module';
import { test } from 'node:test';

const folder = new URL('../../hosts/shell/', import.meta.url);
const read = (name) => readFileSync(new URL(name, folder), 'utf8');
const scripts = readdirSync(new URL('page/', folder)).filter((name) => name.endsWith('.js'));
const html = read('index.html');
const all = scripts.map((name) => read(`page/${name}`)).join('\n');
const found = (text, pattern) => [...new Set([...text.matchAll(pattern)].map((match) => match[1]))].sort();

test('every element that a script asks for is in the page, once', () => {
  const asked = found(all, /byId\('([\w-]+)'\)/g);
  assert.ok(asked.length > 15);
  for (const id of asked) assert.equal(html.split(`id="${id}"`).length, 2, id);
});

test('every button of the page has something to do, and everything has its button', () => {
  const actions = found(read('page/app.js').match(/const actions = \{(.*?)\n\};/s)[1], /^ {2}'?([\w-]+)'?[:,]/gm);
  assert.deepEqual(actions, found(html, /data-do="([\w-]+)"/g));
});

test('every symbol that is shown is drawn', () => {
  const drawn = found(html, /<symbol id="([\w-]+)"/g);
  for (const name of found(html + all, /#(i-[a-z]+)/g)) assert.ok(drawn.includes(name), name);
});

test('what the page calls and hears is what Electron passes on', () => {
  const { CALLS, EVENTS } = createRequire(import.meta.url)('../../hosts/shell/electron-calls.cjs');
  const called = found(all, /\bvideo\.(\w+)\(/g).filter((name) => name !== 'on');
  assert.deepEqual(called, [...CALLS].sort());
  assert.deepEqual(found(read('page/app.js'), /video\.on\('(\w+)'/g), [...EVENTS].sort());
});

test('the oldest Chromium that is meant knows what is used', () => {
  for (const [name, since] of [['replaceChildren', 86], ['replaceAll', 85], ['structuredClone', 98], ['getAnimations', 84],
    ['randomUUID', 92], ['showPopover', 114]]) {
    assert.ok(!all.includes(`.${name}(`), `${name} came with Chromium ${since}`);
  }
  assert.ok(!/\?\?=|\|\|=|&&=/.test(all), 'assignments by condition came with Chromium 85');
  const css = read('style.css');
  assert.ok(!/aspect-ratio|:focus-visible|:has\(|inset:/.test(css));
  for (const rule of css.match(/[^{}]+\{[^}]*\bgap:[^}]*\}/g)) assert.match(rule, /display: grid/);
});

test('no script and no style is inside the page, which its policy would refuse', () => {
  assert.ok(!/<script(?![^>]*\bsrc=)|\son\w+="|\sstyle="|<style/.test(html));
});
