// The PIDs of the stream: what each carries, for which program, at which rate.

/** @import {Pid, Picture} from '../picture/picture.js' */
/** @import {Column} from '../parts/liveTable.js' */
/** @import {View} from './view.js' */
/** @import {Tab} from '../frame/tabBar.js' */
import { element, link, setAttribute, setLink, setText } from '../parts/element.js';
import { hexText, NOTHING, nameText, rateText, shareText, visibleText, whenText } from '../parts/format.js';
import { liveTable } from '../parts/liveTable.js';
import { fullScale, rateBar } from '../parts/rateBar.js';
import { sparkline } from '../parts/sparkline.js';
import { condense } from '../picture/history.js';
import { matches } from '../picture/order.js';
import { KINDS, typeKind, typeName } from '../picture/pidTypes.js';

const SPARK_SECONDS = 180;
const SPARK_POINTS = 60;
const points = new Float32Array(SPARK_POINTS);

/** @type {Column<Pid>[]} */
const COLUMNS = [
  { name: 'PID', className: 'pid', sortBy: (pid) => pid.pid },
  { name: 'Type', className: 'type', sortBy: typeName },
  { name: 'Program', className: 'program', sortBy: (pid) => pid.programNumber || null },
  { name: 'Rate', className: 'rate', sortBy: (pid) => pid.rateBitPerSecond, greatFirst: true },
  { name: 'Least', className: 'least', sortBy: (pid) => pid.least, greatFirst: true },
  { name: 'Most', className: 'most', sortBy: (pid) => pid.most, greatFirst: true },
  { name: 'Last 3 minutes', className: 'trend' },
  { name: 'Share', className: 'share', sortBy: (pid) => pid.rateBitPerSecond, greatFirst: true },
  { name: 'Scrambling', className: 'scrambling', sortBy: (pid) => pid.scrambled, greatFirst: true },
];

/**
 * @param {View} view
 * @returns {Tab}
 */
