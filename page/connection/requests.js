// What the page asks the manager for besides the event stream.

/** @import {KeptRates} from '../picture/history.js' */

/**
 * The rates that the manager has kept; null if they cannot be had now.
 * @param {number} seconds
 * @returns {Promise<KeptRates | null>}
 */
export async function fetchHistory(seconds) {
  try {
    const answer = await fetch(`api/history?seconds=${seconds}`);
    return answer.ok ? await answer.json() : null;
  } catch {
    return null;
  }
}

/**
 * A document as it came; null if there is none or it cannot be had now.
 * @param {string} name "PAT", "pgmDetail:3"
 * @returns {Promise<string | null>}
 */
export async function fetchDocument(name) {
  try {
    const answer = await fetch(`api/document/${name}`);
    return answer.ok ? await answer.text() : null;
  } catch {
    return null;
  }
}

/** Somebody looks for 10 s at what was said to be looked at. */
const LOOK_AGAIN_MS = 5000;

/**
 * Tells the manager what is looked at, for as long as it is. Call the result when it is something else.
 * @param {() => string[]} lookedAt names of data streams, "pgmDetail:3"
 * @returns {() => void}
 */
export function keepLooking(lookedAt) {
  function look() {
    const names = document.visibilityState === 'visible' ? lookedAt() : [];
    // The header says that it is no other site's. That it fails is seen by the event stream.
    if (names.length) fetch(`api/look?at=${names.join(',')}`, { headers: { 'Mpegfe-Look': '1' } }).catch(() => {});
  }
  document.addEventListener('visibilitychange', look);
  setInterval(look, LOOK_AGAIN_MS);
  look();
  return look;
}
