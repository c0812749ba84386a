// The page before the real manager, service and board, in one life of them: what it shows is what the service's documents say, of one
// stream after the other; what is killed is said to be away, and comes back without a reload. Each test goes on where the one before it ended.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { isDeepStrictEqual } from 'node:util';
import { visibleLines } from '../../../page/parts/format.js';
import { goTo, openAt, PATIENCE_MS, rowsOf, seeText } from '../support/browser.js';
import { bodyOf, componentsOf, pidRows, programRows, rateOf, TABLES } from '../support/documents.js';
import { BUILD, ROOT, startProgram, startWebManager } from '../support/realPrograms.js';

/** @typedef {import('playwright-core').Page} Page */

const folder = mkdtempSync(join(tmpdir(), 'mpegfe-page-'));
const manager = await startWebManager();
const running = {
  board: startProgram('board', join(ROOT, 'samples/all-tables.ts')),
  service: startProgram('service'),
};
const first = await openAt(`${manager.address}#pids`);
const second = await openAt(`${manager.address}#pids`, { colorScheme: 'dark' });
const { page } = first;
await page.evaluate(() => {
  document.body.dataset.sameLoad = 'yes';
});
after(async () => {
  await Promise.all([first.close(), second.close()]);
  await Promise.all([running.board.kill(), running.service.kill(), manager.kill()]);
  rmSync(folder, { recursive: true });
});

/** The document as the service sent it last. @param {string} name @returns {Promise<string>} */
async function documentText(name) {
  const answer = await fetch(`${manager.address}api/document/${name}`);
  return answer.ok ? answer.text() : '';
}
/** Its body; null before it has come. @param {string} name @returns {Promise<any>} */
async function bodyNow(name) {
  const text = await documentText(name);
  return text ? bodyOf(text) : null;
}

/**
 * Waits until what is shown is what has to be. Documents come before the page hears of them, so they may differ for the moment.
 * @param {() => Promise<any>} expected
 * @param {() => Promise<any>} shown
 * @param {Page} [where]
 */
async function seeEqual(expected, shown, where = page) {
  const deadline = Date.now() + PATIENCE_MS;
  for (;;) {
    const wanted = await expected();
    const seen = await shown();
    if (isDeepStrictEqual(seen, wanted)) return;
    if (Date.now() > deadline) assert.deepEqual(seen, wanted);
    const content = await where.locator('body').textContent();
    await where
      .waitForFunction((before) => document.body.textContent !== before, content, { timeout: 2000, polling: 50 })
      .catch(() => {});
  }
}

/** @param {Page} where */
const shownPids = async (where) =>
  (await rowsOf(where, '.pids'))
    .filter((row) => !row[8].startsWith('last seen'))
    .map(([pid, type, program, rate, , , , share, scrambling]) => [pid, type, program, rate, share, scrambling]);
const shownPrograms = async () =>
  (await rowsOf(page, '.programs'))
    .filter((row) => !row[10].startsWith('last seen'))
    .map(([number, name, provider, type, pids, rate, , , , ca, scrambling]) => [
      number,
      name,
      provider,
      type,
      pids,
      rate,
      ca,
      scrambling,
    ]);
/** What stands behind each term of a list of facts. @param {string} where @returns {Promise<Record<string, string>>} */
const shownFacts = (where) =>
  page
    .locator(`${where} > div`)
    .evaluateAll((facts) =>
      Object.fromEntries(facts.map((fact) => [fact.children[0].textContent ?? '', (fact.children[1].textContent ?? '').trim()])),
    );
/** @param {Record<string, string>} facts @param {Record<string, string>} of only those that are here too */
const onlyThose = (facts, of) => Object.fromEntries(Object.keys(of).map((name) => [name, facts[name]]));

async function checkPids() {
  await goTo(page, 'pids');
  const expected = async () => {
    const [pids, programs] = [await bodyNow('pidData'), await bodyNow('pgmData')];
    return pids && programs && pidRows(pids, programs);
  };
  await seeEqual(
    async () => [await expected(), await expected()],
    () => Promise.all([shownPids(page), shownPids(second.page)]),
  );
  // What came later than the first figures: least and most enclose what there is.
  for (const [pid, , , rate, least, most] of await rowsOf(page, '.pids')) {
    const value = (/** @type {string} */ text) =>
      Number.parseFloat(text) * (text.includes('M') ? 1e6 : text.includes('k') ? 1e3 : 1);
    assert.ok(value(least) <= value(rate) && value(rate) <= value(most), `PID ${pid}: ${least}, ${rate}, ${most}`);
  }
}

