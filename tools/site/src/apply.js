// site apply, undo and runs: settings are checked, shown, sent and looked at; what became of them is kept.

import { resolve } from 'node:path';
import { preflight } from '../../../console/src/logic/preflight.js';
import { draftOf } from '../../../console/src/logic/unit_csv.js';
import { texts } from '../../../console/src/texts.js';
import { UsageError } from './command_line.js';
import { readFile } from './files.js';
import { canAsk, clearProgress, confirm, event, line, notSent, notice, table } from './output.js';
import { changesNothing, draftFromBytes, planOf, tellPlan } from './plan.js';
import { Run, readOpenBatch, runRow, tallyOf, tallyText, tellResult } from './run.js';
import { allRuns, continueRun, newRun, readRun } from './run_store.js';
import { status } from './status.js';
import { openUnit } from './discover.js';
import { hasAll, verify } from './verify.js';

const words = texts.configure;

// Asks for what the console's dialog has ticks for. Returns the exit status that keeps the plan from being sent, or good.
async function consent(plan, options) {
  const doubts = plan.problems.filter(({ level }) => level === 'out' || level === 'check').length;
  const questions = [
    [doubts > 0, 'accept-problems', words.confirmLeftOut(doubts), 'rows or cells are left out or doubtful.'],
    [
      plan.moved.length > 0,
      'accept-moves',
      words.confirmMoved(plan.moved.length),
      'units change their address.',
    ],
  ].filter(([isAsked, option]) => isAsked && !options[option]);
  if (options.yes) {
    for (const [, option, , reason] of questions)
      notSent(`Not sent without --${option}: ${reason}`, options.json);
    return questions.length > 0 ? status.faults : status.good;
  }
  if (!canAsk()) {
    notSent('Not sent: there is no terminal to ask; --yes asks nothing.', options.json);
    return status.declined;
  }
  for (const [, , text] of questions) if (!(await confirm(text))) return status.declined;
  notice(words.confirmText);
  return (await confirm(words.confirm(plan.sending.length))) ? status.good : status.declined;
}

// How many rows go next. With --stop-after no more than may still fail.
function sizeOf(at, run, options) {
  const { trial, batch, 'stop-after': most } = options;
  if (at === 0 && trial) return trial;
  return batch || (most ? most - run.failures() : run.rows.length);
}

// Whether to go on after a batch. A trial must have gone well.
async function goesOn(unit, run, sent, options) {
  const { trial, 'stop-after': most, yes } = options;
  if (sent === run.rows.length) return true;
  const stop = (text) => {
    if (options.json) event('stopped', { text });
    else notice(text);
    return false;
  };
  if (most && run.failures() >= most) return stop(`Stopped: ${run.failures()} of ${sent} failed.`);
  if (!trial || sent > trial) return true;
  if (run.failures() > 0) return stop('Stopped: the trial failed.');
  if (options.verify && !(await verifyRows(unit, run, 0, sent, options)))
    return stop('Stopped: the trial’s units do not report what they were sent.');
  return (
    yes ||
    confirm(
      `${tallyText(tallyOf(run.records.slice(0, sent)))}. Go on with the other ${run.rows.length - sent}?`,
    )
  );
}

const verifyRows = (unit, run, from, to, options) =>
  verify(
    unit,
    run.rows.slice(from, to).filter((_, at) => run.records[from + at].state === 'ok'),
    options.json,
  );

// Shows what another update has changed since the plan was made, and asks. Returns the exit status that keeps the rows
// from being sent, or good.
async function consentAgain(run, changes, options) {
  for (const { at, ...change } of changes) {
    const { number, serial, id } = run.rows[at];
    const text = words.changed(change);
    if (options.json) event('outdated', { row: number, serial, id, ...change, text });
    else line(`${id || serial}: ${text}`);
  }
  if (!options.yes) {
    if (!(await confirm(`${words.paused.changed} Go on?`))) return status.declined;
    run.accept(changes);
    return status.good;
  }
  notSent(`Not sent: ${words.paused.changed}`, options.json);
  return status.faults;
}

// Returns the exit status when nothing is sent, else good.
async function sendAll(unit, run, options) {
  let refused = status.good;
  const accepts = async (changes) => {
    refused = await consentAgain(run, changes, options);
    return refused === status.good;
  };
  let at = 0;
  while (at < run.rows.length) {
    const next = Math.min(run.rows.length, at + sizeOf(at, run, options));
    if (!(await run.send(unit, at, next, accepts))) return at === 0 ? refused : status.good;
    at = next;
    if (!(await goesOn(unit, run, at, options))) break;
  }
  return status.good;
}

function tellEnd(run, url, json) {
  clearProgress();
  const tally = tallyOf(run.records);
  if (json) event('run', { run: run.journal.id, url, ...tally });
  else line(`${tallyText(tally)} (run ${run.journal.id}).`);
  return tally;
}

// Shows a plan and asks. Returns {rows, text, undo} to be sent and the problems `seen`, or {refused} with the exit status. The
// plan and the site are not kept while a run lasts: they are large.
async function prepare(makePlan, options) {
  const plan = await makePlan();
  if (!plan) return { refused: status.good };
  tellPlan(plan, options.json);
  if (plan.text === '') return { refused: changesNothing(plan) ? status.good : status.faults };
  const refused = await consent(plan, options);
  if (refused !== status.good) return { refused };
  const seen = plan.problems.map(({ code, detail }) => code + detail);
  return { rows: plan.sending.map(runRow), text: plan.text, undo: plan.undo, seen };
}

