// Requests one at a time, answers of every kind, and how a mass update shows in its log.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { failureOf, linesSoFar, readAnswer } from '../../console/src/logic/answer.js';
import { RequestQueue } from '../../console/src/logic/request_queue.js';
import { applyResults, readSiteLog } from '../../console/src/logic/site_log.js';

const top = '<HTML><HEAD>\n<TITLE>Key and Value</TITLE>\n</HEAD><BODY>\n<p>Key: CMD value: X</p>\n';
const refusal =
  '<HTML><HEAD><meta name="ERROR_RORRE" content="none"></HEAD><BODY BGCOLOR=#FFFFFF TEXT=#000000 LINK=#000000 ' +
  'VLINK=#800080>\n<Center>\n&HANDLER=ERROR Firmware Update In Progress, try again later.\n</Center></BODY></HTML>';

// A refusal that passes for success would call an upload done.
test('answers that no browser run sees get the right kind', () => {
  const ended = '</BODY></HTML>\n';
  const table = [
    [`${top}${refusal}\n${ended}`, { kind: 'done', body: `${refusal}\n` }], // a unit's own text is no refusal
    [`${refusal} `, { kind: 'broken', body: '' }],
    [`${top}cut`, { kind: 'broken', body: '' }],
    [`${top.replace('value: X', 'value: Y')}true${ended}`, { kind: 'broken', body: '' }],
  ];
  for (const [text, answer] of table) assert.deepEqual(readAnswer('X', 200, text), answer, text);
  assert.deepEqual(readAnswer('X', 401, 'Unauthorized'), { kind: 'login', body: '' });
  assert.deepEqual(linesSoFar('X', `${top}one\ntwo\nthr`), ['one', 'two']);
  const failed = '<p>Updating edid</p>\n<p>Error: Failed to update EDID</p>\n';
  assert.equal(failureOf(failed), 'Error: Failed to update EDID');
});

// A queue whose unit answers with these kinds, then `done`. `events` gets all that happens, `onWait` every wait, too.
function scripted(kinds, onWait = () => {}) {
  const events = [];
  let running = 0;
  const send = async (command, { file }) => {
    assert.equal(running++, 0);
    await Promise.resolve();
    running -= 1;
    events.push(file ? `${command} with file` : command);
    return { kind: kinds.shift() ?? 'done', body: command };
  };
  const sleep = async (milliseconds) => onWait(events.push(milliseconds), milliseconds);
  return { events, queue: new RequestQueue(send, sleep) };
}

// Requests at the same time refuse each other, and each one stops the video link.
test('requests wait for each other and keep their distance', async () => {
  const { events, queue } = scripted([]);
  await Promise.allSettled([
    queue.run('a', async (unit) => [await unit.ask('A1'), await unit.ask('A2')]),
    queue.run('b', () => Promise.reject(new Error('a job that fails'))),
    queue.ask('c', 'C'),
  ]);
  assert.deepEqual(events, ['A1', 200, 'A2', 200, 'C', 200]);
});

const small = 'CHECK_IMPORT_CSV_STATUS';

// A refused upload costs the time of the whole file, and one cut short leaves the video link stopped.
test('a busy unit is asked again, any other failure ends the request', async () => {
  const delays = [300, 500, 1000, 2000, 3000, 5000, 5000, 5000, 5000, 5000];
  const retries = delays.flatMap((delay) => ['A', 200, delay]);
  const table = [
    [['busy', 'busy'], [...retries.slice(0, 6), 'A', 200], 'A'],
    [Array(20).fill('busy'), [...retries, 'A', 200], 'busy'],
  ];
  for (const [kinds, expected, result] of table) {
    const { events, queue } = scripted(kinds);
    assert.equal(await queue.ask('', 'A').catch(({ kind }) => kind), result);
    assert.deepEqual(events, expected);
  }
  const uploads = [
    [['busy', 'done', 'broken'], [small, small, 'U with file', small], 'broken'], // the last one restarts the link
    [['done', 'broken', 'updating'], [small, 'U with file', small], 'started'],
  ];
  for (const [kinds, expected, result] of uploads) {
    const { events, queue } = scripted(kinds);
    const upload = queue.run('', (unit) => unit.upload('U', {}));
    await assert.rejects(upload, { kind: result });
    assert.deepEqual(events.filter(isNaN), expected); // without the waits
  }
});

