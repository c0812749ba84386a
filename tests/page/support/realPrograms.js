// The board, the service and the manager themselves. They meet at fixed endpoints, so a test that uses them runs in an isolation
// of its own (tests/support/isolated.cpp).
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

export const ROOT = fileURLToPath(new URL('../../..', import.meta.url));
export const BUILD = process.env.MPEGFE_BUILD ?? join(ROOT, 'build/release');
/** @type {Record<string, string>} */
const PROGRAMS = { board: 'board/mpegfe-board', service: 'src/mpegFE', manager: 'manager/mpegfe-manager' };

/** @param {'board' | 'service' | 'manager'} name */
export const pathOf = (name) => join(BUILD, PROGRAMS[name]);

/**
 * @typedef {object} Program
 * @property {(pattern: RegExp) => Promise<RegExpExecArray>} said waits until its console says this; rejects when it ends before
 * @property {(signal?: NodeJS.Signals) => Promise<void>} kill as a crash would end it, unless another signal is given
 */

/**
 * Starts one of them; it dies with this process.
 * @param {'board' | 'service' | 'manager'} name
 * @param {string[]} words
 * @returns {Program}
 */
export function startProgram(name, ...words) {
  const child = spawn('setpriv', ['--pdeathsig', 'KILL', pathOf(name), ...words], {
    stdio: ['ignore', 'pipe', 'pipe'],
  });
  let said = '';
  const ended = once(child, 'close');
  /** @type {Set<() => void>} */
  const listeners = new Set();
  for (const stream of [child.stdout, child.stderr]) {
    stream.setEncoding('utf8').on('data', (text) => {
      // The service's console never ends; what is waited for comes first.
      if (said.length < 100_000) said += text;
      for (const listener of listeners) listener();
    });
  }
  let isKilled = false;
  ended.then(([status, signal]) => {
    if (!isKilled) console.error(`the ${name} has ended (${signal ?? status}): ${said.slice(-2000)}`);
  });
  return {
    said: (pattern) =>
      new Promise((resolve, reject) => {
        function look() {
          const found = pattern.exec(said);
          if (!found) return;
          listeners.delete(look);
          resolve(found);
        }
        listeners.add(look);
        ended.then(() => reject(new Error(`the ${name} has ended and not said ${pattern}: ${said.slice(-2000)}`)));
        look();
      }),
    async kill(signal = 'SIGKILL') {
      isKilled = true;
      child.kill(signal);
      await ended;
    },
  };
}

/**
 * Starts a manager that serves the page.
 * @returns {Promise<Program & {address: string}>}
 */
export async function startWebManager() {
  const manager = startProgram('manager', '--web', '127.0.0.1:0');
  const [, address] = await manager.said(/(http:\/\/\S+:\d+\/)/);
  return { ...manager, address };
}