// Carries out the plan that `makePlan()` returns, null when there is nothing to do: shows it, asks, sends, and looks at what
// came of it. Returns the exit status.
async function carryOut(unit, makePlan, { file, of }, options) {
  const { refused, seen, ...sent } = await prepare(makePlan, options);
  if (refused !== undefined) return refused;
  const journal = newRun({ url: unit.url, file, of, ...sent });
  const run = new Run(journal, { ...sent, seen, date: unit.discovered }, options.json);
  const leave = () => {
    clearProgress();
    notice(`Cut off. What was begun goes on in the unit; site runs ${journal.id} shows what is known.`);
    process.exit(status.interrupted);
  };
  process.once('SIGINT', leave);
  let tally;
  let unsent;
  try {
    unsent = await sendAll(unit, run, options);
  } finally {
    tally = tellEnd(run, unit.url, options.json);
    process.off('SIGINT', leave);
    journal.close();
  }
  if (unsent !== status.good) return unsent;
  const isVerified = !options.verify || (await verifyRows(unit, run, 0, run.rows.length, options));
  return tally.fail + tally.unsent + tally.unknown === 0 && isVerified ? status.good : status.held;
}

export async function apply(operands, options) {
  if (options['retry-failed']) return retry(operands, options);
  const [file, address] = operands;
  if (!address) throw new UsageError('usage: site apply FILE URL, or site apply --retry-failed [RUN]');
  const bytes = readFile(file); // before a unit is asked: a discovery stops its video
  const unit = await openUnit(address, options);
  const makePlan = async () => {
    const site = await unit.discover();
    return planOf(draftFromBytes(bytes, site), site, options);
  };
  return carryOut(unit, makePlan, { file: resolve(file), of: '' }, options);
}

export async function undo([id], options) {
  const run = readRun(id);
  if (run.undo === '') throw new Error('The old values of that run are not known.');
  const unit = await openUnit(run.url, options);
  const makePlan = async () => preflight(draftOf(run.undo), await unit.discover(), { unknownToo: true });
  return carryOut(unit, makePlan, { file: run.file, of: run.id }, options);
}

const unproven = ['not-sent', 'no-answer', 'refused', 'save-not-sent', 'no-save', 'save-refused', 'unclear'];

// Which rows need not be sent again: those whose unit reports all of it and has saved it. Of rows of which nothing is
// known, only the last one that its unit took can be unsaved, since a unit is sent its settings, saves and restarts before
// the next one's turn.
export function settledPlaces({ rows, records }, site) {
  const reporting = [...rows.keys()].filter((at) => hasAll(rows[at], site));
  const lastUnknown = reporting.filter((at) => records[at].state === 'unknown').at(-1);
  return reporting.filter(
    (at) =>
      at !== lastUnknown &&
      ['fail', 'unsent', 'unknown'].includes(records[at].state) &&
      !(records[at].state === 'fail' && unproven.includes(records[at].reason)),
  );
}

// The draft of the rows that are sent again, with all that they were to be sent.
function draftOfRest(rows) {
  const keys = [...new Set(rows.flatMap(({ settings }) => Object.keys(settings)))];
  const columns = ['UNIT.SERIAL', 'UNIT.MODEL', ...keys];
  return {
    columns,
    rows: rows.map(({ number, serial, model, settings }) => ({
      number,
      cells: [serial, model, ...keys.map((key) => settings[key] ?? '')],
    })),
    notes: [],
  };
}

// Asks the units what became of a run, and plans the rest of it; null when nothing is left.
async function planRest(unit, run, json) {
  const site = await unit.discover(); // the unit takes it only when no update runs any more
  const journal = continueRun(run.id);
  const settle = (at, record) => {
    run.records[at] = record;
    journal.add({ row: at, ...record });
    tellResult(run.id, run.rows[at], record, json);
  };
  const open = run.open && (await readOpenBatch(unit, run));
  open?.forEach((record, at) => {
    if (run.records[run.open.from + at].state === 'unknown') settle(run.open.from + at, record);
  });
  for (const at of settledPlaces(run, site)) settle(at, { state: 'ok', reason: 'reports' });
  journal.close();
  const rows = run.rows.filter((_, at) => ['fail', 'unsent', 'unknown'].includes(run.records[at].state));
  if (rows.length > 0) return preflight(draftOfRest(rows), site, { onlyChanges: false, unknownToo: true });
  if (!json) line('Nothing is left to be sent.');
  return null;
}

async function retry([id, ...more], options) {
  if (more.length > 0) throw new UsageError('usage: site apply --retry-failed [RUN]');
  const run = readRun(id);
  const unit = await openUnit(run.url, options);
  const makePlan = () => planRest(unit, run, options.json);
  return carryOut(unit, makePlan, { file: run.file, of: run.id }, options);
}

// site runs: from this machine's memory alone.
export async function runs([id], options) {
  if (id) {
    const run = readRun(id);
    run.rows.forEach((row, at) => tellResult(run.id, row, run.records[at], options.json));
    return status.good;
  }
  const all = allRuns();
  for (const { id: run, started, url, file, of, records } of options.json ? all : [])
    event('run', { run, started, url, file, of, ...tallyOf(records) });
  const rows = all.map((run) => [run.id, run.url, run.file, tallyText(tallyOf(run.records))]);
  if (!options.json) table(['Run', 'Site', 'File', ''], rows);
  return status.good;
}
