// A stream for the mock manager: what the documents of a real one say, with rates that move. The same seed moves them the same way.
import { readFileSync } from 'node:fs';

/** @typedef {import('../../../page/picture/picture.js').Message} Message */
/** @typedef {import('../../../page/picture/picture.js').Pid} Pid */
/** @typedef {import('../../../page/picture/picture.js').Program} Program */
/** @typedef {import('../../../page/picture/history.js').KeptRates} KeptRates */
/** @typedef {Record<string, {value: any, text: string}>} Documents what a manager printed of each document, and the document as it came */

const HISTORY_SECONDS = 900;

/** @param {number} seed */
export function randomNumbers(seed) {
  let state = seed;
  return () => {
    state = (state * 1664525 + 1013904223) % 2 ** 32;
    return state / 2 ** 32;
  };
}

/** The documents of samples/all-tables.ts. @returns {Documents} */
export function sampleDocuments() {
  return JSON.parse(readFileSync(new URL('../feed/all-tables.json', import.meta.url), 'utf8'));
}

/**
 * Names that a page must not take for anything but text.
 */
export const HOSTILE_NAMES = [
  '<img src=x onerror=document.title="broken">',
  '</td><script>document.title="broken"</script>',
  'abc\u202Edcba\u202C',
  'ABCDEFGHIJKLMNOPQRSTUVWXY',
  '',
  '   ',
  'bell\u0007tab\tline\nend',
  '📺 Café 🇪🇺',
  'קול ישראל',
  '\uE086News\uE087',
  '&lt;b&gt; "quoted" \\ \'',
  'e\u0301\u0301\u0301\u0301\u0301\u0301',
  '__proto__',
];

/**
 * The documents of a stream with so many programs, and PIDs for them.
 * @param {number} pidCount
 * @param {number} programCount
 * @param {(index: number) => string} nameOf
 * @returns {Documents}
 */
export function madeDocuments(pidCount, programCount, nameOf) {
  const each = Math.floor((pidCount - 8) / programCount);
  const programs = Array.from({ length: programCount }, (_, i) => ({
    programNumber: 1000 + i,
    patIndex: i,
    name: nameOf(i),
    provider: `Provider ${i % 5}`,
    serviceType: [1, 25, 2, 31][i % 4],
    pmtPid: 32 + i,
    pidCount: each - 1,
    rateBitPerSecond: 1e6 + i * 43210,
    freeCaMode: i % 3 === 0,
    allScrambled: i % 6 === 0,
  }));
  const tables = [0, 1, 16, 17, 18, 20].map((pid, i) => ({
    pid,
    type: 8,
    description: ['PAT', 'CAT', 'NIT', 'SDT', 'EIT', 'TDT'][i],
  }));
  const types = [
    [1, 'PMT'],
    [5, 'VID+PCR'],
    [6, 'AUDIO'],
    [6, 'AUDIO'],
    [7, 'PVT'],
  ];
  const own = programs.flatMap((program, p) =>
    Array.from({ length: each }, (_, i) => ({
      pid: i === 0 ? program.pmtPid : 256 + p * 16 + i,
      type: types[i % types.length][0],
      description: types[i % types.length][1],
      programNumber: program.programNumber,
      patIndex: p,
      pmtPid: program.pmtPid,
      rateBitPerSecond: [15040, 4e6 - p * 50000, 192000, 128000, 64000][i % 5],
      scrambled: program.allScrambled && i > 0,
    })),
  );
  const rest = Array.from({ length: pidCount - tables.length - own.length - 1 }, (_, i) => ({
    pid: 7000 + i,
    type: [3, 2, 9, 10, 12][i % 5],
    description: ['PCR', 'PMT+ECM', 'EMM', 'ECM', 'Unk'][i % 5],
  }));
  const pids = [...tables, ...own, ...rest, { pid: 8191, type: 11, description: 'NULL', rateBitPerSecond: 864603 }].map(
    (pid, place) => ({
      place,
      programNumber: 0,
      patIndex: 0,
      pmtPid: 0,
      rateBitPerSecond: 9000 + place,
      scrambled: false,
      ...pid,
    }),
  );
  const rate = pids.reduce((sum, pid) => sum + pid.rateBitPerSecond, 0);
  const documents = sampleDocuments();
  documents.pidData.value = { dataStream: 'pidData', pidCount: pids.length, rateBitPerSecond: rate, pids };
  documents.pgmData.value = { dataStream: 'pgmData', serviceCount: programCount, rateBitPerSecond: rate, programs };
  for (const name of Object.keys(documents)) if (name.startsWith('pgmDetail')) delete documents[name];
  return documents;
}

/**
 * @typedef {object} Feed
 * @property {(time: number) => Message} picture everything
 * @property {(time: number) => Message} tick moves every rate, and says what is new
 * @property {(pid: number, time: number) => Message} loosePid takes a PID away
 * @property {(pid: number, time: number) => Message} findPid brings it back
 * @property {(name: string, time: number) => Message} bringDocument
 * @property {KeptRates} history
 * @property {Map<number, Pid>} pids
 * @property {Map<number, Program>} programs
 */

