// A document as it came; only what could not be seen, or would turn the text, is written out.

/** @import {View} from './view.js' */
/** @import {Tab} from '../frame/tabBar.js' */
import { element, setAttribute, setText } from '../parts/element.js';
import { bytesText, durationText, NOTHING, nameText, visibleLines } from '../parts/format.js';

const DATA_STREAMS = ['pidData', 'pgmData', 'PAT', 'CAT', 'NIT', 'SDT', 'EIT', 'TDT'];
/** The lists come by themselves. */
const UNASKED = ['pidData', 'pgmData'];
const DETAIL = /^pgmDetail:\d+$/;

/**
 * @param {View} view
 * @param {(name: string) => Promise<string | null>} fetchDocument
 * @returns {Tab}
 */
export function rawTab(view, fetchDocument) {
  let chosen = DATA_STREAMS[0];
  let shownTime = 0;
  const choice = element('select', { 'aria-label': 'Document' });
  const held = element('input', { type: 'checkbox' });
  const facts = element('p', { class: 'muted' });
  const text = element('pre', { tabindex: '0', 'aria-label': 'The document' });
  let choices = '';

  /** The data streams, and the details of the programs that there are. */
  function offerChoices() {
    const programs = [...(view.picture()?.programs.values() ?? [])].filter((program) => !program.gone);
    programs.sort((a, b) => a.patIndex - b.patIndex);
    /** @type {[string, string][]} */
    const options = [
      .../** @type {[string, string][]} */ (DATA_STREAMS.map((name) => [name, name])),
      .../** @type {[string, string][]} */ (
        programs.map((one) => [`pgmDetail:${one.patIndex}`, `pgmDetail ${one.patIndex}: ${nameText(one.name)}`])
      ),
    ];
    if (!options.some(([name]) => name === chosen)) options.push([chosen, chosen]);
    const now = JSON.stringify(options);
    if (now !== choices) choice.replaceChildren(...options.map(([value, name]) => element('option', { value }, name)));
    choices = now;
    choice.value = chosen;
  }

  async function fetchIfNew() {
    const found = view.picture()?.documents.get(chosen);
    if (!found) {
      setText(facts, 'Waiting for the document …');
      setText(text, '');
      return;
    }
    const age = durationText(view.now() - found.time);
    setText(facts, `${bytesText(found.bytes)}; ${found.answerMs ?? NOTHING} ms from request to document; came ${age} ago`);
    if (found.time === shownTime || held.checked) return;
    shownTime = found.time;
    const name = chosen;
    const came = await fetchDocument(name);
    if (name === chosen && came !== null) setText(text, visibleLines(came));
  }
  function update() {
    offerChoices();
    fetchIfNew();
  }
  choice.addEventListener('input', () => {
    location.hash = `raw/${choice.value}`;
  });
  held.addEventListener('input', update);

  return {
    element: element(
      'section',
      { class: 'tab' },
      element('div', { class: 'controls' }, choice, element('label', {}, held, ' Hold'), facts),
      text,
    ),
    open(detail) {
      chosen = DATA_STREAMS.includes(detail) || DETAIL.test(detail) ? detail : DATA_STREAMS[0];
      shownTime = 0;
      setAttribute(text, 'data-document', chosen);
      setText(text, '');
      update();
    },
    update,
    lookedAt: () => (UNASKED.includes(chosen) ? [] : [chosen]),
    find: () => choice.focus(),
  };
}
