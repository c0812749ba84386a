// The tables of the stream, one at a time: only what is looked at is asked for.

/** @import {Document} from '../picture/picture.js' */
/** @import {View} from './view.js' */
/** @import {Tab} from '../frame/tabBar.js' */
import { element, link, setAttribute, setText } from '../parts/element.js';
import {
  dayText,
  durationText,
  hexText,
  minuteText,
  NOTHING,
  nameText,
  rateText,
  timeText,
  visibleText,
} from '../parts/format.js';
import { pidLink } from '../parts/pidLink.js';
import { factList, simpleTable } from '../parts/simpleTable.js';
import { scheduleOf, utcTime } from '../picture/clock.js';
import { descriptorName } from '../picture/codes.js';

/** @typedef {{value: any, time: number}} Come a table, and when it came */

const AT_ONCE_MS = 2000;

/** @type {Record<string, {name: string, content: (come: Come) => Node[]}>} */
const TABLES = {
  PAT: { name: 'Program association', content: patContent },
  CAT: { name: 'Conditional access', content: catContent },
  NIT: { name: 'Network information', content: nitContent },
  SDT: { name: 'Service description', content: sdtContent },
  EIT: { name: 'Event information', content: eitContent },
  TDT: { name: 'Time and date', content: tdtContent },
};

/** @param {number | null | undefined} id */
const hexId = (id) => (id === null || id === undefined ? NOTHING : `${id} (${hexText(id)})`);

/** @param {Come} come */
function patContent({ value }) {
  return [
    factList([
      ['Programs', String(value.programCount)],
      ['Rate', rateText(value.rateBitPerSecond)],
    ]),
    simpleTable(
      ['Program', 'PID of the PMT'],
      value.programs.map((/** @type {any} */ one) => [
        one.programNumber === 0 ? '0 (network)' : link(`#programs/${one.programNumber}`, String(one.programNumber)),
        pidLink(one.pmtPid),
      ]),
      'The table is empty.',
    ),
  ];
}

/** @param {Come} come */
function catContent({ value }) {
  return [
    factList([
      ['Systems', String(value.systemCount)],
      ['Table', hexText(value.tableId, 2)],
      ['Rate', rateText(value.rateBitPerSecond)],
    ]),
    simpleTable(
      ['CA system', 'PID of its EMMs'],
      value.systems.map((/** @type {any} */ one) => [hexId(one.systemId), pidLink(one.emmPid)]),
      'The stream has no CAT, or none has been read yet.',
    ),
  ];
}

/** @param {Come} come */
function nitContent({ value }) {
  const own = value.networkDescriptor;
  return [
    factList([
      ['Network', hexId(value.networkId)],
      [descriptorName(own?.tag) || 'Network descriptor', visibleText(own?.text) || NOTHING],
      ['Transport stream', hexId(value.transportStreamId)],
      ['Original network', hexId(value.originalNetworkId)],
      ['Table', hexText(value.tableId, 2)],
      ['Rate', rateText(value.rateBitPerSecond)],
    ]),
    simpleTable(
      ['Descriptor', 'Name', 'Content'],
      value.descriptors.map((/** @type {any} */ one) => [hexText(one.tag, 2), descriptorName(one.tag), visibleText(one.text)]),
      'The table has no further descriptors, or none has been read yet.',
    ),
  ];
}

/** @param {Come} come */
function sdtContent({ value }) {
  return [
    factList([
      ['Services', String(value.serviceCount)],
      ['Of', visibleText(value.source)],
      ['Transport stream', hexId(value.transportStreamId)],
      ['Original network', hexId(value.originalNetworkId)],
      ['Table', hexText(value.tableId, 2)],
      ['Rate', rateText(value.rateBitPerSecond)],
    ]),
    simpleTable(
      ['Service', 'Provider', 'CA'],
      value.services.map((/** @type {any} */ one) => [
        nameText(one.name),
        visibleText(one.provider),
        one.freeCaMode ? 'CA' : 'free',
      ]),
      'The stream has no SDT, or none has been read yet.',
    ),
  ];
}

/** @param {Come} come */
function eitContent({ value }) {
  const parts = [
    factList([
      ['Program', value.programNumber ? link(`#programs/${value.programNumber}`, String(value.programNumber)) : NOTHING],
      ['Events', String(value.eventCount)],
      ['Transport stream', hexId(value.transportStreamId)],
      ['Original network', hexId(value.originalNetworkId)],
      ['Table', hexText(value.tableId, 2)],
      ['Rate', rateText(value.rateBitPerSecond)],
    ]),
    element('p', { class: 'muted' }, `Times are local: ${Intl.DateTimeFormat().resolvedOptions().timeZone}.`),
  ];
  let day = '';
  /** @type {import('../picture/clock.js').ScheduledEvent[]} */
  let ofDay = [];
  const flush = () => {
    if (ofDay.length) parts.push(element('h3', {}, day), scheduleTable(ofDay));
    ofDay = [];
  };
  for (const scheduled of scheduleOf(value.events)) {
    const here = scheduled.start === null ? 'Without a time' : dayText(scheduled.start);
    if (here !== day) flush();
    day = here;
    ofDay.push(scheduled);
  }
  flush();
  if (!value.events.length) parts.push(element('p', { class: 'muted' }, 'The table has no events, or none has been read yet.'));
  return parts;
}

