import assert from 'node:assert/strict';
import { test } from 'node:test';
import {
  bytesText,
  durationText,
  hexText,
  nameText,
  rateText,
  shareText,
  visibleLines,
  visibleText,
} from '../../../page/parts/format.js';
import { fullScale } from '../../../page/parts/rateBar.js';
import { pathOf } from '../../../page/parts/sparkline.js';

test('a rate has the places of the documents', () => {
  assert.equal(rateText(15040), '15.040 kbit/s');
  assert.equal(rateText(3250000), '3.250 Mbit/s');
  assert.equal(rateText(1000), '1.000 kbit/s');
  assert.equal(rateText(999), '999 bit/s');
  assert.equal(rateText(0), '0 bit/s');
});

test('a rate that is none is a dash, and an absurd one does not fill the page', () => {
  for (const rate of [null, undefined, Number.NaN, Number.POSITIVE_INFINITY]) assert.equal(rateText(rate), '–');
  assert.equal(rateText(3.4e38), '3.40e+38 bit/s');
  assert.equal(rateText(-3.4e38), '-3.40e+38 bit/s');
});

test('a share of nothing is a dash', () => {
  assert.equal(shareText(1, 8), '12.5 %');
  assert.equal(shareText(1, 0), '–');
  assert.equal(shareText(null, 8), '–');
});

test('PIDs have four hexadecimal digits, tables two', () => {
  assert.equal(hexText(256), '0x0100');
  assert.equal(hexText(8191), '0x1FFF');
  assert.equal(hexText(66, 2), '0x42');
});

test('durations are as exact as one wants them', () => {
  assert.equal(durationText(400), '0 s');
  assert.equal(durationText(-61_000), '1 min 1 s');
  assert.equal(durationText(7_500_000), '2 h 5 min');
  assert.equal(durationText(86_400_000), '1 day 0 h');
  assert.equal(bytesText(24990), '24,990 bytes');
});

test('what cannot be seen, or acts on the page, is written out', () => {
  assert.equal(visibleText('abc\u202Edcba'), 'abc\\u{202E}dcba');
  assert.equal(visibleText('a\u0000b\nc\u009Bd'), 'a\\u{0}b\\u{A}c\\u{9B}d');
  assert.equal(visibleText('\uE086News\uE087'), '\\u{E086}News\\u{E087}');
  assert.equal(visibleText('zero\u200Bwidth\u2066\uFEFF'), 'zero\\u{200B}width\\u{2066}\\u{FEFF}');
  assert.equal(visibleText('\uD800'), '\\u{D800}');
});

test('what cannot be seen is written out, wherever it stands among the characters', () => {
  const unseen = [
    0xad, 0x34f, 0x115f, 0x17b4, 0x180e, 0x200d, 0x2800, 0x3164, 0xfe0f, 0xffa0, 0xfff9, 0x1d173, 0xe0001, 0xe0041, 0xe0100,
  ];
  for (const code of unseen) {
    const hex = code.toString(16).toUpperCase();
    assert.equal(visibleText(`a${String.fromCodePoint(code)}b`), `a\\u{${hex}}b`);
  }
});

test('of a text of several lines the lines stay', () => {
  assert.equal(visibleLines('{"a":\r\n\t"b\u202Ec\u0007"}\n'), '{"a":\r\n\t"b\\u{202E}c\\u{7}"}\n');
});

test('what is only unusual stays', () => {
  for (const text of ['<b>&amp;', 'קול ישראל', '📺 e\u0301', 'Порт ТВ', '中文']) assert.equal(visibleText(text), text);
});

test('an empty name is said to be', () => {
  for (const name of ['', '   ', null, undefined]) assert.equal(nameText(name), '(no name)');
});

test('a full scale is a round number that is not less', () => {
  assert.deepEqual([0.9, 1, 1.1, 3e6, 5e6, 5.1e6].map(fullScale), [1, 1, 2, 5e6, 5e6, 1e7]);
  for (const nothing of [0, -1, Number.NaN, Number.NEGATIVE_INFINITY, Number.POSITIVE_INFINITY])
    assert.equal(fullScale(nothing), 1);
});

test('a sparkline has gaps where nothing is known', () => {
  assert.equal(pathOf(new Float32Array([Number.NaN, Number.NaN])), '');
  assert.equal(pathOf(new Float32Array([0, 100])), 'M0 16.5h.1L90 1.5');
  const line = pathOf(new Float32Array([1000, 1000, Number.NaN, 1000]));
  assert.deepEqual(line.match(/[ML]/g), ['M', 'L', 'M']);
  assert.equal(pathOf(new Float32Array([1000, 1001])).includes('16.5'), false, 'a hair is not drawn as a mountain');
});
