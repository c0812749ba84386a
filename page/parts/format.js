// Numbers, times and texts as the page writes them.

/** What stands where there is nothing. */
export const NOTHING = '–';

/** No stream is so fast; a rate that is so great is a number gone wrong, and not written out. */
const ABSURD = 1e12;

/**
 * A rate with as many places as the documents have.
 * @param {number | null | undefined} bitPerSecond
 */
export function rateText(bitPerSecond) {
  if (bitPerSecond === null || bitPerSecond === undefined || !Number.isFinite(bitPerSecond)) return NOTHING;
  const size = Math.abs(bitPerSecond);
  if (size >= ABSURD) return `${bitPerSecond.toExponential(2)} bit/s`;
  if (size >= 1e6) return `${(bitPerSecond / 1e6).toFixed(3)} Mbit/s`;
  if (size >= 1e3) return `${(bitPerSecond / 1e3).toFixed(3)} kbit/s`;
  return `${bitPerSecond.toFixed(0)} bit/s`;
}

/**
 * @param {number | null} part
 * @param {number | null} total
 */
export function shareText(part, total) {
  return part === null || !total ? NOTHING : `${((part / total) * 100).toFixed(1)} %`;
}

/**
 * A PID, or another number of the standard, in hexadecimal.
 * @param {number} value
 * @param {number} [digits]
 */
export function hexText(value, digits = 4) {
  return `0x${value.toString(16).toUpperCase().padStart(digits, '0')}`;
}

const TIME = new Intl.DateTimeFormat('en-GB', { hour: '2-digit', minute: '2-digit', second: '2-digit' });
const MINUTE = new Intl.DateTimeFormat('en-GB', { hour: '2-digit', minute: '2-digit' });
const DAY = new Intl.DateTimeFormat('en-GB', { weekday: 'short', day: 'numeric', month: 'long', year: 'numeric' });
const ISO_DAY = new Intl.DateTimeFormat('en-CA', { year: 'numeric', month: '2-digit', day: '2-digit' });

/** Local time of day. @param {number} time */
export const timeText = (time) => TIME.format(time);
/** Local time of day, to the minute. @param {number} time */
export const minuteText = (time) => MINUTE.format(time);
/** The day, in words. @param {number} time */
export const dayText = (time) => DAY.format(time);
/**
 * Time of day, with the date unless it is today.
 * @param {number} time
 * @param {number} now
 */
export function whenText(time, now) {
  return ISO_DAY.format(time) === ISO_DAY.format(now) ? TIME.format(time) : `${ISO_DAY.format(time)} ${TIME.format(time)}`;
}

/**
 * "3 s", "4 min 10 s", "2 h 5 min", "3 days 4 h".
 * @param {number} ms
 */
export function durationText(ms) {
  const seconds = Math.round(Math.abs(ms) / 1000);
  const [days, hours, minutes] = [Math.floor(seconds / 86400), Math.floor(seconds / 3600) % 24, Math.floor(seconds / 60) % 60];
  if (days) return `${days} ${days === 1 ? 'day' : 'days'} ${hours} h`;
  if (hours) return `${hours} h ${minutes} min`;
  return minutes ? `${minutes} min ${seconds % 60} s` : `${seconds} s`;
}

/** @param {number} bytes */
export const bytesText = (bytes) => `${bytes.toLocaleString('en-GB')} bytes`;

/**
 * What a name may not bring onto the page as it is: control characters, line and paragraph separators, characters that change the writing
 * direction or cannot be seen, and those of private use.
 */
const UNSHOWN = /[\p{Cc}\p{Co}\p{Cs}\p{Zl}\p{Zp}\p{Default_Ignorable_Code_Point}\u2800\uFFF9-\uFFFB]/gu;

/**
 * A text of the stream with everything written out that a reader would not see or that would act on the page.
 * @param {string | null | undefined} text
 */
export function visibleText(text) {
  return (text ?? '').replace(UNSHOWN, writtenOut);
}

/**
 * The same of a text of several lines, which stay.
 * @param {string} text
 */
export function visibleLines(text) {
  return text.replace(UNSHOWN, (character) => (/[\n\r\t]/.test(character) ? character : writtenOut(character)));
}

/** @param {string} character */
const writtenOut = (character) => `\\u{${character.codePointAt(0)?.toString(16).toUpperCase()}}`;

/**
 * The same of a name; one that is empty is said to be.
 * @param {string | null | undefined} name
 */
export function nameText(name) {
  return visibleText(name).trim() || '(no name)';
}