/** @param {import('../picture/clock.js').ScheduledEvent[]} schedule */
function scheduleTable(schedule) {
  return simpleTable(
    ['Start', 'End', 'Duration', 'Event', 'Language'],
    schedule.map(({ start, end, event }) => {
      return [
        start === null ? visibleText(`${event.date ?? ''} ${event.startTime}`) : minuteText(start),
        end === null ? NOTHING : minuteText(end),
        visibleText(event.duration),
        element(
          'span',
          {},
          element('strong', {}, element('bdi', {}, nameText(event.name))),
          start === null || end === null
            ? ''
            : element('span', { class: 'onNow', 'data-start': String(start), 'data-end': String(end) }),
          element('br'),
          element('bdi', { class: 'muted' }, visibleText(event.description)),
        ),
        visibleText(event.language),
      ];
    }),
    '',
  );
}

/**
 * Says which events are on; they begin and end while the table stays the same.
 * @param {HTMLElement} content
 * @param {number} now by the manager's clock
 */
function markWhatIsOn(content, now) {
  for (const mark of /** @type {NodeListOf<HTMLElement>} */ (content.querySelectorAll('.onNow'))) {
    setText(mark, Number(mark.dataset.start) <= now && now < Number(mark.dataset.end) ? 'on now' : '');
  }
}

/** @param {Come} come */
function tdtContent({ value, time }) {
  const said = utcTime(value.date, value.timeOfDay);
  const machine = `${dayText(time)}, ${timeText(time)}`;
  const difference = said === null ? null : said - time;
  const isThere = Boolean(value.timeOfDay);
  const asWritten = isThere ? `${visibleText(value.date)} ${visibleText(value.timeOfDay)}`.trim() : NOTHING;
  return [
    factList([
      ['The stream says', said === null ? asWritten : `${dayText(said)}, ${timeText(said)}`],
      ['The machine said', machine],
      ['Difference', difference === null ? 'the stream tells no time' : differenceText(difference)],
      ['In UTC', asWritten],
      ['Modified Julian Day', isThere ? String(value.dateMjd) : NOTHING],
      ['Table', hexText(value.tableId, 2)],
      ['Rate', rateText(value.rateBitPerSecond)],
    ]),
    element(
      'p',
      { class: 'muted' },
      isThere
        ? 'A stream sends its time every 30 s at the least, and the newest is shown: it may lag by so much.'
        : 'The stream has no TDT, or none has been read yet.',
    ),
  ];
}

/** @param {number} difference milliseconds that the stream is ahead */
function differenceText(difference) {
  if (Math.abs(difference) < AT_ONCE_MS) return 'less than 2 s';
  return `the stream is ${durationText(difference)} ${difference > 0 ? 'ahead' : 'behind'}`;
}

/**
 * @param {View} view
 * @returns {Tab}
 */
export function tablesTab(view) {
  let chosen = 'PAT';
  /** @type {Document | undefined} */
  let shown;
  const links = new Map(Object.keys(TABLES).map((name) => [name, link(`#tables/${name}`, name)]));
  const title = element('h2');
  const age = element('span', { class: 'muted' });
  const csv = element('a', {}, 'CSV');
  const raw = element('a', {}, 'As it came');
  const content = element('div', { class: 'content' });

  /** @param {Document | undefined} found @returns {Node[]} */
  function contentOf(found) {
    if (!found) return [];
    if (!found.value) return [element('p', { class: 'nothing' }, 'It came, but cannot be read.')];
    return TABLES[chosen].content({ value: found.value, time: found.time });
  }

  function update() {
    const found = view.picture()?.documents.get(chosen);
    setText(age, found ? `as of ${durationText(view.now() - found.time)} ago` : 'waiting for it …');
    showContent(found);
    markWhatIsOn(content, view.now());
  }

  /** @param {Document | undefined} found */
  function showContent(found) {
    if (found === shown && found) return;
    // What came again is the same most of the time; a reader's selection shall stay.
    const isSame = JSON.stringify(found?.value) === JSON.stringify(shown?.value) && found && shown;
    shown = found;
    if (isSame && chosen !== 'TDT') return;
    content.replaceChildren(...contentOf(found));
  }

  return {
    element: element(
      'section',
      { class: 'tab' },
      element('nav', { class: 'controls choices', 'aria-label': 'Tables' }, ...links.values()),
      element('div', { class: 'titled' }, title, age, csv, raw),
      content,
    ),
    open(detail) {
      chosen = Object.hasOwn(TABLES, detail) ? detail : 'PAT';
      for (const [name, node] of links) setAttribute(node, 'aria-current', name === chosen ? 'page' : null);
      setText(title, `${chosen}: ${TABLES[chosen].name.toLowerCase()}`);
      setAttribute(csv, 'href', `api/csv/${chosen}`);
      setAttribute(csv, 'download', `${chosen}.csv`);
      setAttribute(raw, 'href', `#raw/${chosen}`);
      shown = undefined;
      content.replaceChildren();
      update();
    },
    update,
    lookedAt: () => [chosen],
  };
}
