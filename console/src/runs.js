// Mass updates, from the button to the last unit: batch by batch, each followed in the unit's site log. A run is kept in
// the browser, so that a page that was left finds it again.

import { discoverWith, explain, queue } from './actions.js';
import { keptRuns } from './kept.js';
import { isDrivenElsewhere, listenToPages, tellPages } from './other_pages.js';
import { failureOf } from './logic/answer.js';
import { RequestFailure } from './logic/request_queue.js';
import {
  afterPause,
  changesSince,
  csvOf,
  goingOn,
  newRun,
  nextBatch,
  placesOf,
  sentTo,
  siteAfter,
  tallyOf,
  waiting,
  whyPause,
  withProgress,
} from './logic/run.js';
import {
  applyResults,
  isNewLog,
  isWhole,
  longestSilence,
  readSiteLog,
  readsAfterwards,
  updateUnderWay,
} from './logic/site_log.js';
import { get, recall, remember, set } from './store.js';
import { texts } from './texts.js';
import { lookAt, readStatic, sleep } from './transport.js';

const siteLogFile = '/site.log';
const logInterval = 1000;
const longestStart = 60; // seconds without a log: the unit discovers before it begins one
const longestAway = 600; // seconds without a connection
const longLog = 1 << 16; // bytes of a log, of which only what is new is read
const watchInterval = 5000;
const idleInterval = 15_000; // as long as there is no log, or nobody looks
const mostWaits = 1000; // for a unit that is busy, half a minute each, until a run is given up

const change = (news) => set({ run: { ...get().run, ...news } });

async function keepRun(run) {
  const kept = await keptRuns.put(run);
  if (kept) tellPages(run.id);
  return kept;
}

async function keep(news) {
  change(news);
  change({ kept: await keepRun(get().run) });
}

// Reads a site log that grows, of a long one only what is new.
class SiteLog {
  text = '';
  length = 0;

  async read() {
    const piece = await readStatic(siteLogFile, this.length > longLog ? this.length : 0);
    if (!piece) return null;
    this.text = piece.whole ? piece.text : this.text + piece.text;
    this.length = piece.whole ? piece.bytes.length : this.length + piece.bytes.length;
    this.modified = piece.modified;
    this.version = `${piece.modified} ${this.length}`;
    return this.text;
  }
}

// Follows the site log of a batch from its first line on, until `over()`, and then until it is whole. The log that was there
// `before` does not count.
async function followSiteLog(before, over, show) {
  const log = new SiteLog();
  for (let left = readsAfterwards; left > 0;) {
    if (over()) left -= 1;
    const text = await log.read().catch(() => undefined);
    if (left === readsAfterwards) change({ offline: text === undefined });
    const isOwn = text && isNewLog(log, before);
    if (isOwn) show(text);
    if (left < readsAfterwards && isOwn && isWhole(text)) return;
    if (left > 0) await sleep(logInterval);
  }
}

// Updates that other consoles have begun

const ownLog = 'ownLog'; // the version of the log that the last update of this browser has left
let othersLog = new SiteLog();

// Whether the log is of another console's update, and newer than a discovery of that time.
const isNewTo = (log, time) =>
  log !== null && log.version !== recall(ownLog) && Date.parse(log.modified) > Date.parse(time);

// Looks whether another update is under way, or has been since the last discovery. Returns the log as it is, null for none.
async function lookForOthers() {
  const log = await lookAt(siteLogFile);
  const isFresh = log !== null && log.version !== recall(ownLog) && log.age <= longestSilence;
  if (!isFresh || log.size < othersLog.length) othersLog = new SiteLog();
  const others = isFresh ? updateUnderWay((await othersLog.read()) ?? '', log.age) : null;
  set({ others, ...(isNewTo(log, get().site?.modified) ? { outdated: true } : {}) });
  return log;
}

// Looks again and again while the page is seen, except while it sends or waits to send: then the run itself looks.
export async function watchOthers() {
  for (;;) {
    const looks = !document.hidden && !['sending', 'waiting'].includes(get().run?.step);
    const log = looks ? await lookForOthers().catch(() => null) : null;
    await sleep(looks && !log ? idleInterval : watchInterval);
  }
}

