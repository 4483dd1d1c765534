// What a mass update would do, shown before it is done.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { cellOf, gatherProblems, preflight } from '../../console/src/logic/preflight.js';
import { newRun } from '../../console/src/logic/run.js';
import { compareSites, memoryOf, readSite } from '../../console/src/logic/site.js';
import { readSpreadsheet } from '../../console/src/logic/spreadsheet_csv.js';

const site = readSite(
  [
    'IP.ADDRESS,UNIT.ID,UNIT.MODEL,UNIT.SERIAL,IP.STATIC_ADDRESS,STREAM.BIT_RATE,VW.NAME,IP.STATIC_NETMASK,AUDIO.DAC_MUTE',
    '10.0.0.1,ENC-1,TX610,S1,10.0.0.1,100,,,',
    '10.0.0.2,DEC-2,RX610,S2,10.0.0.2,,"Room 2, left",,',
    '10.0.0.3,WALL-3,KestT-PL,S3,10.0.0.3,200,,,',
  ].join('\r\n'),
);

function check(text, options, within = site) {
  const { rows, notes } = readSpreadsheet(new TextEncoder().encode(text));
  const [header, ...lines] = rows.map((cells, at) => ({
    number: at + 1,
    cells: cells.map((cell) => cell.text),
    quoted: cells.map((cell) => cell.quoted),
  }));
  return preflight({ columns: header.cells, rows: lines, notes }, within, options);
}

const listed = ({ problems }) =>
  problems.map(({ level, code, column, rows }) => `${level} ${code} ${column} ${rows}`);

// Every unit that is sent a row restarts, changed or not.
test('only what changes is sent, and can be taken back', () => {
  const rows = ['S1,ENC-1,,150', 'S2,NEW-2,"Room 2, left",', 'S3,WALL-3,,200'];
  const draft = `UNIT.SERIAL,UNIT.ID,VW.NAME,STREAM.BIT_RATE\n${rows.join('\n')}\n`;
  const plan = check(draft);
  const header = 'UNIT.SERIAL,UNIT.MODEL,UNIT.ID,STREAM.BIT_RATE,\r\n';
  assert.equal(plan.text, `${header}S1,TX610,,150,\r\nS2,RX610,NEW-2,,\r\n`);
  assert.equal(plan.undo, `${header}S1,TX610,,100,\r\nS2,RX610,DEC-2,,\r\n`);
  assert.deepEqual([plan.settings, plan.unchanged, plan.lost], [2, 1, 0]);
  const all = check(draft, { onlyChanges: false });
  assert.match(all.text, /S2,RX610,NEW-2,"Room 2, left",,\r\nS3,KestT-PL,WALL-3,,200,/);
  const [, , { sent }] = newRun(all, {}).rows;
  assert.deepEqual(sent, [
    ['UNIT.ID', 'WALL-3', 'WALL-3'],
    ['STREAM.BIT_RATE', '200', '200'],
  ]);
});

