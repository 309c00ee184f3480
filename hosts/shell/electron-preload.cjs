/** Gives the page in Electron what page/host.js asks for, and nothing else of Node.js. */
const { contextBridge, ipcRenderer, webFrame, webUtils } = require('electron');

const { CALLS } = require('./electron-calls.cjs');

const listeners = new Map();
ipcRenderer.on('pellora:event', (event, type, news) => {
  for (const listener of listeners.get(type) || []) listener(news);
});

contextBridge.exposeInMainWorld('pelloraBridge', {
  calls: CALLS,
  open: () => ipcRenderer.invoke('pellora:open'),
  call: (name, ...parameters) => ipcRenderer.invoke('pellora:call', name, parameters),
  on: (type, listener) => listeners.set(type, [...(listeners.get(type) || []), listener]),
  login: (camera) => ipcRenderer.invoke('pellora:login', camera),
  settings: () => ipcRenderer.invoke('pellora:settings'),
  // Files have told their path themselves before Electron 32.
  pathOf: (file) => (webUtils ? webUtils.getPathForFile(file) : file.path),
  zoom: (factor) => webFrame.setZoomFactor(factor),
  newWindow: () => ipcRenderer.invoke('pellora:window'),
});