async function checkPrograms() {
  await goTo(page, 'programs');
  await seeEqual(async () => programRows(await bodyNow('pgmData')), shownPrograms);
  const { pgms } = await bodyNow('pgmData');
  for (const { pgmNum, patIndex } of pgms) {
    await goTo(page, `programs/${pgmNum}`);
    await seeEqual(
      async () => {
        const detail = await bodyNow(`pgmDetail:${patIndex}`);
        return detail && componentsOf(detail);
      },
      async () => ({
        video: await shownFacts('.detail h3 + dl.facts'),
        audio: await rowsOf(page, '.detail h3:text-is("Audio") + .wide table'),
        other: await page.locator('.detail .pidList a').allTextContents(),
      }),
    );
  }
}

/** @param {string} name */
async function checkTable(name) {
  await goTo(page, `tables/${name}`);
  await page.locator(`nav a[aria-current="page"][href="#tables/${name}"]`).waitFor();
  await seeEqual(
    async () => {
      const body = await bodyNow(name);
      return body && TABLES[name](body);
    },
    async () => {
      const body = await bodyNow(name);
      const rows = await rowsOf(page, '.content table');
      return {
        facts: body && onlyThose(await shownFacts('.content dl.facts'), TABLES[name](body).facts),
        // The middle one is the name of what the first is the number of.
        rows: name === 'NIT' ? rows.map(([tag, , text]) => [tag, text]) : rows,
      };
    },
  );
}

/** What the manager keeps of a rate ends in the newest document's. */
async function checkHistory() {
  await seeEqual(
    async () => rateOf((await bodyNow('pidData')).aggStreamRate),
    async () => (await (await fetch(`${manager.address}api/history?seconds=10`)).json()).total.at(-1),
  );
}

async function checkRates() {
  const { pids } = await bodyNow('pidData');
  const [pid] = pids.map((/** @type {any} */ one) => one.pidNum).sort((/** @type {any} */ a, /** @type {any} */ b) => b - a);
  await goTo(page, `rates/total,pid-${pid}`);
  await page.locator('.plot canvas').first().waitFor();
  const picture = () =>
    page
      .locator('.plot canvas')
      .evaluateAll((all) => all.map((one) => /** @type {HTMLCanvasElement} */ (one).toDataURL()).join());
  const before = await picture();
  await page.waitForFunction(
    (was) => [...document.querySelectorAll('.plot canvas')].map((one) => /** @type {any} */ (one).toDataURL()).join() !== was,
    before,
    { polling: 100 },
  );
  await seeEqual(
    async () => {
      const list = await bodyNow('pidData');
      const rows = pidRows(list, { pgms: [] });
      return [
        (await page.locator('#total').textContent()) ?? '',
        rows.find((/** @type {string[]} */ row) => row[0].startsWith(`${pid} `))[3],
      ];
    },
    () => page.locator('.legend td:nth-child(2)').allTextContents(),
  );
}

/** @param {string} name */
async function checkRaw(name) {
  await goTo(page, `raw/${name}`);
  await seeEqual(
    async () => visibleLines(await documentText(name)),
    async () => (await page.locator('pre').textContent()) ?? '',
  );
  const size = Buffer.byteLength(await documentText(name)).toLocaleString('en-GB');
  await page.getByText(`${size} bytes; `).waitFor();
}

async function checkEveryTab() {
  await checkPids();
  await checkPrograms();
  for (const name of Object.keys(TABLES)) await checkTable(name);
  await checkRates();
  await checkHistory();
  await checkRaw('PAT');
}

test('one tab after the other shows what the documents say, in two browsers', checkEveryTab);

