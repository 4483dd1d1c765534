// A mass update as this console runs it: unit by unit in batches, perhaps one unit first, perhaps with pauses, and no
// further after so many failures. The unit itself knows nothing of this; each batch is an update of its own to it.
//
// A run is {id, name, site, rows, seen, text, undo, records, pace, batch, step, why, until, failure, ended, clock, accepted}:
//   site      when the discovery was made that it was last compared with
//   rows      {number, serial, was, address, sent} for each unit: its id and address before, and [key, old value or null,
//             new value] of each setting
//   seen      the problems that were shown before it began
//   text      the CSV that is sent, a line for each row; `undo` the one that takes it back
//   records   {state, reason} for each row, as site_log.js has them
//   pace      {trial, size, pause, most}: the serial of the unit that comes first, units at a time (0 all), seconds
//             between batches (null until a person goes on), failures until it stops (0 any number)
//   batch     the places of the rows that are being sent
//   step      `waiting` for its turn, `sending`, `paused`, `over`
//   why       it is paused: `trial`, `between`, `failures`, `stopped`, `failed`, `left`, `changed` (with `changes`)
//   clock     {at, from, done, last}: when the first unit was sent its settings, units done then and now, and when the
//             last one was done
//   accepted  failures that a person has seen before going on

import { cellOf, preflight } from './preflight.js';
import { isEnded } from './site_log.js';
import { draftOf, firstRow } from './unit_csv.js';
import { visible } from './visible.js';

const serialKey = 'UNIT.SERIAL';
const idKey = 'UNIT.ID';

export const waiting = { state: 'waiting', reason: '' };
export const wholeSite = { trial: '', size: 0, pause: 0, most: 0 };

function runRow(row) {
  const { number, values, unit, settings } = row;
  return {
    number,
    serial: values['UNIT.SERIAL'],
    was: unit?.values['UNIT.ID'] ?? '',
    address: values['IP.ADDRESS'] || unit?.values['IP.ADDRESS'] || '',
    sent: settings.map(({ key, value }) => [key, cellOf(row, key).old, value]),
  };
}

// A run of what a preflight has planned; `now`, in milliseconds, becomes its id.
export function newRun({ sending, text, undo, problems }, { name, site, pace = wholeSite, now }) {
  const rows = sending.map(runRow);
  const progress = { records: rows.map(() => waiting), batch: [], step: 'waiting', why: '', until: null };
  const seen = problems.map(({ code, detail }) => code + detail);
  return {
    ...{ id: now, name, site, rows, seen, text, undo, pace, ...progress },
    ...{ changes: [], failure: '', ended: true, clock: null, accepted: 0 },
  };
}

// The CSV of some rows of a run, by their places: no value has a line end.
export function csvOf({ text }, places) {
  const lines = text.split('\r\n');
  return [lines[0], ...places.map((at) => lines[at + 1]), ''].join('\r\n');
}

const bySerial = (site) => new Map(site?.units.map((unit) => [unit.values[serialKey], unit]));

// By which people know the units of the rows now, and will know them: "OLD → NEW".
export function labelsOf({ rows }, site) {
  const units = bySerial(site);
  return rows.map(({ serial, was, sent }) => {
    const now = units.get(serial)?.values[idKey] || was || serial;
    const then = sent.find(([key]) => key === idKey)?.[2] ?? now;
    return visible(then === now ? now : `${now} → ${then}`);
  });
}

const untouched = ['not-sent', 'refused', 'not-reached', 'duplicate', ''];

// The values that a unit has after a run, if its acknowledgement is true. Of a unit that failed half-way none is known.
function valuesAfter(values, { sent }, { state, reason }) {
  if (state !== 'ok' && untouched.includes(reason)) return values;
  const after = Object.fromEntries(sent.map(([key, , value]) => [key, state === 'ok' ? value : undefined]));
  const isStatic = values['IP.ADDRESS'] === values['IP.STATIC_ADDRESS'];
  if (isStatic && after['IP.STATIC_ADDRESS']) after['IP.ADDRESS'] = after['IP.STATIC_ADDRESS'];
  return { ...values, ...after };
}

// The run, with a note of the discovery after which its batch was sent.
export function sentTo(run, site) {
  const records = [...run.records];
  for (const at of run.batch) records[at] = { ...records[at], site: site?.modified };
  return { ...run, records };
}

// The site with what runs have sent since its discovery, oldest first.
export function siteAfter(site, runs) {
  return runs.reduce((before, run) => {
    const places = new Map(run.rows.map(({ serial }, at) => [serial, at]));
    const units = before.units.map((unit) => {
      const at = places.get(unit.values[serialKey]);
      if (at === undefined || run.records[at].site !== site.modified) return unit;
      return { ...unit, values: valuesAfter(unit.values, run.rows[at], run.records[at]) };
    });
    return { ...before, units };
  }, site);
}

