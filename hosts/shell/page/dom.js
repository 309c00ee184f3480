/** Short ways of the document's own functions. */
export const byId = (id) => document.getElementById(id);

/** An element with attributes and children: make('li', { class: 'x' }, 'text', child). */
export function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}

/** Replaces what an element holds. */
export function fill(element, ...children) {
  element.textContent = '';
  element.append(...children);
}

/** A button of a list: a dot or swatch, a name with a second line below it if there is one, and where it belongs. */
export function listButton(mark, name, note, where, current) {
  const text = make('span', { class: 'name' }, name);
  if (note) text.append(make('small', {}, note));
  const button = make('button', { type: 'button' }, mark, text, make('span', { class: 'where' }, where));
  if (current) button.setAttribute('aria-current', 'true');
  return button;
}
