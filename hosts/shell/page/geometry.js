/**
 * Where the video goes and what shines through it: numbers only, no page and no library.
 *
 * A rectangle is { left, top, right, bottom }; right and bottom lie just outside of it. The page measures in CSS pixels of
 * its viewport, the library in device pixels of the host's window.
 */

/** The library takes so many holes for a window. */
export const MOST_HOLES = 4;

export const width = (rect) => rect.right - rect.left;
export const height = (rect) => rect.bottom - rect.top;
export const area = (rect) => (rect ? width(rect) * height(rect) : 0);

/** What two rectangles share; null where that is nothing. */
export function intersection(a, b) {
  const shared = {
    left: Math.max(a.left, b.left),
    top: Math.max(a.top, b.top),
    right: Math.min(a.right, b.right),
    bottom: Math.min(a.bottom, b.bottom),
  };
  return shared.left < shared.right && shared.top < shared.bottom ? shared : null;
}

/** The smallest rectangle that holds both. */
export function union(a, b) {
  return {
    left: Math.min(a.left, b.left),
    top: Math.min(a.top, b.top),
    right: Math.max(a.right, b.right),
    bottom: Math.max(a.bottom, b.bottom),
  };
}

export function contains(outer, inner) {
  return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right && outer.bottom >= inner.bottom;
}

/**
 * From CSS pixels of the viewport to device pixels of the host's window, not rounded.
 *
 * view.ratio        device pixels a CSS pixel: window.devicePixelRatio, in which the page's zoom is contained
 * view.pinch        what two fingers have enlarged, and where the enlarged part lies: visualViewport; may be left out
 * view.originX, -Y  where the page begins in the host's window, in device pixels; 0 may be left out
 */
export function toDevice(rect, view) {
  const { scale = 1, offsetLeft = 0, offsetTop = 0 } = view.pinch || {};
  const x = (value) => (value - offsetLeft) * scale * view.ratio + (view.originX || 0);
  const y = (value) => (value - offsetTop) * scale * view.ratio + (view.originY || 0);
  return { left: x(rect.left), top: y(rect.top), right: x(rect.right), bottom: y(rect.bottom) };
}

/** To whole pixels, each edge by itself: neighbours stay neighbours, and nothing trembles by a pixel while it scrolls. */
export function nearest(rect) {
  return {
    left: Math.round(rect.left),
    top: Math.round(rect.top),
    right: Math.round(rect.right),
    bottom: Math.round(rect.bottom),
  };
}

/** To whole pixels, at least as large: a menu's border must not be cut off. */
export function outwards(rect) {
  return {
    left: Math.floor(rect.left),
    top: Math.floor(rect.top),
    right: Math.ceil(rect.right),
    bottom: Math.ceil(rect.bottom),
  };
}

/** What of a rectangle lies outside of the part that can be seen: up to four strips. */
export function hiddenStrips(rect, visible) {
  const inside = visible && intersection(rect, visible);
  if (!inside) return [{ ...rect }];
  return [
    { ...rect, bottom: inside.top },
    { ...rect, top: inside.bottom },
    { left: rect.left, top: inside.top, right: inside.left, bottom: inside.bottom },
    { left: inside.right, top: inside.top, right: rect.right, bottom: inside.bottom },
  ].filter((strip) => strip.left < strip.right && strip.top < strip.bottom);
}

/** How much of the video two holes would take that neither takes alone, were they one. */
function waste(a, b, video) {
  const seen = (rect) => area(intersection(rect, video));
  const shared = intersection(a, b);
  return seen(union(a, b)) - seen(a) - seen(b) + (shared ? seen(shared) : 0);
}

/** At most so many holes: those that another one holds go, then the two become one that lose the least of the video. */
export function fewest(holes, video, most = MOST_HOLES) {
  const left = holes.filter(
    (hole, i) => !holes.some((other, j) => i !== j && contains(other, hole) && (j < i || !contains(hole, other))),
  );
  while (left.length > most) {
    let best = null;
    for (let i = 0; i < left.length; i++) {
      for (let j = i + 1; j < left.length; j++) {
        const cost = waste(left[i], left[j], video);
        if (!best || cost < best.cost) best = { cost, i, j };
      }
    }
    const joined = { ...union(left[best.i], left[best.j]), radius: 0 };
    left.splice(best.j, 1);
    left[best.i] = joined;
  }
  return left;
}

/**
 * What to tell the library.
 *
 * box       the element that the video belongs to
 * visible   what its scrolling ancestors and the viewport leave of it, or null
 * overlays  what lies over it: rectangles, each with the radius of its corners or none
 * view      as for toDevice; all others are in CSS pixels
 *
 * Returns null where nothing of the video can be seen; else the place in the host's window, and the holes, at their places
 * in the video. The radius of a hole is its corners' diameter, as the library wants it.
 */
export function placement(box, visible, overlays, view) {
  const whole = nearest(toDevice(box, view));
  if (!visible || area(whole) <= 0) return null;
  const seen = intersection(whole, nearest(toDevice(visible, view)));
  if (!seen) return null;
  const strips = hiddenStrips(whole, seen).map((strip) => ({ ...strip, radius: 0 }));
  const covers = overlays.map((overlay) => ({
    ...outwards(toDevice(overlay, view)),
    radius: Math.round(2 * (overlay.radius || 0) * view.ratio * ((view.pinch && view.pinch.scale) || 1)),
  }));
  const holes = fewest([...strips, ...covers].filter((hole) => intersection(hole, whole)), whole);
  return {
    x: whole.left,
    y: whole.top,
    width: width(whole),
    height: height(whole),
    holes: holes.map((hole) => ({
      x: hole.left - whole.left,
      y: hole.top - whole.top,
      width: width(hole),
      height: height(hole),
      radius: hole.radius,
    })),
  };
}

/**
 * Where the page begins in the host's window: below what the shell paints itself, its caption, and nowhere but there. Developer
 * tools that are docked at the bottom would be taken for one.
 *
 * client, page   the two, of which the height is looked at, in device pixels
 */
export function originOf(client, page) {
  return { x: 0, y: Math.max(0, Math.round(client.height - page.height)) };
}

/** Whether two answers of placement() say the same. */
export function samePlacement(a, b) {
  return JSON.stringify(a) === JSON.stringify(b);
}

/** The smallest grid that shows so many sources. */
export function gridFor(count) {
  return count <= 1 ? 1 : count <= 4 ? 4 : 9;
}
