// A mass update in batches: who is next, when it stops, what time is left.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import {
  afterPause,
  csvOf,
  newRun,
  nextBatch,
  secondsLeft,
  whyPause,
  withProgress,
} from '../../console/src/logic/run.js';

const header = 'UNIT.SERIAL,UNIT.ID,';
const sending = ['A', 'B', 'C', 'D', 'E'].map((serial, at) => ({
  number: at + 2,
  values: { 'UNIT.SERIAL': serial, 'UNIT.ID': `NEW-${serial}` },
  unit: null,
  settings: [{ key: 'UNIT.ID', value: `NEW-${serial}` }],
}));
const lines = sending.map(({ values }) => `${Object.values(values).join(',')},`);
const plan = { sending, text: `${[header, ...lines].join('\r\n')}\r\n`, undo: '' };
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
      step = drive(afterPause(step.run, 0), outcomes);
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

test('the time that is left comes from the units done so far, without the pauses between them', () => {
  const { run, now } = drive(runOf({ size: 2, pause: 30 }), Array(5).fill('ok'));
  assert.equal(secondsLeft(runOf({}), 0), null);
  assert.equal(secondsLeft(run, now), 3 + 2 * 30); // three units and two pauses
  const later = { ...afterPause(run, 30_000), batch: [2, 3] };
  assert.equal(secondsLeft(later, now + 30_000), 33);
  assert.equal(secondsLeft(later, now + 40_000), 23);
  // A page that is opened again sees at once what was done meanwhile.
  const found = { ...runOf({}), batch: [0, 1, 2, 3, 4], clock: { at: 0, from: 0, done: 0, last: 0 } };
  const records = [...Array(2).fill({ state: 'ok' }), ...Array(3).fill({ state: 'waiting' })];
  assert.equal(secondsLeft(withProgress(found, records, 20_000), 20_000), 30);
});
