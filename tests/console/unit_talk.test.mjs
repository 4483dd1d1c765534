// Requests one at a time, answers of every kind, and how a mass update shows in its log.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { failureOf, linesSoFar, readAnswer } from '../../console/src/logic/answer.js';
import { RequestQueue } from '../../console/src/logic/request_queue.js';
import { applyResults, readSiteLog } from '../../console/src/logic/site_log.js';

const top = '<HTML><HEAD>\n<TITLE>Key and Value</TITLE>\n</HEAD><BODY>\n<p>Key: CMD value: X</p>\n';
const refusal = (message) =>
  `<HTML><HEAD><meta name="ERROR_RORRE" content="none"></HEAD><BODY BGCOLOR=#FFFFFF TEXT=#000000 LINK=#000000 VLINK=#800080>\n<Center>\n&HANDLER=ERROR ${message}\n</Center></BODY></HTML>`;

test('answers are told apart', () => {
  const table = [
    [200, `${top}true</BODY></HTML>\n`, 'done', 'true'],
    [200, `${top}two\nlines\n</BODY></HTML>\n`, 'done', 'two\nlines\n'],
    [200, refusal('handler.cgi only supports one concurrent request, try again.'), 'busy', ''],
    [200, refusal('Firmware Update In Progress, try again later.'), 'updating', ''],
    [
      200,
      `${top}${refusal('Firmware Update In Progress, try again later.')}\n</BODY></HTML>\n`,
      'done',
      null,
    ],
    [200, `${refusal('handler.cgi only supports one concurrent request, try again.')} `, 'broken', ''],
    [200, `${top}cut`, 'broken', ''],
    [200, `${top.replace('value: X', 'value: Y')}true</BODY></HTML>\n`, 'broken', ''],
    [500, '', 'broken', ''],
  ];
  for (const [status, text, kind, body] of table)
    assert.deepEqual(
      readAnswer('X', status, text),
      { kind, body: body ?? text.slice(top.length, -15) },
      text,
    );
  assert.deepEqual(linesSoFar('X', `${top}one\ntwo\nthr`), ['one', 'two']);
  assert.deepEqual(
    [
      failureOf('<p>Updating splash</p>\n'),
      failureOf('<p>Updating edid</p>\n<p>Error: Failed to update EDID</p>\n'),
    ],
    [null, 'Error: Failed to update EDID'],
  );
});

// A queue whose unit answers with these kinds in turn, then `done`. All that happens goes to `events`.
function scripted(kinds) {
  const events = [];
  let running = 0;
  const send = async (command, { file }) => {
    assert.equal(running, 0);
    running += 1;
    await Promise.resolve();
    running -= 1;
    events.push(file ? `${command} with file` : command);
    return { kind: kinds.shift() ?? 'done', body: command };
  };
  const sleep = async (milliseconds) => {
    events.push(milliseconds);
  };
  return { events, queue: new RequestQueue(send, sleep) };
}

test('requests wait for each other and keep their distance', async () => {
  const { events, queue } = scripted([]);
  await Promise.all([
    queue.run('a', async (unit) => [await unit.ask('A1'), await unit.ask('A2')]),
    queue
      .run('b', async () => {
        throw new Error('a job that fails');
      })
      .catch(() => {}),
    queue.ask('c', 'C'),
  ]);
  assert.deepEqual(events, ['A1', 200, 'A2', 200, 'C', 200]);
});

test('a busy unit is asked again, any other failure ends the request', async () => {
  const small = 'CHECK_IMPORT_CSV_STATUS';
  const table = [
    [['busy', 'busy'], ['A', 200, 300, 'A', 200, 500, 'A', 200], 'A'],
    [['updating'], ['A', 200], 'updating'],
    [['broken'], ['A', 200], 'broken'],
    [Array(20).fill('busy'), null, 'busy'],
  ];
  for (const [kinds, expected, result] of table) {
    const { events, queue } = scripted([...kinds]);
    assert.equal(await queue.ask('', 'A').catch((failure) => failure.kind), result);
    if (expected) assert.deepEqual(events, expected);
  }
  const { events, queue } = scripted(['busy', 'done', 'broken']);
  await assert.rejects(
    queue.run('', (unit) => unit.upload('U', {})),
    { kind: 'broken' },
  );
  const requests = events.filter((event) => typeof event === 'string');
  assert.deepEqual(requests, [small, small, 'U with file', small]); // the last one restarts the link
  await assert.rejects(
    scripted(['done', 'broken', 'updating']).queue.run('', (unit) => unit.upload('U', {})),
    { kind: 'started' },
  );
});

