// Ties the rooms together. Data travels one way: connection, picture, tabs.

/** @import {Picture} from './picture/picture.js' */
/** @import {ConnectionState} from './picture/health.js' */
/** @import {View} from './tabs/view.js' */
import { openEventStream } from './connection/eventStream.js';
import { fetchDocument, fetchHistory, keepLooking } from './connection/requests.js';
import { startShortcuts } from './frame/shortcuts.js';
import { statusLine } from './frame/statusLine.js';
import { startTabs } from './frame/tabBar.js';
import { startTheme } from './frame/theme.js';
import { healthOf } from './picture/health.js';
import { emptyHistory, historyOf, SAMPLES, takeSample } from './picture/history.js';
import { applyChange, figuresTime, pictureOf } from './picture/picture.js';
import { eventsTab } from './tabs/events.js';
import { pidsTab } from './tabs/pids.js';
import { programsTab } from './tabs/programs.js';
import { ratesTab } from './tabs/rates.js';
import { rawTab } from './tabs/raw.js';
import { tablesTab } from './tabs/tables.js';

/** @param {string} id */
const byId = (id) => /** @type {HTMLElement} */ (document.getElementById(id));

/** @type {Picture | null} */
let picture = null;
let history = emptyHistory();
/** @type {ConnectionState} */
let connection = 'connecting';
/** The manager's clock minus this machine's. */
let clockOffset = 0;

/** What tabs see of all this. @type {View} */
const view = {
  picture: () => picture,
  history: () => history,
  now: () => Date.now() + clockOffset,
};
const tabs = {
  pids: pidsTab(view),
  programs: programsTab(view),
  tables: tablesTab(view),
  rates: ratesTab(view),
  events: eventsTab(view),
  raw: rawTab(view, fetchDocument),
};

const showStatus = statusLine();
const updateStatus = () => showStatus(healthOf(connection, picture, view.now()), picture);

/** Nobody sees a hidden page; it is brought up to date when it is shown again. */
function update() {
  if (document.visibilityState !== 'visible') return;
  updateStatus();
  currentTab().update();
}

let look = () => {};
const currentTab = startTabs(/** @type {HTMLElement} */ (document.querySelector('.tabs')), byId('panel'), tabs, () => look());
look = keepLooking(() => currentTab().lookedAt());

function sample() {
  const time = picture && figuresTime(picture);
  if (picture && time) takeSample(history, picture, time);
}

openEventStream({
  onPicture(message) {
    clockOffset = message.time - Date.now();
    picture = pictureOf(message);
    sample();
    update();
    look();
    fetchHistory(SAMPLES).then((kept) => {
      if (!kept) return;
      history = historyOf(kept);
      sample();
      update();
    });
  },
  onChange(message) {
    if (!picture) return;
    clockOffset = message.time - Date.now();
    applyChange(picture, message);
    sample();
    update();
  },
  onState(state) {
    connection = state;
    updateStatus();
  },
  awaitsFigures: () => picture?.stream.state === 'running',
});
setInterval(updateStatus, 1000);
document.addEventListener('visibilitychange', update);

const nextTheme = startTheme(byId('theme'), () => currentTab().restyle?.());
const keys = /** @type {HTMLDialogElement} */ (byId('keys'));
byId('help').addEventListener('click', () => keys.showModal());
startShortcuts(
  {
    ...Object.fromEntries(Object.keys(tabs).map((name, i) => [String(i + 1), () => (location.hash = name)])),
    '?': () => keys.showModal(),
    '/': () => currentTab().find?.(),
    s: () => currentTab().sortAgain?.(),
    h: () => currentTab().hold?.(),
    t: nextTheme,
    p: () => {
      const place = currentTab().plotPlace?.();
      if (place) location.hash = place;
    },
  },
  /** @type {HTMLInputElement} */ (byId('shortcuts')),
);
