/** What passes between the page and its VideoWindow in Electron: calls one way, events the other. */
module.exports = {
  CALLS: [
    'setGeometry', 'setClipAreas', 'setVisible', 'split', 'selectPane', 'enterFullScreen', 'close', 'playFile', 'preview',
    'stopPreview', 'pause', 'resume', 'nextPicture', 'previousPicture', 'seek', 'position', 'duration', 'openSound',
    'closeSound', 'setVolume', 'capture', 'createRule', 'setRule', 'destroyRule',
  ],
  EVENTS: ['status', 'camera', 'end', 'rule'],
};
