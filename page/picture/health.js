// What can be said of the way from the board to this page.

/** @import {Picture} from './picture.js' */
import { figuresTime } from './picture.js';

/** @typedef {'connecting' | 'open' | 'lost'} ConnectionState */
/** @typedef {{level: 'good' | 'warn' | 'bad', text: string}} Finding */
/** @typedef {{manager: Finding, service: Finding, board: Finding, ageMs: number | null}} Health */

/** @type {Record<ConnectionState, Finding>} */
const MANAGER = {
  connecting: { level: 'warn', text: 'Connecting to the manager' },
  open: { level: 'good', text: 'Connected' },
  lost: { level: 'bad', text: 'Connection to the manager lost; trying again' },
};
/** @type {Record<string, Finding>} */
const SERVICE = {
  absent: { level: 'bad', text: 'Not connected' },
  answering: { level: 'good', text: 'Answers' },
  // It takes the next request when it is done with the one before, and all that it waits for there is the parser.
  unanswered: { level: 'bad', text: 'Busy; most likely waiting for the parser' },
  waiting: { level: 'warn', text: 'Waiting for the parser' },
  noStream: { level: 'bad', text: 'Answers, but has no stream' },
};
/** @type {Record<string, Finding>} */
const BOARD = {
  none: { level: 'warn', text: 'Nothing has come yet' },
  running: { level: 'good', text: 'Publishes' },
  stale: { level: 'bad', text: 'Nothing new comes' },
};
/**
 * While the stream runs figures come each second, and the manager itself says after 5 s that nothing does: a longer silence is its own.
 */
const SILENT_MS = 6000;
/** @type {Finding} */
const SILENT = { level: 'bad', text: 'The manager sends nothing new' };
/** @type {Finding} */
const UNKNOWN = { level: 'warn', text: 'Not known' };
/** @type {Finding} */
const NO_STREAM = { level: 'bad', text: 'No stream' };

/**
 * @param {ConnectionState} connection
 * @param {Picture | null} picture
 * @param {number} now by the manager's clock
 * @returns {Health}
 */
export function healthOf(connection, picture, now) {
  const time = picture && figuresTime(picture);
  const ageMs = time ? Math.max(0, now - time) : null;
  const isRunning = connection === 'open' && picture?.stream.state === 'running';
  const isSilent = isRunning && now - picture.time > SILENT_MS;
  const manager = isSilent ? SILENT : MANAGER[connection];
  if (!picture || connection !== 'open' || isSilent) return { manager, service: UNKNOWN, board: UNKNOWN, ageMs };
  const { service, stream } = picture;
  const isOld = isRunning && ageMs !== null && ageMs > SILENT_MS;
  const board = service.state === 'noStream' ? NO_STREAM : (BOARD[isOld ? 'stale' : stream.state] ?? UNKNOWN);
  return { manager, service: SERVICE[service.state] ?? UNKNOWN, board, ageMs };
}

/**
 * The one thing that matters most, for a line across the page; null when all is well.
 * @param {Health} health
 * @returns {Finding | null}
 */
export function gravest({ manager, service, board }) {
  if (manager.level !== 'good') return manager;
  if (service.text === SERVICE.noStream.text) return NO_STREAM_LINE;
  if (service.level !== 'good') return { level: service.level, text: `Service: ${service.text.toLowerCase()}` };
  if (board.level !== 'good') return { level: board.level, text: `Board: ${board.text.toLowerCase()}` };
  return null;
}

/** @type {Finding} */
const NO_STREAM_LINE = { level: 'bad', text: 'No stream: the board has none, or is away' };
