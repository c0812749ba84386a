// The last minutes of a rate as a small line.
import { drawing } from './element.js';

const WIDTH = 90;
const HEIGHT = 18;
/** A rate that moves by less than this share of itself is drawn flat. */
const LEAST_SPAN = 0.02;

/** @typedef {{element: SVGSVGElement, set: (points: Float32Array) => void}} Sparkline */

/** @returns {Sparkline} */
export function sparkline() {
  const path = drawing('path', { d: '' });
  let shown = '';
  return {
    element: drawing(
      'svg',
      { class: 'spark', viewBox: `0 0 ${WIDTH} ${HEIGHT}`, preserveAspectRatio: 'none', 'aria-hidden': 'true' },
      path,
    ),
    set(points) {
      const line = pathOf(points);
      if (line === shown) return;
      shown = line;
      path.setAttribute('d', line);
    },
  };
}

/**
 * The line through the points, with gaps where there is none.
 * @param {Float32Array} points
 */
export function pathOf(points) {
  let least = Number.POSITIVE_INFINITY;
  let most = Number.NEGATIVE_INFINITY;
  for (const point of points) {
    if (point < least) least = point;
    if (point > most) most = point;
  }
  if (most < least) return '';
  const span = Math.max(most - least, Math.abs(most) * LEAST_SPAN, 1);
  const base = (least + most - span) / 2;
  const step = WIDTH / Math.max(1, points.length - 1);
  let line = '';
  let pen = 'M';
  for (let i = 0; i < points.length; ++i) {
    if (Number.isNaN(points[i])) {
      pen = 'M';
      continue;
    }
    const y = HEIGHT - 1.5 - ((points[i] - base) / span) * (HEIGHT - 3);
    line += `${pen}${Math.round(i * step * 10) / 10} ${Math.round(y * 10) / 10}`;
    // A point alone is a short stroke, or it could not be seen.
    if (pen === 'M') line += 'h.1';
    pen = 'L';
  }
  return line;
}
