// What the plot shows: names of series, and their samples in rows of a time and a value each.

/** @import {History} from './history.js' */
import { eachSample } from './history.js';
import { NULL_PID } from './picture.js';

/** @typedef {string} SeriesName "total", "withoutNull", "pid-256" or "program-101" */
/** @typedef {(Date | number | null)[]} SampleRow a time, and a value for each series */

const GAP_MS = 5000;

export const TOTAL = 'total';
export const WITHOUT_NULL = 'withoutNull';

/**
 * The PID or program of a series; null of the others.
 * @param {SeriesName} name
 * @returns {{about: 'pid' | 'program', key: number} | null}
 */
export function subjectOf(name) {
  const match = /^(pid|program)-(\d{1,5})$/.exec(name);
  return match && { about: /** @type {'pid' | 'program'} */ (match[1]), key: Number(match[2]) };
}

/** @param {string} name @returns {boolean} */
export const isSeries = (name) => name === TOTAL || name === WITHOUT_NULL || subjectOf(name) !== null;

/**
 * @param {History} history
 * @param {SeriesName} name
 * @returns {(at: number) => number | null} the value of a sample
 */
function reader(history, name) {
  const subject = subjectOf(name);
  const ring = subject ? (subject.about === 'pid' ? history.pids : history.programs).get(subject.key) : history.total;
  const nulls = name === WITHOUT_NULL ? history.pids.get(NULL_PID) : undefined;
  if (!ring) return () => null;
  return (at) => {
    const value = ring[at] - (nulls ? nulls[at] || 0 : 0);
    return Number.isNaN(value) ? null : Math.max(0, value);
  };
}

/**
 * One row for each sample of the history, oldest first.
 * @param {History} history
 * @param {SeriesName[]} names
 * @returns {SampleRow[]}
 */
export function sampleRows(history, names) {
  const readers = names.map((name) => reader(history, name));
  /** @type {SampleRow[]} */
  const rows = [];
  let before = Number.POSITIVE_INFINITY;
  eachSample(history, Number.POSITIVE_INFINITY, (at) => {
    // A line across a time of which nothing is known would be an invention.
    if (history.times[at] - before > GAP_MS) rows.push([new Date(before + 1), ...names.map(() => null)]);
    before = history.times[at];
    rows.push([new Date(history.times[at]), ...readers.map((read) => read(at))]);
  });
  return rows;
}

/**
 * Least, most and mean of one column of the rows inside a span of time; null without any value.
 * @param {SampleRow[]} rows
 * @param {number} column
 * @param {number} from
 * @param {number} to
 */
export function summary(rows, column, from, to) {
  let least = Number.POSITIVE_INFINITY;
  let most = Number.NEGATIVE_INFINITY;
  let sum = 0;
  let count = 0;
  for (const row of rows) {
    const value = /** @type {number | null} */ (row[column]);
    const time = Number(row[0]);
    if (value === null || time < from || time > to) continue;
    least = Math.min(least, value);
    most = Math.max(most, value);
    sum += value;
    ++count;
  }
  return count ? { least, most, mean: sum / count } : null;
}
