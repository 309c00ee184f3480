/** Position, pause, steps, sound and volume: always of the selected pane. */
import { byId } from './dom.js';
import { Latest } from './latest.js';
import { clock } from './panes.js';

/** How often the position is asked for, in ms. */
const ASKING = 250;

export class Transport {
  /** selected: returns { index, pane }. failed: is told errors. */
  constructor(video, selected, failed) {
    this.video = video;
    this.selected = selected;
    this.failed = failed;
    this.position = byId('position');
    this.paused = new Set();
    this.sounding = -1;
    this.dragged = false;
    this.asking = false;
    // While the hand is quicker than the seeks, only its last place counts.
    this.seeks = new Latest(([pane, second]) => video.seek(second, { pane }), failed);
    this.volumes = new Latest(([pane, part]) => video.setVolume(part, { pane }), failed);
    this.position.addEventListener('input', () => {
      this.dragged = true;
      this.seeks.put([this.selected().index, Number(this.position.value)]);
      this.showTime(Number(this.position.value), Number(this.position.max));
    });
    this.position.addEventListener('change', () => {
      this.dragged = false;
    });
    byId('volume').addEventListener('input', (event) => {
      this.volumes.put([this.selected().index, Number(event.target.value) / 100]);
    });
    this.timer = setInterval(() => this.ask().catch(failed), ASKING);
  }

  release() {
    clearInterval(this.timer);
  }

  async pause() {
    const { index } = this.selected();
    const paused = this.paused.has(index);
    await (paused ? this.video.resume({ pane: index }) : this.video.pause({ pane: index }));
    if (paused) this.paused.delete(index);
    else this.paused.add(index);
    this.show();
  }

  async step(forward) {
    const { index } = this.selected();
    await (forward ? this.video.nextPicture({ pane: index }) : this.video.previousPicture({ pane: index }));
    this.paused.add(index);
    this.show();
  }

  async sound() {
    const { index } = this.selected();
    const on = this.sounding !== index;
    await (on ? this.video.openSound({ pane: index }) : this.video.closeSound({ pane: index }));
    // One pane sounds, whichever was asked for last.
    this.sounding = on ? index : -1;
    this.show();
  }

  /** A pane plays something new. */
  begin(index) {
    this.paused.delete(index);
    this.show();
  }

  show() {
    const { index, pane } = this.selected();
    byId('pause').querySelector('use').setAttribute('href', this.paused.has(index) ? '#i-play' : '#i-pause');
    byId('sound').setAttribute('aria-pressed', String(this.sounding === index));
    for (const name of ['sound', 'capture', 'stop']) document.querySelector(`[data-do="${name}"]`).disabled = !pane.source;
    const isFile = Boolean(pane.source) && pane.source.kind === 'file';
    this.position.disabled = !isFile;
    for (const name of ['back', 'pause', 'on']) document.querySelector(`[data-do="${name}"]`).disabled = !isFile;
    if (!isFile) byId('time').textContent = pane.source ? 'live' : '';
  }

  showTime(second, length) {
    byId('time').textContent = `${clock(second)} / ${clock(length)}`;
  }

  async ask() {
    const { index, pane } = this.selected();
    if (this.asking || this.dragged || !pane.source || pane.source.kind !== 'file') return;
    this.asking = true;
    try {
      const [second, length] = await Promise.all([this.video.position({ pane: index }), this.video.duration({ pane: index })]);
      if (this.dragged || this.selected().index !== index) return;
      this.position.max = String(Math.max(1, length));
      this.position.value = String(second);
      this.showTime(second, length);
    } finally {
      this.asking = false;
    }
  }
}
