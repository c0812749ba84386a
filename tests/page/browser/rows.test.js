// Rows keep their place, and names are text.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { rateText } from '../../../page/parts/format.js';
import { goTo, rowsOf, seeText } from '../support/browser.js';
import { HOSTILE_NAMES, madeDocuments } from '../support/feed.js';
import { openPage } from '../support/openPage.js';

const pidsOf = async (/** @type {import('playwright-core').Page} */ page) =>
  (await rowsOf(page)).map(([pid]) => Number.parseInt(pid, 10));

test('rows that are sorted by rate do not jump while the rates change', async () => {
  const { page, feed, manager, tick } = await openPage();
  await page.getByRole('button', { name: 'Rate' }).click();
  const order = await pidsOf(page);
  const rates = order.map((pid) => feed.pids.get(pid)?.rateBitPerSecond ?? 0);
  assert.deepEqual(
    rates,
    [...rates].sort((a, b) => b - a),
  );
  const slowest = /** @type {any} */ (feed.pids.get(order[order.length - 1]));
  tick();
  manager.send({ version: 99, time: Date.now(), pids: [{ ...slowest, rateBitPerSecond: 9e9 }] });
  await seeText(page, '.pids tbody tr:last-child .rate a', '9000.000 Mbit/s');
  assert.deepEqual(await pidsOf(page), order);
  await page.getByRole('button', { name: 'Sort again' }).click();
  await seeText(page, '.pids tbody tr:first-child .rate a', '9000.000 Mbit/s');
});

test('a row is the same element after an update', async () => {
  const { page, feed, tick } = await openPage();
  const row = await page.locator('.pids tbody tr').nth(3).elementHandle();
  tick();
  await seeText(page, '#total', rateText(feed.history.total.at(-1)));
  assert.ok(await page.evaluate((kept) => kept === document.querySelectorAll('.pids tbody tr')[3], row));
});

