/**
 * The main file for Electron with a stand-in for Electron: what the page asks for reaches its video window, and nothing else
 * does; what goes takes its video along. Electron itself is not here.
 */
import assert from 'node:assert/strict';
import { EventEmitter } from 'node:events';
import { cpSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import Module, { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { after, before, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const shell = path.join(here, '..', '..', 'hosts', 'shell');
const require = createRequire(import.meta.url);
const handlers = new Map();
const opened = [];
let app;
let recorder;
let folder;

class Page extends EventEmitter {
  constructor() {
    super();
    this.id = opened.length + 1;
    this.sent = [];
    this.destroyed = false;
  }

  isDestroyed() {
    return this.destroyed;
  }

  send(...news) {
    this.sent.push(news);
  }
}

class BrowserWindow extends EventEmitter {
  constructor(options) {
    super();
    this.options = options;
    this.webContents = new Page();
    opened.push(this);
  }

  static fromWebContents(page) {
    return opened.find((window) => window.webContents === page);
  }

  removeMenu() {}

  getNativeWindowHandle() {
    return Buffer.from([this.webContents.id, 0, 1, 0, 0, 0, 0, 0]);
  }

  loadFile(file, options) {
    this.loaded = [file, options];
  }
}

const ask = (page, name, ...parameters) => handlers.get(`pellora:${name}`)({ sender: page }, ...parameters);
const called = (name) => recorder.calls.filter((call) => call.name === name).map((call) => call.parameters);
const turn = () => new Promise((resolve) => { setImmediate(resolve); });

before(async () => {
  folder = mkdtempSync(path.join(tmpdir(), 'pellora-electron-'));
  cpSync(path.join(here, 'recording_video', 'index.js'), path.join(folder, 'index.js'));
  cpSync(path.join(shell, 'electron-calls.cjs'), path.join(folder, 'calls.js'));
  writeFileSync(path.join(folder, 'settings.json'), '{"play":true}');
  process.env.PELLORA_NODE = folder;
  process.env.PELLORA_SHELL_SETTINGS = path.join(folder, 'settings.json');
  app = Object.assign(new EventEmitter(), { whenReady: () => Promise.resolve(), quit: () => app.emit('quit') });
  const electron = { app, BrowserWindow, ipcMain: { handle: (name, handler) => handlers.set(name, handler) } };
  const load = Module._load;
  Module._load = (name, ...rest) => (name === 'electron' ? electron : load(name, ...rest));
  require(path.join(shell, 'electron-main.cjs'));
  recorder = require(folder);
  await turn();
});

after(() => rmSync(folder, { recursive: true }));

beforeEach(() => recorder.calls.splice(0));

/** A page that has its video. */
async function openPage() {
  ask(null, 'window');
  const window = opened[opened.length - 1];
  await ask(window.webContents, 'open');
  return { window, page: window.webContents };
}

test('one window is opened at the start, with nothing of Node.js in its page but the bridge', () => {
  assert.equal(opened.length, 1);
  const { contextIsolation, nodeIntegration, preload } = opened[0].options.webPreferences;
  assert.equal(contextIsolation, true);
  assert.ok(!nodeIntegration);
  assert.equal(path.basename(preload), 'electron-preload.cjs');
  assert.deepEqual(opened[0].loaded, ['index.html', { query: { window: '1' } }]);
});

test('a page gets its video in its own window, and its settings', async () => {
  const { window, page } = await openPage();
  const [[{ host, embed }]] = called('open');
  assert.deepEqual(host, window.getNativeWindowHandle());
  assert.equal(embed, 'renderWidget');
  assert.deepEqual(ask(page, 'settings'), { play: true });
});

test('calls reach the video with what they were given, and their answers come back', async () => {
  const { page } = await openPage();
  await ask(page, 'call', 'setGeometry', [{ x: 1, y: 2, width: 3, height: 4 }]);
  assert.deepEqual(called('setGeometry'), [[{ x: 1, y: 2, width: 3, height: 4 }]]);
  assert.equal(await ask(page, 'call', 'duration', [{ pane: 0 }]), 60);
  recorder.refuse('capture', 'No picture yet.');
  await assert.rejects(ask(page, 'call', 'capture', [{ pane: 0 }]), /No picture yet/);
  recorder.refuse('capture', '');
});

test('what is no call of a video window is refused', async () => {
  const { page } = await openPage();
  for (const name of ['constructor', 'emit', 'on', 'toString', '__proto__']) {
    await assert.rejects(ask(page, 'call', name, []), /is no call/);
  }
});

test('a page without a video is told so', async () => {
  ask(null, 'window');
  await assert.rejects(ask(opened[opened.length - 1].webContents, 'call', 'split', [4]), /no video window/);
});

test('events reach their page, and a page that has gone gets none', async () => {
  const { page } = await openPage();
  page.sent.splice(0);
  recorder.tell('status', { pane: 3 });
  assert.deepEqual(page.sent, [['pellora:event', 'status', { pane: 3 }]]);
  page.destroyed = true;
  recorder.tell('status', { pane: 4 });
  assert.equal(page.sent.length, 1);
});

for (const [what, go] of [
  ['loaded anew', ({ page }) => page.emit('did-start-navigation', {}, 'file:///index.html', false, true)],
  ['whose renderer has crashed', ({ page }) => page.emit('render-process-gone', {}, { reason: 'crashed' })],
  ['whose window is closed', ({ window }) => window.emit('close')],
]) {
  test(`a page ${what} leaves no video and no log-in behind`, async () => {
    const one = await openPage();
    const login = await ask(one.page, 'login', { address: 'rtsp://192.0.2.1/live', user: 'viewer', password: 'x' });
    go(one);
    await turn();
    assert.equal(called('close').length, 1);
    assert.deepEqual(called('logout'), [[login]]);
    await assert.rejects(ask(one.page, 'call', 'split', [4]), /no video window/);
    go(one);
    await turn();
    assert.equal(called('close').length, 1, 'once');
  });
}

test('a part of the page that is loaded, or a place in it, leaves the video alone', async () => {
  const { page } = await openPage();
  page.emit('did-start-navigation', {}, 'file:///frame.html', false, false);
  page.emit('did-start-navigation', {}, 'file:///index.html#x', true, true);
  await turn();
  assert.equal(called('close').length, 0);
});

test('the program ends with its last window', () => {
  let quit = false;
  app.once('quit', () => { quit = true; });
  app.emit('window-all-closed');
  assert.ok(quit);
});

test('the bridge of the page has what host.js asks it for', () => {
  const preload = readFileSync(path.join(shell, 'electron-preload.cjs'), 'utf8');
  const asked = new Set([...readFileSync(path.join(shell, 'page', 'host.js'), 'utf8').matchAll(/\bbridge\.(\w+)/g)].map((m) => m[1]));
  assert.ok(asked.size >= 7);
  for (const name of asked) assert.match(preload, new RegExp(`^  ${name}:`, 'm'), name);
  for (const channel of preload.matchAll(/invoke\('(pellora:\w+)'/g)) assert.ok(handlers.has(channel[1]), channel[1]);
});
