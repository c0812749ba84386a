// What a PID carries, by its type number. The kind groups types that mean the same to the eye.

/** @typedef {'video' | 'audio' | 'table' | 'access' | 'private' | 'clock' | 'null' | 'unknown'} Kind */

/** @type {Record<number, {name: string, kind: Kind}>} */
const TYPES = {
  1: { name: 'PMT', kind: 'table' },
  2: { name: 'PMT + ECM', kind: 'access' },
  3: { name: 'PCR', kind: 'clock' },
  4: { name: 'Video', kind: 'video' },
  5: { name: 'Video + PCR', kind: 'video' },
  6: { name: 'Audio', kind: 'audio' },
  7: { name: 'Private', kind: 'private' },
  8: { name: 'Table', kind: 'table' },
  9: { name: 'EMM', kind: 'access' },
  10: { name: 'ECM', kind: 'access' },
  11: { name: 'Null', kind: 'null' },
  12: { name: 'Unknown', kind: 'unknown' },
};
const TABLE = 8;

/**
 * The name of a type; a table is called by the word that came with it.
 * @param {{type: number, description: string}} pid
 */
export function typeName(pid) {
  if (pid.type === TABLE && pid.description) return pid.description;
  return TYPES[pid.type]?.name ?? (pid.description || `Type ${pid.type}`);
}

/**
 * @param {{type: number}} pid
 * @returns {Kind}
 */
export function typeKind(pid) {
  return TYPES[pid.type]?.kind ?? 'unknown';
}

/** The kinds by which one can filter, with their names. @type {[Kind, string][]} */
export const KINDS = [
  ['video', 'Video'],
  ['audio', 'Audio'],
  ['private', 'Private data'],
  ['table', 'Tables'],
  ['access', 'ECM and EMM'],
  ['clock', 'PCR alone'],
  ['null', 'Null packets'],
  ['unknown', 'Unknown'],
];