export function pidsTab(view) {
  let full = 1;
  let chosen = -1;
  let wanted = -1;

  const filter = element('input', {
    type: 'search',
    placeholder: 'PID, type, program, name',
    'aria-label': 'Filter the PIDs',
    maxlength: '60',
  });
  const kind = element('select', { 'aria-label': 'Kind of PID' }, element('option', { value: '' }, 'All kinds'));
  kind.append(...KINDS.map(([value, name]) => element('option', { value }, name)));
  const scrambledOnly = element('input', { type: 'checkbox' });
  const byProgram = element('input', { type: 'checkbox' });
  const again = element('button', { type: 'button', title: 'Sort by the values of now (s)' }, 'Sort again');
  const count = element('span', { class: 'muted' });
  const nothing = element('p', { class: 'nothing' });

  /** @param {Pid} first */
  function makeRow(first) {
    const dec = element('span', { class: 'dec' }, String(first.pid));
    const type = element('span', { class: 'kind' });
    const program = link();
    const name = element('bdi', { class: 'name' });
    const rate = link(`#rates/pid-${first.pid}`);
    const bar = rateBar();
    const [least, most, share, scrambling] = ['least', 'most', 'share', 'scrambling'].map((c) => element('td', { class: c }));
    const trend = sparkline();
    const row = element(
      'tr',
      {},
      element('th', { scope: 'row', class: 'pid' }, dec, ' ', element('span', { class: 'hex' }, hexText(first.pid))),
      element('td', { class: 'type' }, type),
      element('td', { class: 'program' }, program, ' ', name),
      element('td', { class: 'rate' }, bar.element, rate),
      least,
      most,
      element('td', { class: 'trend' }, trend.element),
      share,
      scrambling,
    );
    /** @type {Pid | null} */
    let shown = null;

    /** @param {Pid} pid */
    function showFacts(pid) {
      setText(type, typeName(pid));
      setAttribute(type, 'data-kind', typeKind(pid));
      setLink(
        program,
        pid.programNumber ? `#programs/${pid.programNumber}` : null,
        pid.programNumber ? String(pid.programNumber) : NOTHING,
      );
      setText(name, visibleText(pid.serviceName));
      setAttribute(row, 'class', pid.gone ? 'gone' : null);
      setText(scrambling, pid.gone ? `last seen ${whenText(pid.lastSeen, view.now())}` : pid.scrambled ? 'scrambled' : 'clear');
      setAttribute(scrambling, 'data-scrambled', pid.scrambled && !pid.gone ? '' : null);
      setText(rate, rateText(pid.rateBitPerSecond));
      setText(least, rateText(pid.least));
      setText(most, rateText(pid.most));
    }
    return {
      element: row,
      open: () => {
        if (shown?.programNumber) location.hash = `programs/${shown.programNumber}`;
      },
      /** @param {Pid} pid @param {boolean} inView */
      update(pid, inView) {
        if (pid !== shown) {
          shown = pid;
          showFacts(pid);
        }
        setAttribute(row, 'data-chosen', pid.pid === chosen ? '' : null);
        setText(share, pid.gone ? NOTHING : shareText(pid.rateBitPerSecond, view.picture()?.stream.rateBitPerSecond ?? null));
        if (!inView) return;
        bar.set(pid.gone ? 0 : pid.rateBitPerSecond, pid.least, pid.most, full);
        condense(view.history(), view.history().pids.get(pid.pid), SPARK_SECONDS, points);
        trend.set(points);
      },
    };
  }
  const table = liveTable('PIDs', COLUMNS, { keyOf: (pid) => pid.pid, makeRow, sortedBy: 0 });
  table.element.classList.add('pids');

  /** @param {Pid} pid */
  function isWanted(pid) {
    if (kind.value && typeKind(pid) !== kind.value) return false;
    if (scrambledOnly.checked && !pid.scrambled) return false;
    return (
      !filter.value ||
      matches(filter.value, [pid.pid, hexText(pid.pid), typeName(pid), pid.programNumber || '', visibleText(pid.serviceName)])
    );
  }

  /** @param {Picture} picture */
  const groupsOf = (picture) => ({
    groupOf: (/** @type {Pid} */ pid) => pid.programNumber,
    headingOf: (/** @type {number} */ number) => {
      if (number === 0) return { place: null, title: 'Of no program', note: '' };
      const program = picture.programs.get(number);
      return {
        place: `#programs/${number}`,
        title: `${number} ${program ? nameText(program.name) : ''}`,
        note: program ? rateText(program.rateBitPerSecond) : '',
      };
    },
  });

  function update() {
    const picture = view.picture();
    if (!picture) {
      setText(nothing, 'Nothing has come yet.');
      return;
    }
    const pids = [...picture.pids.values()];
    full = fullScale(Math.max(...pids.map((pid) => (pid.gone ? 0 : (pid.rateBitPerSecond ?? 0)))));
    const shown = new Map(pids.filter(isWanted).map((pid) => [pid.pid, pid]));
    table.show(shown, byProgram.checked ? groupsOf(picture) : null);
    const gone = pids.filter((pid) => pid.gone).length;
    setText(count, `${shown.size} of ${pids.length} PIDs${gone ? `, ${gone} gone` : ''}; full bar ${rateText(full)}`);
    setText(nothing, shown.size ? '' : pids.length ? 'No PID is like that.' : 'No PIDs have come yet.');
    if (wanted >= 0 && table.focus(wanted)) wanted = -1;
  }
  for (const control of [filter, kind, scrambledOnly, byProgram]) control.addEventListener('input', update);
  again.addEventListener('click', table.sortAgain);

  return {
    element: element(
      'section',
      { class: 'tab' },
      element(
        'div',
        { class: 'controls', role: 'search' },
        filter,
        kind,
        element('label', {}, scrambledOnly, ' Scrambled only'),
        element('label', {}, byProgram, ' Group by program'),
        again,
        element('a', { href: 'api/csv/pids', download: 'pids.csv' }, 'CSV'),
        count,
      ),
      nothing,
      table.element,
    ),
    open(detail) {
      chosen = /^\d+$/.test(detail) ? Number(detail) : -1;
      wanted = chosen;
      update();
    },
    update,
    lookedAt: () => [],
    find: () => filter.focus(),
    sortAgain: table.sortAgain,
    plotPlace() {
      const pid = table.focused();
      return pid === null ? null : `rates/pid-${pid}`;
    },
  };
}
