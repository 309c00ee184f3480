/**
 * Keeps a video window where an element of the page is: through layout, scrolling, zoom and scale, and with holes for what
 * the page shows over it.
 *
 *     const follower = new VideoBox(document.querySelector('#video'), video);
 *     ...
 *     follower.release();          // before the video window is closed
 *
 * video is a VideoWindow of the add-on, of which setGeometry, setClipAreas and setVisible are used.
 */
import { placement, samePlacement } from './geometry.js';
import { Latest } from './latest.js';
import { Overlays, visiblePart } from './overlays.js';

/** What may move something without any other notice. They bubble, so that the document hears of all. */
const MOTION_BEGINS = ['transitionrun', 'animationstart'];
const MOTION_ENDS = ['transitionend', 'transitioncancel', 'animationend', 'animationcancel'];
/** An animation without an end keeps nobody awake for longer, in ms. */
const LONGEST_MOTION = 3000;
/** While a window is being resized its size and the page's belong to different moments; so long after it they agree, in ms. */
const RESIZED = 150;

export class VideoBox {
  /**
   * options.origin: returns where the page begins in the host's window, { x, y } in device pixels; asked again when the window
   * has got another size. options.failed: is told errors.
   */
  constructor(box, video, { origin = () => ({ x: 0, y: 0 }), failed = console.error } = {}) {
    this.box = box;
    this.video = video;
    this.findOrigin = origin;
    this.origin = origin();
    this.overlays = new Overlays(box);
    this.last = undefined;
    this.frame = 0;
    this.stale = true;
    this.motionUntil = 0;
    this.sending = new Latest((place) => this.send(place), (error) => {
      this.last = undefined;
      failed(error);
    });
    this.cancel = [];
    this.listen();
    this.follow();
  }

  /** When the video is where the element was measured last. */
  settled() {
    return this.sending.settled();
  }

  release() {
    for (const cancel of this.cancel) cancel();
    clearTimeout(this.resized);
    cancelAnimationFrame(this.frame);
    this.frame = -1;
  }

  listen() {
    const on = (target, type, listener, options) => {
      target.addEventListener(type, listener, options);
      this.cancel.push(() => target.removeEventListener(type, listener, options));
    };
    const follow = () => this.follow();
    // Scrolling does not bubble; capturing hears of every scrolling element.
    on(document, 'scroll', follow, { capture: true, passive: true });
    on(window, 'resize', () => {
      clearTimeout(this.resized);
      this.resized = setTimeout(() => {
        this.origin = this.findOrigin();
        this.follow();
      }, RESIZED);
      this.follow();
    });
    // Tooltips that the style sheet alone shows change nothing in the document.
    for (const type of ['pointerover', 'pointerout', 'focusin', 'focusout']) on(document, type, follow, { passive: true });
    if (window.visualViewport) {
      on(window.visualViewport, 'resize', follow);
      on(window.visualViewport, 'scroll', follow);
    }
    for (const type of MOTION_BEGINS) {
      on(document, type, () => {
        this.motionUntil = performance.now() + LONGEST_MOTION;
        this.follow();
      });
    }
    // Others may still move: the end of one is a last place, not the end of following.
    for (const type of MOTION_ENDS) on(document, type, follow);
    const sizes = new ResizeObserver(follow);
    // The element moves when its neighbours grow.
    for (let element = this.box; element; element = element.parentElement) sizes.observe(element);
    const changes = new MutationObserver(() => {
      this.stale = true;
      this.follow();
    });
    changes.observe(document.documentElement, { subtree: true, childList: true, attributes: true, characterData: true });
    this.cancel.push(() => sizes.disconnect(), () => changes.disconnect(), () => this.forgetScale());
    this.watchScale();
  }

  /** A monitor of another scale, or another zoom: a query holds for one ratio only. */
  watchScale() {
    const query = window.matchMedia(`(resolution: ${window.devicePixelRatio}dppx)`);
    const changed = () => {
      this.forgetScale();
      this.watchScale();
      this.follow();
    };
    query.addListener(changed);
    this.forgetScale = () => query.removeListener(changed);
  }

  /** Measures before the next picture of the page, once however often it is asked. */
  follow() {
    if (this.frame !== 0) return;
    this.frame = requestAnimationFrame(() => {
      this.frame = 0;
      this.measure();
      if (performance.now() < this.motionUntil) this.follow();
    });
  }

  measure() {
    if (this.stale) this.overlays.refresh();
    this.stale = false;
    const visible = visiblePart(this.box);
    const { left, top, right, bottom } = this.box.getBoundingClientRect();
    const place = placement({ left, top, right, bottom }, visible, visible ? this.overlays.rectangles(visible) : [], {
      ratio: window.devicePixelRatio,
      pinch: window.visualViewport,
      originX: this.origin.x,
      originY: this.origin.y,
    });
    if (samePlacement(place, this.last)) return;
    this.last = place;
    this.sending.put(place);
  }

  async send(place) {
    if (!place) {
      await this.video.setVisible(false);
      this.shown = false;
      return;
    }
    const { holes, ...geometry } = place;
    await this.video.setGeometry(geometry);
    // The holes are those of the size that the window has: always anew after it.
    await this.video.setClipAreas(holes);
    if (this.shown === false) await this.video.setVisible(true);
    this.shown = true;
  }
}
