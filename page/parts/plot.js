// The plot over time, by dygraphs, which is fetched when the first plot is made.

/** @import {SampleRow} from '../picture/series.js' */
import { drawing } from './element.js';

/**
 * @typedef {object} DygraphsGraph the part of dygraphs that is used
 * @property {(options: object) => void} updateOptions
 */
/**
 * @typedef {object} Plot
 * @property {(samples: SampleRow[], names: string[], window: [number, number] | null) => void} show rows of a time and
 *   one value for each name; the window is what is seen of the time, null for all
 * @property {() => void} restyle takes the colours of the theme
 */
/** @typedef {{onZoom: (from: number, to: number) => void, onPoint: (row: number | null) => void}} PlotListener */

/** @type {Promise<any> | null} */
let library = null;

function loadLibrary() {
  library ??= new Promise((resolve, reject) => {
    const script = document.createElement('script');
    script.src = 'dygraph.min.js';
    script.addEventListener('load', () => {
      const { Dygraph } = /** @type {any} */ (globalThis);
      // Its legend writes names as markup; the page has its own.
      Dygraph.PLUGINS = Dygraph.PLUGINS.filter((/** @type {any} */ plugin) => plugin !== Dygraph.Plugins.Legend);
      resolve(Dygraph);
    });
    script.addEventListener('error', () => {
      library = null;
      reject(new Error('the plot could not be fetched'));
    });
    document.head.append(script);
  });
  return library;
}

/** Each line has its colour, --line-0 and on, and its dashes, so that colour alone tells none from another. */
const DASHES = [null, [8, 3], [2, 2], [12, 3, 2, 3], [5, 5], [16, 4], [2, 6], [10, 2, 2, 2, 2, 2]];
export const LINES = DASHES.length;

/** A piece of a line, for a legend. @param {number} index */
export function lineSample(index) {
  const path = drawing('path', { d: 'M0 4H40', 'stroke-dasharray': DASHES[index % LINES]?.join(' ') ?? 'none' });
  path.style.stroke = `var(--line-${index % LINES})`;
  return drawing('svg', { class: 'line', viewBox: '0 0 40 8', 'aria-hidden': 'true' }, path);
}

/** @param {number} value bit/s */
function axisText(value) {
  if (value >= 1e6) return `${Number((value / 1e6).toPrecision(4))} M`;
  return value >= 1e3 ? `${Number((value / 1e3).toPrecision(4))} k` : `${Number(value.toPrecision(4))}`;
}

/**
 * @param {HTMLElement} box
 * @param {PlotListener} listener
 * @returns {Promise<Plot>}
 */
export async function makePlot(box, { onZoom, onPoint }) {
  const Dygraph = await loadLibrary();
  /** @type {DygraphsGraph | null} */
  let graph = null;
  let lines = '';
  const style = getComputedStyle(box);
  const colour = (/** @type {string} */ name) => style.getPropertyValue(name).trim();

  /** @param {string[]} names */
  function lineOptions(names) {
    return {
      labels: ['time', ...names],
      colors: names.map((_, i) => colour(`--line-${i % LINES}`)),
      series: Object.fromEntries(names.map((name, i) => [name, { strokePattern: DASHES[i % LINES] }])),
    };
  }
  const themeOptions = () => ({ axisLineColor: colour('--rule-strong'), gridLineColor: colour('--rule') });

  return {
    show(samples, names, window) {
      if (!graph) {
        graph = /** @type {DygraphsGraph} */ (
          new Dygraph(box, samples, {
            ...lineOptions(names),
            ...themeOptions(),
            dateWindow: window,
            includeZero: true,
            strokeWidth: 1.5,
            axes: { y: { axisLabelWidth: 56, axisLabelFormatter: axisText } },
            zoomCallback: onZoom,
            highlightCallback: (
              /** @type {any} */ _event,
              /** @type {number} */ _x,
              /** @type {any} */ _points,
              /** @type {number} */ row,
            ) => onPoint(row),
            unhighlightCallback: () => onPoint(null),
          })
        );
      } else {
        const now = names.join();
        graph.updateOptions({ file: samples, dateWindow: window, ...(now === lines ? {} : lineOptions(names)) });
      }
      lines = names.join();
    },
    restyle() {
      graph?.updateOptions({ ...themeOptions(), ...lineOptions(lines.split(',')) });
    },
  };
}
