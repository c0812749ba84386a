import assert from 'node:assert/strict';
import { test } from 'node:test';
import { applyChange, EVENTS_KEPT, figuresTime, pictureOf, rateWithoutNull } from '../../../page/picture/picture.js';
import { makeFeed, sampleDocuments } from '../support/feed.js';

const START = Date.UTC(2026, 0, 1);
const feedOf = () => makeFeed(sampleDocuments(), START);

test('a first message is the whole picture', () => {
  const feed = feedOf();
  const picture = pictureOf(feed.picture(START));
  assert.equal(picture.pids.size, 21);
  assert.equal(picture.programs.get(102)?.name, 'Télé Médiane');
  assert.equal(figuresTime(picture), START);
});

test('a change replaces the rows that are in it and leaves the others', () => {
  const picture = pictureOf(feedOf().picture(START));
  const before = picture.pids.get(273);
  const changed = { .../** @type {any} */ (picture.pids.get(289)), rateBitPerSecond: 7 };
  applyChange(picture, { version: 9, time: START + 1, pids: [changed] });
  assert.equal(picture.pids.get(289)?.rateBitPerSecond, 7);
  assert.equal(picture.pids.get(273), before);
  assert.equal(picture.service.state, 'answering');
});

test('rows that are no longer kept go', () => {
  const picture = pictureOf(feedOf().picture(START));
  applyChange(picture, { version: 9, time: START + 1, removedPids: [289], removedPrograms: [102] });
  assert.equal(picture.pids.has(289), false);
  assert.equal(picture.programs.has(102), false);
});

test('of the events the newest are kept', () => {
  const picture = pictureOf({ version: 1, time: START });
  for (let i = 0; i < 3; ++i) {
    const events = Array.from({ length: 600 }, (_, k) => ({ number: i * 600 + k, time: START, kind: 'pidCame' }));
    applyChange(picture, { version: 2 + i, time: START, events });
  }
  assert.equal(picture.events.length, EVENTS_KEPT);
  assert.equal(picture.events.at(-1)?.number, 1799);
});

test('a message of nothing but version and time is a picture without a stream', () => {
  const picture = pictureOf({ version: 1, time: START });
  assert.equal(picture.service.state, 'absent');
  assert.equal(picture.stream.state, 'none');
  assert.equal(figuresTime(picture), null);
  assert.equal(rateWithoutNull(picture), null);
});

test('null packets are no part of what a stream carries', () => {
  const feed = feedOf();
  const picture = pictureOf(feed.picture(START));
  const total = /** @type {number} */ (picture.stream.rateBitPerSecond);
  const nulls = /** @type {any} */ (picture.pids.get(8191));
  assert.equal(rateWithoutNull(picture), total - nulls.rateBitPerSecond);
  nulls.gone = true;
  assert.equal(rateWithoutNull(picture), total);
});
