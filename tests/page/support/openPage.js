// The page in Chromium, before a mock manager with a stream.
import { after } from 'node:test';
import { chromium } from 'playwright-core';
import { makeFeed, sampleDocuments } from './feed.js';
import { startMockManager } from './mockManager.js';

/** @typedef {import('playwright-core').Page} Page */
/** @typedef {import('./mockManager.js').MockManager} MockManager */
/** @typedef {import('./feed.js').Feed} Feed */

export const PATIENCE_MS = 60_000;

/** A user's sandbox cannot be had as root, nor in a container that forbids namespaces. */
const browser = await chromium.launch({ executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', args: ['--no-sandbox'] });
after(() => browser.close());

/**
 * @typedef {object} Opened
 * @property {Page} page
 * @property {MockManager} manager
 * @property {Feed} feed
 * @property {import('./feed.js').Documents} documents
 * @property {() => void} tick sends the next figures
 * @property {string[]} complaints what the browser complained of: errors, and what the security policy refused
 */

/**
 * @param {{place?: string, documents?: import('./feed.js').Documents, options?: import('playwright-core').BrowserContextOptions}} [what]
 * @returns {Promise<Opened>}
 */
export async function openPage({ place = '', documents = sampleDocuments(), options = {} } = {}) {
  const manager = await startMockManager();
  let time = Date.now();
  const feed = makeFeed(documents, time);
  for (const [name, { text }] of Object.entries(documents)) manager.setDocument(name, text);
  manager.setHistory(feed.history);
  manager.setPicture(feed.picture(time));

  const context = await browser.newContext({ timezoneId: 'Europe/Berlin', ...options });
  const page = await context.newPage();
  page.setDefaultTimeout(PATIENCE_MS);
  /** @type {string[]} */
  const complaints = [];
  page.on('pageerror', (error) => complaints.push(error.message));
  page.on('console', (message) => {
    if (message.type() === 'error') complaints.push(message.text());
  });
  await page.goto(manager.address + place);
  await page.locator('#manager[data-level="good"]').waitFor();
  after(async () => {
    await context.close();
    await manager.close();
  });
  return {
    page,
    manager,
    feed,
    documents,
    complaints,
    tick() {
      time += 1000;
      manager.send(feed.tick(time));
    },
  };
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
