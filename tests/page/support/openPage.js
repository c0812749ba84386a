// The page in Chromium, before a mock manager with a stream.
import { after } from 'node:test';
import { openAt } from './browser.js';
import { makeFeed, sampleDocuments } from './feed.js';
import { startMockManager } from './mockManager.js';

/** @typedef {import('./mockManager.js').MockManager} MockManager */
/** @typedef {import('./feed.js').Feed} Feed */

/**
 * @typedef {object} Opened
 * @property {import('playwright-core').Page} page
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

  const { page, complaints, close } = await openAt(manager.address + place, options);
  after(async () => {
    await close();
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