// A person wants to correct a file once, not once for each problem.
test('every problem is shown at once, and nothing faulty is sent', () => {
  const draft = [
    'UNIT.SERIAL,UNIT.MODEL,unit.id,UNIT.REBOOT,IP.STATIC_ADDRESS,IP.STATIC_NETMASK,VW.NAME,IP.ADDRESS,' +
      'STREAM.BIT_RATE,AUDIO.DAC_MUTE,NO.SUCH',
    's1,TX610,A&B=C,TRUE,010.0.0.7,255.254.0.0,Wall,10.9.9.9,50,TRUE',
    'S2,TX610,"B ",,0.0.0.0,1.2.3.4,,10.0.0.2',
    ',,',
    ',TX610,C',
    'ALL,TX610,D',
    'S7,rx610,  ,,10.0.0.256,,"A""B, C",,60,,,more',
    'S8,T-PL,Wall-3,,,,,10.0.0.2,,TRUE',
    'S9,KestR-2,,,10.0.0.9,,Hall,,,TRUE',
    'S10,,F,,,,Hall,,,',
    'S3,KestT-PL,E',
  ].join('\n');
  const plan = check(`${draft}\n`, { ownSerial: 's3', unknownToo: true });
  assert.deepEqual(listed(plan), [
    'out column-excluded UNIT.REBOOT 1',
    'out column-unknown NO.SUCH 1',
    'out cell-ampersand UNIT.ID 2',
    'out cell-address IP.STATIC_ADDRESS 2,7',
    'out cell-host IP.STATIC_ADDRESS 3',
    'out cell-netmask IP.STATIC_NETMASK 3',
    'out serial-blank UNIT.SERIAL 5',
    'out serial-all UNIT.SERIAL 6',
    'out too-many-cells  7',
    'out cell-blanks UNIT.ID 7',
    'out cell-quote VW.NAME 7',
    'out row-self  11',
    'check model-differs UNIT.MODEL 3',
    'check id-edges UNIT.ID 3',
    'check unit-unknown UNIT.SERIAL 7,8,9,10',
    'check id-taken UNIT.ID 8',
    'held held-decoder VW.NAME 2',
    'held held-status IP.ADDRESS 2,8',
    'held held-extended AUDIO.DAC_MUTE 2',
    'held held-encoder STREAM.BIT_RATE 7',
    'held held-model VW.NAME 10',
    'fixed column-spelling unit.id 1',
    'fixed serial-spelling UNIT.SERIAL 2',
    'fixed quoting UNIT.ID 3',
    'fixed row-blank  4',
    'fixed quoting VW.NAME 7',
    'fixed address-shared IP.ADDRESS 3,8',
  ]);
  assert.deepEqual(plan.text.split(',\r\n').slice(1, -1), [
    'S1,TX610,10.9.9.9,,,255.254.0.0,,50,',
    'S2,TX610,,B ,,,,,',
    'S8,T-PL,,Wall-3,,,,,TRUE',
    'S9,KestR-2,,,10.0.0.9,,Hall,,TRUE',
    'S10,,,F,,,,,',
  ]);
  const names = plan.sending.slice(2).map(({ settings }) => settings.map(({ name }) => name).join());
  assert.deepEqual(names, ['UNIT.SET_ID,AUDIO.DAC_MUTE', 'IP.ADDRESS,VW.NAME,AUDIO.DAC_MUTE', 'UNIT.SET_ID']);
  const { text, problems } = check('UNIT.SERIAL,UNIT.ID,UNIT.ID\nS1,A,B\n');
  assert.deepEqual([text, problems[0].code], ['', 'column-twice']);
  assert.equal(check('UNIT.ID\nA\n').problems[0].code, 'no-serial-column');
});

// A key of any name is only a key: a lookup that finds what all objects have stops the page.
test('a unit may report a key that every object has', () => {
  const text = 'UNIT.SERIAL,UNIT.MODEL,constructor,VW.NAME\nS1,RX610,A,W\n';
  const { rows } = check(text.replace('W\n', 'V\n'), {}, readSite(text));
  assert.deepEqual(
    [cellOf(rows[0], 'constructor').state, cellOf(rows[0], 'VW.NAME').state],
    ['same', 'change'],
  );
});

// Two units with one address are both lost, and the unit does not look for it.
test('no two units get the same static address', () => {
  const table = [
    ['S1,10.0.0.9\nS2,10.0.0.9\nS3,10.0.0.8', '2,3'],
    ['S1,10.0.0.2\nS2,10.0.0.3', '3 2'], // the row left out leaves another one out
    ['S1,10.0.0.2\nS2,10.0.0.1', ''], // two units may change places
  ];
  for (const [rows, expected] of table) {
    const { problems } = check(`UNIT.SERIAL,IP.STATIC_ADDRESS\n${rows}\n`);
    const taken = problems.filter(({ code }) => code === 'address-taken');
    assert.equal(taken.map((problem) => problem.rows.join()).join(' '), expected, rows);
  }
});

