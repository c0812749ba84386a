// The page's copy of the picture: what the manager knows of the stream, kept current by its changes.

/**
 * @typedef {object} Pid
 * @property {number} pid
 * @property {number} place
 * @property {number} type 1 to 12, see pidTypes.js
 * @property {string} description
 * @property {number} programNumber 0: of no program
 * @property {number} patIndex
 * @property {number} pmtPid
 * @property {string} serviceName
 * @property {number | null} rateBitPerSecond
 * @property {number | null} least
 * @property {number | null} most
 * @property {boolean} scrambled
 * @property {number} firstSeen milliseconds since 1970 UTC, as every time here
 * @property {number} lastSeen
 * @property {boolean} gone
 */
/**
 * @typedef {object} Program
 * @property {number} programNumber
 * @property {number} patIndex
 * @property {string} name
 * @property {string} provider
 * @property {number} serviceType
 * @property {number} pmtPid
 * @property {number} pidCount
 * @property {number | null} rateBitPerSecond
 * @property {number | null} least
 * @property {number | null} most
 * @property {boolean} freeCaMode
 * @property {boolean} allScrambled
 * @property {number} firstSeen
 * @property {number} lastSeen
 * @property {boolean} gone
 */
/**
 * @typedef {object} StreamEvent
 * @property {number} number
 * @property {number} time
 * @property {string} kind
 * @property {number} [pid]
 * @property {number} [programNumber]
 * @property {string} [text] what it is now
 * @property {string} [was] what it was
 */
/** @typedef {{time: number, bytes: number, answerMs: number, value?: any}} Document */
/** @typedef {'absent' | 'answering' | 'unanswered' | 'waiting' | 'noStream'} ServiceState */
/** @typedef {'none' | 'running' | 'stale'} StreamState */
/** @typedef {{state: ServiceState, since: number}} Service */
/**
 * @typedef {object} Stream
 * @property {StreamState} state
 * @property {number} since
 * @property {number | null} rateBitPerSecond
 * @property {number} pidCount
 * @property {number} programCount
 */
/**
 * @typedef {object} Message what the manager sends: of each member only what is new, but everything the first time
 * @property {number} version
 * @property {number} time
 * @property {Service} [service]
 * @property {Stream} [stream]
 * @property {Pid[]} [pids]
 * @property {Program[]} [programs]
 * @property {number[]} [removedPids]
 * @property {number[]} [removedPrograms]
 * @property {Record<string, Document>} [documents]
 * @property {StreamEvent[]} [events]
 */
/**
 * @typedef {object} Picture
 * @property {number} version
 * @property {number} time
 * @property {Service} service
 * @property {Stream} stream
 * @property {Map<number, Pid>} pids
 * @property {Map<number, Program>} programs
 * @property {Map<string, Document>} documents
 * @property {StreamEvent[]} events oldest first
 */

/** As many events as the manager keeps. */
export const EVENTS_KEPT = 1000;

/**
 * The picture of a first message.
 * @param {Message} message
 * @returns {Picture}
 */
export function pictureOf(message) {
  /** @type {Picture} */
  const picture = {
    version: 0,
    time: 0,
    service: { state: 'absent', since: message.time },
    stream: { state: 'none', since: message.time, rateBitPerSecond: null, pidCount: 0, programCount: 0 },
    pids: new Map(),
    programs: new Map(),
    documents: new Map(),
    events: [],
  };
  applyChange(picture, message);
  return picture;
}

/**
 * Brings the picture up to date.
 * @param {Picture} picture
 * @param {Message} change
 */
export function applyChange(picture, change) {
  picture.version = change.version;
  picture.time = change.time;
  picture.service = change.service ?? picture.service;
  picture.stream = change.stream ?? picture.stream;
  for (const pid of change.pids ?? []) picture.pids.set(pid.pid, pid);
  for (const program of change.programs ?? []) picture.programs.set(program.programNumber, program);
  for (const key of change.removedPids ?? []) picture.pids.delete(key);
  for (const key of change.removedPrograms ?? []) picture.programs.delete(key);
  for (const [name, document] of Object.entries(change.documents ?? {})) picture.documents.set(name, document);
  if (change.events?.length) picture.events = [...picture.events, ...change.events].slice(-EVENTS_KEPT);
}

/**
 * When the newest figures came; null before the first.
 * @param {Picture} picture
 * @returns {number | null}
 */
export function figuresTime(picture) {
  const times = ['pidData', 'pgmData'].map((name) => picture.documents.get(name)?.time ?? 0);
  return Math.max(...times) || null;
}

/** The PID of null packets. */
export const NULL_PID = 8191;

/**
 * The rate of the stream without its null packets.
 * @param {Picture} picture
 * @returns {number | null}
 */
export function rateWithoutNull(picture) {
  const total = picture.stream.rateBitPerSecond;
  const nulls = picture.pids.get(NULL_PID);
  return total === null ? null : Math.max(0, total - (nulls && !nulls.gone ? (nulls.rateBitPerSecond ?? 0) : 0));
}
