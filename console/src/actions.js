// What the console does with the unit, step by step, for the pages to call.

import { forget, keep, readKept } from './kept.js';
import { failureOf } from './logic/answer.js';
import { isStatus } from './logic/class_rules.js';
import { RequestFailure, RequestQueue, smallQuestion } from './logic/request_queue.js';
import { readDraft, withSettings } from './logic/draft.js';
import { compareSites, inOrder, memoryOf, readSite, serialAt, unitOfListing } from './logic/site.js';
import { draftOf, firstRow } from './logic/unit_csv.js';
import { get, listen, recall, remember, set } from './store.js';
import { texts } from './texts.js';
import { readStatic, sendCommand, sleep } from './transport.js';

export const firmwareCommand = 'UPDATE_FIRMWARE';
const siteFile = '/site.csv';
const backInterval = 2000;
const askInterval = 30_000;

// Every answer shows whether a firmware update runs.
async function send(command, options) {
  const answer = await sendCommand(command, options);
  if (answer.kind === 'updating') firmwareBegun('again');
  if (answer.kind === 'done' && command !== firmwareCommand) firmwareOver();
  return answer;
}

export const queue = new RequestQueue(send, sleep, (activity) => set({ activity }));

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
  set({ site, base: site, ownSerial, earlier, comparison, outdated: false });
}

export async function loadSite() {
  const file = await readStatic(siteFile);
  if (file) await showSite(file);
}

// A discovery that could not reach the network leaves the file of the last one.
export async function discoverWith(unit) {
  set({ discovery: { since: Date.now() } });
  try {
    const before = await readStatic(siteFile);
    await unit.ask('DISCOVER_DEVICES_API');
    const file = await readStatic(siteFile);
    if (!file || (file.modified !== '' && file.modified === before?.modified))
      throw new Error(texts.units.noNewList);
    await showSite(file);
  } finally {
    set({ discovery: null });
  }
}

export const discover = () => queue.run('discover', discoverWith);

// Drafts

// A run that is under way stays in sight.
function showDraft(draft) {
  const { run } = get();
  set({ draft, earlierDrafts: [], laterDrafts: [], run: run?.step === 'over' ? null : run });
}

// Makes a changed draft the present one: a step to undo.
function changeDraft(draft) {
  const { draft: before, earlierDrafts } = get();
  set({ draft, earlierDrafts: before ? [...earlierDrafts.slice(-99), before] : [], laterDrafts: [] });
}

// Whether a draft may be replaced: at once when nothing in it was edited, else when a person says so.
const mayReplaceDraft = () => !get().draft?.edited || confirm(texts.configure.discard);

export async function openDraft(file) {
  const { site } = get();
  const discovery = new TextDecoder().decode(site.bytes);
  const draft = readDraft(new Uint8Array(await file.arrayBuffer()), discovery, site.keys);
  showDraft({ name: file.name, source: 'file', ...draft });
}

// Drafts the chosen units in their order, all of the site by id when none are given. The draft has their settings; of what
// units only report it has serial, model and address, by which they are known. Returns whether the draft is there.
export function draftFromSite(chosen) {
  if (!mayReplaceDraft()) return false;
  const { site, base } = get();
  const first = ['UNIT.SERIAL', 'UNIT.ID', 'UNIT.MODEL', 'IP.ADDRESS'];
  const others = site.keys.filter((key) => !first.includes(key) && !isStatus(key));
  const columns = [...new Set([...first.filter((key) => site.keys.includes(key)), ...others])];
  const byId = (one, other) => inOrder(one.values['UNIT.ID'] ?? '', other.values['UNIT.ID'] ?? '');
  const after = new Map(base.units.map((unit) => [unit.number, unit.values]));
  const rows = (chosen ?? [...base.units].sort(byId)).map((unit, at) => {
    const values = after.get(unit.number);
    return { number: at + firstRow, cells: columns.map((key) => values[key] ?? '') };
  });
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

const keepDelay = 300; // milliseconds after a change, so that it is seen before it is kept
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
    if (draft !== safeDraft) timer = setTimeout(keepIt, draft ? keepDelay : 0);
  });
}

// From a CSV that this console has written for the unit.
export function draftFromText(text, name, source) {
  if (mayReplaceDraft()) showDraft({ name, source, ...draftOf(text) });
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
// a request that is refused meanwhile stops nothing. `show` gets `gone` or `again`; `signal` ends it. `seen` is what was
// seen of the pages before: '' as long as the unit has not restarted.
async function waitUntilBack(signal, seen, show, ask) {
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

// The unit's own firmware update

let endWait = null; // ends the wait for the unit

export const askFirmware = () =>
  queue.ask('firmware', smallQuestion).catch((failure) => {
    const said = failure.kind === 'updating' ? texts.unit.firmware.stillUpdating : explain(failure);
    if (get().firmware) set({ firmware: { ...get().firmware, said } });
  });

// Shows an update on every page until the unit takes requests again, across reloads. `seen` is '' for one that was just
// begun, and `again` when the unit may have restarted since.
export function firmwareBegun(seen) {
  if (endWait) return;
  endWait = new AbortController();
  const show = (now) => set({ firmware: { seen: now || 'there', said: '' } });
  remember('firmware', true);
  show(seen);
  waitUntilBack(endWait.signal, seen, show, askFirmware);
}

function firmwareOver() {
  if (!endWait) return;
  endWait.abort();
  endWait = null;
  remember('firmware', null);
  set({ firmware: { seen: 'back', said: '' } });
}

export const findFirmware = () => recall('firmware') && firmwareBegun('again');
export const closeFirmware = () => set({ firmware: null });

// Which unit this is

export const identify = () =>
  queue.run('listing', async (unit) => {
    if (!get().site) await discoverWith(unit);
    const own = unitOfListing(get().site, await unit.ask('DISCOVER_ENCODERS'));
    if (!own) throw new Error(texts.unit.notIdentified);
    const ownSerial = own.values['UNIT.SERIAL'];
    set({ ownSerial });
    remember('ownSerial', ownSerial);
  });
