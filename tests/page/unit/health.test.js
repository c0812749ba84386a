import assert from 'node:assert/strict';
import { test } from 'node:test';
import { scheduleOf, secondsOf, utcTime } from '../../../page/picture/clock.js';
import { profileAndLevel, serviceTypeName } from '../../../page/picture/codes.js';
import { gravest, healthOf } from '../../../page/picture/health.js';
import { pictureOf } from '../../../page/picture/picture.js';
import { typeKind, typeName } from '../../../page/picture/pidTypes.js';

const NOW = Date.UTC(2026, 0, 1);

/**
 * @param {import('../../../page/picture/picture.js').ServiceState} service
 * @param {import('../../../page/picture/picture.js').StreamState} stream
 */
function pictureIn(service, stream) {
  return pictureOf({
    version: 1,
    time: NOW,
    service: { state: service, since: NOW },
    stream: { state: stream, since: NOW, rateBitPerSecond: 1, pidCount: 1, programCount: 1 },
    documents: { pidData: { time: NOW - 3000, bytes: 1, answerMs: 1 } },
  });
}

test('nothing is to be said when all is well', () => {
  const health = healthOf('open', pictureIn('answering', 'running'), NOW);
  assert.equal(gravest(health), null);
  assert.equal(health.ageMs, 3000);
});

for (const [connection, service, stream, says] of /** @type {const} */ ([
  ['lost', 'answering', 'running', 'Connection to the manager lost; trying again'],
  ['open', 'absent', 'running', 'Service: not connected'],
  ['open', 'unanswered', 'running', 'Service: busy; most likely waiting for the parser'],
  ['open', 'waiting', 'running', 'Service: waiting for the parser'],
  ['open', 'noStream', 'stale', 'No stream: the board has none, or is away'],
  ['open', 'answering', 'stale', 'Board: nothing new comes'],
  ['open', 'answering', 'none', 'Board: nothing has come yet'],
])) {
  test(`${connection}, ${service}, ${stream}: ${says}`, () => {
    assert.equal(gravest(healthOf(connection, pictureIn(service, stream), NOW))?.text, says);
  });
}

test('a manager that is silent while the stream runs is no sign that all is well', () => {
  const health = healthOf('open', pictureIn('answering', 'running'), NOW + 6001);
  assert.equal(gravest(health)?.text, 'The manager sends nothing new');
  assert.equal(health.service.text, 'Not known');
  assert.equal(health.board.text, 'Not known');
  // Of these the manager has said why nothing comes.
  for (const state of /** @type {const} */ (['stale', 'none'])) {
    assert.equal(healthOf('open', pictureIn('answering', state), NOW + 60_000).manager.level, 'good');
  }
});

test('old figures are no sign that the board publishes, whatever else comes', () => {
  const picture = pictureIn('answering', 'running');
  assert.equal(gravest(healthOf('open', picture, NOW + 3000)), null);
  const health = healthOf('open', picture, NOW + 3001);
  assert.equal(health.ageMs, 6001);
  assert.equal(health.manager.level, 'good');
  assert.equal(gravest(health)?.text, 'Board: nothing new comes');
});

test('without a connection nothing is known of service and board', () => {
  const health = healthOf('lost', pictureIn('answering', 'running'), NOW + 60_000);
  assert.equal(health.service.text, 'Not known');
  assert.equal(health.board.text, 'Not known');
  assert.equal(health.ageMs, 63_000);
});

test('times of tables are UTC, and garbage is no time', () => {
  assert.equal(utcTime('2025-11-21', '12:01:03'), Date.UTC(2025, 10, 21, 12, 1, 3));
  for (const [date, time] of [
    ['2025-11-21', '25:xx:00'],
    ['2025-13-41', '12:00:00'],
    ['', '12:00:00'],
    ['2025-11-21', ''],
  ]) {
    assert.equal(utcTime(date, time), null);
  }
  assert.equal(secondsOf('01:30:00'), 5400);
  assert.equal(secondsOf(' 01:30:00 '), 5400);
  assert.equal(secondsOf(null), null);
});

test('a schedule is in the order of its starts, with what has no time last', () => {
  const events = [
    { name: 'late', date: '2025-11-22', startTime: '00:10:00', duration: '00:20:00' },
    { name: 'never', date: '2025-11-22', startTime: 'soon', duration: '' },
    { name: 'early', date: '2025-11-21', startTime: '23:50:00', duration: '00:20:00' },
  ];
  const schedule = scheduleOf(events);
  assert.deepEqual(
    schedule.map(({ event }) => event.name),
    ['early', 'late', 'never'],
  );
  assert.equal(schedule[0].end, schedule[1].start);
  assert.equal(schedule[2].end, null);
});

test('types have names, tables those of their table, and unheard-of ones a number', () => {
  assert.equal(typeName({ type: 5, description: 'VID+PCR' }), 'Video + PCR');
  assert.equal(typeName({ type: 8, description: 'EIT' }), 'EIT');
  assert.equal(typeName({ type: 99, description: '' }), 'Type 99');
  assert.equal(typeKind({ type: 99 }), 'unknown');
  assert.equal(serviceTypeName(2), 'Radio');
  assert.equal(serviceTypeName(200), 'Type 200');
});

test('profile and level are named as their coding names them', () => {
  assert.equal(profileAndLevel({ coding: 'H.264', profile: 'High', level: 40 }), 'High @ 4.0');
  assert.equal(profileAndLevel({ coding: 'MPEG-2', profile: '4', level: 8 }), 'Main @ Main');
  assert.equal(profileAndLevel({ coding: 'H.264', profile: 'zero', level: 0 }), 'unknown');
});
