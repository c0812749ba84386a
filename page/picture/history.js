// The rates of the last quarter of an hour, one sample a second: rings of a fixed size, so that a page that is open for weeks
// holds no more than one that is open for a quarter of an hour.

/** @import {Picture} from './picture.js' */

/** As many samples as the manager keeps. */
export const SAMPLES = 900;
/** Samples that are closer are one: lists of PIDs and of programs come one behind the other. */
const CLOSEST_MS = 500;

/**
 * @typedef {object} History
 * @property {number} end samples that were ever taken; the newest is at (end - 1) % SAMPLES
 * @property {Float64Array} times
 * @property {Float32Array} total NaN: no sample
 * @property {Map<number, Float32Array>} pids
 * @property {Map<number, Float32Array>} programs
 */
/**
 * @typedef {object} KeptRates what the manager answers
 * @property {number[]} times
 * @property {(number | null)[]} total
 * @property {Record<string, (number | null)[]>} pids
 * @property {Record<string, (number | null)[]>} programs
 */

const emptyRing = () => new Float32Array(SAMPLES).fill(Number.NaN);

/** @returns {History} */
export function emptyHistory() {
  return { end: 0, times: new Float64Array(SAMPLES), total: emptyRing(), pids: new Map(), programs: new Map() };
}

/**
 * The history that the manager kept.
 * @param {KeptRates} kept
 * @returns {History}
 */
export function historyOf(kept) {
  const history = emptyHistory();
  const skipped = Math.max(0, kept.times.length - SAMPLES);
  history.end = kept.times.length - skipped;
  history.times.set(kept.times.slice(skipped));
  /** @param {(number | null)[]} rates */
  const ringOf = (rates) => {
    const ring = emptyRing();
    for (let i = 0; i < history.end; ++i) ring[i] = rates[skipped + i] ?? Number.NaN;
    return ring;
  };
  history.total = ringOf(kept.total);
  for (const [key, rates] of Object.entries(kept.pids)) history.pids.set(Number(key), ringOf(rates));
  for (const [key, rates] of Object.entries(kept.programs)) history.programs.set(Number(key), ringOf(rates));
  return history;
}

/**
 * Takes a sample of the picture, or completes the newest one when it is of the same moment.
 * @param {History} history
 * @param {Picture} picture
 * @param {number} time when the figures came
 */
export function takeSample(history, picture, time) {
  const newest = history.end === 0 ? 0 : history.times[(history.end - 1) % SAMPLES];
  if (time <= newest) return;
  if (time - newest >= CLOSEST_MS) ++history.end;
  const at = (history.end - 1) % SAMPLES;
  history.times[at] = time;
  history.total[at] = picture.stream.rateBitPerSecond ?? Number.NaN;
  sampleRows(history.pids, picture.pids, at);
  sampleRows(history.programs, picture.programs, at);
}

/**
 * @param {Map<number, Float32Array>} rings
 * @param {Map<number, {rateBitPerSecond: number | null, gone: boolean}>} rows
 * @param {number} at
 */
function sampleRows(rings, rows, at) {
  for (const [key, ring] of rings) {
    if (rows.has(key)) ring[at] = Number.NaN;
    else rings.delete(key);
  }
  for (const [key, row] of rows) {
    if (row.gone) continue;
    let ring = rings.get(key);
    if (!ring) {
      ring = emptyRing();
      rings.set(key, ring);
    }
    ring[at] = row.rateBitPerSecond ?? Number.NaN;
  }
}

/**
 * Calls back with the ring index of each sample that is younger than the given seconds, oldest first.
 * @param {History} history
 * @param {number} seconds
 * @param {(at: number) => void} callback
 */
export function eachSample(history, seconds, callback) {
  if (history.end === 0) return;
  const since = history.times[(history.end - 1) % SAMPLES] - seconds * 1000;
  for (let i = Math.max(0, history.end - SAMPLES); i < history.end; ++i) {
    if (history.times[i % SAMPLES] > since) callback(i % SAMPLES);
  }
}

/**
 * The last seconds of one series in a few points for a sparkline: the mean of what fell into each, NaN where nothing did. The points keep
 * their place in time, so that the line moves and does not change its shape.
 * @param {History} history
 * @param {Float32Array | undefined} ring
 * @param {number} seconds
 * @param {Float32Array} points is written
 */
export function condense(history, ring, seconds, points) {
  points.fill(Number.NaN);
  if (!ring || history.end === 0) return;
  const width = (seconds * 1000) / points.length;
  const newest = Math.floor(history.times[(history.end - 1) % SAMPLES] / width);
  let point = -1;
  let sum = 0;
  let count = 0;
  const first = Math.max(0, history.end - Math.min(SAMPLES, seconds * 2));
  for (let i = first; i < history.end; ++i) {
    const at = i % SAMPLES;
    const here = points.length - 1 - (newest - Math.floor(history.times[at] / width));
    if (here < 0 || Number.isNaN(ring[at])) continue;
    if (here !== point) {
      point = here;
      sum = 0;
      count = 0;
    }
    sum += ring[at];
    ++count;
    points[here] = sum / count;
  }
}
