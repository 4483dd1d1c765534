// A mass update from this side: the unit is sent the rows in batches, and sends each row to its unit. What becomes of a row is
// read in the site log and in the unit's answer. The unit cannot stop an update, so a run stops between batches only.

import { failureOf } from '../../../console/src/logic/answer.js';
import { cellOf } from '../../../console/src/logic/preflight.js';
import { changesSince, csvOf, tallyOf as countStates, waiting } from '../../../console/src/logic/run.js';
import {
  applyResults,
  isEnded,
  isWhole,
  longestSilence,
  readSiteLog,
  readsAfterwards,
} from '../../../console/src/logic/site_log.js';
import { RequestFailure } from '../../../console/src/logic/request_queue.js';
import { texts } from '../../../console/src/texts.js';
import { clearProgress, event, line, notice, progress } from './output.js';
import { sleep } from './transport.js';
import { discoverAll } from './verify.js';

const words = texts.configure;
const siteLogFile = '/site.log';
const logInterval = 1000;
const longestStart = 60; // seconds without a log: the unit discovers before it begins one
const refusals = ['busy', 'updating', 'taken'];

const symbols = { ok: '✓', fail: '✕', unknown: '?' };
const stateTexts = { ...words.states, unknown: 'not known' };
const reasonTexts = {
  ...words.reasons,
  reports: 'reports all that was sent',
  stopped: 'the run was stopped before its turn',
};

// Two readings of a site log with the same age are the same log: nothing has written to it between them.
const ageOf = (file) => (file ? `${file.modified} ${file.bytes.length}` : '');

// Whether a log has been written to since it was of `age`, or since `date`, by the unit's clock.
const isNewer = (log, { age, date }) => ageOf(log) !== age && !(Date.parse(log.modified) <= Date.parse(date));

const mostCompared = 10; // times in a row that another update precedes a batch, until it is given up
const longestReturn = 60_000; // milliseconds for units to answer that another update has restarted

// What is kept of a row, sent again when that is wanted, and compared with the site before it is sent.
export function runRow(row) {
  const { number, values, unit, settings } = row;
  const ids = [unit?.values['UNIT.ID'], values['UNIT.ID']].filter(Boolean);
  return {
    number,
    serial: values['UNIT.SERIAL'],
    model: values['UNIT.MODEL'] ?? '',
    id: [...new Set(ids)].join(' → '),
    was: unit?.values['UNIT.ID'] ?? '',
    address: values['IP.ADDRESS'] || unit?.values['IP.ADDRESS'] || '',
    settings: Object.fromEntries(settings.map(({ key, value }) => [key, value])),
    old: Object.fromEntries(settings.map(({ key }) => [key, cellOf(row, key).old])),
  };
}

export function tallyOf(records) {
  const { ok, fail, skipped, unsent } = countStates(records);
  const unknown = records.filter(({ state }) => state === 'unknown').length;
  return { ok, fail, skipped, unsent, unknown };
}

export const tallyText = (tally) =>
  words.tally(tally) + (tally.unknown > 0 ? `, ${tally.unknown} not known` : '');

export function tellResult(id, row, { state, reason }, json) {
  const { number, serial, id: name, address } = row;
  const text = reasonTexts[reason] ?? '';
  if (json) {
    event('result', { run: id, row: number, serial, id: name, address, state, reason, text });
    return;
  }
  clearProgress();
  const said = [number, serial, name, address, stateTexts[state], text].filter((part) => part !== '');
  line(`${symbols[state] ?? '–'} ${said.join('  ')}`);
}

// Reads the site log again and again until `over()`, and then until it has the end of every record, since a web server may
// still know a size of a second ago. The unit discovers for seconds before it begins a new log; until then the log of `before`
// is there, which is left out. Returns the time of the first reading after `over()`, by the unit's clock.
async function followSiteLog(unit, before, over, show) {
  let text = '';
  let length = 0;
  let date = '';
  for (let left = readsAfterwards; left > 0;) {
    if (over()) left -= 1;
    const piece = await unit.readStatic(siteLogFile, length).catch(() => null);
    if (piece && left >= readsAfterwards - 1) ({ date } = piece);
    if (piece && piece.text !== '' && (length > 0 || isNewer(piece, before))) {
      text = piece.whole ? piece.text : text + piece.text;
      length = piece.whole ? piece.bytes.length : length + piece.bytes.length;
      show(text);
    }
    if (left < readsAfterwards && isWhole(text)) break;
    if (left > 0) await sleep(logInterval);
  }
  return date;
}

