// Mass updates, from the button to the last unit: batch by batch, each followed in the unit's site log. A run is kept in
// the browser, so that a page that was left finds it again.

import { explain, queue } from './actions.js';
import { keepRun, keptRuns } from './kept_runs.js';
import { failureOf } from './logic/answer.js';
import { afterPause, csvOf, newRun, nextBatch, waiting, whyPause, withProgress } from './logic/run.js';
import { applyResults, isEnded, readSiteLog } from './logic/site_log.js';
import { get, set } from './store.js';
import { texts } from './texts.js';
import { readStatic, sleep } from './transport.js';

const siteLogFile = '/site.log';
const logInterval = 1000;
const longestSilence = 20; // seconds without a log line, while a unit may take 15 to answer
const longestStart = 60; // seconds without a log: the unit discovers before it begins one
const longestAway = 600; // seconds without a connection

const change = (news) => set({ run: { ...get().run, ...news } });

async function keep(news) {
  change(news);
  change({ kept: await keepRun(get().run) });
}

// By which a site log is known again as long as nothing writes to it.
const ageOf = (file) => (file ? `${file.modified} ${file.bytes.length}` : '');

// Follows the site log of a batch from its first line on, until `over()`. The log that was there `before` does not count.
async function followSiteLog(before, over, show) {
  let text = '';
  let length = 0;
  for (let last = false; !last;) {
    last = over();
    const piece = await readStatic(siteLogFile, length).catch(() => undefined);
    if (!last) change({ offline: piece === undefined });
    if (piece && piece.text !== '' && (length > 0 || ageOf(piece) !== before)) {
      text = piece.whole ? piece.text : text + piece.text;
      length = piece.whole ? piece.bytes.length : length + piece.bytes.length;
      show(text);
    }
    if (!last) await sleep(logInterval);
  }
}

// A batch goes on when the connection to it is lost. Waits until its log tells of all records, or of nothing more.
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
    if (log !== '' && readSiteLog(log).records.every(isEnded)) return true;
  }
  return false;
}

// Two consoles may upload at the same time; what is run is what this one has shown.
async function sendCsv(unit, text) {
  const file = new File([text], 'import.csv', { type: 'text/csv' });
  const failure = failureOf(await unit.upload('CSV_IMPORT', file));
  if (failure) throw new Error(failure);
  if ((await unit.ask('GET_CSV_IMPORT')) !== text) throw new Error(texts.configure.notTheSameCsv);
}

// What the log and the answer tell of the run's batch.
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
    const { records, batch, rows } = get().run;
    const own = batch.find((at) => records[at].state === 'self');
    set({ outdated: true, ...(own === undefined ? {} : { ownSerial: rows[own].serial }) });
    await keep({ failure, ended, offline: false });
  }
}

async function sendBatch(batch) {
  change({ batch, step: 'waiting' });
  const progress = new BatchProgress();
  let ended = true;
  const work = async (unit) => {
    await sendCsv(unit, csvOf(get().run, batch));
    await keep({ step: 'sending', before: ageOf(await readStatic(siteLogFile)) });
    const perform = () => unit.ask('PERFORM_CSV_UPDATE', { onLines: (lines) => progress.tell({ lines }) });
    await progress.follow(() =>
      perform().catch(async (failure) => {
        if (failure.kind === 'broken') ended = await silence(() => progress.log);
        throw failure;
      }),
    );
  };
  const failure = await queue.run('update', work).then(() => '', explain);
  await progress.end(failure, ended);
}

let decide = null; // ends a pause: decide(true) goes on, decide(false) ends the run
export const goOn = () => decide?.(true);
export const endRun = () => decide?.(false);
export const stopAfterBatch = () => change({ stopping: true });

// Waits for a person, or for so many seconds. Returns whether to go on.
async function pause(why, seconds) {
  const since = Date.now();
  const decision = new Promise((resolve) => {
    decide = resolve;
  });
  const time = seconds > 0 ? [sleep(seconds * 1000).then(() => true)] : [];
  await keep({ step: 'paused', why, until: seconds > 0 ? since + seconds * 1000 : null });
  const goesOn = await Promise.race([decision, ...time]);
  decide = null;
  if (goesOn) set({ run: afterPause(get().run, Date.now() - since) });
  return goesOn;
}

// Sends what is left of the run, batch by batch; `left` when the page was left before.
async function drive(left = false) {
  let why = left ? 'left' : '';
  for (;;) {
    if (why && !(await pause(why, why === 'between' ? get().run.pace.pause : null))) break;
    const batch = nextBatch(get().run);
    if (batch.length === 0) break;
    await sendBatch(batch);
    why = whyPause(get().run);
    if (!why && nextBatch(get().run).length === 0) break;
  }
  await keep({ step: 'over', why: '', until: null, records: applyResults(get().run.records, [], true) });
}

export function startRun(plan, name, pace) {
  set({ run: newRun(plan, { name, pace, now: Date.now() }) });
  return drive();
}

// Shows a run that was under way when the page was left: its batch went on, and the log tells what became of it.
export async function resumeRun() {
  const run = (await keptRuns()).find(({ step }) => step !== 'over');
  if (!run) return;
  set({ run });
  if (run.step === 'sending') {
    const progress = new BatchProgress();
    const ended = await progress.follow(() => silence(() => progress.log));
    await progress.end(texts.configure.resumed, ended && !progress.foreign);
  }
  await drive(nextBatch(get().run).length > 0);
}

export const closeRun = () => set({ run: null });
