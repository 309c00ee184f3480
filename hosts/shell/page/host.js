/**
 * The shell that the page runs in: NW.js, where a page reaches the add-on itself, or Electron, where the main process does
 * it for the page (electron-main.cjs). What differs between the two is here and nowhere else.
 *
 * A host: name
 *         settings()         { cameras, play }: what the shell was started with
 *         open(title)        a promise of a VideoWindow of the add-on in the shell's window of that title
 *         origin()           where the page begins in that window, { x, y } in device pixels
 *         login(camera)      a promise of the number of a log-in at { address, user, password }
 *         leave()            ends all log-ins; when the page goes
 *         pathOf(file)       the path of what an <input type="file"> has chosen
 *         zoom(factor)       zooms the page
 *         newWindow()        opens one more window with this page, which has the next number
 */

import { originOf } from './geometry.js';

/** Zoom levels are steps of a fifth. */
const levelOf = (factor) => Math.log(factor) / Math.log(1.2);

/** Chromium gives its window the title a moment after the page has it. */
const TITLE_TRIES = 50;
const TITLE_PAUSE = 100;

const pause = (ms) => new Promise((resolve) => { setTimeout(resolve, ms); });

/* The page's own folder is where NW.js works. Node's require takes it only as a whole path. */
function nwHost() {
  const { env } = window.process;
  const path = window.require('path');
  const addon = () => window.require(env.PELLORA_NODE || path.join(window.process.cwd(), 'node_modules', 'pellora'));
  const cameras = [];
  let handle = null;

  return {
    name: 'NW.js',
    settings() {
      if (!env.PELLORA_SHELL_SETTINGS) return {};
      return JSON.parse(window.require('fs').readFileSync(env.PELLORA_SHELL_SETTINGS, 'utf8'));
    },
    async open(title) {
      const { VideoWindow, findWindow } = addon();
      handle = findWindow(title);
      for (let left = TITLE_TRIES; !handle && left > 0; left--) {
        await pause(TITLE_PAUSE);
        handle = findWindow(title);
      }
      if (!handle) throw new Error(`There is no window called ${title}.`);
      return VideoWindow.open({ host: handle, embed: 'renderWidget', page: window });
    },
    // NW.js paints the caption itself, in what Windows takes for the window's inside. innerHeight is rounded under zoom.
    origin() {
      const bar = window.innerHeight - document.documentElement.clientHeight;
      const height = window.visualViewport.height * window.visualViewport.scale + bar;
      const client = addon().clientSize(handle);
      return client ? originOf(client, { height: height * window.devicePixelRatio }) : { x: 0, y: 0 };
    },
    async login({ address, user, password }) {
      const camera = new (addon().Camera)(address, { user, password });
      cameras.push(camera);
      return camera.login;
    },
    leave() {
      for (const camera of cameras.splice(0)) camera.logout();
    },
    pathOf: (file) => file.path,
    zoom(factor) {
      window.nw.Window.get().zoomLevel = levelOf(factor);
    },
    // All pages have one Node.js, and each window a number of its own.
    newWindow() {
      const { process } = window;
      process.pelloraWindows = (process.pelloraWindows || 1) + 1;
      window.nw.Window.open(`index.html?window=${process.pelloraWindows}`, { width: 1280, height: 800 });
    },
  };
}

/** What electron-preload.cjs has put into the page. */
function electronHost(bridge) {
  return {
    name: 'Electron',
    settings: () => bridge.settings(),
    async open() {
      await bridge.open();
      const video = { on: (type, listener) => bridge.on(type, listener) };
      for (const name of bridge.calls) video[name] = (...parameters) => bridge.call(name, ...parameters);
      return video;
    },
    // Windows paints the caption.
    origin: () => ({ x: 0, y: 0 }),
    login: ({ address, user, password }) => bridge.login({ address, user, password }),
    // The main process sees the page go.
    leave() {},
    pathOf: (file) => bridge.pathOf(file),
    zoom: (factor) => bridge.zoom(factor),
    newWindow: () => bridge.newWindow(),
  };
}

/** Null in a browser, which has no windows to give. */
export function findHost() {
  if (window.pelloraBridge) return electronHost(window.pelloraBridge);
  return window.nw && window.require ? nwHost() : null;
}
