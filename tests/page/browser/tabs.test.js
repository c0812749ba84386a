// What each tab says is what the documents say.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { hexText, rateText } from '../../../page/parts/format.js';
import { rowsOf, seeText } from '../support/browser.js';
import { openPage } from '../support/openPage.js';

test('the list of PIDs is the document', async () => {
  const { page, feed, tick, complaints } = await openPage({ place: '#pids' });
  tick();
  const total = feed.history.total.at(-1) ?? 0;
  await seeText(page, '#total', rateText(total));
  const expected = [...feed.pids.values()]
    .sort((a, b) => a.pid - b.pid)
    .map((pid) => [
      `${pid.pid} ${hexText(pid.pid)}`,
      `${pid.programNumber || '–'} ${pid.serviceName}`.trim(),
      rateText(pid.rateBitPerSecond),
      rateText(pid.least),
      rateText(pid.most),
      `${((100 * /** @type {number} */ (pid.rateBitPerSecond)) / total).toFixed(1)} %`,
      pid.scrambled ? 'scrambled' : 'clear',
    ]);
  const shown = await rowsOf(page);
  assert.deepEqual(
    shown.map(([pid, , program, rate, least, most, , share, scrambled]) => [pid, program, rate, least, most, share, scrambled]),
    expected,
  );
  assert.deepEqual(shown.map(([, type]) => type).slice(6, 9), ['Video + PCR', 'Audio', 'Audio']);
  assert.deepEqual(complaints, []);
});

test('the list of programs is the document', async () => {
  const { page, feed } = await openPage({ place: '#programs' });
  const shown = await rowsOf(page);
  const expected = [...feed.programs.values()].map((one) => [
    String(one.programNumber),
    one.name,
    one.provider,
    String(one.pidCount),
    rateText(one.rateBitPerSecond),
    one.freeCaMode ? 'CA' : 'free',
    one.allScrambled ? 'scrambled' : 'clear',
  ]);
  assert.deepEqual(
    shown.map(([number, name, provider, , count, rate, , , , ca, scrambled]) => [
      number,
      name,
      provider,
      count,
      rate,
      ca,
      scrambled,
    ]),
    expected,
  );
});

test('a click on a program brings its components, which are looked at', async () => {
  const { page, manager, feed } = await openPage({ place: '#programs' });
  await page.getByRole('gridcell', { name: 'Télé Médiane' }).first().click();
  await seeText(page, '.detail > p.muted', 'Waiting for its components …');
  await page.waitForRequest((request) => request.url().endsWith('/api/look?at=pgmDetail:2'));
  manager.send(feed.bringDocument('pgmDetail:2', Date.now()));
  await page.locator('.detail h3', { hasText: 'Video' }).waitFor();
  const facts = await page.locator('.detail dd').allTextContents();
  for (const fact of ['289 0x0121', 'MPEG-2', '352 × 288', '25.00 per second', 'Main @ Main'])
    assert.ok(facts.includes(fact), fact);
  const audio = await rowsOf(page, '.detail .wide:first-of-type table');
  assert.deepEqual(audio[0], ['290 0x0122', 'fra', 'MPEG1', '128 kbit/s', '48 kHz', 'Stereo', 'clear']);
  assert.deepEqual(audio[1], ['291 0x0123', 'eng', 'MPEG1', '96 kbit/s', '48 kHz', 'Stereo', 'clear']);
});

test('what is not known of a component is not shown as if it were', async () => {
  const { page, manager, documents } = await openPage({ place: '#programs/102' });
  const value = structuredClone(documents['pgmDetail:2'].value);
  value.video.scrambled = null;
  Object.assign(value.audio[0], { bitRateBitPerSecond: 0, scrambled: null });
  Object.assign(value.audio[1], { bitRateBitPerSecond: null, scrambled: true });
  manager.send({
    version: 99,
    time: Date.now(),
    documents: { 'pgmDetail:2': { time: Date.now(), bytes: 1, answerMs: 1, value } },
  });
  await page.locator('.detail h3', { hasText: 'Video' }).waitFor();
  assert.equal(await page.locator('.detail h3 + dl dd').last().textContent(), 'unknown');
  const audio = await rowsOf(page, '.detail h3:text-is("Audio") + .wide table');
  assert.deepEqual(
    audio.map((track) => [track[3], track[6]]),
    [
      ['free rate', 'unknown'],
      ['–', 'scrambled'],
    ],
  );
});

