// Dates and times of the stream's tables, which are UTC texts.

/**
 * Milliseconds since 1970 of a date and a time of day as the tables write them; null if they are none.
 * @param {string | null | undefined} date "2025-11-21"
 * @param {string | null | undefined} timeOfDay "12:01:03"
 * @returns {number | null}
 */
export function utcTime(date, timeOfDay) {
  if (!/^\d{4}-\d\d-\d\d$/.test(date ?? '')) return null;
  const seconds = secondsOf(timeOfDay);
  const day = Date.parse(`${date}T00:00:00Z`);
  return seconds === null || Number.isNaN(day) ? null : day + seconds * 1000;
}

/**
 * Seconds of "01:30:00"; null if it is no duration.
 * @param {string | null | undefined} text
 * @returns {number | null}
 */
export function secondsOf(text) {
  const match = /^(\d{1,3}):(\d\d):(\d\d)$/.exec((text ?? '').trim());
  return match ? Number(match[1]) * 3600 + Number(match[2]) * 60 + Number(match[3]) : null;
}

/**
 * @typedef {object} ScheduledEvent
 * @property {number | null} start null: the table's text is no time
 * @property {number | null} end
 * @property {any} event as the table has it
 */

/**
 * The events of an EIT in the order of their start; those without a time last.
 * @param {any[]} events
 * @returns {ScheduledEvent[]}
 */
export function scheduleOf(events) {
  const schedule = events.map((event) => {
    const start = utcTime(event.date, event.startTime);
    const seconds = secondsOf(event.duration);
    return { start, end: start === null || seconds === null ? null : start + seconds * 1000, event };
  });
  return schedule.sort((a, b) => (a.start ?? Number.MAX_VALUE) - (b.start ?? Number.MAX_VALUE));
}
