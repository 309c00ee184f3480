/** The list of cameras, the dialog that adds one, and files. Passwords stay in memory: the list that is kept has none. */
import { byId, fill, listButton, make } from './dom.js';
import { stateText, withoutSecrets } from './panes.js';

const KEPT = 'pellora-cameras';

export class Sources {
  /** play: is called with a source to be played. */
  constructor(cameras, play) {
    this.play = play;
    this.cameras = cameras || Sources.kept();
    this.dialog = byId('add-dialog');
    this.dialog.addEventListener('close', () => this.added());
  }

  static kept() {
    try {
      return JSON.parse(localStorage.getItem(KEPT)) || [];
    } catch (error) {
      return [];
    }
  }

  ask() {
    this.dialog.querySelector('form').reset();
    this.dialog.returnValue = '';
    this.dialog.showModal();
  }

  added() {
    if (this.dialog.returnValue !== 'add') return;
    const { name, address, user, password, channel, stream } = Object.fromEntries(new FormData(this.dialog.querySelector('form')));
    this.cameras.push({ kind: 'camera', name, address, user, password, channel: Number(channel), stream });
    const kept = this.cameras.map((camera) => ({ ...camera, password: '', login: null, address: withoutSecrets(camera.address || '') }));
    localStorage.setItem(KEPT, JSON.stringify(kept));
    this.play(this.cameras[this.cameras.length - 1]);
  }

  /** panes: what plays where, to mark it. selected: number of the pane that the buttons are for. */
  show(panes, selected) {
    fill(byId('cameras'), ...this.cameras.map((camera) => {
      const places = panes.map((pane, i) => (pane.source === camera ? i : -1)).filter((i) => i >= 0);
      const [first] = places;
      const state = places.length > 0 ? panes[first].state : '';
      const note = places.length > 0 ? stateText(panes[first]) : 'not shown';
      const where = places.map((i) => i + 1).join(', ');
      const button = listButton(make('span', { class: `dot ${state}` }), camera.name, note, where, places.includes(selected));
      button.dataset.tip = camera.kind === 'file' ? camera.path : withoutSecrets(camera.address);
      button.addEventListener('click', () => this.play(camera));
      return make('li', {}, button);
    }));
  }
}
