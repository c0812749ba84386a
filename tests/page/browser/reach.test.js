// The page by keyboard alone, and for readers of the screen.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { test } from 'node:test';
import { goTo, seeText } from '../support/browser.js';
import { openPage } from '../support/openPage.js';

const axe = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

const selected = '[role="tab"][aria-selected="true"]';

test('tabs, rows and links can be reached and used by keys', async () => {
  const { page } = await openPage();
  await page.locator(selected).focus();
  await page.keyboard.press('ArrowRight');
  await seeText(page, selected, 'Programs');
  await page.keyboard.press('ArrowLeft');
  await page.keyboard.press('ArrowLeft');
  await seeText(page, selected, 'Raw');
  await page.keyboard.press('Home');
  await seeText(page, selected, 'PIDs');

  await page.keyboard.press('/');
  await page.keyboard.type('video');
  await seeText(page, '.pids tbody tr:first-child .dec', '273');
  await page.keyboard.press('Escape');
  for (let i = 0; i < 40 && !(await page.locator('tbody tr:focus').count()); ++i) await page.keyboard.press('Tab');
  await page.keyboard.press('ArrowDown');
  await seeText(page, 'tr:focus .dec', '289');
  await page.keyboard.press('p');
  await page.waitForURL(/#rates\/pid-289$/);
  await page.goBack();
  await page.locator(`#tab-pids${selected}`).waitFor();
  await page.locator('.pids tbody tr').nth(1).focus();
  await page.keyboard.press('Enter');
  await page.waitForURL(/#programs\/102$/);
  await page.locator('.programs tr:focus').waitFor();
});

test('a table is one stop of the Tab key, and the arrow keys go to the links of a row', async () => {
  const { page } = await openPage();
  const stops = await page.locator('.pids tbody').evaluate((body) => {
    const all = /** @type {NodeListOf<HTMLElement>} */ (body.querySelectorAll('a[href], tr'));
    return [...all].filter((node) => node.tabIndex >= 0).map((node) => node.tagName);
  });
  assert.deepEqual(stops, ['TR']);
  await page.locator('.pids tbody tr', { hasText: '0x0121' }).focus();
  const focused = () => page.evaluate(() => document.activeElement?.getAttribute('href') ?? document.activeElement?.tagName);
  const visited = [];
  for (const key of ['ArrowRight', 'ArrowRight', 'ArrowRight', 'ArrowLeft', 'ArrowLeft']) {
    await page.keyboard.press(key);
    visited.push(await focused());
  }
  assert.deepEqual(visited, ['#programs/102', '#rates/pid-289', '#rates/pid-289', '#programs/102', 'TR']);
});

test('the focus stays on the page when another tab opens', async () => {
  const { page } = await openPage();
  const focused = () => page.evaluate(() => document.activeElement?.id || document.activeElement?.tagName);
  assert.equal(await focused(), 'BODY');
  const row = page.locator('.pids tbody tr', { hasText: '0x0121' });
  await row.focus();
  await page.keyboard.press('p');
  await page.locator(`#tab-rates${selected}`).waitFor();
  assert.equal(await focused(), 'panel');
  await page.goBack();
  await page.locator(`#tab-pids${selected}`).waitFor();
  assert.ok(await row.evaluate((node) => node === document.activeElement));
  await page.keyboard.press('3');
  await page.locator(`#tab-tables${selected}`).waitFor();
  assert.equal(await focused(), 'panel');
});

test('the keys are listed, and can be switched off', async () => {
  const { page } = await openPage();
  await page.keyboard.press('?');
  await page.getByRole('dialog', { name: 'Keys' }).waitFor();
  await page.getByLabel('Keys without Ctrl or Alt are on').uncheck();
  await page.keyboard.press('Escape');
  await page.getByRole('dialog').waitFor({ state: 'hidden' });
  await page.keyboard.press('3');
  await page.keyboard.press('?');
  assert.equal(await page.locator(selected).textContent(), 'PIDs');
  assert.equal(await page.getByRole('dialog').isVisible(), false);
});

test('the address opens what it says, and an unknown one the PIDs', async () => {
  const { page, manager } = await openPage({ place: '#programs/102' });
  await seeText(page, '.detail h2', '102 Télé Médiane');
  for (const [place, tab] of [
    ['#events', 'Events'],
    ['#tables/EIT', 'Tables'],
    ['#raw/pgmDetail:1', 'Raw'],
    ['#constructor', 'PIDs'],
    ['#%E0%A4%A', 'PIDs'],
    ['#programs/99999999', 'Programs'],
  ]) {
    await page.goto(manager.address + place);
    await seeText(page, selected, tab);
  }
  await seeText(page, '.detail > p.muted', 'The stream has no such program.');
});

test('the theme follows the system until it is chosen, and the choice stays', async () => {
  const { page } = await openPage({ options: { colorScheme: 'dark' } });
  const theme = () => page.evaluate(() => document.documentElement.dataset.theme);
  assert.equal(await theme(), 'dark');
  await page.keyboard.press('t');
  assert.equal(await theme(), 'light');
  await page.reload();
  await page.locator('#manager[data-level="good"]').waitFor();
  assert.equal(await theme(), 'light');
});

test('with colours of the reader, what is open, pressed, filled or of a kind can still be told', async () => {
  const { page } = await openPage({ options: { forcedColors: 'active' } });
  const styleOf = (/** @type {string} */ selector, /** @type {string} */ property, pseudo = '') =>
    page.evaluate(
      ([where, what, part]) =>
        getComputedStyle(/** @type {Element} */ (document.querySelector(where)), part || undefined).getPropertyValue(what),
      [selector, property, pseudo],
    );
  const differ = async (/** @type {string} */ one, /** @type {string} */ other) =>
    assert.notEqual(await styleOf(one, 'background-color'), await styleOf(other, 'background-color'), one);
  const ground = await styleOf('body', 'background-color');
  await differ(selected, '[role="tab"][aria-selected="false"]');
  await differ('.bar .fill', '.bar');
  await differ('.bar .band', '.bar .fill');
  assert.notEqual(await styleOf('.kind[data-kind="video"]', 'background-color', '::before'), ground);
  assert.notEqual(await styleOf('.kind[data-kind="null"]', 'border-top-color', '::before'), ground);
  await goTo(page, 'rates');
  await page.locator('button[aria-pressed="true"]').waitFor();
  await differ('button[aria-pressed="true"]', 'button[aria-pressed="false"]');
  await goTo(page, 'tables');
  await differ('.choices [aria-current]', '.choices a:not([aria-current])');
});

for (const colorScheme of /** @type {const} */ (['light', 'dark'])) {
  test(`axe finds nothing serious in the ${colorScheme} theme`, async () => {
    const { page, manager, feed } = await openPage({ options: { colorScheme } });
    manager.send(feed.loosePid(290, Date.now()));
    manager.send(feed.bringDocument('pgmDetail:2', Date.now()));
    manager.send(feed.bringDocument('EIT', Date.now()));
    await page.locator('tr.gone').waitFor();
    await page.evaluate(axe);
    for (const place of ['pids', 'programs', 'programs/102', 'tables/EIT', 'rates', 'events', 'raw']) {
      await goTo(page, place);
      const found = await page.evaluate(async () => {
        const { violations } = await /** @type {any} */ (globalThis).axe.run();
        return violations
          .filter((/** @type {any} */ one) => one.impact === 'serious' || one.impact === 'critical')
          .map((/** @type {any} */ one) => `${one.id}: ${one.nodes.map((/** @type {any} */ node) => node.html).slice(0, 3)}`);
      });
      assert.deepEqual(found, [], place);
    }
  });
}
