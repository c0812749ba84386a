// The programs of the stream, and what one is made of.

/** @import {Program, Pid, Document} from '../picture/picture.js' */
/** @import {Column} from '../parts/liveTable.js' */
/** @import {View} from './view.js' */
/** @import {Tab} from '../frame/tabBar.js' */
import { element, link, setAttribute, setText } from '../parts/element.js';
import { durationText, NOTHING, nameText, rateText, visibleText, whenText } from '../parts/format.js';
import { liveTable } from '../parts/liveTable.js';
import { pidLink } from '../parts/pidLink.js';
import { fullScale, rateBar } from '../parts/rateBar.js';
import { factList, simpleTable } from '../parts/simpleTable.js';
import { sparkline } from '../parts/sparkline.js';
import { profileAndLevel, serviceTypeName } from '../picture/codes.js';
import { condense } from '../picture/history.js';
import { matches } from '../picture/order.js';
import { typeKind, typeName } from '../picture/pidTypes.js';

const SPARK_SECONDS = 180;
const points = new Float32Array(60);
/** The records describe this many programs. */
const LAST_INDEX = 58;

/** @type {Column<Program>[]} */
const COLUMNS = [
  { name: 'Program', className: 'number', sortBy: (program) => program.programNumber },
  { name: 'Name', className: 'name', sortBy: (program) => program.name },
  { name: 'Provider', className: 'provider', sortBy: (program) => program.provider },
  { name: 'Type', className: 'type', sortBy: (program) => serviceTypeName(program.serviceType) },
  { name: 'PIDs', className: 'count', sortBy: (program) => program.pidCount, greatFirst: true },
  { name: 'Rate', className: 'rate', sortBy: (program) => program.rateBitPerSecond, greatFirst: true },
  { name: 'Least', className: 'least', sortBy: (program) => program.least, greatFirst: true },
  { name: 'Most', className: 'most', sortBy: (program) => program.most, greatFirst: true },
  { name: 'Last 3 minutes', className: 'trend' },
  { name: 'CA', className: 'ca', sortBy: (program) => program.freeCaMode, greatFirst: true },
  { name: 'Scrambling', className: 'scrambling', sortBy: (program) => program.allScrambled, greatFirst: true },
];

/** @param {boolean} scrambled */
const scrambling = (scrambled) => (scrambled ? 'scrambled' : 'clear');

/**
 * @param {View} view
 * @returns {Tab}
 */