async function untilFree(signal) {
  for (;;) {
    const log = await lookForOthers().catch(() => null);
    if (signal.aborted) throw new RequestFailure('withdrawn', '');
    if (!get().others) return log;
    await sleep(logInterval);
  }
}

// Compares what is left of a run with the site as it is, when another update has run since it was planned, or when a
// person wants it: units that restart are found later.
async function compareAgain(unit, log) {
  const { wanted } = get().run;
  if (!wanted && !isNewTo(log, get().run.site)) return;
  if (wanted || !get().site || isNewTo(log, get().site.modified)) await discoverWith(unit);
  const { run, site } = get();
  change({ wanted: false, site: site.modified, changes: changesSince(run, placesOf(run, 'waiting'), site) });
}

// A batch

// A batch goes on when the connection to it is lost. Waits until its log has the end of every record, or grows no more.
// Returns whether it has ended.
async function silence(logSoFar) {
  let length = 0;
  let away = false;
  const longest = () => (away ? longestAway : length > 0 ? longestSilence : longestStart);
  for (let quiet = 0; quiet < longest(); ++quiet) {
    await sleep(1000);
    const log = logSoFar();
    const { offline } = get().run;
    if (log.length > length || (away && !offline)) quiet = 0;
    length = log.length;
    away = offline;
    if (isWhole(log)) return true;
  }
  return false;
}

// Two consoles may upload at the same time; what is run is what this one has shown.
async function sendCsv(unit, text, signal) {
  const file = new File([text], 'import.csv', { type: 'text/csv' });
  const failure = failureOf(await unit.upload('CSV_IMPORT', file, { signal }));
  if (failure) throw new Error(failure);
  if ((await unit.ask('GET_CSV_IMPORT', { signal })) !== text) throw new Error(texts.configure.notTheSameCsv);
}

// Uploads a batch when no other update runs, and looks at the site again after one that did. Returns whether it may be
// performed.
async function prepare(unit, batch, signal) {
  for (let waits = 0; waits < mostWaits; ++waits) {
    const log = await untilFree(signal);
    await compareAgain(unit, log);
    if (get().run.changes.length > 0) return false;
    try {
      await sendCsv(unit, csvOf(get().run, batch), signal);
      const now = await lookAt(siteLogFile);
      if (signal.aborted) throw new RequestFailure('withdrawn', '');
      if (now?.version === log?.version) return true;
    } catch (failure) {
      if (failure.kind !== 'busy') throw failure;
    }
  }
  throw new RequestFailure('busy', '');
}

// What is known of the run's batch from the log and the answer.
class BatchProgress {
  log = '';
  lines = [];
  foreign = false; // whether the log is that of another update

  constructor() {
    const { rows, batch } = get().run;
    this.serials = batch.map((at) => rows[at].serial);
  }

  tell(news, over = false) {
    Object.assign(this, news);
    const { records, total } = readSiteLog(this.log, this.serials);
    this.foreign = total !== null && total !== this.serials.length;
    const known = total === this.serials.length ? records : this.serials.map(() => waiting);
    const { run } = get();
    set({ run: withProgress(run, applyResults(known, this.lines, over), Date.now()) });
    if (!run.clock && get().run.clock) keepRun(get().run);
  }

  // Follows the log as long as `work(progress)` takes. Returns what that returns.
  async follow(work) {
    let over = false;
    const following = followSiteLog(
      get().run.before,
      () => over,
      (log) => this.tell({ log }),
    );
    try {
      return await work();
    } finally {
      over = true;
      await following;
    }
  }

  async end(failure, ended) {
    this.tell({}, true);
    const { run, site } = get();
    const { records, batch, rows } = run;
    const own = batch.find((at) => records[at].state === 'self');
    if (own !== undefined) remember('ownSerial', rows[own].serial);
    set({ outdated: true, ...(own === undefined ? {} : { ownSerial: rows[own].serial }) });
    await keep({ ...sentTo(run, site), failure, ended, offline: false });
    const log = await lookAt(siteLogFile).catch(() => null);
    if (ended && log && !this.foreign) remember(ownLog, log.version);
  }
}

let cancelling = null;
export const cancelBatch = () => cancelling?.abort();

