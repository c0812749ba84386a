// The manager's event stream. A browser brings a lost one back by itself, but not one that was refused, and it does not notice a peer that
// has silently gone: both are seen to here. A page that nobody sees gives its stream back: a browser opens but six to one manager, and while
// one is open the manager asks the service.

/** @import {Message} from '../picture/picture.js' */
/** @import {ConnectionState} from '../picture/health.js' */

const RETRY_MS = 2000;
/** With nothing new the stream is silent; after so long it is asked whether the manager is still there. */
const SILENCE_MS = 10_000;
/** The same while figures should come each second. */
const SILENCE_OF_FIGURES_MS = 4000;
const PROBE_EVERY_MS = 1000;
const PATIENCE_MS = 5000;
/** Who looks elsewhere for a moment finds everything as it was. */
const HIDDEN_MS = 30_000;

/**
 * @typedef {object} Listener
 * @property {(message: Message) => void} onPicture everything, first and after each new connection
 * @property {(message: Message) => void} onChange
 * @property {(state: ConnectionState) => void} onState
 * @property {() => boolean} awaitsFigures whether something new should come each second
 */

/**
 * Keeps the stream open for as long as somebody sees the page.
 * @param {Listener} listener
 */
export function openEventStream({ onPicture, onChange, onState, awaitsFigures }) {
  /** @type {EventSource | null} null while nobody sees the page */
  let source = null;
  // Not the time of day, which may be set.
  let heard = performance.now();
  let isProbing = false;
  /** @type {ReturnType<typeof setTimeout> | undefined} */
  let retry;
  /** @type {ReturnType<typeof setTimeout> | undefined} */
  let leave;

  function open() {
    const opened = new EventSource('api/events');
    source = opened;
    heard = performance.now();
    opened.addEventListener('picture', (event) => {
      heard = performance.now();
      onState('open');
      onPicture(JSON.parse(event.data));
    });
    opened.addEventListener('change', (event) => {
      heard = performance.now();
      onChange(JSON.parse(event.data));
    });
    opened.addEventListener('error', () => {
      onState('lost');
      if (opened.readyState === EventSource.CLOSED) retry = setTimeout(open, RETRY_MS);
    });
  }

  function close() {
    clearTimeout(retry);
    source?.close();
    source = null;
  }

  async function probe() {
    const asked = source;
    const silence = performance.now() - heard;
    if (isProbing || asked?.readyState !== EventSource.OPEN) return;
    if (silence < (awaitsFigures() ? SILENCE_OF_FIGURES_MS : SILENCE_MS)) return;
    isProbing = true;
    try {
      await fetch('api/history?seconds=1', { signal: AbortSignal.timeout(PATIENCE_MS) });
      heard = performance.now();
    } catch {
      // What was closed in the meantime has been seen to.
      if (source === asked) {
        close();
        onState('lost');
        open();
      }
    } finally {
      isProbing = false;
    }
  }

  function followVisibility() {
    clearTimeout(leave);
    if (document.visibilityState !== 'visible') leave = setTimeout(close, HIDDEN_MS);
    else if (!source) {
      onState('connecting');
      open();
    }
  }

  onState('connecting');
  open();
  followVisibility();
  document.addEventListener('visibilitychange', followVisibility);
  setInterval(probe, PROBE_EVERY_MS);
}
