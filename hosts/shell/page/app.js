/** The page: what its buttons do, what the video tells, and how both look. */
import { showCapture } from './captures.js';
import { byId } from './dom.js';
import { gridFor } from './geometry.js';
import { findHost } from './host.js';
import { openMenu, showTips } from './menus.js';
import { after, noPanes, paneFor, paneNote, panesOf, stateText } from './panes.js';
import { RulesPanel } from './rules-panel.js';
import { Sources } from './sources.js';
import { Transport } from './transport.js';
import { VideoBox } from './video-box.js';

const number = Number(new URLSearchParams(window.location.search).get('window')) || 1;
const host = findHost();
let panes = noPanes();
let selected = 0;
let split = 1;
let video = null;
let box = null;
let sources = null;
let transport = null;
let rules = null;

// The add-on finds the shell's window by its title; several have several.
document.title = number === 1 ? 'Pellora shell' : `Pellora shell ${number}`;

function notice(text, isBad = false) {
  byId('notice').textContent = text;
  byId('notice').classList.toggle('bad', isBad);
}

const failed = (error) => notice(error.message, true);

function show() {
  for (const button of document.querySelectorAll('[data-split]')) {
    button.setAttribute('aria-checked', String(Number(button.dataset.split) === split));
  }
  sources.show(panes, selected);
  transport.show();
  const pane = panes[selected];
  const name = pane.source ? `${pane.source.name}, ` : '';
  notice(`Pane ${selected + 1}: ${name}${stateText(pane)}`, pane.state === 'failed' || pane.state === 'lost');
  showNote(paneNote(pane));
}

/** In the middle of the selected pane: a piece of the page that the video leaves free. */
function showNote(text) {
  const note = byId('pane-note');
  const side = Math.sqrt(split);
  note.hidden = text === '';
  note.textContent = text;
  note.style.left = `${(((selected % side) + 0.5) * 100) / side}%`;
  note.style.top = `${((Math.floor(selected / side) + 0.5) * 100) / side}%`;
  note.style.maxWidth = `${80 / side}%`;
}

function take(news) {
  panes = after(panes, news);
  show();
}

async function setSplit(count) {
  await video.split(count);
  split = count;
  if (selected >= split) await select(0);
  show();
}

async function select(pane) {
  await video.selectPane(pane);
  selected = pane;
  rules.show();
  show();
}

/** Plays a source in a pane; without one in the first that is free. */
async function play(source, wanted) {
  const pane = wanted === undefined ? paneFor(panes, split, selected) : wanted;
  // The library frames the pane that a command was for.
  selected = pane;
  rules.forget(pane);
  take({ type: 'asked', pane, source });
  transport.begin(pane);
  try {
    if (source.kind === 'file') {
      await video.playFile(source.path, { pane, overlay: true });
    } else {
      // One log-in for all panes in which a camera plays; they are numbers from 0 on.
      if (!Number.isInteger(source.login)) source.login = await host.login(source);
      await video.preview(source.login, { channel: source.channel, stream: source.stream, pane, overlay: true });
    }
    if (panes[pane].source === source) take({ type: 'playing', pane });
  } catch (error) {
    if (panes[pane].source === source) take({ type: 'failed', pane, reason: error.reason || error.message });
  }
}

async function stop(pane) {
  await video.stopPreview({ pane });
  rules.forget(pane);
  take({ type: 'stopped', pane });
}

async function stopAll() {
  await Promise.all(panes.map((pane, i) => (pane.source ? stop(i) : null)));
  await select(selected);
}

async function capture() {
  const source = panes[selected].source;
  const pane = selected;
  const jpeg = await video.capture({ pane });
  showCapture(jpeg, `${source ? source.name : `Pane ${pane + 1}`}, ${new Date().toLocaleTimeString()}`);
}

/** What the buttons do, by data-do; data-value is passed on. */
const actions = {
  add: () => sources.ask(),
  full: () => video.enterFullScreen(),
  zoom: (factor) => host.zoom(Number(factor)),
  window: () => host.newWindow(),
  reload: () => window.location.reload(),
  'stop-all': stopAll,
  stop: () => stop(selected),
  pause: () => transport.pause(),
  back: () => transport.step(false),
  on: () => transport.step(true),
  sound: () => transport.sound(),
  capture,
  draw: () => rules.draw(),
  apply: () => rules.apply(),
  remove: () => rules.remove(),
};

async function act(button) {
  try {
    await actions[button.dataset.do](button.dataset.value);
  } catch (error) {
    failed(error);
  }
}

function listen() {
  document.addEventListener('click', (event) => {
    const button = event.target.closest('[data-do], [data-split]');
    if (!button) return;
    if (button.dataset.split) setSplit(Number(button.dataset.split)).catch(failed);
    else act(button);
  });
  byId('file').addEventListener('change', (event) => {
    const [file] = event.target.files;
    if (file) play({ kind: 'file', name: file.name, path: host.pathOf(file) }, selected).catch(failed);
    event.target.value = '';
  });
  // Told at each click into a pane, and once for a start: the promise of that one says more.
  video.on('status', ({ pane }) => {
    if (panes[pane].state === 'starting') return;
    selected = pane;
    rules.show();
    show();
  });
  // A lost camera comes back by itself.
  video.on('camera', (news) => {
    if (news.state !== 'lost' && news.state !== 'playing') return;
    for (const pane of panesOf(panes, news)) {
      if (panes[pane].state !== 'starting') take({ type: news.state, pane, reason: news.reason });
    }
  });
  video.on('end', ({ pane }) => take({ type: 'ended', pane }));
  video.on('rule', (rule) => rules.moved(rule));
}

async function start() {
  if (!host) throw new Error('This page needs NW.js or Electron: a browser has no window for the video.');
  video = await host.open(document.title);
  const settings = await host.settings();
  sources = new Sources(settings.cameras, (source) => play(source).catch(failed));
  transport = new Transport(video, () => ({ index: selected, pane: panes[selected] }), failed);
  rules = new RulesPanel(video, () => selected);
  box = new VideoBox(byId('wall'), video, { origin: host.origin, failed });
  listen();
  byId('wall-text').textContent = '';
  // A page that goes takes its video along; the add-on also sees to it when a page is ended the hard way.
  window.addEventListener('pagehide', () => {
    transport.release();
    box.release();
    video.close();
    host.leave();
  });
  const wanted = settings.play ? sources.cameras : [];
  await setSplit(gridFor(wanted.length));
  show();
  const starts = wanted.map((camera, i) => play(camera, i));
  await select(0);
  await Promise.all(starts);
  // For whoever starts the shell from a script.
  console.info(`Panes playing: ${panes.filter(({ state }) => state === 'playing').length} of ${wanted.length}`);
  // Where a call takes the way through another process, the last start may have come after that.
  await select(selected);
  await box.settled();
}

openMenu(byId('menu-button'), byId('menu'));
showTips();
start().catch((error) => {
  byId('wall-text').textContent = error.message;
  failed(error);
});
