// What the console does with the unit, step by step, for the pages to call.

import { failureOf } from './logic/answer.js';
import { isStatus } from './logic/class_rules.js';
import { RequestFailure, RequestQueue } from './logic/request_queue.js';
import { compareSites, inOrder, memoryOf, readSite } from './logic/site.js';
import { applyResults, readSiteLog } from './logic/site_log.js';
import { readSpreadsheet } from './logic/spreadsheet_csv.js';
import { get, recall, remember, set } from './store.js';
import { texts } from './texts.js';
import { readStatic, sendCommand, sleep } from './transport.js';

const siteFile = '/site.csv';
const siteLogFile = '/site.log';
const logInterval = 1000;
const backInterval = 2000;
const longestSilence = 20; // seconds without a log line, while a unit may take 15 to answer

export const queue = new RequestQueue(sendCommand, sleep, (activity) => set({ activity }));

export function explain(failure) {
  if (failure instanceof RequestFailure) return texts.failures[failure.kind];
  return failure instanceof TypeError ? texts.failures.unreachable : failure.message;
}

// Runs an action; what goes wrong becomes a notice. Returns whether it went well.
export async function attempt(action) {
  set({ notice: null });
  try {
    await action();
    return true;
  } catch (failure) {
    set({ notice: { level: 'error', text: explain(failure) } });
    return false;
  }
}

// Shows a discovery's file, compared with the discovery before it, be it in an earlier session.
function showSite(file) {
  const site = { ...readSite(file.text), bytes: file.bytes, modified: file.modified };
  let memory = recall('site');
  if (memory?.modified !== site.modified) {
    memory = { modified: site.modified, now: memoryOf(site), then: memory?.now ?? null };
    remember('site', memory);
  }
  set({ site, outdated: false, comparison: memory.then ? compareSites(memory.then, memory.now) : null });
}

export async function loadSite() {
  const file = await readStatic(siteFile);
  if (file) showSite(file);
}

// A discovery that could not reach the network leaves the file of the last one.
export async function discover() {
  const before = await readStatic(siteFile);
  set({ discovery: { since: Date.now() } });
  try {
    await queue.ask('discover', 'DISCOVER_DEVICES_API');
    const file = await readStatic(siteFile);
    if (!file || (file.modified !== '' && file.modified === before?.modified)) throw new Error(texts.units.noNewList);
    showSite(file);
  } finally {
    set({ discovery: null });
  }
}

// Drafts

export async function openDraft(file, source = 'file') {
  const { rows, notes } = readSpreadsheet(new Uint8Array(await file.arrayBuffer()));
  const [header = [], ...lines] = rows;
  const draft = {
    name: file.name,
    source,
    columns: header.map((cell) => cell.text),
    rows: lines.map((cells, at) => ({
      number: at + 2,
      cells: cells.map((cell) => cell.text),
      quoted: cells.map((cell) => cell.quoted),
    })),
    notes,
  };
  set({ draft, earlierDrafts: [], run: null });
}

// Every unit with its settings; of what units only report, no more than tells them apart.
export function draftFromSite() {
  const { site } = get();
  const first = ['UNIT.SERIAL', 'UNIT.ID', 'UNIT.MODEL', 'IP.ADDRESS'];
  const others = site.keys.filter((key) => !first.includes(key) && !isStatus(key));
  const columns = [...new Set([...first.filter((key) => site.keys.includes(key)), ...others])];
  const units = [...site.units].sort((one, other) => inOrder(one.values['UNIT.ID'] ?? '', other.values['UNIT.ID'] ?? ''));
  const rows = units.map((unit, at) => ({ number: at + 2, cells: columns.map((key) => unit.values[key]) }));
  set({ draft: { name: '', source: 'site', columns, rows, notes: [] }, earlierDrafts: [], run: null });
}

export const draftFromText = (text, name, source) => openDraft(new File([text], name), source);

// Puts texts into cells: [row index, column index, text]. Several make one step to undo.
export function editCells(edits) {
  const { draft, earlierDrafts } = get();
  const rows = [...draft.rows];
  for (const [row, column, text] of edits) {
    const cells = rows[row] === draft.rows[row] ? [...rows[row].cells] : rows[row].cells;
    while (cells.length <= column) cells.push('');
    cells[column] = text;
    rows[row] = { ...rows[row], cells, quoted: undefined };
  }
  set({ draft: { ...draft, rows }, earlierDrafts: [...earlierDrafts.slice(-99), draft] });
}

