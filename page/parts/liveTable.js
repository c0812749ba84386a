// A table whose rows live: head with columns to sort by, and a body that keeps its order until the reader sorts.

/** @import {Row} from './keyedRows.js' */
import { calmOrder, comparison } from '../picture/order.js';
import { element, link, setAttribute, setLink, setText } from './element.js';
import { keyedRows } from './keyedRows.js';

/**
 * @template R
 * @typedef {object} Column
 * @property {string} name
 * @property {string} className
 * @property {(row: R) => string | number | boolean | null} [sortBy] the value by which it sorts; without it nobody can
 * @property {boolean} [greatFirst] sorts the greatest first when it is chosen
 */

/** @typedef {{place: string | null, title: string, note: string}} Heading of a group of rows; the place is where its link goes */
/**
 * @template R
 * @typedef {object} Groups
 * @property {(row: R) => number} groupOf
 * @property {(group: number) => Heading} headingOf
 */

/**
 * @template R
 * @param {string} label
 * @param {Column<R>[]} columns
 * @param {{keyOf: (row: R) => number, makeRow: (row: R) => Row<R>, sortedBy: number}} options
 */
export function liveTable(label, columns, { keyOf, makeRow, sortedBy }) {
  const body = element('tbody');
  /** @typedef {import('./keyedRows.js').KeyedRows<number | string, any>} Rows */
  /** @type {(item: any) => Row<any>} */
  const makeAny = (item) => ('note' in item ? headingRow(columns.length) : makeRow(item));
  const rows = /** @type {Rows} */ (keyedRows(body, makeAny));
  let column = sortedBy;
  let descending = Boolean(columns[column].greatFirst);
  /** @type {number[]} */
  let order = [];
  /** @type {Map<number, R>} */
  let shown = new Map();
  /** @type {Groups<R> | null} */
  let groups = null;

  const heads = columns.map(({ name, className, sortBy, greatFirst }, index) => {
    const head = element('th', { scope: 'col', class: className });
    if (!sortBy) head.append(name);
    else {
      const button = element('button', { type: 'button', class: 'sort' }, name);
      button.addEventListener('click', () => {
        descending = index === column ? !descending : Boolean(greatFirst);
        column = index;
        sortAgain();
      });
      head.append(button);
    }
    return head;
  });

  function render() {
    for (const [i, head] of heads.entries()) {
      setAttribute(head, 'aria-sort', i === column ? (descending ? 'descending' : 'ascending') : null);
    }
    const compare = comparison(columns[column].sortBy ?? keyOf, keyOf, descending);
    const group = groups?.groupOf ?? (() => 0);
    order = calmOrder(order, shown, (a, b) => group(a) - group(b) || compare(a, b));
    if (!groups) rows.show(order, (key) => shown.get(Number(key)));
    else showGrouped(groups);
  }
  /** @param {Groups<R>} groups */
  function showGrouped({ groupOf, headingOf }) {
    /** @type {Map<string, Heading>} */
    const headings = new Map();
    /** @type {(number | string)[]} */
    const all = [];
    for (const key of order) {
      const group = groupOf(/** @type {R} */ (shown.get(key)));
      const name = `group ${group}`;
      if (!headings.has(name)) {
        headings.set(name, headingOf(group));
        all.push(name);
      }
      all.push(key);
    }
    rows.show(all, (key) => (typeof key === 'string' ? headings.get(key) : shown.get(key)));
  }
  function sortAgain() {
    order = [];
    render();
  }

  return {
    element: element(
      'table',
      { class: 'live', role: 'grid', 'aria-label': label },
      element('thead', {}, element('tr', {}, ...heads)),
      body,
    ),
    body,
    /**
     * Shows exactly these rows.
     * @param {Map<number, R>} now
     * @param {Groups<R> | null} [grouping]
     */
    show(now, grouping = null) {
      if ((grouping === null) !== (groups === null)) order = [];
      shown = now;
      groups = grouping;
      render();
    },
    sortAgain,
    /** @param {number} key */
    focus: (key) => rows.focus(key),
    /** @returns {number | null} */
    focused() {
      const key = rows.focused();
      return typeof key === 'number' ? key : null;
    },
  };
}

/**
 * @param {number} columns
 * @returns {Row<Heading>}
 */
function headingRow(columns) {
  const title = link();
  const note = element('span', { class: 'muted' });
  return {
    element: element('tr', { class: 'group' }, element('td', { colspan: String(columns) }, title, ' ', note)),
    update(heading) {
      setLink(title, heading.place, heading.title);
      setText(note, heading.note);
    },
  };
}