test('a service that is killed is said to be away, and is back without a reload when it is started again', async () => {
  await running.service.kill();
  for (const one of [page, second.page]) {
    await seeText(one, '#alarm', 'Service: not connected');
    await seeText(one, '#service', 'Not connected');
  }
  running.service = startProgram('service');
  for (const one of [page, second.page]) await one.locator('#alarm').waitFor({ state: 'hidden' });
  await checkPids();
  await goTo(page, 'events');
  const said = (await rowsOf(page)).map(([, what]) => what);
  assert.deepEqual(said.slice(said.indexOf('+ Service is back')).slice(0, 2), ['+ Service is back', '− Service gone']);
});

/** The service may be between two requests, and does not take the next one then. */
async function killBoard() {
  await running.board.kill();
  await page.locator('#alarm', { hasText: /^Service: (busy; most likely )?waiting for the parser$/ }).waitFor();
}
/** Starts another. @param {string[]} words of its command line */
async function startBoard(...words) {
  running.board = startProgram('board', ...words);
  for (const one of [page, second.page]) await one.locator('#alarm').waitFor({ state: 'hidden' });
  await seeText(page, '#board', 'Publishes');
}

test('a board that is killed is said to be away; what the next one publishes is shown in every tab', async () => {
  await goTo(page, 'pids');
  const before = (await shownPids(page)).length;
  await killBoard();
  await page.locator('#alarm[data-level="bad"]', { hasText: /No stream|waiting for the parser/ }).waitFor();
  await page.locator('#board', { hasText: /^(No stream|Nothing new comes)$/ }).waitFor();
  await startBoard(join(ROOT, 'samples/three-programs.ts'));
  await checkEveryTab();
  await goTo(page, 'pids');
  assert.ok((await shownPids(page)).length < before, 'the other stream has fewer PIDs');
  assert.ok(await page.locator('.pids tr.gone').count(), 'those that it does not have stay, as gone');
});

test('a recording is shown in every tab', async () => {
  await killBoard();
  await startBoard('--replay', join(ROOT, 'samples/all-tables.recording'));
  await checkEveryTab();
});

test('texts of a hostile stream are texts in every tab', async () => {
  const stream = join(folder, 'hostile-texts.ts');
  const made = spawnSync(join(BUILD, 'tests/board/streamMaker'), ['hostile-texts', stream], { encoding: 'utf8' });
  assert.equal(made.status, 0, made.stderr);
  await killBoard();
  await startBoard(stream);
  await goTo(page, 'programs');
  await seeEqual(
    async () => [
      ['<img src=x onerror=document.title=1>', "'><script>document.title=1</script>"],
      ["'},{'pgmNum':'9','svcName':'x", '/'],
      ['\\u{200B}קול', '\\u{202E}right to left'],
      ['31mred', '[2Jcleared'],
      ['constructor', '__proto__'],
      ['</td></table>', '&lt;b&gt;'],
      ["'; DROP TABLE pids; --", '=1+1'],
    ],
    async () => (await shownPrograms()).map(([, name, provider]) => [name, provider]),
  );
  await goTo(page, 'pids');
  await seeText(page, '.pids tbody .name', '<img src=x onerror=document.title=1>');
  await goTo(page, 'programs/1');
  await seeText(page, '.detail h2', '1 <img src=x onerror=document.title=1>');
  await goTo(page, 'rates/program-1');
  await seeText(page, '.legend th bdi', 'Program 1 <img src=x onerror=document.title=1>');
  await goTo(page, 'tables/NIT');
  await seeText(page, '.content dd', "<h1>'network'</h1>");
  await goTo(page, 'tables/EIT');
  await seeText(page, '.content td strong', "<i>/'event'</i>");
  await seeText(page, '.content td bdi.muted', '<a href=//x>/u003c');
  await checkRaw('SDT');
  await goTo(page, 'events');
  await page.getByText("'; DROP TABLE").first().waitFor();
  assert.equal(await page.title(), 'mpegFE');
  assert.equal(await page.locator('main img, main script, main h1, main i').count(), 0);
});

test('all that was one load of the page, of which the browsers did not complain', async () => {
  assert.equal(await page.evaluate(() => document.body.dataset.sameLoad), 'yes');
  assert.deepEqual([...first.complaints, ...second.complaints], []);
});
