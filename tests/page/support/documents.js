// The service's documents as they come, and what the page has to show of each. They are read here by other means than the manager's.
import { hexText, rateText } from '../../../page/parts/format.js';

/** @typedef {Record<string, any>} Body what stands behind the document's name */

/**
 * The body of a document, of which a comma may be too many or stand twice, but no text holds a quotation mark.
 * @param {string} text
 * @returns {Body}
 */
export function bodyOf(text) {
  const tidy = text.replace(/"[^"]*"|,(?=[,\]}])/g, (found) => (found === ',' ? '' : found));
  const document = JSON.parse(tidy);
  return document[document.dataStream];
}

/** @param {string} text "   3.250Mbps" @returns {number} bit/s */
export function rateOf(text) {
  const match = /^ *([\d.]+)([KM])bps$/.exec(text);
  if (!match) throw new Error(`"${text}" is no rate`);
  return Math.round(Number(match[1]) * (match[2] === 'M' ? 1e6 : 1e3));
}
/** @param {string} text */
const rate = (text) => rateText(rateOf(text));
/** @param {string} pid */
const pidText = (pid) => `${pid} ${hexText(Number(pid))}`;
/** @param {string} hex "0x3f9" */
const idText = (hex) => `${Number(hex)} (${hexText(Number(hex))})`;
/** @param {string} hex */
const byteText = (hex) => hexText(Number(hex), 2);
/** A word instead of a list says that it is empty. @param {any} details @returns {any[]} */
const listOf = (details) => (Array.isArray(details) ? details : []);

/** @type {Record<string, string>} */
const PID_WORDS = {
  'PMT+ECM': 'PMT + ECM',
  VIDEO: 'Video',
  'VID+PCR': 'Video + PCR',
  AUDIO: 'Audio',
  PVT: 'Private',
  NULL: 'Null',
  Unk: 'Unknown',
};

/**
 * Of each PID, in their order: PID, type, program, rate, share, scrambling.
 * @param {Body} pidData
 * @param {Body} pgmData for the names
 */
export function pidRows(pidData, pgmData) {
  const names = new Map(pgmData.pgms.map((/** @type {Body} */ one) => [one.pgmNum, one.svcName]));
  const total = rateOf(pidData.aggStreamRate);
  return pidData.pids
    .sort((/** @type {Body} */ a, /** @type {Body} */ b) => Number(a.pidNum) - Number(b.pidNum))
    .map((/** @type {Body} */ one) => [
      pidText(one.pidNum),
      PID_WORDS[one.description] ?? one.description,
      one.pgmNum === '0' ? '–' : `${one.pgmNum} ${names.get(one.pgmNum) ?? ''}`.trim(),
      rate(one.pidRate),
      `${((100 * rateOf(one.pidRate)) / total).toFixed(1)} %`,
      one.scrambled === '0' ? 'clear' : 'scrambled',
    ]);
}

/** @type {Record<string, string>} */
const SERVICE_TYPES = { 1: 'TV', 2: 'Radio' };

/** Of each program, in their order: number, name, provider, type, PIDs, rate, CA, scrambling. @param {Body} pgmData */
export function programRows(pgmData) {
  return pgmData.pgms
    .sort((/** @type {Body} */ a, /** @type {Body} */ b) => Number(a.pgmNum) - Number(b.pgmNum))
    .map((/** @type {Body} */ one) => [
      one.pgmNum,
      one.svcName,
      one.svcProvider,
      SERVICE_TYPES[one.svcType] ?? `Type ${one.svcType}`,
      one.pidCount,
      rate(one.pgmRate),
      one.caFlag === '0' ? 'free' : 'CA',
      one.allScrambled === '0' ? 'clear' : 'scrambled',
    ]);
}

/** Of the codings of the samples. @param {Body} video */
function profileText({ videoType, profile, level }) {
  if (level === '0') return 'unknown';
  if (videoType === 'H.264') return `${profile} @ ${(Number(level) / 10).toFixed(1)}`;
  return `${profile} @ ${level}` === '4 @ 8' ? 'Main @ Main' : 'what no sample has';
}

/** @param {string} said "128kbps" */
function bitRateText(said) {
  const value = Number.parseInt(said, 10);
  if (Number.isNaN(value)) return '–';
  return value === 0 ? 'free rate' : said.replace('kbps', ' kbit/s');
}

/**
 * Of a program's components: the facts of its video, a row for each audio track, and the PIDs of private data and ECM.
 * @param {Body} pgmDetail
 * @returns {{video: Record<string, string>, audio: string[][], other: string[]}}
 */