test('what the reader has chosen of a program stays through updates', async () => {
  const { page, feed, manager, tick } = await openPage({ place: '#programs/102' });
  manager.send(feed.bringDocument('pgmDetail:2', Date.now()));
  await page.locator('.detail h3', { hasText: 'Video' }).waitFor();
  const update = async () => {
    tick();
    manager.send(feed.bringDocument('pgmDetail:2', Date.now()));
    const rate = rateText(feed.pids.get(4353)?.rateBitPerSecond);
    await seeText(page, '.detail tr:last-child td.number', rate);
    await seeText(page, '.detail dd a[href="#rates/program-102"]', rateText(feed.programs.get(102)?.rateBitPerSecond));
  };
  for (const about of ['pids/4353', 'rates/program-102', 'pids/289', 'pids/290']) {
    for (const node of await page.locator(`.detail a[href="#${about}"]`).all()) {
      await node.focus();
      await update();
      assert.ok(await node.evaluate((one) => one === document.activeElement), about);
    }
  }
  for (const text of ['Médiane', '352 × 288', 'fra', '290 0x0122']) {
    const selected = () => page.evaluate(() => document.getSelection()?.toString());
    await page
      .locator('.detail dl, .detail table')
      .getByText(text, { exact: true })
      .last()
      .evaluate((node) => document.getSelection()?.selectAllChildren(node));
    assert.equal(await selected(), text);
    await update();
    assert.equal(await selected(), text);
  }
  await page.locator('.detail tbody tr').last().focus();
  await page.keyboard.press('ArrowUp');
  await page.keyboard.press('p');
  await page.waitForURL(/#rates\/pid-291$/);
});

test('a PID that is gone stays, grey, with the time it was last seen, and goes when it is no longer kept', async () => {
  const { page, feed, manager } = await openPage();
  const at = (await pidsOf(page)).indexOf(290);
  manager.send(feed.loosePid(290, Date.now()));
  await page.locator('tr.gone').waitFor();
  const row = (await rowsOf(page))[at];
  assert.equal(Number.parseInt(row[0], 10), 290);
  assert.match(row[8], /^last seen \d\d:\d\d:\d\d$/);
  const [gone, there] = await page
    .locator('tr.gone .scrambling, tr:first-child .scrambling')
    .evaluateAll((cells) => cells.map((cell) => getComputedStyle(cell).color));
  assert.notEqual(gone, there);
  manager.send({ version: 100, time: Date.now(), removedPids: [290] });
  await page.locator('tr.gone').waitFor({ state: 'detached' });
});

test('a filter shows what it says, and the count of it', async () => {
  const { page } = await openPage();
  await page.getByRole('searchbox').fill('0x011');
  assert.deepEqual(await pidsOf(page), [273, 274, 275]);
  await page.getByRole('searchbox').fill('');
  await page.getByLabel('Kind of PID').selectOption('access');
  assert.deepEqual(await pidsOf(page), [1536, 1537, 1552, 1553]);
  await page.getByLabel('Kind of PID').selectOption('');
  await page.getByLabel('Scrambled only').check();
  assert.deepEqual(await pidsOf(page), [273, 274, 275]);
  await page.getByRole('searchbox').fill('no such thing');
  await seeText(page, '.nothing', 'No PID is like that.');
});

test('grouped by program, each group has its heading', async () => {
  const { page } = await openPage();
  await page.getByLabel('Group by program').check();
  const headings = await page.locator('tr.group a').allTextContents();
  assert.deepEqual(headings, ['Of no program', '101 Порт ТВ', '102 Télé Médiane', '103 Radio Küste']);
  const rows = await rowsOf(page);
  const second = rows.findIndex(([cell]) => cell.startsWith('101 '));
  assert.deepEqual(
    rows.slice(second + 1, second + 4).map(([pid]) => Number.parseInt(pid, 10)),
    [273, 274, 275],
  );
});

test('names are text, whatever they hold', async () => {
  const documents = madeDocuments(80, HOSTILE_NAMES.length, (i) => HOSTILE_NAMES[i]);
  const { page, complaints } = await openPage({ place: '#programs', documents });
  const names = (await page.locator('.programs td.name').allTextContents()).map((name) => name.trim());
  assert.deepEqual(names, [
    '<img src=x onerror=document.title="broken">',
    '</td><script>document.title="broken"</script>',
    'abc\\u{202E}dcba\\u{202C}',
    'ABCDEFGHIJKLMNOPQRSTUVWXY',
    '(no name)',
    '(no name)',
    'bell\\u{7}tab\\u{9}line\\u{A}end',
    '📺 Café 🇪🇺',
    'קול ישראל',
    '\\u{E086}News\\u{E087}',
    '&lt;b&gt; "quoted" \\ \'',
    'e\u0301\u0301\u0301\u0301\u0301\u0301',
    '__proto__',
  ]);
  for (const place of ['pids', 'programs/1000', 'rates/program-1000,program-1001', 'events', 'raw']) {
    await goTo(page, place);
  }
  assert.equal(await page.title(), 'mpegFE');
  assert.equal(await page.locator('main img, main script').count(), 0);
  assert.deepEqual(complaints, []);
});

for (const width of [320, 360, 768, 1440, 2560]) {
  test(`nothing sticks out of a page ${width} pixels wide`, async () => {
    const documents = madeDocuments(80, HOSTILE_NAMES.length, (i) => HOSTILE_NAMES[i]);
    const { page } = await openPage({ documents, options: { viewport: { width, height: 800 } } });
    for (const place of ['pids', 'programs', 'programs/1000', 'tables/EIT', 'rates', 'events', 'raw']) {
      await goTo(page, place);
      const wide = await page.evaluate(() => [
        document.documentElement.scrollWidth,
        document.querySelector('main')?.scrollWidth ?? 0,
      ]);
      assert.ok(Math.max(...wide) <= width, `${place}: ${wide}`);
    }
  });
}

for (const width of [960, 1152, 1280, 1366, 1500, 1600]) {
  test(`beside the chosen program names have room in a page ${width} pixels wide`, async () => {
    const documents = madeDocuments(80, 14, (i) => `Regional programme number ${i}`);
    const { page } = await openPage({ place: '#programs/1000', documents, options: { viewport: { width, height: 800 } } });
    const [name, line, detail] = await page.evaluate(() => {
      const cell = /** @type {HTMLElement} */ (document.querySelector('.programs td.name'));
      const box = /** @type {HTMLElement} */ (document.querySelector('.detail'));
      return [cell.offsetWidth, Number.parseFloat(getComputedStyle(cell).fontSize), box.offsetWidth];
    });
    assert.ok(name >= 9 * line, `the name has ${name} px`);
    assert.ok(detail >= 28 * line, `the detail has ${detail} px`);
    const wide = await page.evaluate(() => document.querySelector('main')?.scrollWidth ?? 0);
    assert.ok(wide <= width, `${wide}`);
  });
}
