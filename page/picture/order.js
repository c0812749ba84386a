// Which rows are shown, and in which order: rows keep their place while their values change.

/**
 * The keys in the order in which they are to be shown. Keys that were shown keep their order, whatever their values are now; a new one
 * goes before the first that it precedes.
 * @template K, R
 * @param {K[]} shown the keys as they stand; empty sorts anew
 * @param {Map<K, R>} rows what is to be shown
 * @param {(a: R, b: R) => number} compare
 * @returns {K[]}
 */
export function calmOrder(shown, rows, compare) {
  const kept = shown.filter((key) => rows.has(key));
  const known = new Set(kept);
  const added = [...rows].filter(([key]) => !known.has(key)).sort(([, a], [, b]) => compare(a, b));
  if (kept.length === 0) return added.map(([key]) => key);
  for (const [key, row] of added) {
    const at = kept.findIndex((other) => compare(row, /** @type {R} */ (rows.get(other))) < 0);
    kept.splice(at < 0 ? kept.length : at, 0, key);
  }
  return kept;
}

/**
 * Compares by one value of each, texts by the language's rules, nothing last; equal ones by their keys.
 * @template R
 * @param {(row: R) => string | number | boolean | null} sortBy
 * @param {(row: R) => number} keyOf
 * @param {boolean} descending
 * @returns {(a: R, b: R) => number}
 */
export function comparison(sortBy, keyOf, descending) {
  const direction = descending ? -1 : 1;
  return (a, b) => {
    const one = sortBy(a);
    const other = sortBy(b);
    if ((one === null) !== (other === null)) return one === null ? 1 : -1;
    const order =
      typeof one === 'string' && typeof other === 'string' ? COLLATOR.compare(one, other) : Number(one) - Number(other);
    return order * direction || keyOf(a) - keyOf(b);
  };
}

const COLLATOR = new Intl.Collator(undefined, { numeric: true });

/**
 * Whether each word of what was typed is in one of the texts; "0x100" and "256" both find PID 256.
 * @param {string} typed
 * @param {(string | number)[]} texts
 */
export function matches(typed, texts) {
  const words = typed.toLowerCase().split(/\s+/).filter(Boolean);
  const where = texts.map((text) => String(text).toLowerCase());
  return words.every((word) => where.some((text) => text.includes(word)));
}
