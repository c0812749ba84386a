// A rate as a bar, with a band from its least to its most.
import { element } from './element.js';

/** @typedef {{element: HTMLElement, set: (rate: number | null, least: number | null, most: number | null, full: number) => void}} RateBar */

/** @returns {RateBar} */
export function rateBar() {
  const fill = element('span', { class: 'fill' });
  const band = element('span', { class: 'band' });
  let shown = '';
  return {
    // The rate stands beside it as text.
    element: element('span', { class: 'bar', 'aria-hidden': 'true' }, fill, band),
    set(rate, least, most, full) {
      const [at, from, to] = [rate, least, most].map((value) => Math.min(1, Math.max(0, (value ?? 0) / full)).toFixed(3));
      const now = `${at} ${from} ${to}`;
      if (now === shown) return;
      shown = now;
      fill.style.transform = `scaleX(${at})`;
      band.style.transform = `translateX(${Number(from) * 100}%) scaleX(${Math.max(0.004, Number(to) - Number(from))})`;
    },
  };
}

/**
 * The next of 1, 2, 5, 10, 20, … that is not less: a full scale that seldom changes.
 * @param {number} value
 */
export function fullScale(value) {
  if (!(value > 0) || !Number.isFinite(value)) return 1;
  const power = 10 ** Math.floor(Math.log10(value));
  return /** @type {number} */ ([1, 2, 5, 10].find((step) => step * power >= value)) * power;
}
