// A mass update in batches: who is next, when it stops, what time is left.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import {
  afterPause,
  changesSince,
  compareWith,
  csvOf,
  goingOn,
  labelsOf,
  newRun,
  nextBatch,
  secondsLeft,
  sentTo,
  siteAfter,
  whyPause,
  withProgress,
} from '../../console/src/logic/run.js';
import { readSite } from '../../console/src/logic/site.js';
import { isNewLog, isWhole, updateUnderWay } from '../../console/src/logic/site_log.js';

const header = 'UNIT.SERIAL,UNIT.ID,';
const sending = ['A', 'B', 'C', 'D', 'E'].map((serial, at) => ({
  number: at + 2,
  values: { 'UNIT.SERIAL': serial, 'UNIT.ID': `NEW-${serial}` },
  unit: { values: { 'UNIT.SERIAL': serial, 'UNIT.ID': serial } },
  cells: { 'UNIT.ID': { old: serial } },
  settings: [{ key: 'UNIT.ID', value: `NEW-${serial}` }],
}));
const lines = sending.map(({ values }) => `${Object.values(values).join(',')},`);
const plan = { sending, problems: [], text: `${[header, ...lines].join('\r\n')}\r\n`, undo: '' };
const runOf = (pace) =>
  newRun(plan, { name: '', pace: { trial: '', size: 0, pause: 0, most: 0, ...pace }, now: 0 });

// Lets batches run until a pause or the end; each unit takes a second and comes out as `outcomes` says.
function drive(run, outcomes, from = 0) {
  const sent = [];
  let now = from;
  for (;;) {
    const batch = nextBatch(run);
    if (batch.length === 0) return { run, sent, why: '', now };
    sent.push(batch.map((at) => run.rows[at].serial).join(''));
    const records = batch.map(() => ({ state: 'waiting', reason: '' }));
    run = { ...run, batch };
    for (const [place, at] of batch.entries()) {
      run = withProgress(run, records.with(place, { state: 'sent', reason: '' }), now);
      now += 1000;
      records[place] = { state: outcomes[at], reason: '' };
      run = withProgress(run, records, now);
    }
    const why = whyPause(run);
    if (why) return { run, sent, why, now };
  }
}

// A run that misses its reason to stop configures the rest of the site.
test('batches follow each other until there is a reason to stop', () => {
  const ok = Array(5).fill('ok');
  const table = [
    // pace, outcomes, batches and reasons until all have had their turn
    [{}, ok, 'ABCDE'],
    [{ size: 2 }, ok, 'AB CD E'],
    [{ trial: 'C' }, ok, 'C trial ABDE'],
    [{ trial: 'C', size: 3 }, ok, 'C trial ABD E'],
    [{ trial: 'Z' }, ok, 'ABCDE'],
    [{ size: 2, pause: null }, ok, 'AB between CD between E'],
    [{ size: 1, most: 2 }, ['fail', 'ok', 'fail', 'fail', 'fail'], 'A B C failures D E'],
    [{ size: 1, most: 1 }, ['fail', 'ok', 'fail', 'ok', 'ok'], 'A failures B C failures D E'],
    [{ size: 5, most: 1 }, ['fail', 'ok', 'ok', 'ok', 'ok'], 'ABCDE'],
  ];
  for (const [pace, outcomes, expected] of table) {
    const seen = [];
    for (let step = { run: runOf(pace), why: 'begin' }; step.why;) {
      step = drive(afterPause(step.run), outcomes);
      seen.push(...step.sent, step.why);
    }
    assert.equal(seen.filter(Boolean).join(' '), expected, JSON.stringify(pace));
  }
  const sent = {
    ...runOf({ size: 1 }),
    batch: [0],
    records: [{ state: 'unsent' }, ...runOf({}).records.slice(1)],
  };
  assert.equal(whyPause({ ...sent, failure: 'busy' }), 'failed');
  assert.equal(whyPause({ ...sent, stopping: true }), 'stopped');
  assert.equal(csvOf(plan, [2, 0]), `${header}\r\n${lines[2]}\r\n${lines[0]}\r\n`);
});

// A pause that counted as work would make the rest look like hours.
test('the time that is left comes from the units done so far, without the pauses between them', () => {
  const { run, now } = drive(runOf({ size: 2, pause: 30 }), Array(5).fill('ok'));
  assert.equal(secondsLeft(runOf({}), 0), null);
  assert.equal(secondsLeft(run, now), 3 + 2 * 30); // three units and two pauses
  const later = { ...afterPause(run), batch: [2, 3], clock: goingOn(run.clock, now + 30_000) };
  assert.equal(secondsLeft(later, now + 30_000), 33);
  assert.equal(secondsLeft(later, now + 40_000), 23);
  // A page that is opened again sees at once what was done meanwhile.
  const found = { ...runOf({}), batch: [0, 1, 2, 3, 4], clock: { at: 0, from: 0, done: 0, last: 0 } };
  const records = [...Array(2).fill({ state: 'ok' }), ...Array(3).fill({ state: 'waiting' })];
  assert.equal(secondsLeft(withProgress(found, records, 20_000), 20_000), 30);
});