test('components of another program are not shown for the one that took its index', async () => {
  const { page, manager, feed } = await openPage({ place: '#programs/101' });
  const { documents } = feed.bringDocument('pgmDetail:2', Date.now());
  manager.send({ version: 99, time: Date.now(), documents: { 'pgmDetail:1': /** @type {any} */ (documents)['pgmDetail:2'] } });
  manager.send({ version: 100, time: Date.now(), service: { state: 'waiting', since: Date.now() } });
  await page.locator('#service[data-level="warn"]').waitFor();
  await seeText(page, '.detail > p.muted', 'Waiting for its components …');
});

for (const [table, cells] of /** @type {[string, string[]][]} */ ([
  ['PAT', ['101', '4352 0x1100']],
  ['CAT', ['19182 (0x4AEE)', '1552 0x0610']],
  ['NIT', ['0x44', 'Cable delivery', '346000000 Hz 64QAM 6900000 sym/s']],
  ['SDT', ['Télé Médiane', 'Médiane', 'free']],
  ['EIT', ['13:00', '13:30', '00:30:00', 'Programme 1Half an hour of it', 'eng']],
])) {
  test(`the ${table} is the document`, async () => {
    const { page, manager, feed, documents, complaints } = await openPage({ place: `#tables/${table}` });
    assert.deepEqual(manager.looks.at(-1), table);
    manager.send(feed.bringDocument(table, Date.now()));
    await page.locator('.content table').first().waitFor();
    const rows = await rowsOf(page, '.content table');
    assert.ok(
      rows.some((row) => JSON.stringify(row) === JSON.stringify(cells)),
      JSON.stringify(rows),
    );
    const facts = await page.locator('.content dd').allTextContents();
    assert.ok(facts.includes(rateText(documents[table].value.rateBitPerSecond)));
    assert.deepEqual(complaints, []);
  });
}

test('the event that is on now is marked, also when the table has not changed', async () => {
  const { page, manager, feed } = await openPage({ place: '#tables/EIT' });
  const on = () => page.locator('tr', { has: page.locator('.onNow', { hasText: 'on now' }) }).locator('strong');
  for (const [minute, name] of /** @type {[number, string][]} */ ([
    [10, 'Programme 1'],
    [40, 'Programme 2'],
  ])) {
    manager.send(feed.bringDocument('EIT', Date.UTC(2025, 10, 21, 12, minute)));
    await seeText(page, 'tr:has(.onNow:not(:empty)) strong', name);
    assert.deepEqual(await on().allTextContents(), [name]);
  }
  manager.send({ version: 99, time: Date.UTC(2025, 10, 21, 13, 10) });
  await seeText(page, 'tr:has(.onNow:not(:empty)) strong', 'Programme 3');
});

test('a document that cannot be read is said to be', async () => {
  const { page, manager } = await openPage({ place: '#tables/SDT' });
  manager.send({ version: 99, time: Date.now(), documents: { SDT: { time: Date.now(), bytes: 3, answerMs: 1, value: null } } });
  await seeText(page, '.content .nothing', 'It came, but cannot be read.');
});

test('the time of the stream stands beside the time of the machine', async () => {
  const { page, manager, feed } = await openPage({ place: '#tables/TDT' });
  manager.send(feed.bringDocument('TDT', Date.UTC(2025, 10, 21, 12, 0, 0)));
  await page.locator('.content dd').first().waitFor();
  const facts = await page.locator('.content dd').allTextContents();
  assert.equal(facts[0], 'Fri, 21 November 2025, 13:01:03');
  assert.equal(facts[2], 'the stream is 1 min 3 s ahead');
});

