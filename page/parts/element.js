// Elements, made and changed. Text enters the page here, and only as text.

/**
 * Makes an element.
 * @template {keyof HTMLElementTagNameMap} T
 * @param {T} tag
 * @param {Record<string, string | boolean>} [attributes] true: there without a value; false: not there
 * @param {(Node | string)[]} children
 * @returns {HTMLElementTagNameMap[T]}
 */
export function element(tag, attributes = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value !== false) made.setAttribute(name, value === true ? '' : value);
  }
  made.append(...children);
  return made;
}

const SVG = 'http://www.w3.org/2000/svg';

/**
 * Makes an element of a drawing.
 * @template {keyof SVGElementTagNameMap} T
 * @param {T} tag
 * @param {Record<string, string>} attributes
 * @param {Node[]} children
 * @returns {SVGElementTagNameMap[T]}
 */
export function drawing(tag, attributes, ...children) {
  const made = document.createElementNS(SVG, tag);
  for (const [name, value] of Object.entries(attributes)) made.setAttribute(name, value);
  made.append(...children);
  return made;
}

/** @type {WeakMap<Node, string>} */
const written = new WeakMap();

/**
 * Sets the text of an element, and touches the page only if it is another.
 * @param {HTMLElement} node
 * @param {string} text
 */
export function setText(node, text) {
  if (written.get(node) === text) return;
  written.set(node, text);
  // A text that is changed is cheaper than another one.
  if (node.firstChild instanceof Text && node.firstChild === node.lastChild) node.firstChild.data = text;
  else node.textContent = text;
}

/**
 * Sets or takes away an attribute, and touches the page only if it is another.
 * @param {Element} node
 * @param {string} name
 * @param {string | null} value
 */
export function setAttribute(node, name, value) {
  if (node.getAttribute(name) === value) return;
  if (value === null) node.removeAttribute(name);
  else node.setAttribute(name, value);
}

/**
 * A link inside the page that can be pointed elsewhere.
 * @param {string} [place] "#pids/256"
 * @param {string} [text]
 */
export function link(place = '', text = '') {
  const made = element('a', place ? { href: place } : {});
  setText(made, text);
  return made;
}

/**
 * Points a link elsewhere; without a place it is plain text.
 * @param {HTMLAnchorElement} node
 * @param {string | null} place
 * @param {string} text
 */
export function setLink(node, place, text) {
  setAttribute(node, 'href', place);
  setText(node, text);
}
