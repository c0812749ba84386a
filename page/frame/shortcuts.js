// Keys for the whole page. They can be switched off, for those whose tools send keys of their own.

const KEY = 'shortcuts';

/**
 * @param {Record<string, () => void>} actions what each key does
 * @param {HTMLInputElement} onOff
 */
export function startShortcuts(actions, onOff) {
  onOff.checked = localStorage.getItem(KEY) !== 'off';
  onOff.addEventListener('change', () => localStorage.setItem(KEY, onOff.checked ? 'on' : 'off'));
  document.addEventListener('keydown', (event) => {
    const target = /** @type {HTMLElement} */ (event.target);
    if (event.ctrlKey || event.altKey || event.metaKey || document.querySelector('dialog[open]')) return;
    if (event.key === 'Escape' && target.matches('input[type="search"]')) {
      // A browser would empty it.
      event.preventDefault();
      target.blur();
      return;
    }
    if (!onOff.checked || target.matches('input:not([type="checkbox"]), select, textarea')) return;
    const action = Object.hasOwn(actions, event.key) ? actions[event.key] : null;
    if (!action) return;
    event.preventDefault();
    action();
  });
}
