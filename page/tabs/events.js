// What came, went and changed, the newest first.

/** @import {StreamEvent} from '../picture/picture.js' */
/** @import {View} from './view.js' */
/** @import {Tab} from '../frame/tabBar.js' */
import { element, link, setText } from '../parts/element.js';
import { hexText, visibleText, whenText } from '../parts/format.js';
import { keyedRows } from '../parts/keyedRows.js';
import { matches } from '../picture/order.js';

/** @typedef {'PIDs' | 'Programs' | 'Scrambling' | 'Stream and service'} About */

/** @type {Record<string, {says: string, about: About, sign: string}>} */
const KINDS = {
  pidCame: { says: 'PID came', about: 'PIDs', sign: '+' },
  pidGone: { says: 'PID gone', about: 'PIDs', sign: '−' },
  pidChanged: { says: 'PID changed', about: 'PIDs', sign: '≠' },
  pidScrambled: { says: 'PID is scrambled', about: 'Scrambling', sign: '×' },
  pidClear: { says: 'PID is clear', about: 'Scrambling', sign: '○' },
  programCame: { says: 'Program came', about: 'Programs', sign: '+' },
  programGone: { says: 'Program gone', about: 'Programs', sign: '−' },
  programChanged: { says: 'Program changed', about: 'Programs', sign: '≠' },
  nameChanged: { says: 'Name changed', about: 'Programs', sign: '≠' },
  programScrambled: { says: 'Program is scrambled', about: 'Scrambling', sign: '×' },
  programClear: { says: 'Program is clear', about: 'Scrambling', sign: '○' },
  newStream: { says: 'New stream', about: 'Stream and service', sign: '*' },
  serviceGone: { says: 'Service gone', about: 'Stream and service', sign: '−' },
  serviceBack: { says: 'Service is back', about: 'Stream and service', sign: '+' },
  streamGone: { says: 'Stream gone', about: 'Stream and service', sign: '−' },
  streamBack: { says: 'Stream is back', about: 'Stream and service', sign: '+' },
};
/** @type {About[]} */
const ABOUTS = ['PIDs', 'Programs', 'Scrambling', 'Stream and service'];

/** @param {string} kind @returns {{says: string, about: About, sign: string}} */
const kindOf = (kind) => KINDS[kind] ?? { says: visibleText(kind), about: 'Stream and service', sign: '*' };

/** Where a link from an event goes, and how it is called. @param {StreamEvent} event @returns {[string, string][]} */
function placesOf({ pid, programNumber }) {
  /** @type {[string, string][]} */
  const places = [];
  if (pid !== undefined) places.push([`#pids/${pid}`, `PID ${pid} ${hexText(pid)}`]);
  if (programNumber) places.push([`#programs/${programNumber}`, `program ${programNumber}`]);
  return places;
}

/** @param {StreamEvent} event */
function saysOf({ text, was }) {
  if (was === undefined || was === '') return visibleText(text);
  return `${visibleText(was)} → ${visibleText(text) || 'nothing'}`;
}

/**
 * @param {View} view
 * @returns {Tab}
 */
export function eventsTab(view) {
  const filter = element('input', {
    type: 'search',
    placeholder: 'PID, program, text',
    'aria-label': 'Filter the events',
    maxlength: '60',
  });
  const boxes = new Map(ABOUTS.map((about) => [about, element('input', { type: 'checkbox', checked: true })]));
  const count = element('span', { class: 'muted' });
  const nothing = element('p', { class: 'nothing' });
  const body = element('tbody');
  const heads = ['Time', 'What', 'About', 'Now'].map((name) => element('th', { scope: 'col' }, name));

  /** @param {StreamEvent} event */
  function makeRow(event) {
    const { says, about, sign } = kindOf(event.kind);
    const places = placesOf(event);
    const links = places.flatMap(([place, name]) => [link(place, name), ' ']);
    return {
      element: element(
        'tr',
        {},
        element('td', { class: 'time' }, whenText(event.time, view.now())),
        element(
          'td',
          { class: 'what' },
          element('span', { class: 'sign', 'data-about': about, 'aria-hidden': 'true' }, sign),
          ` ${says}`,
        ),
        element('td', { class: 'about' }, ...links),
        element('td', { class: 'text' }, element('bdi', {}, saysOf(event))),
      ),
      update() {},
      open() {
        if (places.length) location.hash = places[0][0];
      },
    };
  }
  const rows = /** @type {import('../parts/keyedRows.js').KeyedRows<number, StreamEvent>} */ (keyedRows(body, makeRow));

  /** @param {StreamEvent} event */
  function isWanted(event) {
    if (!boxes.get(kindOf(event.kind).about)?.checked) return false;
    const about = placesOf(event).map(([, name]) => name);
    return !filter.value || matches(filter.value, [kindOf(event.kind).says, saysOf(event), ...about]);
  }

  /** @type {StreamEvent[] | null} */
  let shown = null;
  function render() {
    const events = view.picture()?.events ?? [];
    shown = events;
    const wanted = new Map(events.filter(isWanted).map((event) => [event.number, event]));
    rows.show([...wanted.keys()].reverse(), (key) => /** @type {StreamEvent} */ (wanted.get(key)));
    setText(count, `${wanted.size} of ${events.length} events`);
    setText(nothing, wanted.size ? '' : events.length ? 'No event is like that.' : 'Nothing has happened yet.');
  }
  for (const control of [filter, ...boxes.values()]) control.addEventListener('input', render);

  return {
    element: element(
      'section',
      { class: 'tab' },
      element(
        'div',
        { class: 'controls', role: 'search' },
        filter,
        ...[...boxes].map(([about, box]) => element('label', {}, box, ` ${about}`)),
        element('a', { href: 'api/csv/events', download: 'events.csv' }, 'CSV'),
        count,
      ),
      nothing,
      element(
        'table',
        { class: 'live events', role: 'grid', 'aria-label': 'Events, the newest first' },
        element('thead', {}, element('tr', {}, ...heads)),
        body,
      ),
    ),
    open(detail) {
      if (detail) filter.value = detail;
      render();
    },
    update() {
      if (view.picture()?.events !== shown) render();
    },
    lookedAt: () => [],
    find: () => filter.focus(),
  };
}