// What each unit now reports against what it was sent before the last discovery: {at, key, sent, now} for each setting;
// `now` is null for a unit that is not found, and for a setting that no unit reports.
export function compareWith({ rows, records }, site) {
  const units = bySerial(site);
  const isKnown = (at) => records[at].site !== site.modified;
  return placesOf({ records }, 'ok', 'fail')
    .filter(isKnown)
    .flatMap((at) =>
      rows[at].sent.map(([key, , sent]) => {
        const now = units.get(rows[at].serial)?.values[key] ?? null;
        return { at, key, sent, now };
      }),
    );
}

// What has changed on the site for these rows since the run was planned: {at, key, then, now, value} for a setting that
// somebody else has changed, {at, code, detail} for a unit that is gone or a problem that was not there.
export function changesSince(run, places, site) {
  const units = bySerial(site);
  const changed = places.flatMap((at) => {
    const { serial, was, sent } = run.rows[at];
    const unit = units.get(serial);
    if (!unit) return was ? [{ at, code: 'gone', detail: '' }] : [];
    return sent.flatMap(([key, then, value]) => {
      const now = unit.values[key] ?? '';
      return now === (then ?? now) || now === value ? [] : [{ at, key, then, now, value }];
    });
  });
  const { problems } = preflight(draftOf(csvOf(run, places)), site, {
    onlyChanges: false,
    unknownToo: true,
  });
  const unseen = problems.filter(
    ({ level, code, detail }) =>
      (level === 'out' || code === 'id-taken') && !run.seen.includes(code + detail),
  );
  const added = unseen.flatMap(({ code, detail, rows }) =>
    rows.map((number) => ({ at: places[number - firstRow], code, detail })),
  );
  return [...changed, ...added];
}

export function tallyOf(records) {
  const count = (...states) => records.filter(({ state }) => states.includes(state)).length;
  return {
    ok: count('ok'),
    fail: count('fail'),
    skipped: count('self', 'skipped'),
    unsent: count('unsent'),
    left: count('waiting'),
    done: records.filter(isEnded).length,
  };
}

// The places of rows in these states.
export const placesOf = ({ records }, ...states) =>
  [...records.keys()].filter((at) => states.includes(records[at].state));

// The places of the rows to send next, none when all have had their turn.
export function nextBatch(run) {
  const { rows, pace, records } = run;
  const left = placesOf(run, 'waiting');
  const trial = left.find((at) => rows[at].serial === pace.trial);
  if (trial !== undefined && left.length === records.length) return [trial];
  return pace.size > 0 ? left.slice(0, pace.size) : left;
}

// Why a run should not go on after a batch, '' when it should or when nothing is left.
export function whyPause({ rows, records, pace, batch, failure, stopping, accepted }) {
  const { fail, left } = tallyOf(records);
  if (left === 0) return '';
  if (failure) return 'failed';
  if (stopping) return 'stopped';
  if (batch.length === 1 && rows[batch[0]].serial === pace.trial) return 'trial';
  if (pace.most > 0 && fail - accepted >= pace.most) return 'failures';
  return pace.pause === 0 ? '' : 'between';
}

// The run with what is known of its batch now.
export function withProgress(run, records, now) {
  const all = [...run.records];
  run.batch.forEach((at, place) => {
    all[at] = records[place];
  });
  const { done } = tallyOf(all);
  const begun = records.some(({ state }) => state !== 'waiting');
  let { clock } = run;
  if (!clock && begun) clock = { at: now, from: done, done, last: now };
  else if (clock && clock.done !== done) clock = { ...clock, done, last: now };
  return { ...run, records: all, clock };
}

// The clock of a run that goes on: what has passed since the last unit does not count.
export const goingOn = (clock, now) => clock && { ...clock, at: clock.at + now - clock.last, last: now };

// The run after a pause.
export function afterPause(run) {
  return {
    ...run,
    step: 'waiting',
    why: '',
    until: null,
    failure: '',
    stopping: false,
    accepted: tallyOf(run.records).fail,
  };
}

// How many units are to follow the batch.
export const countLater = ({ records, batch }) =>
  tallyOf(records).left - batch.filter((at) => records[at].state === 'waiting').length;

// Seconds that are left, by what a unit has taken so far; null when nothing is known of that.
export function secondsLeft({ clock, records, pace, batch }, now) {
  if (!clock || clock.done <= clock.from) return null;
  const each = (clock.last - clock.at) / (clock.done - clock.from) / 1000;
  const { done } = tallyOf(records);
  const pauses =
    pace.size > 0 ? Math.ceil(countLater({ records, batch }) / pace.size) * (pace.pause ?? 0) : 0;
  return Math.max(1, each * (records.length - done) + pauses - (now - clock.last) / 1000);
}
