// The programs of the stream, and what one is made of.

/** @import {Program, Pid} from '../picture/picture.js' */
/** @import {Column} from '../parts/liveTable.js' */
/** @import {View} from './view.js' */
/** @import {Tab} from '../frame/tabBar.js' */
import { element, link, setAttribute, setLink, setText } from '../parts/element.js';
import { durationText, NOTHING, nameText, rateText, visibleText, whenText } from '../parts/format.js';
import { keyedRows } from '../parts/keyedRows.js';
import { liveTable } from '../parts/liveTable.js';
import { pidLink, pidText } from '../parts/pidLink.js';
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

/** @param {boolean | null} scrambled null: not known yet */
function scrambling(scrambled) {
  if (scrambled === null) return 'unknown';
  return scrambled ? 'scrambled' : 'clear';
}

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
      const pid = detail.focusedPid();
      if (pid !== null) return `rates/pid-${pid}`;
      const number = table.focused() ?? (chosen >= 0 ? chosen : null);
      return number === null ? null : `rates/program-${number}`;
    },
  };
}

/**
 * The chosen program. What stands there stays and is changed in place: the figures are new each second, and the reader's focus and selection
 * must not go with them.
 * @param {View} view
 */
function programDetail(view) {
  const title = element('bdi');
  const facts = programFacts(view);
  const age = element('p', { class: 'muted' });
  const made = element('div');
  const pids = programPids();
  const box = element(
    'aside',
    { class: 'detail', 'aria-label': 'The chosen program' },
    element('p', { class: 'back' }, link('#programs', 'All programs')),
    element('h2', {}, title),
    facts.element,
    age,
    made,
    pids.element,
  );
  let shownComponents = '';

  /** What the board says of its components. @param {Program} now */
  function showComponents(now) {
    const found = view.picture()?.documents.get(`pgmDetail:${now.patIndex}`);
    const right = found?.value?.programNumber === now.programNumber ? found : undefined;
    if (now.patIndex > LAST_INDEX) setText(age, `The board describes the first ${LAST_INDEX + 1} programs of a stream.`);
    else if (found?.value === null) setText(age, 'Its components came, but cannot be read.');
    else setText(age, right ? `Components as of ${durationText(view.now() - right.time)} ago` : 'Waiting for its components …');
    // What came again is the same most of the time.
    const state = right ? JSON.stringify(right.value) : '';
    if (state !== shownComponents) made.replaceChildren(...(right ? components(right.value) : []));
    shownComponents = state;
  }

  return {
    element: box,
    /** @param {number} chosen */
    show(chosen) {
      const picture = view.picture();
      const now = picture?.programs.get(chosen);
      box.hidden = chosen < 0;
      if (chosen < 0) return;
      for (const part of [facts.element, made, pids.element]) part.hidden = !now;
      if (!now) {
        setText(title, `Program ${chosen}`);
        setText(age, 'The stream has no such program.');
        return;
      }
      setText(title, `${now.programNumber} ${nameText(now.name)}`);
      facts.show(now);
      showComponents(now);
      pids.show([...(picture?.pids.values() ?? [])].filter((pid) => pid.programNumber === now.programNumber));
    },
    /** @returns {number | null} the PID whose row has the focus */
    focusedPid: pids.focused,
  };
}

/** @param {View} view */
function programFacts(view) {
  const [provider, type, range, ca, scrambled, gone] = Array.from({ length: 6 }, () => element('bdi'));
  const pmt = link();
  const rate = link();
  const list = factList([
    ['Provider', provider],
    ['Type', type],
    ['PMT', pmt],
    ['Rate', rate],
    ['Least to most', range],
    ['CA', ca],
    ['Scrambling', scrambled],
    ['Gone', gone],
  ]);
  return {
    element: list,
    /** @param {Program} now */
    show(now) {
      setText(provider, visibleText(now.provider) || NOTHING);
      setText(type, serviceTypeName(now.serviceType));
      setLink(pmt, `#pids/${now.pmtPid}`, pidText(now.pmtPid));
      setLink(rate, `#rates/program-${now.programNumber}`, rateText(now.rateBitPerSecond));
      setText(range, `${rateText(now.least)} to ${rateText(now.most)}`);
      setText(ca, now.freeCaMode ? 'controlled (free_CA_mode is set)' : 'free');
      setText(scrambled, now.allScrambled ? 'every component is scrambled' : 'not every component is scrambled');
      setText(gone, now.gone ? `last seen ${whenText(now.lastSeen, view.now())}` : '');
      /** @type {HTMLElement} */ (list.lastElementChild).hidden = !now.gone;
    },
  };
}

/** The program's PIDs of the PID list, with their rates. */
function programPids() {
  const heads = ['PID', 'Type', 'Rate', 'Scrambling'];
  const body = element('tbody');
  const nothing = element('p', { class: 'muted' }, 'The list shows no PID of this program.');
  const table = element(
    'div',
    { class: 'wide few' },
    element(
      'table',
      { class: 'plain stacks', role: 'grid', 'aria-label': 'PIDs of the chosen program' },
      element('thead', {}, element('tr', {}, ...heads.map((head) => element('th', { scope: 'col' }, head)))),
      body,
    ),
  );

  /** @param {Pid} first */
  function makeRow(first) {
    const type = element('span', { class: 'kind' });
    const [rate, scrambled] = [element('td', { class: 'number' }), element('td')];
    const cells = [element('td', {}, pidLink(first.pid)), element('td', {}, type), rate, scrambled];
    for (const [i, cell] of cells.entries()) cell.setAttribute('data-head', heads[i]);
    return {
      element: element('tr', {}, ...cells),
      open: () => {
        location.hash = `pids/${first.pid}`;
      },
      /** @param {Pid} pid */
      update(pid) {
        setText(type, typeName(pid));
        setAttribute(type, 'data-kind', typeKind(pid));
        setText(rate, rateText(pid.rateBitPerSecond));
        setText(scrambled, pid.gone ? 'gone' : scrambling(pid.scrambled));
      },
    };
  }
  const rows = /** @type {import('../parts/keyedRows.js').KeyedRows<number, Pid>} */ (keyedRows(body, makeRow));

  return {
    element: element('div', {}, element('h3', {}, 'PIDs'), nothing, table),
    /** @param {Pid[]} own */
    show(own) {
      const now = new Map(own.sort((a, b) => a.pid - b.pid).map((pid) => [pid.pid, pid]));
      rows.show([...now.keys()], (key) => /** @type {Pid} */ (now.get(key)));
      nothing.hidden = own.length > 0;
      table.hidden = own.length === 0;
    },
    focused: rows.focused,
  };
}

/** @param {{pid: number}[]} list */
const pidList = (list) => element('p', { class: 'pidList' }, ...list.flatMap(({ pid }) => [pidLink(pid), ' ']));

/** The bit rate of an audio track. @param {number | null} bitPerSecond 0: the free format, a rate of its own */
function bitRateText(bitPerSecond) {
  if (bitPerSecond === null) return NOTHING;
  return bitPerSecond === 0 ? 'free rate' : `${bitPerSecond / 1000}\u00A0kbit/s`;
}

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
        bitRateText(track.bitRateBitPerSecond),
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