// Returns why the batch has not been sent: `changed` or `cancelled`, '' when it has, or has failed.
async function sendBatch(batch) {
  change({ batch, step: 'waiting', changes: [] });
  cancelling = new AbortController();
  const { signal } = cancelling;
  const progress = new BatchProgress();
  let ended = true;
  const work = async (unit) => {
    if (!(await prepare(unit, batch, signal))) return 'changed';
    const before = await lookAt(siteLogFile);
    await keep({ step: 'sending', before, clock: goingOn(get().run.clock, Date.now()) });
    const perform = () => unit.ask('PERFORM_CSV_UPDATE', { onLines: (lines) => progress.tell({ lines }) });
    await progress.follow(() =>
      perform().catch(async (failure) => {
        if (failure.kind === 'broken') ended = await silence(() => progress.log);
        throw failure;
      }),
    );
    return '';
  };
  let failure = '';
  try {
    const reason = await queue.run('update', work, signal);
    if (reason) return reason;
  } catch (broken) {
    if (signal.aborted) return 'cancelled';
    failure = explain(broken);
  }
  await progress.end(failure, ended);
  return '';
}

let decide = null; // ends a pause: decide(true) goes on, decide(false) ends the run
export const goOn = () => decide?.(true);
export const compareRun = () => {
  change({ wanted: true });
  goOn();
};
export const endRun = () => decide?.(false);
export const stopAfterBatch = () => change({ stopping: true });

// Waits for a person, or for so many seconds. Returns whether to go on.
async function pause(why, seconds) {
  const decision = new Promise((resolve) => {
    decide = resolve;
  });
  const time = seconds > 0 ? [sleep(seconds * 1000).then(() => true)] : [];
  await keep({ step: 'paused', why, until: seconds > 0 ? Date.now() + seconds * 1000 : null });
  const goesOn = await Promise.race([decision, ...time]);
  decide = null;
  if (goesOn) set({ run: afterPause(get().run) });
  return goesOn;
}

let driven = null; // the id of the run that this page drives

// Sends what is left of the run, batch by batch, after a pause when there is a reason for one.
async function drive(reason = '') {
  driven = get().run.id;
  for (let why = reason; ;) {
    if (why && !(await pause(why, why === 'between' ? get().run.pace.pause : null))) break;
    const batch = nextBatch(get().run);
    if (batch.length === 0) break;
    const unsent = await sendBatch(batch);
    if (unsent === 'cancelled' && !hasBegun()) break;
    why = { '': whyPause(get().run), cancelled: 'stopped', changed: 'changed' }[unsent];
  }
  driven = null;
  if (hasBegun()) {
    await keep({ step: 'over', why: '', until: null, records: applyResults(get().run.records, [], true) });
  } else {
    await keptRuns.drop(get().run);
    set({ run: null });
  }
  await loadRuns();
}

const hasBegun = () => tallyOf(get().run.records).done > 0;

export function startRun(plan, name, pace) {
  set({ run: newRun(plan, { name, site: get().site.modified, pace, now: Date.now() }) });
  return drive();
}

// Shows a run that was under way when the page was left: its batch went on, and what became of it is read in the log.
async function resumeRun(run) {
  set({ run });
  if (run.step === 'sending') {
    const progress = new BatchProgress();
    const ended = await progress.follow(() => silence(() => progress.log));
    await progress.end(texts.configure.resumed, ended && !progress.foreign);
  }
  await drive(nextBatch(get().run).length > 0 ? 'left' : '');
}

// Runs that are over

// Reads which runs are kept, and what they have made of the site since it was discovered. Returns the one that is under
// way, if there is one.
async function loadRuns() {
  const all = await keptRuns.read();
  const runs = all.filter(({ step }) => step === 'over');
  const { site } = get();
  const earlierRuns = runs.map(({ id, name, records }) => ({ id, name, tally: tallyOf(records) }));
  set({ earlierRuns, base: site && siteAfter(site, [...runs].reverse()) });
  return all.find(({ step }) => step !== 'over');
}

export async function showRun(id) {
  const run = (await keptRuns.read()).find((kept) => kept.id === id);
  if (run) set({ run });
}

export const closeRun = () => set({ run: null });

// Finds what other pages, or this one before, have left.
export async function findRuns() {
  listenToPages(loadRuns, () => driven);
  const run = await loadRuns();
  if (run && !(await isDrivenElsewhere(run.id))) await resumeRun(run);
}