// Otherwise a run would overwrite what somebody else has just set.
test('what another update has changed is found, names are those of now', () => {
  const site = readSite(
    ['UNIT.SERIAL,UNIT.ID', 'A,A', 'B,THEIRS', 'C,NEW-C', 'E,E', 'F,NEW-E'].join('\r\n'), // D is gone
  );
  const run = runOf({});
  assert.deepEqual(changesSince(run, [0, 1, 2, 3, 4], site), [
    { at: 1, key: 'UNIT.ID', then: 'B', now: 'THEIRS', value: 'NEW-B' },
    { at: 3, code: 'gone', detail: '' },
    { at: 4, code: 'id-taken', detail: 'NEW-E' },
  ]);
  assert.deepEqual(changesSince(run, [0, 2], site), []);
  const labels = ['A → NEW-A', 'THEIRS → NEW-B', 'NEW-C', 'D → NEW-D', 'E → NEW-E'];
  assert.deepEqual(labelsOf(run, site), labels);
});

// A page that took an old log for a running update would wait for nothing.
test('an update is under way as long as its log grows', () => {
  const log = (...lines) => [' Starting send_csv_to_devices()...2 ', ...lines, ''].join('\n');
  const skipped = (at) => `  Skipping send_device_update(${at}) this is ME... `;
  const table = [
    [log(), 3, { total: 2, done: 0 }],
    [log(skipped(0)), 20, { total: 2, done: 1 }],
    [log(skipped(0)), 21, null],
    [log(skipped(0)), NaN, null],
    [log(skipped(0), skipped(1)), 3, null],
    ['', 3, null],
  ];
  for (const [text, age, expected] of table) {
    assert.deepEqual(updateUnderWay(text, age), expected);
    assert.equal(isWhole(text), text.includes('(1)'), text);
  }
});

// A web server may know a size late; the results of the old log would be shown for the new run.
test('a log that was only longer than it looked is not taken for a new one', () => {
  const at = (second) => `Thu, 26 Nov 2026 04:00:${second} GMT`;
  const before = { version: 'A', modified: at('10'), age: 2 };
  const table = [
    ['A', at('10'), before, false],
    ['B', at('10'), before, false], // grew, seen late
    ['B', at('12'), before, false],
    ['B', at('16'), before, true],
    ['B', at('16'), null, true],
    ['B', '', before, true], // a server without times
    ['B', at('10'), { ...before, age: NaN }, true],
  ];
  for (const [version, modified, then, expected] of table)
    assert.equal(isNewLog({ version, modified }, then), expected, `${version} ${modified}`);
});

// A value that a unit has taken is not sent again, one that it refused is.
test('a draft is compared with what was sent, a run with what is reported', () => {
  const keys = 'UNIT.SERIAL,UNIT.ID,IP.ADDRESS,IP.STATIC_ADDRESS';
  const site = {
    ...readSite([keys, 'A,A,10.0.0.1,10.0.0.1', 'B,B,10.0.0.2,', 'C,C', 'D,D'].join('\r\n')),
    modified: 'T1',
  };
  const states = ['ok', 'ok', 'fail no-answer', 'fail refused', 'unsent not-reached'];
  const records = states.map((text) => ({ state: text.split(' ')[0], reason: text.split(' ')[1] ?? '' }));
  const run = sentTo({ ...runOf({}), batch: [0, 1, 2, 3, 4], records }, site);
  run.rows[0].sent.push(['IP.STATIC_ADDRESS', '10.0.0.1', '10.0.0.9']);
  const valuesOf = ({ units }) =>
    units.map(({ values }) => [values['UNIT.ID'], values['IP.ADDRESS']].join(' ').trim());
  assert.deepEqual(valuesOf(siteAfter(site, [run])), ['NEW-A 10.0.0.9', 'NEW-B 10.0.0.2', '', 'D']);
  assert.deepEqual(siteAfter({ ...site, modified: 'T2' }, [run]).units, site.units);

  const found = { ...readSite([keys, 'A,NEW-A,10.0.0.9,10.0.0.9', 'C,OLD'].join('\r\n')), modified: 'T2' };
  assert.deepEqual(compareWith(run, { ...found, modified: 'T1' }), []);
  assert.deepEqual(
    compareWith(run, found).map(({ at, key, sent, now }) => `${at} ${key} ${sent} ${now}`),
    [
      '0 UNIT.ID NEW-A NEW-A',
      '0 IP.STATIC_ADDRESS 10.0.0.9 10.0.0.9',
      '1 UNIT.ID NEW-B null',
      '2 UNIT.ID NEW-C OLD',
      '3 UNIT.ID NEW-D null',
    ],
  );
});
