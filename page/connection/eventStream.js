// The manager's event stream. A browser brings a lost one back by itself, but not one that was refused, and it does not notice a peer that
// has silently gone: both are seen to here.

/** @import {Message} from '../picture/picture.js' */
/** @import {ConnectionState} from '../picture/health.js' */

const RETRY_MS = 2000;
/** With nothing new the stream is silent; after so long it is asked whether the manager is still there. */
const SILENCE_MS = 10_000;
const PATIENCE_MS = 5000;

/**
 * @typedef {object} Listener
 * @property {(message: Message) => void} onPicture everything, first and after each new connection
 * @property {(message: Message) => void} onChange
 * @property {(state: ConnectionState) => void} onState
 */

/**
 * Keeps the stream open for as long as the page is.
 * @param {Listener} listener
 */
export function openEventStream({ onPicture, onChange, onState }) {
  /** @type {EventSource} */
  let source;
  let heard = Date.now();

  function open() {
    source = new EventSource('api/events');
    heard = Date.now();
    source.addEventListener('picture', (event) => {
      heard = Date.now();
      onState('open');
      onPicture(JSON.parse(event.data));
    });
    source.addEventListener('change', (event) => {
      heard = Date.now();
      onChange(JSON.parse(event.data));
    });
    source.addEventListener('error', () => {
      onState('lost');
      if (source.readyState === EventSource.CLOSED) setTimeout(open, RETRY_MS);
    });
  }

  async function probe() {
    if (source.readyState !== EventSource.OPEN || Date.now() - heard < SILENCE_MS) return;
    try {
      await fetch('api/history?seconds=1', { signal: AbortSignal.timeout(PATIENCE_MS) });
      heard = Date.now();
    } catch {
      source.close();
      onState('lost');
      open();
    }
  }

  onState('connecting');
  open();
  setInterval(probe, SILENCE_MS);
}
