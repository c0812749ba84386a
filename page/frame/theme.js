// Light or dark: as the system says, until the reader says otherwise.

const KEY = 'theme';
const systemDark = matchMedia('(prefers-color-scheme: dark)');

/** @typedef {'system' | 'light' | 'dark'} Choice */
/** @type {Choice[]} */
const CHOICES = ['system', 'light', 'dark'];
/** @type {Record<Choice, string>} */
const NAMES = { system: 'Theme: system', light: 'Theme: light', dark: 'Theme: dark' };

/**
 * Gives the page its theme and the button its work.
 * @param {HTMLElement} button
 * @param {() => void} onTheme called when the colours have changed
 * @returns {() => void} takes the next choice
 */
export function startTheme(button, onTheme) {
  const kept = /** @type {Choice} */ (localStorage.getItem(KEY));
  let choice = CHOICES.includes(kept) ? kept : 'system';

  function apply() {
    const dark = choice === 'dark' || (choice === 'system' && systemDark.matches);
    document.documentElement.dataset.theme = dark ? 'dark' : 'light';
    button.textContent = NAMES[choice];
    onTheme();
  }
  function next() {
    choice = CHOICES[(CHOICES.indexOf(choice) + 1) % CHOICES.length];
    localStorage.setItem(KEY, choice);
    apply();
  }
  systemDark.addEventListener('change', apply);
  button.addEventListener('click', next);
  apply();
  return next;
}
