// Rates over time: the stream, and the PIDs and programs that are chosen.

/** @import {View} from './view.js' */
/** @import {Tab} from '../frame/tabBar.js' */
/** @import {Plot} from '../parts/plot.js' */
/** @import {History} from '../picture/history.js' */
/** @import {SampleRow} from '../picture/series.js' */
import { element, link, setAttribute, setText } from '../parts/element.js';
import { hexText, nameText, rateText, timeText, visibleText } from '../parts/format.js';
import { LINES, lineSample, makePlot } from '../parts/plot.js';
import { typeName } from '../picture/pidTypes.js';
import { isSeries, sampleRows, subjectOf, summary, TOTAL, WITHOUT_NULL } from '../picture/series.js';

/** @type {[string, number | null][]} seconds that are seen; null: all there are */
const SPANS = [
  ['1 min', 60],
  ['5 min', 300],
  ['15 min', null],
];
const ALWAYS_THERE = [TOTAL, WITHOUT_NULL];
const FIGURES = ['Now', 'Least', 'Mean', 'Most'];

/**
 * @param {View} view
 * @returns {Tab}
 */
export function ratesTab(view) {
  /** @type {string[]} */
  let names = [...ALWAYS_THERE];
  /** @type {number | null} */
  let span = 300;
  /** @type {[number, number] | null} what the reader has zoomed to */
  let zoomed = null;
  /** What there was when it was held; a series that is added is held with the others. @type {History | null} */
  let held = null;
  /** @type {Plot | null} */
  let plot = null;
  let isMaking = false;
  /** @type {SampleRow[]} */
  let samples = [];
  /** @type {number | null} */
  let pointed = null;

  const box = element('div', {
    class: 'plot',
    role: 'img',
    'aria-label': 'Rates over time; the table below has them as numbers',
  });
  const problem = element('p', { class: 'nothing' });
  const legend = element('tbody');
  const when = element('th', { scope: 'col', class: 'rate' }, FIGURES[0]);
  const adder = element('select', { 'aria-label': 'Add a PID or program to the plot' });
  const hold = element('button', { type: 'button', 'aria-pressed': 'false' }, 'Hold');
  const spans = SPANS.map(([name, seconds]) => {
    const button = element('button', { type: 'button' }, name);
    button.addEventListener('click', () => {
      span = seconds;
      zoomed = null;
      draw();
    });
    return button;
  });

  /** @param {string} name */
  function titleOf(name) {
    if (name === TOTAL) return 'Whole stream';
    if (name === WITHOUT_NULL) return 'Without null packets';
    const subject = subjectOf(name);
    if (subject?.about === 'pid') {
      const pid = view.picture()?.pids.get(subject.key);
      return `PID ${subject.key} ${hexText(subject.key)}${pid ? ` ${typeName(pid)} ${visibleText(pid.serviceName)}` : ''}`;
    }
    const program = view.picture()?.programs.get(subject?.key ?? -1);
    return `Program ${subject?.key} ${program ? nameText(program.name) : ''}`;
  }

  const addressOf = (/** @type {string[]} */ chosen) => `rates/${chosen.join(',')}`;
  /** @type {{name: string, title: HTMLElement, cells: HTMLElement[]}[]} */
  let legendRows = [];

  function makeLegend() {
    legendRows = names.map((name, i) => {
      const title = element('bdi');
      const cells = FIGURES.map((figure) => element('td', { class: 'rate', 'data-head': figure }));
      const remove = link(`#${addressOf(names.filter((other) => other !== name))}`, 'remove');
      remove.setAttribute('aria-label', `Remove ${titleOf(name)}`);
      legend.append(
        element('tr', {}, element('th', { scope: 'row' }, lineSample(i), title), ...cells, element('td', {}, remove)),
      );
      return { name, title, cells };
    });
  }

  function offerSeries() {
    const picture = view.picture();
    const pids = [...(picture?.pids.values() ?? [])].sort((a, b) => a.pid - b.pid);
    const programs = [...(picture?.programs.values() ?? [])].sort((a, b) => a.programNumber - b.programNumber);
    const options = [
      ...ALWAYS_THERE,
      ...programs.map((one) => `program-${one.programNumber}`),
      ...pids.map((one) => `pid-${one.pid}`),
    ];
    const state = options.join();
    if (adder.dataset.state === state || document.activeElement === adder) return;
    adder.dataset.state = state;
    adder.replaceChildren(
      element('option', { value: '' }, 'Add …'),
      ...options.map((name) => element('option', { value: name }, titleOf(name))),
    );
  }

  /** @returns {[number, number] | null} */
  function visibleSpan() {
    if (zoomed) return zoomed;
    if (!samples.length) return null;
    const newest = Number(samples[samples.length - 1][0]);
    return span === null ? [Math.min(Number(samples[0][0]), newest - 60_000), newest] : [newest - span * 1000, newest];
  }

  function showFigures() {
    const [from, to] = visibleSpan() ?? [0, 0];
    const row = pointed === null ? samples.length - 1 : Math.min(pointed, samples.length - 1);
    const moment = held ? 'When held' : FIGURES[0];
    setText(when, pointed === null ? moment : `At ${row < 0 ? '' : timeText(Number(samples[row][0]))}`);
    for (const [i, { name, title, cells }] of legendRows.entries()) {
      setText(title, titleOf(name));
      const figures = summary(samples, i + 1, from, to);
      const values = [
        row < 0 ? null : /** @type {number | null} */ (samples[row][i + 1]),
        figures?.least,
        figures?.mean,
        figures?.most,
      ];
      for (const [c, cell] of cells.entries()) setText(cell, rateText(values[c]));
      setAttribute(cells[0], 'data-head', when.textContent);
    }
    for (const [i, button] of spans.entries()) setAttribute(button, 'aria-pressed', String(!zoomed && SPANS[i][1] === span));
  }

  async function draw() {
    showFigures();
    if (!samples.length || !box.isConnected) return;
    if (!plot) {
      if (isMaking) return;
      isMaking = true;
      try {
        plot = await makePlot(box, {
          onZoom(from, to) {
            zoomed = [from, to];
            showFigures();
          },
          onPoint(row) {
            pointed = row;
            showFigures();
          },
        });
        setText(problem, '');
      } catch (error) {
        setText(problem, `No plot: ${/** @type {Error} */ (error).message}`);
        return;
      } finally {
        isMaking = false;
      }
      draw();
      return;
    }
    plot.show(samples, names, visibleSpan());
  }

  function takeSamples() {
    samples = sampleRows(held ?? view.history(), names);
  }
  function update() {
    offerSeries();
    if (held) return;
    takeSamples();
    draw();
  }
  function toggleHold() {
    held = held ? null : structuredClone(view.history());
    hold.setAttribute('aria-pressed', String(held !== null));
    if (held) showFigures();
    else update();
  }
  hold.addEventListener('click', toggleHold);
  adder.addEventListener('change', () => {
    if (adder.value) location.hash = addressOf([...names, adder.value]);
    adder.value = '';
  });

  return {
    element: element(
      'section',
      { class: 'tab rates' },
      element(
        'div',
        { class: 'controls' },
        ...spans,
        hold,
        adder,
        element('span', { class: 'muted' }, 'Drag over the plot to zoom in, Shift and drag to move'),
      ),
      problem,
      box,
      element(
        'div',
        { class: 'wide' },
        element(
          'table',
          { class: 'plain stacks legend' },
          element(
            'thead',
            {},
            element(
              'tr',
              {},
              element('th', { scope: 'col' }, 'Line'),
              when,
              ...FIGURES.slice(1).map((name) => element('th', { scope: 'col', class: 'rate' }, name)),
              element('td'),
            ),
          ),
          legend,
        ),
      ),
    ),
    open(detail) {
      const asked = [...new Set(detail.split(',').filter(isSeries))];
      names = (asked.length ? asked : ALWAYS_THERE).slice(-LINES);
      legend.replaceChildren();
      makeLegend();
      takeSamples();
      offerSeries();
      draw();
    },
    update,
    lookedAt: () => [],
    find: () => adder.focus(),
    hold: toggleHold,
    restyle: () => plot?.restyle(),
  };
}
