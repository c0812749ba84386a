// What a tab sees: the newest picture, the rates of the last quarter of an hour, and the manager's clock.

/** @import {Picture} from '../picture/picture.js' */
/** @import {History} from '../picture/history.js' */

/**
 * @typedef {object} View
 * @property {() => Picture | null} picture null before the first has come
 * @property {() => History} history
 * @property {() => number} now milliseconds since 1970 UTC by the manager's clock
 */

export {};