// A fault in each of thousands of rows must not hide the other problems.
test('very many problems are listed by kind, none is left out', () => {
  const { problems } = check('UNIT.SERIAL,UNIT.ID\nS1,A\nS2,a\nS3,B\nS3,C\n');
  const gathered = gatherProblems(problems, 4).map(({ code, rows, detail }) => [code, rows.join(), detail]);
  assert.deepEqual(gathered, [
    ['nothing-to-send', '', ''],
    ['twice-id', '2,3', 'A, a'],
    ['twice-serial', '4,5', 'S3'],
    ['model-filled', '2,3,4,5', ''],
  ]);
  assert.equal(gatherProblems(problems, 5), problems);
});

// The unit skips a message that is longer than its buffer, which nobody would expect of a checked file.
test('a message that would not fit is not sent', () => {
  const keys = Array.from({ length: 20 }, (_, at) => `${at}`.padStart(36, 'K'));
  const header = `UNIT.SERIAL,UNIT.MODEL,${keys}\n`;
  const rowOf = (length) => `S1,TX610,${keys.map((_, at) => 'v'.repeat(at === 0 ? length : 63))}\n`;
  const sent = (length) => check(header + rowOf(length), {}, readSite(`${header}S1,TX610\n`)).settings;
  assert.deepEqual([sent(62), sent(63)], [20, 0]); // of 2047 and 2048 bytes, 28 of them around the settings
});

// Nobody finds two units with one id among thousands without a mark.
test('a site has its conflicts, hidden units and changes marked', () => {
  const lines = ['10.0.0.1,A,TX610,S1', '10.0.0.2,a,RX610,S2', '10.0.0.5,C,T-PL,s1', 'x', ',,,'];
  const now = readSite(['IP.ADDRESS,UNIT.ID,UNIT.MODEL,UNIT.SERIAL', ...lines].join('\r\n'));
  const marks = now.units.map((unit) => unit.marks.join());
  assert.deepEqual(marks, ['id,serial', 'id', 'serial', 'fields']);
  assert.deepEqual([now.hidden, now.encoders, now.decoders], [1, 2, 1]);
  const changes = { difference: 2, missing: ['WALL-3'], appeared: ['C', 'x'] };
  assert.deepEqual(compareSites(memoryOf(site), memoryOf(now)), changes);
});

// Somebody has to walk to a unit with a wrong address.
test('rows with an unreachable address are left out, doubtful ones get a warning', () => {
  const network = readSite(
    [
      'IP.ADDRESS,UNIT.ID,UNIT.MODEL,UNIT.SERIAL,IP.STATIC_ADDRESS,IP.STATIC_NETMASK,IP.STATIC_GATEWAY',
      '10.0.0.1,A,TX610,S1,10.0.0.1,255.255.255.0,10.0.0.254',
      '10.0.0.2,B,RX610,S2,10.0.0.2,255.255.255.0,0.0.0.0',
      '10.0.0.3,C,RX610,S3,10.0.0.3,255.255.255.0,10.0.0.254',
    ].join('\r\n'),
  );
  const table = [
    ['S1,10.0.0.9,,', ''],
    ['S1,10.0.0.0,,', 'out address-network'],
    ['S1,10.0.0.255,,', 'out address-network'],
    ['S2,10.0.0.127,255.255.255.128,', 'out address-network'],
    ['S1,10.0.0.255,255.255.0.0,', ''], // an ordinary host of the larger network
    ['S1,10.0.0.254,,', 'out gateway-self'],
    ['S1,,,10.0.0.1', 'out gateway-self'],
    ['S1,,,10.0.1.1', 'out gateway-outside'],
    ['S1,10.1.0.1,,', 'out gateway-outside check address-moves'],
    ['S2,10.1.0.1,,', 'check address-moves'],
    ['S2,10.0.0.1,,\nS1,10.0.0.9,,', 'check address-handed-on'], // a chain
    ['S2,10.0.0.1,,\nS1,10.0.0.2,,', 'check address-handed-on check address-handed-on'], // a swap
    ['S2,10.0.0.3,,', 'out address-taken'],
    ['S2,10.0.0.3,,\nS3,,255.255.0.0,', 'out address-taken'], // S3 keeps its address
  ];
  for (const [rows, expected] of table) {
    const header = 'UNIT.SERIAL,IP.STATIC_ADDRESS,IP.STATIC_NETMASK,IP.STATIC_GATEWAY';
    const { problems, moved } = check(`${header}\n${rows}\n`, {}, network);
    const seen = problems.filter(({ code }) => /^(address|gateway)-/.test(code));
    assert.equal(seen.map(({ level, code }) => `${level} ${code}`).join(' '), expected, rows);
    if (expected === '' && rows.startsWith('S1,10.0.0.9'))
      assert.deepEqual(moved, [{ id: 'A', from: '10.0.0.1', to: '10.0.0.9' }]);
  }
});

