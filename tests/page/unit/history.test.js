import assert from 'node:assert/strict';
import { test } from 'node:test';
import { condense, eachSample, emptyHistory, historyOf, SAMPLES, takeSample } from '../../../page/picture/history.js';
import { pictureOf } from '../../../page/picture/picture.js';
import { sampleRows, subjectOf, summary } from '../../../page/picture/series.js';

const START = Date.UTC(2026, 0, 1);

/** @param {Record<number, number | null>} rates of PIDs @param {number} total */
function pictureWith(rates, total) {
  const pids = /** @type {any} */ (
    Object.entries(rates).map(([pid, rateBitPerSecond]) => ({ pid: Number(pid), rateBitPerSecond, gone: false }))
  );
  return pictureOf({
    version: 1,
    time: START,
    pids,
    stream: { state: 'running', since: START, rateBitPerSecond: total, pidCount: pids.length, programCount: 0 },
  });
}

/** @param {import('../../../page/picture/history.js').History} history */
function samplesOf(history, seconds = Number.POSITIVE_INFINITY) {
  /** @type {number[]} */
  const totals = [];
  eachSample(history, seconds, (at) => totals.push(history.total[at]));
  return totals;
}

test('samples come back in the order of their times', () => {
  const history = emptyHistory();
  for (let i = 1; i <= 5; ++i) takeSample(history, pictureWith({}, i), START + i * 1000);
  assert.deepEqual(samplesOf(history), [1, 2, 3, 4, 5]);
  assert.deepEqual(samplesOf(history, 2), [4, 5]);
});

test('the oldest give way when the rings are full', () => {
  const history = emptyHistory();
  for (let i = 1; i <= SAMPLES + 10; ++i) takeSample(history, pictureWith({ 256: i }, i), START + i * 1000);
  const totals = samplesOf(history);
  assert.equal(totals.length, SAMPLES);
  assert.equal(totals[0], 11);
  assert.equal(totals.at(-1), SAMPLES + 10);
});

test('figures of the same moment are one sample, and older ones are none', () => {
  const history = emptyHistory();
  takeSample(history, pictureWith({}, 1), START + 1000);
  takeSample(history, pictureWith({}, 2), START + 1200);
  takeSample(history, pictureWith({}, 3), START + 900);
  assert.deepEqual(samplesOf(history), [2]);
});

test('a PID that is gone has no samples from then on, and one that is forgotten no ring', () => {
  const history = emptyHistory();
  takeSample(history, pictureWith({ 256: 5 }, 5), START + 1000);
  const gone = pictureWith({ 256: 5 }, 5);
  /** @type {any} */ (gone.pids.get(256)).gone = true;
  takeSample(history, gone, START + 2000);
  assert.deepEqual(Array.from(/** @type {Float32Array} */ (history.pids.get(256)).subarray(0, 2)), [5, Number.NaN]);
  takeSample(history, pictureWith({}, 5), START + 3000);
  assert.equal(history.pids.has(256), false);
});

test('a PID that comes late has no samples before', () => {
  const history = emptyHistory();
  takeSample(history, pictureWith({}, 1), START + 1000);
  takeSample(history, pictureWith({ 7: 3 }, 1), START + 2000);
  assert.deepEqual(
    sampleRows(history, ['pid-7']).map((row) => row[1]),
    [null, 3],
  );
});

test('what the manager kept is taken over, its newest when it is more than the rings hold', () => {
  const count = SAMPLES + 3;
  const times = Array.from({ length: count }, (_, i) => START + i * 1000);
  const rates = times.map((_, i) => (i === count - 1 ? null : i));
  const history = historyOf({ times, total: rates, pids: { 256: rates }, programs: {} });
  const rows = sampleRows(history, ['total', 'pid-256']);
  assert.equal(rows.length, SAMPLES);
  assert.deepEqual(rows[0].slice(1), [3, 3]);
  assert.deepEqual(rows.at(-1)?.slice(1), [null, null]);
});

test('a sparkline keeps the samples at their places in time', () => {
  const times = [0, 10_000, 20_000, 50_000].map((ms) => START + ms);
  const history = historyOf({ times, total: [1, 2, 3, 6], pids: {}, programs: {} });
  const points = new Float32Array(6);
  condense(history, history.total, 60, points);
  assert.deepEqual(Array.from(points), [1, 2, 3, Number.NaN, Number.NaN, 6]);
});

test('a point of a sparkline is the mean of its samples', () => {
  const times = [0, 1000, 2000, 3000].map((ms) => START + ms);
  const history = historyOf({ times, total: [1, 3, null, 8], pids: {}, programs: {} });
  const points = new Float32Array(2);
  condense(history, history.total, 4, points);
  assert.deepEqual(Array.from(points), [2, 8]);
  condense(history, undefined, 4, points);
  assert.deepEqual(Array.from(points), [Number.NaN, Number.NaN]);
});

test('a series without null packets is the total less theirs', () => {
  const times = [START, START + 1000];
  const history = historyOf({ times, total: [10, 10], pids: { 8191: [4, null] }, programs: { 1: [3, 3] } });
  assert.deepEqual(
    sampleRows(history, ['total', 'withoutNull', 'program-1']).map((row) => row.slice(1)),
    [
      [10, 6, 3],
      [10, 10, 3],
    ],
  );
});

test('no line crosses a time of which nothing is known', () => {
  const history = historyOf({ times: [START, START + 1000, START + 60_000], total: [1, 2, 3], pids: {}, programs: {} });
  assert.deepEqual(
    sampleRows(history, ['total']).map((row) => row[1]),
    [1, 2, null, 3],
  );
});

test('a summary looks at what is in its span and has a value', () => {
  const times = [0, 1, 2, 3].map((s) => START + s * 1000);
  const rows = sampleRows(historyOf({ times, total: [9, 1, null, 3], pids: {}, programs: {} }), ['total']);
  assert.deepEqual(summary(rows, 1, START + 1000, START + 3000), { least: 1, most: 3, mean: 2 });
  assert.equal(summary(rows, 1, START + 2000, START + 2000), null);
});

test('names of series that are none are found out', () => {
  assert.deepEqual(subjectOf('pid-256'), { about: 'pid', key: 256 });
  for (const name of ['pid-', 'pid--1', 'pid-123456', 'PID-1', 'constructor', '']) assert.equal(subjectOf(name), null);
});
