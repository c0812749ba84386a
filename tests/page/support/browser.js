// A Chromium, and what tests read off a page in it.
import { after } from 'node:test';
import { launchChromium } from './chromium.js';

/** @typedef {import('playwright-core').Page} Page */

export const PATIENCE_MS = 60_000;

const browser = await launchChromium();
after(() => browser.close());

/**
 * A page in a profile of its own, which has the manager's picture.
 * @param {string} address with the place behind it
 * @param {import('playwright-core').BrowserContextOptions} [options]
 * @returns {Promise<{page: Page, complaints: string[], close: () => Promise<void>}>} complaints: what the browser complained of: errors, and
 *   what the security policy refused
 */
export async function openAt(address, options = {}) {
  const context = await browser.newContext({ timezoneId: 'Europe/Berlin', ...options });
  const page = await context.newPage();
  page.setDefaultTimeout(PATIENCE_MS);
  /** @type {string[]} */
  const complaints = [];
  page.on('pageerror', (error) => complaints.push(error.message));
  page.on('console', (message) => {
    if (message.type() === 'error') complaints.push(message.text());
  });
  await page.goto(address);
  await page.locator('#manager[data-level="good"]').waitFor();
  return { page, complaints, close: () => context.close() };
}

/**
 * Opens another place of the page, as a link would.
 * @param {Page} page
 * @param {string} place "tables/EIT"
 */
export async function goTo(page, place) {
  await page.evaluate((hash) => {
    location.hash = hash;
  }, place);
  await page.locator(`#tab-${place.split('/')[0]}[aria-selected="true"]`).waitFor();
}

/**
 * Waits until the text of an element is this.
 * @param {Page} page
 * @param {string} selector
 * @param {string} text
 */
export async function seeText(page, selector, text) {
  try {
    await page.waitForFunction(
      ([where, what]) => [...document.querySelectorAll(where)].some((node) => node.textContent?.trim() === what),
      [selector, text],
      { timeout: PATIENCE_MS },
    );
  } catch {
    const there = await page.locator(selector).allTextContents();
    throw new Error(`${selector} is not "${text}" but ${JSON.stringify(there)}`);
  }
}

/**
 * The texts of the cells of each row.
 * @param {Page} page
 * @param {string} [table]
 * @returns {Promise<string[][]>}
 */
export function rowsOf(page, table = 'table.live') {
  return page
    .locator(`${table} tbody tr`)
    .evaluateAll((rows) =>
      rows.map((row) => [...row.children].map((cell) => (cell.textContent ?? '').replace(/\s+/g, ' ').trim())),
    );
}
