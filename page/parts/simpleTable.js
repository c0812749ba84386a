// Tables and lists of facts that are made anew when they change.
import { element } from './element.js';

/**
 * @param {string[]} heads
 * @param {(string | Node)[][]} rows
 * @param {string} otherwise what is said when there are no rows
 * @param {Record<number, string>} [classes] of columns, by their index
 */
export function simpleTable(heads, rows, otherwise, classes = {}) {
  if (!rows.length) return element('p', { class: 'muted' }, otherwise);
  const attributes = (/** @type {number} */ i) => ({ class: classes[i] ?? false });
  return element(
    'div',
    { class: 'wide' },
    element(
      'table',
      { class: 'plain' },
      element('thead', {}, element('tr', {}, ...heads.map((head, i) => element('th', { scope: 'col', ...attributes(i) }, head)))),
      element(
        'tbody',
        {},
        ...rows.map((cells) => element('tr', {}, ...cells.map((cell, i) => element('td', attributes(i), isolated(cell))))),
      ),
    ),
  );
}

/**
 * @param {[string, string | Node][]} facts
 */
export function factList(facts) {
  return element(
    'dl',
    { class: 'facts' },
    ...facts.map(([name, value]) => element('div', {}, element('dt', {}, name), element('dd', {}, isolated(value)))),
  );
}

/** A text of the stream may be written from right to left, and must not turn what stands around it. @param {string | Node} content */
function isolated(content) {
  return typeof content === 'string' ? element('bdi', {}, content) : content;
}
