/** The rules of the selected pane: drawn in the video by the mouse, shown and changed as JSON beside it. */
import { byId, fill, listButton, make } from './dom.js';
import { TYPES, differInPlaceAlone, parseRule, ruleText } from './rule-text.js';

export class RulesPanel {
  /** pane: returns the selected pane's number. */
  constructor(video, pane) {
    this.video = video;
    this.pane = pane;
    /** Of each pane: number of the rule to what is known of it. */
    this.rules = new Map();
    this.selected = null;
    fill(byId('rule-type'), ...Object.entries(TYPES).map(([type, { name }]) => make('option', { value: type }, name)));
    byId('rule-type').value = 'captionedRect';
  }

  of(pane) {
    if (!this.rules.has(pane)) this.rules.set(pane, new Map());
    return this.rules.get(pane);
  }

  async create(pane, rule) {
    this.selected = await this.video.createRule({ ...rule, pane });
    this.of(pane).set(this.selected, rule);
  }

  /** The next clicks into the video draw it. */
  async draw() {
    const type = byId('rule-type').value;
    const rule = { type, colour: byId('rule-color').value };
    if (TYPES[type].caption) rule.caption = byId('rule-text').value;
    // A text is nowhere before it is put somewhere, and the mouse moves it from there.
    if (type === 'text') rule.shape = { text: byId('rule-text').value || 'Text', x: 100, y: 100 };
    await this.create(this.pane(), rule);
    this.show();
  }

  /** The mouse has drawn or moved one: what the add-on tells of it. */
  moved({ pane, rule: id, shape }) {
    const rule = this.of(pane).get(id);
    if (!rule) return;
    rule.shape = shape;
    if (pane !== this.pane()) return;
    const other = this.selected !== id;
    this.selected = id;
    if (other) this.show();
    else byId('rule-json').value = ruleText(rule);
  }

  async apply() {
    const pane = this.pane();
    const id = this.selected;
    const before = this.of(pane).get(id);
    if (!before) throw new Error('Select a rule first.');
    const rule = parseRule(byId('rule-json').value);
    if (differInPlaceAlone(rule, before)) {
      await this.video.setRule(id, rule.shape, { pane });
      this.of(pane).set(id, rule);
    } else {
      await this.video.destroyRule(id, { pane });
      this.of(pane).delete(id);
      await this.create(pane, rule);
    }
    this.show();
  }

  async remove() {
    const pane = this.pane();
    if (this.selected === null) return;
    await this.video.destroyRule(this.selected, { pane });
    this.of(pane).delete(this.selected);
    this.selected = null;
    this.show();
  }

  /** The library clears a pane's rules when it is stopped. */
  forget(pane) {
    this.rules.delete(pane);
    if (pane === this.pane()) this.show();
  }

  show() {
    const rules = this.of(this.pane());
    if (!rules.has(this.selected)) this.selected = null;
    fill(byId('rules'), ...[...rules].map(([id, rule]) => {
      const swatch = make('span', { class: 'swatch' });
      swatch.style.background = rule.colour;
      const button = listButton(swatch, rule.caption || TYPES[rule.type].name, '', String(id), id === this.selected);
      button.addEventListener('click', () => {
        this.selected = id;
        this.show();
      });
      return make('li', {}, button);
    }));
    for (const name of ['apply', 'remove']) document.querySelector(`[data-do="${name}"]`).disabled = this.selected === null;
    byId('rule-json').value = this.selected === null ? '' : ruleText(rules.get(this.selected));
  }
}
