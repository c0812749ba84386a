import assert from 'node:assert/strict';
import { test } from 'node:test';
import { calmOrder, comparison, matches } from '../../../page/picture/order.js';

/** @typedef {{key: number, rate: number | null}} Row */
const byRate = comparison(
  (/** @type {Row} */ row) => row.rate,
  (row) => row.key,
  true,
);
/** @param {[number, number | null][]} rows */
const rowsOf = (rows) => new Map(rows.map(([key, rate]) => [key, { key, rate }]));

test('rows are sorted when nothing is shown yet', () => {
  assert.deepEqual(
    calmOrder(
      [],
      rowsOf([
        [1, 5],
        [2, 9],
        [3, 7],
      ]),
      byRate,
    ),
    [2, 3, 1],
  );
});

test('rows keep their place while their values change', () => {
  assert.deepEqual(
    calmOrder(
      [2, 3, 1],
      rowsOf([
        [1, 100],
        [2, 0],
        [3, 7],
      ]),
      byRate,
    ),
    [2, 3, 1],
  );
});

test('a new row goes before the first that it precedes, and one that is not wanted leaves', () => {
  assert.deepEqual(
    calmOrder(
      [2, 3, 1],
      rowsOf([
        [1, 5],
        [2, 9],
        [4, 6],
      ]),
      byRate,
    ),
    [2, 4, 1],
  );
});

test('rows without a value come last either way, equal ones by their keys', () => {
  const rows = rowsOf([
    [1, null],
    [4, 3],
    [2, 3],
    [3, 8],
  ]);
  const rising = comparison(
    (/** @type {Row} */ row) => row.rate,
    (row) => row.key,
    false,
  );
  assert.deepEqual(calmOrder([], rows, byRate), [3, 2, 4, 1]);
  assert.deepEqual(calmOrder([], rows, rising), [2, 4, 3, 1]);
});

test('every word that was typed has to be found', () => {
  const texts = [256, '0x0100', 'Video', 'News One'];
  for (const typed of ['', '256', '0X01', 'video news', ' one ']) assert.ok(matches(typed, texts), typed);
  for (const typed of ['257', 'video film', '.*']) assert.ok(!matches(typed, texts), typed);
});