// Waits until the log has all records, or nothing more. Returns whether it has all.
async function silence(logSoFar) {
  let length = 0;
  for (let quiet = 0; quiet < (length > 0 ? longestSilence : longestStart); ++quiet) {
    await sleep(1000);
    const log = logSoFar();
    if (log.length > length) quiet = 0;
    length = log.length;
    if (isWhole(log)) return true;
  }
  return false;
}

// One batch, from its upload to its last unit: rows of a run from one place to another.
class Batch {
  log = '';
  lines = [];
  reported = 0; // rows, in their order
  begun = false;
  known = true; // false when its end was not seen

  constructor(run, from, to) {
    Object.assign(this, { run, from, to });
    this.rows = run.rows.slice(from, to);
    this.serials = this.rows.map(({ serial }) => serial);
  }

  // The log of a large site is megabytes: it is read when it has grown only.
  readLog() {
    const { total, records } = readSiteLog(this.log, this.serials);
    this.logged = total === this.rows.length ? records : this.rows.map(() => waiting);
  }

  // Result lines decide. A FAIL is reported once the log has its reason; `over` settles what neither has ended.
  tell(news, over = false) {
    Object.assign(this, news);
    if (news.log) this.readLog();
    const { logged } = this;
    const answered = applyResults(
      this.rows.map(() => waiting),
      this.lines,
      false,
    );
    const settled = applyResults(logged, this.lines, over && this.known).map((record) =>
      record.state === 'fail' && record.reason === 'not-reached' ? { ...record, reason: 'unclear' } : record,
    );
    for (; this.reported < this.rows.length; ++this.reported) {
      const at = this.reported;
      const hasReason = settled[at].state !== 'fail' || isEnded(logged[at]);
      const isSkipped = settled[at].state === 'skipped' && this.lines.length > 0;
      const isKnown = isEnded(settled[at]) && (over || isSkipped || (isEnded(answered[at]) && hasReason));
      if (!isKnown && !over) break;
      this.run.settle(this.from + at, isKnown ? settled[at] : { state: 'unknown', reason: '' });
    }
    this.run.showProgress(settled);
  }

  // Two clients may upload at the same time; what is run is what this one has shown.
  async #sendCsv(session) {
    const text = csvOf(
      this.run,
      [...this.rows.keys()].map((at) => this.from + at),
    );
    const file = Object.assign(new Blob([text]), { name: 'import.csv' });
    const failure = failureOf(await session.upload('CSV_IMPORT', file));
    if (failure) throw new Error(failure);
    if ((await session.ask('GET_CSV_IMPORT')) !== text) throw new Error(words.notTheSameCsv);
  }

  async #perform(unit, session, log) {
    const { journal } = this.run;
    const before = { age: ageOf(log), date: log?.date };
    journal.begin(this.from, this.to, before.age);
    Object.assign(this, { begun: true, log: '', lines: [], logged: this.rows.map(() => waiting) });
    let over = false;
    let date = '';
    const following = followSiteLog(
      unit,
      before,
      () => over,
      (log) => this.tell({ log }),
    );
    try {
      await session.ask('PERFORM_CSV_UPDATE', { once: true, onLines: (lines) => this.tell({ lines }) });
    } catch (failure) {
      if (refusals.includes(failure.kind) || failure.kind === 'unreachable') {
        journal.end(this.from, this.to, false);
        this.begun = false;
      } else {
        this.known = await silence(() => this.log);
      }
      throw failure;
    } finally {
      over = true;
      date = await following;
    }
    this.run.compared = { age: '', date };
  }

  // Returns whether it was sent: not when another update has run since the site was compared with the plan.
  #attempt(unit) {
    return unit.run('update', async (session) => {
      await this.#sendCsv(session);
      const log = await unit.readStatic(siteLogFile);
      if (log && isNewer(log, this.run.compared)) return false;
      await this.#perform(unit, session, log);
      return true;
    });
  }

  // `accepts(changes)` decides whether to go on with a site that has changed. Returns whether the batch was sent. Throws
  // what ended it early, after reporting all that is known.
  async send(unit, accepts) {
    try {
      for (let times = 0; !(await this.#attempt(unit)); ++times) {
        if (times === mostCompared) throw new RequestFailure('taken', 'PERFORM_CSV_UPDATE');
        const changes = await this.run.compareAgain(unit);
        if (changes.length > 0 && !(await accepts(changes))) return false;
      }
    } finally {
      if (this.begun) {
        this.tell({}, true);
        if (this.known) this.run.journal.end(this.from, this.to);
      }
    }
    for (const text of this.lines.filter((each) => each.startsWith('Not enough memory'))) notice(text);
    return true;
  }
}

