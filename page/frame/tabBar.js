// The bar of tabs. The address says which one is open, and what in it: "#programs/101".

/**
 * @typedef {object} Tab
 * @property {HTMLElement} element
 * @property {(detail: string) => void} open what the address says behind the tab's name
 * @property {() => void} update
 * @property {() => string[]} lookedAt names of what the manager is to ask for
 * @property {() => void} [find] puts the focus into the filter
 * @property {() => void} [sortAgain]
 * @property {() => void} [hold]
 * @property {() => void} [restyle]
 * @property {() => string | null} [plotPlace] address of the plot of what has the focus
 */

/** @returns {{tab: string, detail: string}} */
export function placeOfAddress() {
  const [tab, ...detail] = location.hash.slice(1).split('/');
  return { tab, detail: safelyDecoded(detail.join('/')) };
}

/** @param {string} text */
function safelyDecoded(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    return text;
  }
}

/**
 * @param {HTMLElement} bar
 * @param {HTMLElement} main
 * @param {Record<string, Tab>} tabs by the name in the address; the first is the one that opens by itself
 * @param {() => void} onOpen
 * @returns {() => Tab} the open one
 */
export function startTabs(bar, main, tabs, onOpen) {
  const names = Object.keys(tabs);
  const buttons = new Map(names.map((name) => [name, /** @type {HTMLElement} */ (document.getElementById(`tab-${name}`))]));
  let current = '';
  /** The rows that had the focus when their tabs were left. @type {Map<string, HTMLElement>} */
  const left = new Map();
  /** The name of the tab that the address says; it is known before the tab is open. @param {string} tab */
  const nameOf = (tab) => (Object.hasOwn(tabs, tab) ? tab : names[0]);

  function followAddress() {
    const { tab, detail } = placeOfAddress();
    const name = nameOf(tab);
    const isOther = name !== current;
    const isFirst = current === '';
    if (isOther) {
      const row = main.contains(document.activeElement) ? document.activeElement?.closest('tbody tr') : null;
      if (row) left.set(current, /** @type {HTMLElement} */ (row));
      else left.delete(current);
      current = name;
      for (const [other, button] of buttons) {
        button.setAttribute('aria-selected', String(other === name));
        button.tabIndex = other === name ? 0 : -1;
      }
      main.setAttribute('aria-labelledby', `tab-${name}`);
      main.replaceChildren(tabs[name].element);
      main.scrollTop = 0;
    }
    tabs[name].update();
    tabs[name].open(detail);
    // The focus went with what was shown before. Keys shall go on from where they were.
    if (isOther && !isFirst && [document.body, main].includes(/** @type {HTMLElement} */ (document.activeElement))) {
      const row = left.get(name);
      (row?.isConnected ? row : main).focus();
    }
    onOpen();
  }

  bar.addEventListener('click', ({ target }) => {
    const button = /** @type {Element} */ (target).closest('[role="tab"]');
    if (button) location.hash = button.id.replace('tab-', '');
  });
  bar.addEventListener('keydown', (event) => {
    const at = names.indexOf(nameOf(placeOfAddress().tab));
    /** @type {Record<string, number>} */
    const goals = { ArrowLeft: at - 1, ArrowRight: at + 1, Home: 0, End: names.length - 1 };
    if (!(event.key in goals)) return;
    event.preventDefault();
    const name = names[(goals[event.key] + names.length) % names.length];
    location.hash = name;
    buttons.get(name)?.focus();
  });
  addEventListener('hashchange', followAddress);
  followAddress();
  return () => tabs[current];
}
