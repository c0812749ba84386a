// Tables and lists of facts that are made anew when they change.
import { element } from './element.js';

/**
 * @param {string[]} heads
 * @param {(string | Node)[][]} rows
 * @param {string} otherwise what is said when there are no rows
 * @param {{classes?: Record<number, string>, stacks?: boolean}} [options] classes of columns, by their index; whether the cells of a row stand
 *   one below the other where there is no room
 */
export function simpleTable(heads, rows, otherwise, { classes = {}, stacks = false } = {}) {
  if (!rows.length) return element('p', { class: 'muted' }, otherwise);
  const attributes = (/** @type {number} */ i) => ({ class: classes[i] ?? false });
  return element(
    'div',
    { class: 'wide' },
    element(
      'table',
      { class: stacks ? 'plain stacks' : 'plain' },
      element('thead', {}, element('tr', {}, ...heads.map((head, i) => element('th', { scope: 'col', ...attributes(i) }, head)))),
      element(
        'tbody',
        {},
        ...rows.map((cells) =>
          element(
            'tr',
            {},
            ...cells.map((cell, i) => element('td', { ...attributes(i), 'data-head': heads[i] }, isolated(cell))),
          ),
        ),
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