export function componentsOf(pgmDetail) {
  const of = (/** @type {string} */ type) => pgmDetail.details.filter((/** @type {Body} */ one) => one.pidType === type);
  const [video] = of('VIDEO');
  const word = (/** @type {string} */ said) => said.toLowerCase();
  return {
    video: video
      ? {
          PID: pidText(video.pidNum),
          Coding: [video.videoType, ...(video.entropy === 'N/A' ? [] : [video.entropy])].join(', '),
          Resolution: video.horizRes === '0' ? 'unknown' : `${video.horizRes} × ${video.vertRes}`,
          Pictures: Number(video.pictRate) === 0 ? 'unknown' : `${video.pictRate.trim()} per second`,
          'Aspect ratio': video.aspectRatio,
          'Profile and level': profileText(video),
          Scrambling: word(video.scrambled),
        }
      : {},
    audio: of('AUDIO').map((/** @type {Body} */ one) => [
      pidText(one.pidNum),
      one.language,
      one.audioType,
      bitRateText(one.bitRate),
      one.sampleRate === 'Unknown' ? '–' : one.sampleRate.replace('kHz', ' kHz'),
      one.mode,
      word(one.scrambled),
    ]),
    other: [...of('PRIVATE'), ...of('ECM')].map((one) => pidText(one.pidNum)),
  };
}

const MJD_OF_1970 = 40587;
const DAY_MS = 86_400_000;
/** @param {string} mjd @param {string} timeOfDay "12:00:00" */
function timeOf(mjd, timeOfDay) {
  const [hours, minutes, seconds] = timeOfDay.split(':').map(Number);
  return (Number(mjd) - MJD_OF_1970) * DAY_MS + ((hours * 60 + minutes) * 60 + seconds) * 1000;
}
const LOCAL = new Intl.DateTimeFormat('en-GB', { hour: '2-digit', minute: '2-digit', timeZone: 'Europe/Berlin' });

/** @param {Body} event */
function eventRow(event) {
  const start = timeOf(event['Date:MJD'], event.TOD);
  return [
    LOCAL.format(start),
    LOCAL.format(start + timeOf(String(MJD_OF_1970), event.duration)),
    event.duration,
    `${event.event}${event.description}`,
    event.language,
  ];
}

/**
 * What each table says: its facts by their names, and its rows.
 * @type {Record<string, (body: Body) => {facts: Record<string, string>, rows: string[][]}>}
 */
export const TABLES = {
  PAT: (body) => ({
    facts: { Programs: body.pgms, Rate: rate(body.pidRate) },
    rows: body.details.map((/** @type {Body} */ one) => [
      one.pgmNum === '0' ? '0 (network)' : one.pgmNum,
      pidText(one.referencePID),
    ]),
  }),
  CAT: (body) => ({
    facts: { Systems: body.pidCount, Table: byteText(body.tableID), Rate: rate(body.pidRate) },
    rows: listOf(body.details).map((one) => [idText(one.systemID), pidText(one.pidNum)]),
  }),
  NIT: (body) => ({
    facts: {
      Network: idText(body.netID),
      'Transport stream': idText(body.streamID),
      'Original network': idText(body.origNetID),
      Table: byteText(body.tableID),
      Rate: rate(body.pidRate),
      ...(body.descriptorType === '0x40' ? { 'Network name': body.descriptors } : {}),
    },
    rows: listOf(body.details).map((one) => [byteText(one.descriptorType), one.descriptors]),
  }),
  SDT: (body) => ({
    facts: {
      Services: body.pgms,
      Of: body.sdtData,
      'Transport stream': idText(body.systemID),
      'Original network': idText(body.netID),
      Table: byteText(body.tableID),
      Rate: rate(body.pidRate),
    },
    rows: listOf(body.details).map((one) => [one.svcName, one.svcProvider, one.caFlag === 'Set' ? 'CA' : 'free']),
  }),
  EIT: (body) => ({
    facts: {
      Program: Number(body.pgmNum) ? String(Number(body.pgmNum)) : '–',
      Events: body.eventCount,
      'Transport stream': idText(body.systemID),
      'Original network': idText(body.netID),
      Table: byteText(body.tableID),
      Rate: rate(body.pidRate),
    },
    rows: listOf(body.details)
      .sort((a, b) => timeOf(a['Date:MJD'], a.TOD) - timeOf(b['Date:MJD'], b.TOD))
      .map(eventRow),
  }),
  TDT: (body) => ({
    facts: {
      // Without a time none has come.
      'In UTC': body.TOD ? `${new Date(timeOf(body['Date:MJD'], body.TOD)).toISOString().slice(0, 10)} ${body.TOD}` : '–',
      'Modified Julian Day': body.TOD ? body['Date:MJD'] : '–',
      Table: byteText(body.tableID),
      Rate: rate(body.pidRate),
    },
    rows: [],
  }),
};