export function undoEdit() {
  const { earlierDrafts } = get();
  if (earlierDrafts.length > 0) set({ draft: earlierDrafts.at(-1), earlierDrafts: earlierDrafts.slice(0, -1) });
}

// Mass update

// Follows the site log of a run from its first line on, until `over()`. A log that is still the one from before the run
// does not count.
async function followSiteLog(before, over, show) {
  let text = '';
  let length = 0;
  for (let last = false; !last;) {
    last = over();
    const piece = await readStatic(siteLogFile, length).catch(() => null);
    const fresh = piece && (length > 0 || last || piece.text !== before);
    if (fresh && piece.text !== '') {
      text = piece.whole ? piece.text : text + piece.text;
      length = piece.whole ? piece.bytes.length : length + piece.bytes.length;
      show(text);
    }
    if (!last) await sleep(logInterval);
  }
}

// A run goes on when the connection to it is lost. Returns when its log tells of all records or of nothing more.
async function silence(logSoFar) {
  const running = ({ state }) => ['waiting', 'sent', 'saved', 'rebooting'].includes(state);
  let length = 0;
  for (let quiet = 0; quiet < longestSilence && readSiteLog(logSoFar()).records.some(running); ++quiet) {
    if (logSoFar().length > length) quiet = 0;
    length = logSoFar().length;
    await sleep(1000);
  }
}

// Two consoles may upload at the same time; what is run is what this one has shown.
async function sendPlan(unit, plan) {
  const file = new File([plan.text], 'import.csv', { type: 'text/csv' });
  const failure = failureOf(await unit.upload('CSV_IMPORT', file));
  if (failure) throw new Error(failure);
  if (await unit.ask('GET_CSV_IMPORT') !== plan.text) throw new Error(texts.configure.notTheSameCsv);
}

function rememberOwnSerial({ plan, records }) {
  const at = records.findIndex(({ state }) => state === 'self');
  if (at >= 0) remember('own-serial', plan.sending[at].values['UNIT.SERIAL']);
}

// Uploads the CSV of a plan and has it sent, showing how far each unit has come.
export async function runUpdate(plan) {
  const waiting = plan.sending.map(() => ({ state: 'waiting', reason: '' }));
  set({ run: { plan, records: waiting, over: false, failure: '', since: Date.now() } });
  let log = '';
  let lines = [];
  const show = (over, failure = '') => {
    const { records, total } = readSiteLog(log);
    const known = total === waiting.length ? records : waiting;
    set({ run: { ...get().run, records: applyResults(known, lines, over), over, failure } });
  };
  try {
    await queue.run('update', async (unit) => {
      await sendPlan(unit, plan);
      const before = (await readStatic(siteLogFile))?.text ?? null;
      let over = false;
      const following = followSiteLog(before, () => over, (text) => { log = text; show(false); });
      try {
        await unit.ask('PERFORM_CSV_UPDATE', { onLines: (soFar) => { lines = soFar; show(false); } });
      } catch (failure) {
        if (log !== '') await silence(() => log);
        throw failure;
      } finally {
        over = true;
        await following;
      }
    });
    show(true);
  } catch (failure) {
    show(true, explain(failure));
  }
  rememberOwnSerial(get().run);
  set({ outdated: true });
}

// Uploads to this unit

// Sends a file with an upload command. Returns the lines of the answer; throws what the unit reports as failed, with
// the reason that it left in its upload log.
export function uploadFile(job, command, file, options) {
  return queue.run(job, async (unit) => {
    const body = await unit.upload(command, file, options);
    const failure = failureOf(body);
    if (!failure) return body;
    const log = await readStatic('/upload_file.txt').catch(() => null);
    const reason = log?.text.split('\n').slice(2).join(' ').trim();
    throw new Error([failure, reason].filter(Boolean).join(': '));
  });
}

// Waits for a unit that restarts: until its pages have been gone and are back, then asks it once. `signal` ends it.
export async function waitUntilBack(signal, show) {
  let gone = false;
  while (!signal.aborted) {
    const there = await readStatic('/index.html').then(Boolean, () => false);
    if (there && gone) return;
    gone ||= !there;
    show(gone ? 'gone' : 'there');
    await sleep(backInterval);
  }
}