// Firmware that a person has cancelled must not reach the unit a minute later.
test('a cancelled upload is not sent, whatever it waits for', async () => {
  for (const kinds of [[], ['busy'], ['busy', 'done', 'busy']]) {
    const abort = new AbortController();
    const cancel = (_, milliseconds) => milliseconds !== 200 && kinds.length === 0 && abort.abort();
    const { events, queue } = scripted(kinds, cancel);
    if (kinds.length === 0) abort.abort();
    const job = queue.run('', (unit) => unit.upload('U', {}, { signal: abort.signal }), abort.signal);
    await assert.rejects(job, { kind: 'withdrawn' });
    assert.ok(events.filter((event) => event === 'U with file').length < 2, events.join());
    assert.equal(await queue.ask('', 'NEXT'), 'NEXT');
  }
});

// The job that runs must not be stopped with it.
test('a job that waits for its turn is cancelled while another one runs', async () => {
  const { events, queue } = scripted([]);
  const abort = new AbortController();
  let release;
  queue.run('long', () => new Promise((resolve) => (release = resolve)));
  const waiting = queue.run('', (unit) => unit.ask('A'), abort.signal);
  const last = queue.ask('', 'B');
  abort.abort();
  await assert.rejects(waiting, { kind: 'withdrawn' });
  assert.deepEqual(events, []);
  release();
  await last;
  assert.deepEqual(events, ['B', 200]);
});

const inside = (step) => ` Inside handle_device_update_reply() ${step} `;
const calling = (row) => [`  Calling send_device_update(${row})... `, 'CMD=START&UNIT.ID=S1&CMD=END {28}'];
const textOf = ({ state, reason }) => `${state} ${reason}`;
const logOf = (count, ...lines) =>
  `${[` Starting send_csv_to_devices()...${count} `, lines].flat(2).join('\n')}\n`;

// A unit whose failure is missed counts as configured.
test('the site log shows how far each unit is', () => {
  const whole = ['0', 'Got Reply A: API=SUCCESS', 'Sent SAVE', 'Got Reply B: API=SUCCESS', 'Sent REBOOT'];
  const table = [
    // steps, state while it runs, state and reason when the run is over
    [[], 'sent', 'fail not-sent'],
    [['0'], 'sent', 'fail no-answer'],
    [['0', 'No UPDATE Reply -1/0x0b'], 'fail', 'fail no-answer'],
    [['0', 'Got Reply A: API=FAIL', 'UPDATE Reply FAILED  8/0x00'], 'fail', 'fail refused'],
    [[...whole.slice(0, 2), 'SAVE Send FAILED  -1/0x65'], 'fail', 'fail save-not-sent'],
    [whole.slice(0, 3), 'sent', 'fail no-save'],
    [[...whole.slice(0, 4), 'SAVE Reply FAILED  8/0x00'], 'fail', 'fail save-refused'],
    [whole.slice(0, 4), 'saved', 'fail reboot-not-sent'],
    [whole, 'rebooting', 'fail no-reboot'],
    [[...whole, 'Got Reply C'], 'ok', 'ok '],
  ];
  for (const [steps, running, over] of table) {
    const { records } = readSiteLog(logOf(2, calling(0), steps.map(inside)), ['S1']);
    assert.equal(records[0].state, running, steps.join());
    assert.deepEqual(applyResults(records, [], true).map(textOf), [over, 'unsent not-reached'], steps.join());
  }
  const foreign = readSiteLog(logOf(1, calling(0), ['0', 'Got Reply C'].map(inside)), ['S']);
  assert.equal(textOf(foreign.records[0]), 'fail unclear'); // an OK counts only after the message to that unit
  assert.equal(readSiteLog(' Starting send_csv_to_devices()...3').total, null);
});

// A unit’s own text could pass for the result of another unit.
test('records follow each other, no unit’s text passes for a line, and result lines have the last word', () => {
  const log = logOf(
    5,
    calling(0),
    ['0', 'Got Reply A: API=SUCCESS'].map(inside),
    '  Calling send_device_update(3)... ',
    inside('Sent SAVE'),
    '  Skipping send_device_update(1) this is ME... ',
    '  Skipping send_device_update(2)... Duplicate Data Detected(0x14/0x00)) ',
    calling(3),
  );
  const { records } = readSiteLog(log);
  const expected = ['fail no-save', 'self ', 'skipped duplicate', 'sent not-sent', 'waiting '];
  assert.deepEqual(records.map(textOf), expected);
  const lines = [
    'Update Device #0 @ 10.0.0.1 Result is OK',
    'Update Device #1 @  Result is FAIL',
    'Skipping Myself #3 ',
    'Update Device #9 @ x Result is OK',
    'noise',
  ];
  const states = applyResults(records, lines, false).map(({ state }) => state);
  assert.deepEqual(states, ['ok', 'fail', 'skipped', 'self', 'waiting']);
});
