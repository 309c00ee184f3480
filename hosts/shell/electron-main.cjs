/**
 * The same page in Electron: electron hosts/shell/electron-main.cjs
 *
 * Not run by the tests here, which have no Electron. The window belongs to this process, and so does the add-on: the page
 * asks for each call, and is told events. The window's thread is the one that this script runs on.
 */
const { app, BrowserWindow, ipcMain } = require('electron');
const fs = require('fs');
const path = require('path');

const { CALLS, EVENTS } = require('./electron-calls.cjs');

const { Camera, VideoWindow } = require(process.env.PELLORA_NODE || path.join(__dirname, 'node_modules', 'pellora'));

/** The video and the log-ins of each page, by the number of its web contents. */
const videos = new Map();
const cameras = new Map();

function openWindow(number) {
  const window = new BrowserWindow({
    width: 1280,
    height: 800,
    useContentSize: true,
    backgroundColor: '#14171c',
    webPreferences: { preload: path.join(__dirname, 'electron-preload.cjs'), contextIsolation: true, sandbox: false },
  });
  window.removeMenu();
  const { id } = window.webContents;
  const close = () => {
    const video = videos.get(id);
    videos.delete(id);
    if (video) video.then((opened) => opened.close(), () => {});
    for (const camera of cameras.get(id) || []) camera.logout();
    cameras.delete(id);
  };
  // A page that is loaded anew, a renderer that has crashed, a window that goes: the video goes with its page.
  window.webContents.on('did-start-navigation', (event, url, isInPlace, isMainFrame) => {
    if (isMainFrame && !isInPlace) close();
  });
  window.webContents.on('render-process-gone', close);
  window.on('close', close);
  window.loadFile('index.html', { query: { window: String(number) } });
}

ipcMain.handle('pellora:open', async (event) => {
  const page = event.sender;
  const window = BrowserWindow.fromWebContents(page);
  const opening = VideoWindow.open({ host: window.getNativeWindowHandle(), embed: 'renderWidget' });
  videos.set(page.id, opening);
  const video = await opening;
  for (const type of EVENTS) {
    video.on(type, (news) => {
      if (!page.isDestroyed()) page.send('pellora:event', type, news);
    });
  }
});

ipcMain.handle('pellora:call', async (event, name, parameters) => {
  if (!CALLS.includes(name)) throw new Error(`${name} is no call of a video window.`);
  const video = await videos.get(event.sender.id);
  if (!video) throw new Error('This page has no video window.');
  return video[name](...parameters);
});

ipcMain.handle('pellora:login', (event, { address, user, password }) => {
  const camera = new Camera(address, { user, password });
  cameras.set(event.sender.id, [...(cameras.get(event.sender.id) || []), camera]);
  return camera.login;
});

ipcMain.handle('pellora:settings', () => {
  const file = process.env.PELLORA_SHELL_SETTINGS;
  return file ? JSON.parse(fs.readFileSync(file, 'utf8')) : {};
});

let windows = 0;
const open = () => {
  windows += 1;
  openWindow(windows);
};
ipcMain.handle('pellora:window', open);
app.on('window-all-closed', () => app.quit());
app.whenReady().then(open);
