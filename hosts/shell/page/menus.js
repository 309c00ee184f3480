/** What opens over the page: one menu, and a tip for each element with data-tip. */
import { byId } from './dom.js';

export function openMenu(button, menu) {
  const show = (open) => {
    menu.hidden = !open;
    button.setAttribute('aria-expanded', String(open));
  };
  button.addEventListener('click', () => {
    show(menu.hidden);
    if (!menu.hidden) menu.querySelector('button').focus();
  });
  menu.addEventListener('click', () => show(false));
  document.addEventListener('pointerdown', (event) => {
    if (!menu.contains(event.target) && !button.contains(event.target)) show(false);
  });
  // A click into the video is none in the page: it takes the keyboard away, and by that the menu closes.
  window.addEventListener('blur', () => show(false));
  menu.parentElement.addEventListener('keydown', (event) => {
    const items = [...menu.querySelectorAll('button')];
    const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    if (event.key === 'Escape') {
      show(false);
      button.focus();
    } else if (step && !menu.hidden) {
      items[(items.indexOf(document.activeElement) + step + items.length) % items.length].focus();
      event.preventDefault();
    }
  });
}

export function showTips() {
  const tip = byId('tip');
  const distance = 6;
  const hide = () => {
    tip.hidden = true;
  };
  document.addEventListener('pointerover', (event) => {
    const owner = event.target.closest('[data-tip]');
    if (!owner) return hide();
    tip.textContent = owner.dataset.tip;
    tip.hidden = false;
    const place = owner.getBoundingClientRect();
    const left = Math.min(place.left, document.documentElement.clientWidth - tip.offsetWidth - distance);
    const below = place.bottom + distance;
    const fits = below + tip.offsetHeight < document.documentElement.clientHeight;
    tip.style.left = `${Math.max(distance, left)}px`;
    tip.style.top = `${fits ? below : place.top - distance - tip.offsetHeight}px`;
    return undefined;
  });
  document.addEventListener('pointerdown', hide);
  document.documentElement.addEventListener('pointerleave', hide);
}