export function programsTab(view) {
  let full = 1;
  let chosen = -1;
  let wanted = -1;
  const filter = element('input', {
    type: 'search',
    placeholder: 'Number, name, provider',
    'aria-label': 'Filter the programs',
    maxlength: '60',
  });
  const count = element('span', { class: 'muted' });
  const nothing = element('p', { class: 'nothing' });
  const detail = programDetail(view);

  /** @param {Program} first */
  function makeRow(first) {
    const name = element('bdi');
    const provider = element('bdi');
    const rate = link(`#rates/program-${first.programNumber}`);
    const bar = rateBar();
    const trend = sparkline();
    const [type, pids, least, most, ca, scrambled] = ['type', 'count', 'least', 'most', 'ca', 'scrambling'].map((c) =>
      element('td', { class: c }),
    );
    const row = element(
      'tr',
      {},
      element('th', { scope: 'row', class: 'number' }, link(`#programs/${first.programNumber}`, String(first.programNumber))),
      element('td', { class: 'name' }, name),
      element('td', { class: 'provider' }, provider),
      type,
      pids,
      element('td', { class: 'rate' }, bar.element, rate),
      least,
      most,
      element('td', { class: 'trend' }, trend.element),
      ca,
      scrambled,
    );
    /** @type {Program | null} */
    let shown = null;

    /** @param {Program} program */
    function showFacts(program) {
      setText(name, nameText(program.name));
      setAttribute(name, 'class', program.name ? null : 'muted');
      setText(provider, visibleText(program.provider));
      setText(type, serviceTypeName(program.serviceType));
      setText(pids, String(program.pidCount));
      setText(rate, rateText(program.rateBitPerSecond));
      setText(least, rateText(program.least));
      setText(most, rateText(program.most));
      setText(ca, program.freeCaMode ? 'CA' : 'free');
      setAttribute(row, 'class', program.gone ? 'gone' : null);
      setText(scrambled, program.gone ? `last seen ${whenText(program.lastSeen, view.now())}` : scrambling(program.allScrambled));
      setAttribute(scrambled, 'data-scrambled', program.allScrambled && !program.gone ? '' : null);
    }
    return {
      element: row,
      open: () => {
        location.hash = `programs/${first.programNumber}`;
      },
      /** @param {Program} program @param {boolean} inView */
      update(program, inView) {
        if (program !== shown) {
          shown = program;
          showFacts(program);
        }
        setAttribute(row, 'data-chosen', program.programNumber === chosen ? '' : null);
        if (!inView) return;
        bar.set(program.gone ? 0 : program.rateBitPerSecond, program.least, program.most, full);
        condense(view.history(), view.history().programs.get(program.programNumber), SPARK_SECONDS, points);
        trend.set(points);
      },
    };
  }
  const table = liveTable('Programs', COLUMNS, { keyOf: (program) => program.programNumber, makeRow, sortedBy: 0 });
  table.element.classList.add('programs');

  function update() {
    const picture = view.picture();
    if (!picture) {
      setText(nothing, 'Nothing has come yet.');
      return;
    }
    const programs = [...picture.programs.values()];
    full = fullScale(Math.max(...programs.map((program) => (program.gone ? 0 : (program.rateBitPerSecond ?? 0)))));
    const shown = new Map(
      programs
        .filter((one) => matches(filter.value, [one.programNumber, visibleText(one.name), visibleText(one.provider)]))
        .map((program) => [program.programNumber, program]),
    );
    table.show(shown);
    setText(count, `${shown.size} of ${programs.length} programs; full bar ${rateText(full)}`);
    setText(nothing, shown.size ? '' : programs.length ? 'No program is like that.' : 'No programs have come yet.');
    detail.show(chosen);
    if (wanted >= 0 && table.focus(wanted)) wanted = -1;
  }
  filter.addEventListener('input', update);

  const section = element(
    'section',
    { class: 'tab split' },
    element(
      'div',
      { class: 'controls', role: 'search' },
      filter,
      element('a', { href: 'api/csv/programs', download: 'programs.csv' }, 'CSV'),
      count,
    ),
    element('div', { class: 'list' }, nothing, table.element),
    detail.element,
  );
  return {
    element: section,
    open(place) {
      chosen = /^\d+$/.test(place) ? Number(place) : -1;
      wanted = document.activeElement?.closest('tbody') === table.body ? -1 : chosen;
      section.toggleAttribute('data-open', chosen >= 0);
      update();
    },
    update,
    lookedAt() {
      const index = view.picture()?.programs.get(chosen)?.patIndex;
      return index === undefined || index > LAST_INDEX ? [] : [`pgmDetail:${index}`];
    },
    find: () => filter.focus(),
    sortAgain: table.sortAgain,
    plotPlace() {
      const number = table.focused() ?? (chosen >= 0 ? chosen : null);
      return number === null ? null : `rates/program-${number}`;
    },
  };
}

