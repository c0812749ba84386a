// What is always in sight: whether manager, service and board are there, and how old the figures are.

/** @import {Health, Finding} from '../picture/health.js' */
/** @import {Picture} from '../picture/picture.js' */
import { setAttribute, setText } from '../parts/element.js';
import { durationText, NOTHING, rateText } from '../parts/format.js';
import { gravest } from '../picture/health.js';

/** Figures come each second; older ones are marked. */
const OLD_MS = 5000;

/** @param {string} id */
const byId = (id) => /** @type {HTMLElement} */ (document.getElementById(id));

/** @returns {(health: Health, picture: Picture | null) => void} */
export function statusLine() {
  const alarm = byId('alarm');
  const announcement = byId('announcement');
  const age = byId('age');
  let announced = 'Connecting to the manager';

  /** @param {string} id @param {Finding} finding */
  function showFinding(id, finding) {
    const node = byId(id);
    setAttribute(node, 'data-level', finding.level);
    setText(node, finding.text);
  }

  /** Readers of the screen hear of states when they change, and never of figures. @param {Health} health */
  function announce(health) {
    const worst = gravest(health);
    const text = worst?.text ?? 'All is well: the service answers and the board publishes';
    if (text !== announced) announcement.textContent = text;
    announced = text;
    setText(alarm, worst?.text ?? '');
    setAttribute(alarm, 'data-level', worst?.level ?? null);
    alarm.hidden = !worst;
  }

  return (health, picture) => {
    showFinding('manager', health.manager);
    showFinding('service', health.service);
    showFinding('board', health.board);
    setText(age, health.ageMs === null ? NOTHING : durationText(health.ageMs));
    setAttribute(age, 'data-level', health.ageMs !== null && health.ageMs > OLD_MS ? 'bad' : null);
    setText(byId('total'), rateText(picture?.stream.rateBitPerSecond));
    setText(byId('counts'), picture ? `${picture.stream.pidCount} PIDs, ${picture.stream.programCount} programs` : NOTHING);
    announce(health);
  };
}
