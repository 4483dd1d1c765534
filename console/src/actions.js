// What the console does with the unit, step by step, for the pages to call.

import { forget, keep, readKept } from './kept.js';
import { failureOf } from './logic/answer.js';
import { isStatus } from './logic/class_rules.js';
import { headerLine } from './logic/headers.js';
import { RequestFailure, RequestQueue } from './logic/request_queue.js';
import { withSettings } from './logic/draft.js';
import { compareSites, inOrder, memoryOf, readSite, serialAt } from './logic/site.js';
import { applyResults, isEnded, readSiteLog } from './logic/site_log.js';
import { readSpreadsheet } from './logic/spreadsheet_csv.js';
import { ownLines, readDiscovery } from './logic/unit_csv.js';
import { get, listen, recall, remember, set } from './store.js';
import { texts } from './texts.js';
import { readStatic, sendCommand, sleep } from './transport.js';

export const firmwareCommand = 'UPDATE_FIRMWARE';
const siteFile = '/site.csv';
const siteLogFile = '/site.log';
const logInterval = 1000;
const backInterval = 2000;
const askInterval = 30_000;
const longestSilence = 20; // seconds without a log line, while a unit may take 15 to answer
const longestStart = 60; // seconds without a log: the unit discovers before it begins one

export const queue = new RequestQueue(sendCommand, sleep, (activity) => set({ activity }));