/** @param {View} view */
function programDetail(view) {
  const box = element('aside', { class: 'detail', 'aria-label': 'The chosen program' });
  const title = element('h2', {}, element('bdi'));
  const facts = element('div');
  const made = element('div');
  const pids = element('div');
  const age = element('p', { class: 'muted' });
  box.append(element('p', { class: 'back' }, link('#programs', 'All programs')), title, facts, age, made, pids);
  /** @type {Program | null} */
  let program = null;
  /** @type {Document | undefined} */
  let shownDocument;
  let shownPids = '';

  /** @param {Program} now */
  function showProgram(now) {
    if (now === program) return;
    program = now;
    setText(/** @type {HTMLElement} */ (title.firstChild), `${now.programNumber} ${nameText(now.name)}`);
    facts.replaceChildren(
      factList([
        ['Provider', visibleText(now.provider) || NOTHING],
        ['Type', serviceTypeName(now.serviceType)],
        ['PMT', pidLink(now.pmtPid)],
        ['Rate', link(`#rates/program-${now.programNumber}`, rateText(now.rateBitPerSecond))],
        ['Least to most', `${rateText(now.least)} to ${rateText(now.most)}`],
        ['CA', now.freeCaMode ? 'controlled (free_CA_mode is set)' : 'free'],
        ['Scrambling', now.allScrambled ? 'every component is scrambled' : 'not every component is scrambled'],
        ...(now.gone ? [/** @type {[string, string]} */ (['Gone', `last seen ${whenText(now.lastSeen, view.now())}`])] : []),
      ]),
    );
  }

  /** Its PIDs of the PID list, with their rates. @param {Program} now */
  function showPids(now) {
    const own = [...(view.picture()?.pids.values() ?? [])].filter((pid) => pid.programNumber === now.programNumber);
    own.sort((a, b) => a.pid - b.pid);
    const state = own.map((pid) => [pid.pid, pid.type, pid.rateBitPerSecond, pid.scrambled, pid.gone].join()).join(';');
    if (state === shownPids) return;
    shownPids = state;
    const hadFocus = pids.contains(document.activeElement);
    if (hadFocus) return;
    pids.replaceChildren(
      element('h3', {}, 'PIDs'),
      simpleTable(
        ['PID', 'Type', 'Rate', 'Scrambling'],
        own.map((pid) => [
          pidLink(pid.pid),
          kindOf(pid),
          rateText(pid.rateBitPerSecond),
          pid.gone ? 'gone' : scrambling(pid.scrambled),
        ]),
        'The list shows no PID of this program.',
        { classes: { 2: 'number' }, stacks: true },
      ),
    );
  }

  return {
    element: box,
    /** @param {number} chosen */
    show(chosen) {
      const picture = view.picture();
      const now = picture?.programs.get(chosen);
      box.hidden = chosen < 0;
      if (chosen < 0) return;
      if (!now) {
        program = null;
        setText(/** @type {HTMLElement} */ (title.firstChild), `Program ${chosen}`);
        setText(age, 'The stream has no such program.');
        for (const part of [facts, made, pids]) part.replaceChildren();
        return;
      }
      showProgram(now);
      showPids(now);
      const found = picture?.documents.get(`pgmDetail:${now.patIndex}`);
      const right = found?.value?.programNumber === now.programNumber ? found : undefined;
      if (now.patIndex > LAST_INDEX) setText(age, `The board describes the first ${LAST_INDEX + 1} programs of a stream.`);
      else if (found?.value === null) setText(age, 'Its components came, but cannot be read.');
      else setText(age, right ? `Components as of ${durationText(view.now() - right.time)} ago` : 'Waiting for its components …');
      if (right !== shownDocument || !right) made.replaceChildren(...(right ? components(right.value) : []));
      shownDocument = right;
    },
  };
}

/** @param {Pid} pid */
function kindOf(pid) {
  return element('span', { class: 'kind', 'data-kind': typeKind(pid) }, typeName(pid));
}

/** @param {{pid: number}[]} list */
const pidList = (list) => element('p', { class: 'pidList' }, ...list.flatMap(({ pid }) => [pidLink(pid), ' ']));

/**
 * Video, audio, private data and ECM of a program detail.
 * @param {any} value
 */
function components(value) {
  const { video, audio, privateData, ecm } = value;
  /** @type {Node[]} */
  const parts = [element('h3', {}, 'Video')];
  parts.push(
    video ? factList(videoFacts(video)) : element('p', { class: 'muted' }, 'The program has no video, or none is known yet.'),
  );
  parts.push(
    element('h3', {}, 'Audio'),
    simpleTable(
      ['PID', 'Language', 'Coding', 'Bit rate', 'Sampling', 'Mode', 'Scrambling'],
      audio.map((/** @type {any} */ track) => [
        pidLink(track.pid),
        visibleText(track.language) || NOTHING,
        visibleText(track.coding),
        track.bitRateBitPerSecond ? `${track.bitRateBitPerSecond / 1000}\u00A0kbit/s` : NOTHING,
        track.sampleRateHertz ? `${track.sampleRateHertz / 1000}\u00A0kHz` : NOTHING,
        visibleText(track.mode),
        scrambling(track.scrambled),
      ]),
      'The program has no audio, or none is known yet.',
      { stacks: true },
    ),
  );
  if (privateData.length) parts.push(element('h3', {}, 'Private data'), pidList(privateData));
  if (ecm.length) parts.push(element('h3', {}, 'ECM'), pidList(ecm));
  return parts;
}

/**
 * @param {any} video
 * @returns {[string, string | Node][]}
 */
function videoFacts(video) {
  return [
    ['PID', pidLink(video.pid)],
    ['Coding', [video.coding, video.entropyCoding === 'N/A' ? '' : video.entropyCoding].filter(Boolean).join(', ')],
    ['Resolution', video.widthPixels ? `${video.widthPixels} × ${video.heightLines}` : 'unknown'],
    ['Pictures', video.picturesPerSecond ? `${video.picturesPerSecond.toFixed(2)} per second` : 'unknown'],
    ['Aspect ratio', visibleText(video.aspectRatio)],
    ['Profile and level', profileAndLevel(video)],
    ['Scrambling', scrambling(video.scrambled)],
  ];
}
