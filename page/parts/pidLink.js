// How a PID is called, and where it leads.
import { link } from './element.js';
import { hexText } from './format.js';

/** "256 0x0100", as it stands in a text that leads to the PID. @param {number} pid */
export const pidLink = (pid) => link(`#pids/${pid}`, pidText(pid));

/** @param {number} pid */
export const pidText = (pid) => `${pid} ${hexText(pid)}`;
