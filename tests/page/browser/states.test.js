// What is always in sight: whether manager, service and board are there.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { rateText } from '../../../page/parts/format.js';
import { PATIENCE_MS, seeText } from '../support/browser.js';
import { startMockManager } from '../support/mockManager.js';
import { openPage } from '../support/openPage.js';

test('the page says how service and board are, and tells readers of the screen when that changes', async () => {
  const { page, manager } = await openPage();
  assert.equal(await page.locator('#alarm').isVisible(), false);
  const since = Date.now();
  const stream = { since, rateBitPerSecond: 1e6, pidCount: 1, programCount: 1 };
  for (const [service, state, says] of /** @type {const} */ ([
    ['waiting', 'running', 'Service: waiting for the parser'],
    ['noStream', 'stale', 'No stream: the board has none, or is away'],
    ['unanswered', 'stale', 'Service: busy; most likely waiting for the parser'],
    ['absent', 'stale', 'Service: not connected'],
  ])) {
    manager.send({ version: 9, time: since, service: { state: service, since }, stream: { ...stream, state } });
    await seeText(page, '#alarm', says);
    await seeText(page, '#announcement', says);
  }
  manager.send({
    version: 9,
    time: since,
    service: { state: 'answering', since },
    stream: { ...stream, state: 'running' },
    documents: { pidData: { time: since, bytes: 1, answerMs: 1 } },
  });
  await seeText(page, '#announcement', 'All is well: the service answers and the board publishes');
  assert.equal(await page.locator('#alarm').isVisible(), false);
  const live = await page.locator('[aria-live], [role="status"], [role="alert"]').count();
  assert.equal(live, 1, 'figures are not announced');
});

test('figures that grow old are marked', async () => {
  const { page, manager } = await openPage();
  manager.send({ version: 9, time: Date.now() + 60_000 });
  await page.locator('#age[data-level="bad"]').waitFor();
  assert.match((await page.locator('#age').textContent()) ?? '', /^1 min/);
});

test('a manager that goes is said to be lost, and what it brings when it is back is shown without a reload', async () => {
  const { page, manager, feed, tick } = await openPage();
  await page.evaluate(() => {
    document.body.dataset.sameLoad = 'yes';
  });
  await manager.close();
  await seeText(page, '#alarm', 'Connection to the manager lost; trying again');
  await seeText(page, '#service', 'Not known');

  const again = await startMockManager(manager.port);
  try {
    tick();
    again.setPicture(feed.picture(Date.now()));
    again.setHistory(feed.history);
    await page.locator('#manager[data-level="good"]').waitFor();
    await seeText(page, '.pids tbody tr:first-child .rate a', rateText(feed.pids.get(0)?.rateBitPerSecond));
    assert.equal(await page.locator('#alarm').isVisible(), false);
    assert.equal(await page.evaluate(() => document.body.dataset.sameLoad), 'yes');
  } finally {
    await again.close();
  }
});

test('a manager that hangs is said to be silent and then lost, and is there again when it goes on', async () => {
  const { page, manager, feed } = await openPage();
  manager.hang(true);
  await seeText(page, '#alarm', 'The manager sends nothing new');
  await seeText(page, '#board', 'Not known');
  await seeText(page, '#alarm', 'Connection to the manager lost; trying again');
  manager.setPicture(feed.picture(Date.now()));
  manager.hang(false);
  await page.locator('#manager[data-level="good"]').waitFor();
  await seeText(page, '#board', 'Publishes');
});

test('a page that is hidden gives its event stream back, and is brought up to date when it is seen again', async () => {
  const { page, manager, feed, tick } = await openPage();
  await page.clock.install();
  await page.reload();
  await page.locator('#manager[data-level="good"]').waitFor();
  const listeners = async (/** @type {number} */ count) => {
    const end = Date.now() + PATIENCE_MS;
    while (manager.listeners() !== count) {
      assert.ok(Date.now() < end, `${manager.listeners()} event streams`);
      await new Promise((resolve) => setImmediate(resolve));
    }
  };
  const show = (/** @type {boolean} */ isSeen) =>
    page.evaluate(
      (state) => {
        Object.defineProperty(document, 'visibilityState', { configurable: true, get: () => state });
        document.dispatchEvent(new Event('visibilitychange'));
      },
      isSeen ? 'visible' : 'hidden',
    );
  await listeners(1);

  await show(false);
  await page.clock.fastForward(29_000);
  await show(true);
  await page.clock.fastForward(60_000);
  tick();
  await seeText(page, '.pids tbody tr:first-child .rate a', rateText(feed.pids.get(0)?.rateBitPerSecond));

  await show(false);
  await page.clock.fastForward(31_000);
  await listeners(0);
  feed.tick(Date.now());
  manager.setPicture(feed.picture(Date.now()));
  await show(true);
  await listeners(1);
  await seeText(page, '.pids tbody tr:first-child .rate a', rateText(feed.pids.get(0)?.rateBitPerSecond));
  await page.locator('#manager[data-level="good"]').waitFor();
});

test('a page that nobody answers yet waits', async () => {
  const { page, manager } = await openPage();
  manager.setPicture({ version: 1, time: Date.now() });
  await page.reload();
  await seeText(page, '#service', 'Not connected');
  await seeText(page, '.nothing', 'No PIDs have come yet.');
  assert.equal(await page.locator('#age').textContent(), '–');
});
