/** Captured pictures as images of the page: the newest first, and not more than a page can hold. */
import { byId, make } from './dom.js';

const MOST = 24;

/** jpeg: the bytes of one picture. */
export function showCapture(jpeg, name) {
  const list = byId('captures');
  const hint = list.querySelector('p');
  if (hint) hint.remove();
  const address = URL.createObjectURL(new Blob([jpeg], { type: 'image/jpeg' }));
  const picture = make('img', { src: address, alt: name });
  list.prepend(make('figure', {}, picture, make('figcaption', {}, name)));
  while (list.children.length > MOST) {
    // The page keeps the bytes until it is told that nobody shows them any more.
    URL.revokeObjectURL(list.lastElementChild.querySelector('img').src);
    list.lastElementChild.remove();
  }
}