test('the plot has the series of the address, and its figures', async () => {
  const { page, feed, tick, complaints } = await openPage({ place: '#rates/pid-273,program-101' });
  await page.locator('.plot canvas').first().waitFor();
  tick();
  await seeText(page, '.legend tbody tr:first-child td:nth-child(2)', rateText(feed.pids.get(273)?.rateBitPerSecond));
  const titles = await page.locator('.legend tbody th').allTextContents();
  assert.deepEqual(titles, ['PID 273 0x0111 Video + PCR Порт ТВ', 'Program 101 Порт ТВ']);
  await page.getByLabel('Add a PID or program to the plot').selectOption('withoutNull');
  await page.waitForURL(/#rates\/pid-273,program-101,withoutNull$/);
  await page.getByRole('link', { name: 'Remove PID 273' }).click();
  await seeText(page, '.legend tbody tr:first-child th', 'Program 101 Порт ТВ');
  assert.deepEqual(complaints, []);
});

test('a plot that is held stands still until it is let go on', async () => {
  const { page, feed, tick } = await openPage({ place: '#rates/pid-273' });
  await page.locator('.plot canvas').first().waitFor();
  const cell = '.legend tbody tr:first-child td:nth-child(2)';
  const before = rateText(feed.pids.get(273)?.rateBitPerSecond);
  await seeText(page, cell, before);
  await page.getByRole('button', { name: 'Hold' }).click();
  tick();
  await seeText(page, '#total', rateText(feed.history.total.at(-1)));
  await seeText(page, cell, before);
  await page.getByRole('button', { name: 'Hold' }).click();
  await seeText(page, cell, rateText(feed.pids.get(273)?.rateBitPerSecond));
});

test('a series that is added to a plot that is held shows what it had then', async () => {
  const { page, feed, tick } = await openPage({ place: '#rates/pid-273' });
  await page.locator('.plot canvas').first().waitFor();
  const before = [273, 289].map((pid) => rateText(feed.pids.get(pid)?.rateBitPerSecond));
  await seeText(page, '.legend tbody tr:first-child td:nth-child(2)', before[0]);
  await page.getByRole('button', { name: 'Hold' }).click();
  tick();
  await seeText(page, '#total', rateText(feed.history.total.at(-1)));
  await page.getByLabel('Add a PID or program to the plot').selectOption('pid-289');
  await page.locator('.legend tbody tr').nth(1).waitFor();
  assert.deepEqual(await page.locator('.legend tbody td:nth-child(2)').allTextContents(), before);
});

test('events stand with the newest first, and lead to what they are about', async () => {
  const { page, manager, feed } = await openPage({ place: '#events' });
  manager.send(feed.loosePid(290, Date.now()));
  await seeText(page, '.events tbody tr:first-child .what', '− PID gone');
  const links = await page
    .locator('.events tbody tr:first-child .about a')
    .evaluateAll((all) => all.map((a) => a.getAttribute('href')));
  assert.deepEqual(links, ['#pids/290', '#programs/102']);
  await page.getByLabel('Programs').uncheck();
  await page.getByRole('searchbox').fill('gone');
  assert.equal((await rowsOf(page)).length, 1);
  await page.getByRole('link', { name: 'PID 290' }).click();
  await page.locator('tr[data-chosen]:focus').waitFor();
});

test('a document is shown as it came', async () => {
  const { page, documents } = await openPage({ place: '#raw/pidData' });
  await seeText(page, 'pre', documents.pidData.text);
  await page.getByText(`${Buffer.byteLength(documents.pidData.text).toLocaleString('en-GB')} bytes`).waitFor();
});

test('a document cannot turn the text of the page', async () => {
  const { page, manager, feed } = await openPage({ place: '#raw/SDT' });
  manager.setDocument('SDT', '{"a":"abc\u202Edcba",\n"b":"c\u00ADd"}');
  manager.send(feed.bringDocument('SDT', Date.now()));
  await seeText(page, 'pre', '{"a":"abc\\u{202E}dcba",\n"b":"c\\u{AD}d"}');
});