// What is known of the rows of a run, as it goes on.
//   compared  {age, date}: a site log that is newer is of another update, after the site was compared with the plan
//   seen      the problems that were shown
export class Run {
  constructor(journal, { rows, text, seen, date }, json) {
    Object.assign(this, { journal, rows, text, seen, json, compared: { age: '', date } });
    this.records = rows.map(() => ({ state: 'unsent', reason: 'stopped' }));
  }

  settle(at, record) {
    this.records[at] = record;
    this.journal.add({ row: at, ...record });
    tellResult(this.journal.id, this.rows[at], record, this.json);
  }

  showProgress(batch) {
    const settled = this.records.filter(({ state }) => state !== 'unsent').length;
    const running = batch.find(({ state }) => !isEnded({ state }) && state !== 'waiting');
    const text = `${words.progress(settled, this.rows.length)}  ${running ? words.states[running.state] : ''}`;
    if (!this.json) progress(settled, this.rows.length, text);
  }

  failures() {
    return this.records.filter(({ state }) => state === 'fail' || state === 'unknown').length;
  }

  // A person goes on with these changes: they are no news any more. A unit that is gone is not waited for again.
  accept(changes) {
    for (const { at, key, now, code, detail } of changes) {
      const row = this.rows[at];
      if (key) row.old[key] = now;
      else if (code === 'gone') row.was = '';
      else this.seen.push(code + detail);
    }
  }

  // Compares what is not sent yet with the site as it is now, once the units that restart are back. Returns what has changed
  // since the plan was made, as the console's runs have it.
  async compareAgain(unit) {
    const places = [...this.rows.keys()].filter((at) => this.records[at].state === 'unsent');
    const log = await unit.readStatic(siteLogFile);
    const longest = Math.min(unit.wait, longestReturn);
    if (!this.json)
      notice(
        `Another update has run. Discovering again, for up to ${longest / 1000} s until all units of the plan answer…`,
      );
    const site = await discoverAll(
      unit,
      places.map((at) => this.rows[at]).filter(({ was }) => was),
      longest,
    );
    this.compared = { age: ageOf(log), date: site.modified };
    const rows = this.rows.map(({ serial, was, settings, old }) => ({
      serial,
      was,
      sent: Object.entries(settings).map(([key, value]) => [key, old[key], value]),
    }));
    return changesSince({ rows, text: this.text, seen: this.seen }, places, site);
  }

  // Sends the rows from one place to another. Returns whether it has, as Batch does.
  send(unit, from, to, accepts) {
    if (!this.json) progress(from, this.rows.length, words.preparing);
    return new Batch(this, from, to).send(unit, accepts);
  }
}

// What the site log says of a batch whose end was not seen: {state, reason} for each of its rows, null when the log is not
// that of the batch. The unit must have been asked since, so that the batch has ended.
export async function readOpenBatch(unit, { rows, open: { from, to, before } }) {
  const log = await unit.readStatic(siteLogFile);
  if (!log) return null;
  const batch = rows.slice(from, to);
  if (ageOf(log) === before) return batch.map(() => ({ state: 'unsent', reason: 'not-reached' }));
  const serials = batch.map(({ serial }) => serial);
  const { total, records } = readSiteLog(log.text, serials);
  const isNamed = serials.some((serial) => log.text.includes(`\nCMD=START&UNIT.ID=${serial}&`));
  return total === batch.length && isNamed ? applyResults(records, [], true) : null;
}