/**
 * @param {Documents} documents
 * @param {number} start
 * @param {number} [seed]
 * @returns {Feed}
 */
export function makeFeed(documents, start, seed = 1) {
  const random = randomNumbers(seed);
  let version = 1;
  let eventNumber = 0;
  const firstSeen = start - HISTORY_SECONDS * 1000;
  /** @type {Map<number, any>} */
  const programs = new Map(
    documents.pgmData.value.programs.map((/** @type {any} */ program) => [program.programNumber, lived(program)]),
  );
  /** @type {Map<number, any>} */
  const pids = new Map(
    documents.pidData.value.pids.map((/** @type {any} */ pid) => [
      pid.pid,
      lived({ ...pid, serviceName: programs.get(pid.programNumber)?.name ?? '' }),
    ]),
  );
  let total = documents.pidData.value.rateBitPerSecond;

  /** @param {any} row */
  function lived(row) {
    const rate = row.rateBitPerSecond;
    return { ...row, base: rate, least: rate, most: rate, firstSeen, lastSeen: start, gone: false };
  }
  /** @param {any} row @param {number} time */
  function move(row, time) {
    if (row.gone) return row;
    const rate = Math.round(row.base * (0.93 + 0.14 * random()));
    return { ...row, rateBitPerSecond: rate, least: Math.min(row.least, rate), most: Math.max(row.most, rate), lastSeen: time };
  }
  /** @param {any} row */
  const sent = ({ base, ...row }) => row;
  /** @param {string} kind @param {object} about @param {number} time */
  const event = (kind, about, time) => ({ number: ++eventNumber, time, kind, ...about });

  const events = [
    event('newStream', { text: `${pids.size} PIDs` }, firstSeen),
    ...[...programs.values()].map((one) => event('programCame', { programNumber: one.programNumber, text: one.name }, firstSeen)),
    ...[...pids.values()].map((one) =>
      event('pidCame', { pid: one.pid, programNumber: one.programNumber || undefined, text: one.description }, firstSeen + 1000),
    ),
  ];
  const stream = () => ({
    state: /** @type {'running'} */ ('running'),
    since: firstSeen,
    rateBitPerSecond: total,
    pidCount: pids.size,
    programCount: programs.size,
  });
  /** @param {string} name @param {number} time */
  const documentOf = (name, time) => {
    const { value, text } = documents[name];
    const isList = name === 'pidData' || name === 'pgmData';
    return { time, bytes: Buffer.byteLength(text), answerMs: 20 + Math.floor(random() * 20), ...(isList ? {} : { value }) };
  };

  /** @type {KeptRates} */
  const history = { times: [], total: [], pids: {}, programs: {} };
  for (const pid of pids.keys()) history.pids[pid] = [];
  for (const program of programs.keys()) history.programs[program] = [];
  /** @param {number} time */
  function remember(time) {
    const series = [history.times, history.total, ...Object.values(history.pids), ...Object.values(history.programs)];
    if (history.times.length === HISTORY_SECONDS) for (const samples of series) samples.shift();
    history.times.push(time);
    history.total.push(total);
    for (const [key, row] of pids) history.pids[key].push(row.gone ? null : row.rateBitPerSecond);
    for (const [key, row] of programs) history.programs[key].push(row.gone ? null : row.rateBitPerSecond);
  }
  /** @param {number} time */
  function moveAll(time) {
    for (const [key, row] of pids) pids.set(key, move(row, time));
    for (const [key, row] of programs) programs.set(key, move(row, time));
    total = Math.round(documents.pidData.value.rateBitPerSecond * (0.99 + 0.02 * random()));
    remember(time);
  }
  /** @param {number} pid @param {boolean} gone @param {string} kind @param {number} time */
  function turn(pid, gone, kind, time) {
    const row = { ...pids.get(pid), gone };
    pids.set(pid, row);
    const turned = event(kind, { pid, programNumber: row.programNumber || undefined, text: row.description }, time);
    events.push(turned);
    return { version: ++version, time, pids: [sent(row)], events: [turned] };
  }
  for (let i = HISTORY_SECONDS; i > 0; --i) moveAll(start - i * 1000);

  return {
    history,
    pids,
    programs,
    picture: (time) => ({
      version: ++version,
      time,
      service: { state: 'answering', since: firstSeen },
      stream: stream(),
      pids: [...pids.values()].map(sent),
      programs: [...programs.values()].map(sent),
      documents: { pidData: documentOf('pidData', time), pgmData: documentOf('pgmData', time) },
      events,
    }),
    tick(time) {
      moveAll(time);
      return {
        version: ++version,
        time,
        stream: stream(),
        pids: [...pids.values()].filter((row) => !row.gone).map(sent),
        programs: [...programs.values()].filter((row) => !row.gone).map(sent),
        documents: { pidData: documentOf('pidData', time), pgmData: documentOf('pgmData', time) },
      };
    },
    loosePid: (pid, time) => turn(pid, true, 'pidGone', time),
    findPid: (pid, time) => turn(pid, false, 'pidCame', time),
    bringDocument: (name, time) => ({ version: ++version, time, documents: { [name]: documentOf(name, time) } }),
  };
}
