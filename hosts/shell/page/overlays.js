/**
 * Finds what of the page lies over the video.
 *
 * The video is a window of the system's above the page, so that nothing of the page is over it by itself: a hole is cut
 * where the page is to be seen. What needs one is found by itself if the mouse finds it (menus, dialogs, panels that are
 * positioned), or says so:
 *
 *     data-over-video         always, while it is shown; for what the mouse passes through, such as tooltips
 *     data-over-video="no"    never; for what only dims the page
 */
import { contains, intersection } from './geometry.js';

const MARK = 'data-over-video';

const rectOf = (element) => {
  const { left, top, right, bottom } = element.getBoundingClientRect();
  return { left, top, right, bottom };
};

/** The part of an element that its scrolling ancestors and the viewport leave; null where they leave nothing. */
export function visiblePart(element) {
  const root = document.documentElement;
  // Without the scroll bars.
  let visible = intersection(rectOf(element), { left: 0, top: 0, right: root.clientWidth, bottom: root.clientHeight });
  let style = getComputedStyle(element);
  for (let parent = element.parentElement; visible && parent && parent !== document.body; parent = parent.parentElement) {
    // What is fixed is scrolled by nobody.
    if (style.position === 'fixed') break;
    style = getComputedStyle(parent);
    if (style.overflowX === 'visible' && style.overflowY === 'visible') continue;
    const outer = rectOf(parent);
    const left = outer.left + parent.clientLeft;
    const top = outer.top + parent.clientTop;
    visible = intersection(visible, { left, top, right: left + parent.clientWidth, bottom: top + parent.clientHeight });
  }
  return visible;
}

function isShown(element) {
  const style = getComputedStyle(element);
  return style.visibility === 'visible' && Number(style.opacity) > 0;
}

/**
 * Whether the mouse would find the element before the box, in the middle of what they share or near a corner of it: what has
 * a middle that is cut out, or passes the mouse through there, is over the box all the same.
 */
function liesAbove(element, box, shared) {
  const inset = 1;
  const points = [
    [(shared.left + shared.right) / 2, (shared.top + shared.bottom) / 2],
    [shared.left + inset, shared.top + inset],
    [shared.right - inset, shared.top + inset],
    [shared.left + inset, shared.bottom - inset],
    [shared.right - inset, shared.bottom - inset],
  ];
  return points.some(([x, y]) => {
    const found = document.elementsFromPoint(x, y);
    const above = found.indexOf(element);
    const below = found.indexOf(box);
    return above >= 0 && (below < 0 || above < below);
  });
}

export class Overlays {
  constructor(box) {
    this.box = box;
    this.candidates = [];
  }

  /** After the page has changed: which elements may come to lie over the box, wherever they are now. */
  refresh() {
    this.candidates = [...document.body.querySelectorAll('*')].filter((element) => {
      const mark = element.getAttribute(MARK);
      if (mark !== null) return mark !== 'no';
      return !this.box.contains(element) && getComputedStyle(element).position !== 'static';
    });
  }

  /** The rectangles of those that lie over the part of the box that is seen, in CSS pixels of the viewport. */
  rectangles(visible) {
    const found = [];
    for (const element of this.candidates) {
      // Most are elsewhere: what costs more comes later.
      const rect = rectOf(element);
      const seen = intersection(rect, visible) && visiblePart(element);
      const shared = seen && intersection(seen, visible);
      if (!shared || !isShown(element) || found.some((other) => contains(other, seen))) continue;
      if (!element.hasAttribute(MARK) && !liesAbove(element, this.box, shared)) continue;
      // A corner that is cut off is square.
      const whole = contains(seen, rect);
      found.push({ ...seen, radius: whole ? parseFloat(getComputedStyle(element).borderTopLeftRadius) || 0 : 0 });
    }
    return found;
  }
}
