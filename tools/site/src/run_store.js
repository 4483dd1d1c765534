// Runs as they are kept on this machine: a file each, a JSON object a line, written before and while a run goes on. A
// program or a machine that ends at any moment leaves what was sent, and what is not known.
//
//   {id, url, file, of, started, rows, text, undo}    first line; `of` is the run that is retried or taken back
//   {begin: [from, to], before}                        these rows are about to be sent; `before` is the age of the site log
//   {row, state, reason}                               what became of a row
//   {end: [from, to], sent}                            the unit is done with them; sent false: it refused, nothing was sent

import { randomBytes } from 'node:crypto';
import { closeSync, fsyncSync, mkdirSync, openSync, readFileSync, readdirSync, writeSync } from 'node:fs';
import { homedir } from 'node:os';
import { join } from 'node:path';

const folder = () => join(process.env.XDG_STATE_HOME || join(homedir(), '.local', 'state'), 'site');
const pathOf = (id) => join(folder(), `${id}.jsonl`);
const idForm = /^\d{8}-\d{6}-[0-9a-f]{4}$/;

// 20261125-230405-1a2b: ids are in the order of time.
function newId(now) {
  const digits = now.toISOString().replace(/\D/g, '');
  return `${digits.slice(0, 8)}-${digits.slice(8, 14)}-${randomBytes(2).toString('hex')}`;
}

class Journal {
  #file;

  constructor(id, flags) {
    mkdirSync(folder(), { recursive: true, mode: 0o700 });
    this.id = id;
    this.#file = openSync(pathOf(id), flags, 0o600);
  }

  add(entry) {
    writeSync(this.#file, `${JSON.stringify(entry)}\n`);
  }

  endLine() {
    writeSync(this.#file, '\n');
  }

  // On the disk before anything is sent, so that after a crash it is known which rows may have been.
  begin(from, to, before) {
    this.add({ begin: [from, to], before });
    fsyncSync(this.#file);
  }

  end(from, to, sent = true) {
    this.add({ end: [from, to], sent });
    fsyncSync(this.#file);
  }

  close() {
    closeSync(this.#file);
  }
}

export function newRun(head) {
  const now = new Date();
  const journal = new Journal(newId(now), 'wx');
  journal.add({ id: journal.id, started: now.toISOString(), ...head });
  return journal;
}

// The line that was being written when the power went gets its end, so that the next one is a line of its own.
export function continueRun(id) {
  const journal = new Journal(id, 'a');
  if (!readFileSync(pathOf(id), 'utf8').endsWith('\n')) journal.endLine();
  return journal;
}

function entriesOf(path) {
  const entries = [];
  for (const text of readFileSync(path, 'utf8').split('\n')) {
    try {
      if (text !== '') entries.push(JSON.parse(text));
    } catch {
      // The line that was being written when the power went.
    }
  }
  return entries;
}

// Puts the entries of a run together. Returns its head with `records` {state, reason}, a row without news being `unsent`, or
// `unknown` in a batch that began and did not end; and `open`, the last such batch {from, to, before}, or null.
export function runOf([head, ...entries]) {
  const records = head.rows.map(() => ({ state: 'unsent', reason: 'not-reached' }));
  const mark = ([from, to], isMarked, record) => {
    for (let at = from; at < to; ++at) if (isMarked(records[at])) records[at] = record;
  };
  let open = null;
  for (const entry of entries) {
    if (entry.begin) {
      open = { from: entry.begin[0], to: entry.begin[1], before: entry.before };
      mark(entry.begin, () => true, { state: 'unknown', reason: '' });
    } else if (entry.end) {
      open = null;
      if (!entry.sent)
        mark(entry.end, ({ state }) => state === 'unknown', { state: 'unsent', reason: 'not-reached' });
    } else if (records[entry.row]) records[entry.row] = { state: entry.state, reason: entry.reason };
  }
  return { ...head, records, open };
}

function runIds() {
  let names = [];
  try {
    names = readdirSync(folder());
  } catch {
    return []; // no run yet
  }
  return names
    .map((name) => name.replace(/\.jsonl$/, ''))
    .filter((id) => idForm.test(id))
    .sort();
}

// Null for a file of which not even the first line is whole: nothing was sent then.
function runIn(id) {
  const entries = entriesOf(pathOf(id));
  return Array.isArray(entries[0]?.rows) ? runOf(entries) : null;
}

// All runs, the oldest first.
export const allRuns = () => runIds().map(runIn).filter(Boolean);

// Returns a run, the last one when no id is given. Throws when there is none.
export function readRun(wanted) {
  const ids = wanted === undefined ? runIds().reverse() : runIds().filter((id) => id === wanted);
  for (const id of ids) {
    const run = runIn(id);
    if (run) return run;
  }
  throw new Error(
    wanted === undefined ? 'There is no run yet.' : `There is no run ${wanted}; site runs lists them.`,
  );
}