export function explain(failure) {
  if (!(failure instanceof RequestFailure)) return failure.message;
  const { kind, command } = failure;
  return texts.failures[kind === 'cancelled' && command === firmwareCommand ? 'cancelledFirmware' : kind];
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
async function showSite(file) {
  const site = { ...readSite(file.text), bytes: file.bytes, modified: file.modified };
  let known = await readKept('site');
  if (known?.modified !== site.modified) {
    known = { modified: site.modified, text: file.text, before: known?.text ?? null };
    await keep('site', known);
  }
  const ownSerial = serialAt(site, location.hostname) || get().ownSerial;
  const earlier = known.before === null ? null : readSite(known.before);
  const comparison = earlier && compareSites(memoryOf(earlier), memoryOf(site));
  set({ site, ownSerial, earlier, comparison, outdated: false });
}

export async function loadSite() {
  const file = await readStatic(siteFile);
  if (file) await showSite(file);
}

// A discovery that could not reach the network leaves the file of the last one.
export async function discover() {
  set({ discovery: { since: Date.now() } });
  try {
    const before = await readStatic(siteFile);
    await queue.ask('discover', 'DISCOVER_DEVICES_API');
    const file = await readStatic(siteFile);
    if (!file || (file.modified !== '' && file.modified === before?.modified))
      throw new Error(texts.units.noNewList);
    await showSite(file);
  } finally {
    set({ discovery: null });
  }
}

// Drafts

const showDraft = (draft) => set({ draft, earlierDrafts: [], laterDrafts: [], run: null });

// Makes a changed draft the present one: a step to undo.
function changeDraft(draft) {
  const { draft: before, earlierDrafts } = get();
  set({ draft, earlierDrafts: before ? [...earlierDrafts.slice(-99), before] : [], laterDrafts: [] });
}

// Whether a draft may be replaced: at once when nothing in it was edited, else when a person says so.
const mayReplaceDraft = () => !get().draft?.edited || confirm(texts.configure.discard);

export async function openDraft(file) {
  const own = ownLines(new TextDecoder().decode(get().site.bytes));
  const { rows, notes } = readSpreadsheet(new Uint8Array(await file.arrayBuffer()), own);
  const textsOf = (cells = []) => cells.map((cell) => cell.text);
  const titles = headerLine(rows.map(textsOf), get().site.keys);
  if (titles > 0) notes.push(['titles', titles]);
  showDraft({
    name: file.name,
    source: 'file',
    columns: textsOf(rows[titles]),
    headerRow: titles + 1,
    rows: rows.slice(titles + 1).map((cells, at) => ({
      number: titles + at + 2,
      cells: textsOf(cells),
      quoted: cells.map((cell) => cell.quoted),
    })),
    notes,
  });
}

// Every unit with its settings; of what units only report, no more than tells them apart.
// Returns whether the draft is there.
// Drafts the units, in their order; by id all units of the site when none are given.
export function draftFromSite(chosen) {
  if (!mayReplaceDraft()) return false;
  const { site } = get();
  const first = ['UNIT.SERIAL', 'UNIT.ID', 'UNIT.MODEL', 'IP.ADDRESS'];
  const others = site.keys.filter((key) => !first.includes(key) && !isStatus(key));
  const columns = [...new Set([...first.filter((key) => site.keys.includes(key)), ...others])];
  const byId = (one, other) => inOrder(one.values['UNIT.ID'] ?? '', other.values['UNIT.ID'] ?? '');
  const units = chosen ?? [...site.units].sort(byId);
  const rows = units.map((unit, at) => ({ number: at + 2, cells: columns.map((key) => unit.values[key]) }));
  showDraft({ name: '', source: 'site', columns, rows, notes: [] });
  return true;
}

// A draft of nothing but these settings {unit, key, value}. Returns whether it is there.
export function draftSettings(settings, name) {
  if (!mayReplaceDraft()) return false;
  showDraft({ ...withSettings(null, settings), name, edited: false });
  return true;
}

export function dropDraft() {
  if (mayReplaceDraft()) showDraft(null);
}

const keepDelay = 300; // milliseconds after an edit
let safeDraft = null; // the draft as the browser has kept it

export const draftIsSafe = () => !get().draft?.edited || get().draft === safeDraft;

// Brings back the draft that was there when the page was left, and keeps it from then on.
export async function restoreDraft() {
  safeDraft = (await readKept('draft')) ?? null;
  if (safeDraft && !get().draft) set({ draft: safeDraft });
  let timer = null;
  const keepIt = async () => {
    const { draft } = get();
    if (draft ? await keep('draft', draft) : await forget('draft')) safeDraft = draft;
  };
  listen(({ draft }) => {
    clearTimeout(timer);
    if (draft !== safeDraft) timer = setTimeout(keepIt, keepDelay);
  });
}

// From a CSV that this console has written for the unit.
export function draftFromText(text, name, source) {
  if (!mayReplaceDraft()) return;
  const { keys, rows } = readDiscovery(text);
  const lines = rows.map((cells, at) => ({ number: at + 2, cells: cells.slice(0, -1) }));
  showDraft({ name, source, columns: keys.slice(0, -1), rows: lines, notes: [] });
}

// Puts texts into cells: [row index, column index, text]. Several make one step to undo.
export function editCells(edits) {
  const { draft } = get();
  if (!draft) return;
  const rows = [...draft.rows];
  for (const [row, column, text] of edits) {
    const cells = rows[row] === draft.rows[row] ? [...rows[row].cells] : rows[row].cells;
    while (cells.length <= column) cells.push('');
    cells[column] = text;
    rows[row] = { ...rows[row], cells, quoted: undefined };
  }
  changeDraft({ ...draft, rows, edited: true });
}

// Puts settings {unit, key, value} into the draft, which begins with them when there is none. They make one step to undo.
export function putIntoDraft(settings) {
  changeDraft(withSettings(get().draft, settings));
}

// Gives columns other names, by index.
export function renameColumns(names) {
  const { draft } = get();
  const columns = draft.columns.map((name, at) => names.get(at) ?? name);
  changeDraft({ ...draft, columns, edited: true });
}

export function undoEdit() {
  const { draft, earlierDrafts, laterDrafts } = get();
  if (earlierDrafts.length === 0) return;
  const rest = earlierDrafts.slice(0, -1);
  set({ draft: earlierDrafts.at(-1), earlierDrafts: rest, laterDrafts: [...laterDrafts, draft] });
}

export function redoEdit() {
  const { draft, earlierDrafts, laterDrafts } = get();
  if (laterDrafts.length === 0) return;
  const rest = laterDrafts.slice(0, -1);
  set({ draft: laterDrafts.at(-1), earlierDrafts: [...earlierDrafts, draft], laterDrafts: rest });
}

// Mass update

// By which a site log is known again as long as nothing writes to it.
const ageOf = (file) => (file ? `${file.modified} ${file.bytes.length}` : '');

// Follows the site log of a run from its first line on, until `over()`. The log that was there `before` does not count.
async function followSiteLog(before, over, show) {
  let text = '';
  let length = 0;
  for (let last = false; !last;) {
    last = over();
    const piece = await readStatic(siteLogFile, length).catch(() => null);
    if (piece && piece.text !== '' && (length > 0 || ageOf(piece) !== before)) {
      text = piece.whole ? piece.text : text + piece.text;
      length = piece.whole ? piece.bytes.length : length + piece.bytes.length;
      show(text);
    }
    if (!last) await sleep(logInterval);
  }
}

// A run goes on when the connection to it is lost. Waits until its log tells of all records, or of nothing more.
// Returns whether it has ended.
async function silence(logSoFar) {
  let length = 0;
  for (let quiet = 0; quiet < (length > 0 ? longestSilence : longestStart); ++quiet) {
    await sleep(1000);
    const log = logSoFar();
    if (log.length > length) quiet = 0;
    length = log.length;
    if (log !== '' && readSiteLog(log).records.every(isEnded)) return true;
  }
  return false;
}

// Two consoles may upload at the same time; what is run is what this one has shown.
async function sendPlan(unit, plan) {
  const file = new File([plan.text], 'import.csv', { type: 'text/csv' });
  const failure = failureOf(await unit.upload('CSV_IMPORT', file));
  if (failure) throw new Error(failure);
  if ((await unit.ask('GET_CSV_IMPORT')) !== plan.text) throw new Error(texts.configure.notTheSameCsv);
}

// What is shown of a row in a run, and is sent again when that is wanted; small, for the browser to remember.
function runRow({ number, values, unit, settings }) {
  // An id that changes stands behind the one by which people know the unit.
  const ids = [unit?.values['UNIT.ID'], values['UNIT.ID']].filter(Boolean);
  return {
    number,
    serial: values['UNIT.SERIAL'],
    model: values['UNIT.MODEL'] ?? '',
    id: [...new Set(ids)].join(' → '),
    address: values['IP.ADDRESS'] || unit?.values['IP.ADDRESS'] || '',
    settings: settings.map(({ key, value }) => [key, value]),
  };
}

// A run as it is shown, from what its log and its answer have told so far.
class ShownRun {
  log = '';
  lines = [];
  foreign = false; // whether the log is that of another run

  constructor({ rows, undo }) {
    this.serials = rows.map(({ serial }) => serial);
    this.waiting = rows.map(() => ({ state: 'waiting', reason: '' }));
    const progress = { records: this.waiting, over: false, failure: '', since: Date.now() };
    set({ run: { rows, undo, kept: true, ...progress } });
  }

  // A browser without room for all of it keeps the run without the old values, or not at all.
  remember(before) {
    const { rows, undo } = get().run;
    const kept = remember('run', { rows, undo, before }) || remember('run', { rows, undo: '', before });
    set({ run: { ...get().run, kept } });
  }

  tell(news, over = false, failure = '') {
    Object.assign(this, news);
    const { records, total } = readSiteLog(this.log, this.serials);
    this.foreign = total !== null && total !== this.waiting.length;
    const known = total === this.waiting.length ? records : this.waiting;
    set({ run: { ...get().run, records: applyResults(known, this.lines, over), over, failure } });
  }

  // A run whose end is not known may be found again.
  end(failure, ended = true) {
    this.tell({}, true, failure);
    if (ended) remember('run', null);
    set({ run: { ...get().run, ended } });
    const own = get().run.records.findIndex(({ state }) => state === 'self');
    set({ outdated: true, ...(own >= 0 ? { ownSerial: this.serials[own] } : {}) });
  }
}

export function closeRun() {
  remember('run', null);
  set({ run: null });
}

// Uploads the CSV of a plan and has it sent, showing how far each unit has come.
export async function runUpdate(plan) {
  const shown = new ShownRun({ rows: plan.sending.map(runRow), undo: plan.undo });
  let ended = true;
  const work = async (unit) => {
    await sendPlan(unit, plan);
    const before = ageOf(await readStatic(siteLogFile));
    shown.remember(before);
    let over = false;
    const following = followSiteLog(
      before,
      () => over,
      (log) => shown.tell({ log }),
    );
    try {
      await unit.ask('PERFORM_CSV_UPDATE', { onLines: (lines) => shown.tell({ lines }) });
    } catch (failure) {
      if (failure.kind === 'broken') ended = await silence(() => shown.log);
      throw failure;
    } finally {
      over = true;
      await following;
    }
  };
  await queue.run('update', work).then(
    () => shown.end(''),
    (failure) => shown.end(explain(failure), ended),
  );
}

// Shows a run that was under way when the page was left: it went on, and its log tells the rest.
export async function resumeRun() {
  const run = recall('run');
  if (!run?.rows) return;
  const shown = new ShownRun(run);
  let over = false;
  const following = followSiteLog(
    run.before,
    () => over,
    (log) => shown.tell({ log }),
  );
  const ended = await silence(() => shown.log);
  over = true;
  await following;
  if (shown.foreign)
    closeRun(); // another run has taken the log
  else shown.end(texts.configure.resumed, ended || shown.log === '');
}

// Uploads to this unit

// Sends a file with an upload command. Returns the lines of the answer; throws what the unit reports as failed, with
// the reason that it left in its upload log.
export function uploadFile(job, command, file, options) {
  const work = async (unit) => {
    const body = await unit.upload(command, file, options).catch((broken) => {
      if (broken.kind === 'started' && command === firmwareCommand) return '';
      throw broken;
    });
    const failure = failureOf(body);
    if (!failure) return body;
    const log = await readStatic('/upload_file.txt').catch(() => null);
    const reason = log?.text.split('\n').slice(2).join(' ').trim();
    throw new Error([failure, reason].filter(Boolean).join(': '));
  };
  return queue.run(job, work, options.signal);
}

// Waits for a unit that restarts: when its pages have been gone and are back, `ask()` is called, and now and then again;
// a request that is refused meanwhile stops nothing. `show` is told `gone` or `again`; `signal` ends it.
export async function waitUntilBack(signal, show, ask) {
  let seen = '';
  let askedAt = 0;
  for (; !signal.aborted; await sleep(backInterval)) {
    const there = await readStatic('/index.html').then(Boolean, ({ kind }) => kind === 'login');
    const now = there ? seen && 'again' : 'gone';
    if (now !== seen) {
      show(now);
      askedAt = 0;
    }
    seen = now;
    if (seen === 'again' && Date.now() - askedAt >= askInterval) {
      askedAt = Date.now();
      await ask();
    }
  }
}
