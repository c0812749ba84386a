// The rows of a table: one for each key, made once, changed in place and moved only when the order is another. The arrow keys go from row to
// row, and to the links of a row: all of a table is one stop of the Tab key.

/**
 * @template I
 * @typedef {{element: HTMLTableRowElement, update: (item: I, inView: boolean) => void, open?: () => void}} Row
 */

/**
 * @template K, I
 * @typedef {object} KeyedRows
 * @property {(order: K[], itemOf: (key: K) => I) => void} show makes the body hold exactly these rows in this order
 * @property {(key: K) => boolean} focus brings a row into view and gives it the focus; false if there is none
 * @property {() => K | null} focused the key of the row that has the focus
 */

/**
 * @template K, I
 * @param {HTMLTableSectionElement} body
 * @param {(item: I) => Row<I>} makeRow
 * @param {(row: Row<I>, item: I) => void} [onSeen] called with a row that has come into view
 * @returns {KeyedRows<K, I>}
 */
export function keyedRows(body, makeRow, onSeen = (row, item) => row.update(item, true)) {
  /** @typedef {{key: K, row: Row<I>, item: I, inView: boolean}} Kept */
  /** @type {Map<K, Kept>} */
  const kept = new Map();
  /** @type {WeakMap<Element, Kept>} */
  const ofElement = new WeakMap();
  // What is out of view need not be drawn.
  const watcher = new IntersectionObserver(
    (entries) => {
      for (const { target, isIntersecting } of entries) {
        const found = ofElement.get(target);
        if (!found || found.inView === isIntersecting) continue;
        found.inView = isIntersecting;
        if (isIntersecting) onSeen(found.row, found.item);
      }
    },
    { rootMargin: '100px' },
  );

  /** @param {K} key @param {I} item */
  function add(key, item) {
    const row = makeRow(item);
    const added = { key, row, item, inView: false };
    row.element.tabIndex = -1;
    for (const link of row.element.querySelectorAll('a')) link.tabIndex = -1;
    kept.set(key, added);
    ofElement.set(row.element, added);
    watcher.observe(row.element);
    return added;
  }

  /** @param {Set<K>} wanted */
  function removeOthers(wanted) {
    for (const [key, { row }] of kept) {
      if (wanted.has(key)) continue;
      watcher.unobserve(row.element);
      row.element.remove();
      kept.delete(key);
    }
  }

  /** @param {K[]} order @param {(key: K) => I} itemOf */
  function show(order, itemOf) {
    const focusedElement = /** @type {HTMLElement | null} */ (document.activeElement);
    removeOthers(new Set(order));
    /** @type {Element | null} */
    let next = body.firstElementChild;
    for (const key of order) {
      const item = itemOf(key);
      const found = kept.get(key) ?? add(key, item);
      found.item = item;
      found.row.update(item, found.inView);
      if (found.row.element === next) next = next.nextElementSibling;
      else body.insertBefore(found.row.element, next);
    }
    // An element that is moved loses the focus.
    if (focusedElement && document.activeElement !== focusedElement && body.contains(focusedElement)) focusedElement.focus();
    if (!body.querySelector('tr[tabindex="0"]')) body.querySelector('tr')?.setAttribute('tabindex', '0');
  }

  /** @param {HTMLElement} target */
  function focusElement(target) {
    body.querySelector('tr[tabindex="0"]')?.setAttribute('tabindex', '-1');
    target.tabIndex = 0;
    target.focus();
    target.scrollIntoView({ block: 'nearest' });
  }

  body.addEventListener('focusin', ({ target }) => {
    const row = /** @type {Element} */ (target).closest('tr');
    if (!row || row.tabIndex === 0) return;
    body.querySelector('tr[tabindex="0"]')?.setAttribute('tabindex', '-1');
    row.tabIndex = 0;
  });
  body.addEventListener('keydown', (event) => {
    const here = /** @type {Element} */ (event.target).closest('tr');
    if (!here || event.ctrlKey || event.altKey || event.metaKey) return;
    const rows = /** @type {HTMLTableRowElement[]} */ ([...body.children]);
    const at = rows.indexOf(here);
    /** @type {Record<string, number>} */
    const goals = { ArrowDown: at + 1, ArrowUp: at - 1, PageDown: at + 10, PageUp: at - 10, Home: 0, End: rows.length - 1 };
    if (event.key in goals) {
      event.preventDefault();
      focusElement(rows[Math.min(rows.length - 1, Math.max(0, goals[event.key]))]);
    } else if (event.key === 'ArrowRight' || event.key === 'ArrowLeft') {
      event.preventDefault();
      const stops = [here, .../** @type {NodeListOf<HTMLElement>} */ (here.querySelectorAll('a[href]'))];
      const from = stops.indexOf(/** @type {HTMLElement} */ (event.target));
      stops[from + (event.key === 'ArrowRight' ? 1 : -1)]?.focus();
    } else if (event.key === 'Enter' && event.target === here) {
      ofElement.get(here)?.row.open?.();
    }
  });
  body.addEventListener('click', ({ target }) => {
    const clicked = /** @type {Element} */ (target);
    const row = clicked.closest('tr');
    if (row && !clicked.closest('a, button') && !document.getSelection()?.toString()) ofElement.get(row)?.row.open?.();
  });

  return {
    show,
    focus(key) {
      const found = kept.get(key);
      if (!found) return false;
      focusElement(found.row.element);
      return true;
    },
    focused() {
      const row = document.activeElement?.closest('tr');
      return (row && ofElement.get(row)?.key) ?? null;
    },
  };
}