// To the unit a date or 1E+05 is a text like any other, and it stores it.
test('values that a spreadsheet has damaged get a warning', () => {
  const zeros = readSite('UNIT.ID,UNIT.MODEL,UNIT.SERIAL\r\nA,TX610,00001200\r\n');
  const table = [
    ['1200,B', 'check serial-zeros', 1],
    ['00001200,#REF!', 'out cell-formula', 0],
    ['00001200,03.Apr', 'check converted', 1],
    ['00001200,01. Mrz', 'check converted', 1],
    ['00001200,01.04.2024', 'check converted', 1],
    ['00001200,1E+05', 'check converted', 1],
    ['00001200,FALSCH', 'check converted', 1],
    ['00001200,Room 3', '', 1],
  ];
  for (const [row, expected, sent] of table) {
    const { problems, sending } = check(`UNIT.SERIAL,UNIT.ID\n${row}\n`, {}, zeros);
    const seen = problems.filter(({ code }) => /^(serial-zeros|cell-formula|converted)$/.test(code));
    assert.equal(seen.map(({ level, code }) => `${level} ${code}`).join(), expected, row);
    assert.equal(sending.length, sent, row);
  }
});

// A serial with a typing error would be sent to nobody, and nobody would notice.
test('unknown serials are left out unless wanted, values unlike all of the site get a warning', () => {
  const lines = ['S1,TX610,5,10.0.0.9,ON,TRUE,', 'S2,RX610,7,10.0.0.8,OFF,,17', 'S3,RX610,,,,,Room'];
  const mixed = readSite(
    ['UNIT.SERIAL,UNIT.MODEL,A.NUMBER,A.ADDRESS,A.SWITCH,A.FLAG,A.TEXT', ...lines].join('\r\n'),
  );
  const table = [
    ['A.NUMBER', '9', ''],
    ['A.NUMBER', '-9', 'number'],
    ['A.NUMBER', 'nine', 'number'],
    ['A.NUMBER', '9,5', 'number'],
    ['A.ADDRESS', '10', 'address'],
    ['A.SWITCH', 'off', ''],
    ['A.SWITCH', 'TRUE', 'on-off'],
    ['A.FLAG', '1', 'true-false'],
    ['A.TEXT', '-9', ''],
  ];
  for (const [key, value, expected] of table) {
    const { problems } = check(`UNIT.SERIAL,${key}\nS1,"${value}"\n`, {}, mixed);
    assert.equal(problems.find(({ code }) => code === 'shape')?.detail ?? '', expected, `${key} ${value}`);
  }
  const rows = 'UNIT.SERIAL,UNIT.ID\nS1,A\nS9,B\n';
  assert.deepEqual([check(rows).sending.length, check(rows, { unknownToo: true }).sending.length], [1, 2]);
});