test('a cancelled upload is not sent, whatever it waits for', async () => {
  const cancelAt = [[], ['busy'], ['busy', 'done', 'busy']];
  for (const kinds of cancelAt) {
    const events = [];
    const abort = new AbortController();
    const send = async (command, { file }) => {
      events.push(file ? 'file' : 'small');
      return { kind: kinds.shift() ?? 'done', body: '' };
    };
    const sleep = async (milliseconds) => {
      if (milliseconds > 200 && kinds.length === 0) abort.abort();
    };
    const queue = new RequestQueue(send, sleep);
    if (kinds.length === 0) abort.abort();
    const job = queue.run('', (unit) => unit.upload('U', {}, { signal: abort.signal }), abort.signal);
    await assert.rejects(job, { kind: 'withdrawn' });
    assert.ok(events.filter((event) => event === 'file').length < 2, events.join());
    assert.equal(await queue.ask('', 'NEXT'), '');
  }
  const { events, queue } = scripted([]);
  const abort = new AbortController();
  let release;
  queue.run(
    'long',
    () =>
      new Promise((resolve) => {
        release = resolve;
      }),
  );
  const waiting = queue.run('', (unit) => unit.ask('A'), abort.signal);
  const last = queue.ask('', 'B');
  abort.abort();
  await assert.rejects(waiting, { kind: 'withdrawn' }); // while the long job still runs
  assert.deepEqual(events, []);
  release();
  await last;
  assert.deepEqual(events, ['B', 200]);
});

// The log of an exchange as far as these steps.
const inside = (...steps) => steps.map((step) => ` Inside handle_device_update_reply() ${step} `);
const calling = (row) => [
  `  Calling send_device_update(${row})... `,
  '   Starting send_device_update()...3 ',
  '    IP... 10.0.0.1 0x0a000001 ',
  'CMD=START&UNIT.ID=S1&CMD=END {28}',
];
const head = (count) => [` Starting send_csv_to_devices()...${count} `, '     BEGIN duplicate_check_vdt(): '];
const logOf = (...lines) => `${lines.flat(2).join('\n')}\n`;

test('the site log tells how far each unit is', () => {
  const whole = [
    '0',
    'Got Reply A: API=SUCCESS',
    'Sent SAVE',
    'Got Reply B: API=SUCCESS',
    'Sent REBOOT',
    'Got Reply C',
  ];
  const table = [
    // steps, state while it runs, state and reason when the run is over
    [null, 'waiting', 'unsent', 'not-reached'],
    [[], 'sent', 'fail', 'not-sent'],
    [['0'], 'sent', 'fail', 'no-answer'],
    [['0', 'No UPDATE Reply -1/0x0b'], 'fail', 'fail', 'no-answer'],
    [['0', 'Got Reply A: API=FAIL', 'UPDATE Reply FAILED  8/0x00'], 'fail', 'fail', 'refused'],
    [whole.slice(0, 2).concat('SAVE Send FAILED  -1/0x65'), 'fail', 'fail', 'save-not-sent'],
    [whole.slice(0, 3), 'sent', 'fail', 'no-save'],
    [whole.slice(0, 4).concat('SAVE Reply FAILED  8/0x00'), 'fail', 'fail', 'save-refused'],
    [whole.slice(0, 4), 'saved', 'fail', 'reboot-not-sent'],
    [whole.slice(0, 5), 'rebooting', 'fail', 'no-reboot'],
    [whole, 'ok', 'ok', ''],
  ];
  for (const [steps, running, state, reason] of table) {
    const log = logOf(head(1), steps ? [calling(0), inside(...steps)] : []);
    const {
      records: [record],
    } = readSiteLog(log);
    assert.equal(record.state, running, log);
    assert.deepEqual(applyResults([record], [], true), [{ state, reason }], log);
  }
  assert.deepEqual(readSiteLog('something else'), { total: null, records: [] });
  assert.equal(readSiteLog(' Starting send_csv_to_devices()...3').total, null);
});

test('records follow each other, and no unit’s text passes for a line', () => {
  const { records } = readSiteLog(
    logOf(
      head(4),
      calling(0),
      inside('0', 'Got Reply A: API=SUCCESS'),
      ['  Calling send_device_update(3)... '],
      inside('Sent SAVE'),
      [
        '  Skipping send_device_update(1) this is ME... ',
        '  Skipping send_device_update(2)... Duplicate Data Detected(0x14/0x00)) ',
      ],
      calling(3),
    ),
  );
  assert.deepEqual(records, [
    { state: 'fail', reason: 'no-save' },
    { state: 'self', reason: '' },
    { state: 'skipped', reason: 'duplicate' },
    { state: 'sent', reason: 'not-sent' },
  ]);
});

test('an OK of the log stands only behind the message to that unit', () => {
  const stateOf = (serial) => {
    const log = logOf(head(1), calling(0), inside('0', 'Got Reply C'));
    return readSiteLog(log, [serial]).records[0].state;
  };
  assert.deepEqual([stateOf('S1'), stateOf('S2'), stateOf('S')], ['ok', 'fail', 'fail']);
});

test('result lines have the last word', () => {
  const waiting = Array.from({ length: 4 }, () => ({ state: 'waiting', reason: '' }));
  const lines = [
    'Update Device #0 @ 10.0.0.1 Result is OK',
    'Skipping Myself #1 ',
    'Update Device #2 @  Result is FAIL',
    'Update Device #9 @ x Result is OK',
    'noise',
  ];
  assert.deepEqual(
    applyResults(waiting, lines, false).map(({ state }) => state),
    ['ok', 'self', 'fail', 'waiting'],
  );
});
