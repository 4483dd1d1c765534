// What a mass update would do, told before it is done.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import * as catalogue from '../../console/src/logic/catalogue.js';
import { fateOfSetting, kindOfModel } from '../../console/src/logic/class_rules.js';
import { gatherProblems, preflight } from '../../console/src/logic/preflight.js';
import { compareSites, memoryOf, readSite } from '../../console/src/logic/site.js';
import { readSpreadsheet } from '../../console/src/logic/spreadsheet_csv.js';

const site = readSite(
  [
    'IP.ADDRESS,UNIT.ID,UNIT.MODEL,UNIT.SERIAL,IP.STATIC_ADDRESS,STREAM.BIT_RATE,VW.NAME,AUDIO.DAC_MUTE,UNIT.FIRMWARE,IP.STATIC_NETMASK',
    '10.0.0.1,ENC-1,TX610,S1,10.0.0.1,100,,,3.4,',
    '10.0.0.2,DEC-2,RX610,S2,10.0.0.2,,"Room 2, left",,3.4,',
    '10.0.0.3,WALL-3,KestT-PL,S3,10.0.0.3,200,,FALSE,3.4,',
    '',
  ].join('\r\n'),
);

function check(text, options) {
  const {
    rows: [header = [], ...rows],
    notes,
  } = readSpreadsheet(new TextEncoder().encode(text));
  return preflight(
    {
      columns: header.map((cell) => cell.text),
      rows: rows.map((cells, at) => ({
        number: at + 2,
        cells: cells.map((cell) => cell.text),
        quoted: cells.map((cell) => cell.quoted),
      })),
      notes,
    },
    site,
    options,
  );
}

const told = ({ problems }) =>
  problems.map(({ level, code, column, rows }) => [level, code, column, rows.join()].join(' ').trim());

test('the catalogue is the program’s', () => {
  const listsOf = (file) => {
    const source = readFileSync(new URL(`../../src/discovery/${file}.cpp`, import.meta.url), 'utf8');
    const lists = source.matchAll(/constexpr auto (\w+) = std::to_array<std::string_view>\(\{(.*?)\}\)/gs);
    return Object.fromEntries(
      [...lists].map(([, name, body]) => [name, [...body.matchAll(/"([^"]+)"/g)].map(([, word]) => word)]),
    );
  };
  const program = { ...listsOf('key_catalogue'), ...listsOf('model_catalogue') };
  const camel = (name) => name.replace(/_(.)/g, (_, letter) => letter.toUpperCase());
  const known = [...Object.keys(catalogue).filter((name) => name !== 'sentAs'), 'secondGenKeys'];
  assert.deepEqual(Object.keys(program).map(camel).sort(), known.sort());
  for (const [name, words] of Object.entries(program)) {
    if (name !== 'second_gen_keys') assert.deepEqual(catalogue[camel(name)], words, name); // nobody asks for those
  }
});

test('classes decide what a unit is sent', () => {
  const table = [
    ['STREAM.BIT_RATE', 'TX610', 'STREAM.BIT_RATE'],
    ['STREAM.BIT_RATE', 'RX610', 'encoder'],
    ['VW.NAME', 'rx610', 'VW.NAME'],
    ['VW.NAME', 'TX610', 'decoder'],
    ['VW.NAME', '', 'model'],
    ['UNIT.ID', '', 'UNIT.SET_ID'],
    ['IP.STATIC_ADDRESS', '', 'IP.ADDRESS'],
    ['IP.ADDRESS', 'TX610', 'status'],
    ['AUDIO.DAC_MUTE', 'TX610', 'extended'],
    ['AUDIO.DAC_MUTE', 'T-PL', 'AUDIO.DAC_MUTE'],
    ['AUDIO.DAC_MUTE', 'KestR-2', 'AUDIO.DAC_MUTE'],
    ['OTHER.KEY', 'TX610', 'OTHER.KEY'],
    ['VW.ACTIVE', 'RX610', 'excluded'],
  ];
  for (const [key, model, expected] of table) {
    const { sent, held } = fateOfSetting(key, kindOfModel(model));
    assert.equal(sent ?? held, expected, `${key} ${model}`);
  }
});

test('only what changes is sent, and can be taken back', () => {
  const plan = check(
    'UNIT.SERIAL,UNIT.ID,VW.NAME,STREAM.BIT_RATE\nS1,ENC-1,,150\nS2,NEW-2,"Room 2, left",\nS3,WALL-3,,200\n',
  );
  assert.equal(
    plan.text,
    'UNIT.SERIAL,UNIT.MODEL,UNIT.ID,STREAM.BIT_RATE,\r\nS1,TX610,,150,\r\nS2,RX610,NEW-2,,\r\n',
  );
  assert.equal(
    plan.undo,
    'UNIT.SERIAL,UNIT.MODEL,UNIT.ID,STREAM.BIT_RATE,\r\nS1,TX610,,100,\r\nS2,RX610,DEC-2,,\r\n',
  );
  assert.deepEqual([plan.settings, plan.unchanged, plan.lost], [2, 1, 0]);
  assert.deepEqual(told(plan), ['fixed model-filled UNIT.MODEL 2,3,4']);
  const whole = check('UNIT.SERIAL,UNIT.ID,VW.NAME\nS2,NEW-2,"Room 2, left"\n', { onlyChanges: false });
  assert.equal(whole.text, 'UNIT.SERIAL,UNIT.MODEL,UNIT.ID,VW.NAME,\r\nS2,RX610,NEW-2,"Room 2, left",\r\n');
  const inFront = check('UNIT.REBOOT,VW.ACTIVE,UNIT.ID,UNIT.SERIAL\nTRUE,1,NEW-2,S2\n');
  assert.equal(inFront.text, 'UNIT.SERIAL,UNIT.MODEL,UNIT.ID,\r\nS2,RX610,NEW-2,\r\n'); // they would push settings out
});

test('every problem is told at once', () => {
  const long = 'x'.repeat(64);
  const serial = (rest, row) => `UNIT.SERIAL,UNIT.MODEL,${rest}\n${row}\n`;
  const table = [
    ['\ufeffUNIT.SERIAL;UNIT.MODEL;UNIT.ID\nS1;TX610;A\n', 'fixed bom', 'fixed separator'],
    [
      serial('UNIT.ID,NO.SUCH,UNIT.REBOOT', 'S1,TX610,A,1,TRUE'),
      'out column-unknown NO.SUCH 1',
      'out column-excluded UNIT.REBOOT 1',
    ],
    [serial('unit.id', 'S1,TX610,A'), 'fixed column-spelling unit.id 1'],
    [serial('UNIT.ID,UNIT.ID', 'S1,TX610,A,B'), 'stop column-twice UNIT.ID 1'],
    [
      'UNIT.ID\nA\n',
      'stop no-serial-column UNIT.SERIAL 1',
      'stop nothing-to-send',
      'out serial-blank UNIT.SERIAL 2',
    ],
    [
      serial('UNIT.ID', 'S1,TX610,A\n,,\n,TX610,B\nS9,TX610,C'),
      'out serial-blank UNIT.SERIAL 4',
      'check unit-unknown UNIT.SERIAL 5',
      'fixed row-blank  3',
    ],
    [
      serial('UNIT.ID', 'S1,TX610,A\nALL,TX610,B'),
      'out serial-all UNIT.SERIAL 3',
      'check unit-unknown UNIT.SERIAL 3',
    ],
    [serial('UNIT.ID', 's1,TX610,A'), 'fixed serial-spelling UNIT.SERIAL 2'],
    [serial('UNIT.ID', 'S1,RX610,A'), 'check model-differs UNIT.MODEL 2'],
    [serial('UNIT.ID,STREAM.BIT_RATE', `S1,TX610,${long},50`), 'out cell-too-long UNIT.ID 2'],
    [serial('UNIT.ID,STREAM.BIT_RATE', 'S1,TX610,A&REBOOT=TRUE,50'), 'out cell-ampersand UNIT.ID 2'],
    [
      serial('UNIT.ID,STREAM.BIT_RATE', 'S1,TX610,"A""B, C",50'),
      'out cell-quote UNIT.ID 2',
      'fixed quoting UNIT.ID 2',
    ],
    [serial('IP.STATIC_ADDRESS,UNIT.ID', 'S1,TX610,10.0.0.256,A'), 'out cell-address IP.STATIC_ADDRESS 2'],
    [
      serial(
        'IP.STATIC_ADDRESS,IP.STATIC_NETMASK,UNIT.ID',
        'S1,TX610,010.0.0.7,1.2.3.4,  \nS2,RX610,0.0.0.0,255.254.0.0,"B "',
      ),
      'out cell-address IP.STATIC_ADDRESS 2',
      'out cell-netmask IP.STATIC_NETMASK 2',
      'out cell-blanks UNIT.ID 2',
      'out cell-host IP.STATIC_ADDRESS 3',
      'check id-edges UNIT.ID 3',
      'fixed quoting UNIT.ID 3',
    ],
    [serial('UNIT.ID', 'S1,TX610,"A"\nS2,RX610,"B"'), 'fixed quoting UNIT.ID 2,3'],
    [serial('UNIT.ID', 'S1,TX610,A,more'), 'out too-many-cells  2'],
    [
      serial('UNIT.ID,VW.NAME,IP.ADDRESS', 'S1,TX610,A,Wall,10.9.9.9'),
      'held held-decoder VW.NAME 2',
      'held held-status IP.ADDRESS 2',
    ],
    [
      serial('UNIT.ID', 'S1,TX610,A\nS2,RX610,a'),
      'stop nothing-to-send',
      'out twice-id UNIT.ID 2',
      'out twice-id UNIT.ID 3',
    ],
    [serial('UNIT.ID', 'S1,TX610,A\nS1,TX610,B\nS3,KestT-PL,C'), 'out twice-serial UNIT.SERIAL 2,3'],
    [serial('UNIT.ID', 'S1,TX610,DEC-2'), 'check id-taken UNIT.ID 2'],
    [
      serial('IP.STATIC_ADDRESS', 'S1,TX610,10.0.0.9\nS2,RX610,10.0.0.9\nS3,KestT-PL,10.0.0.8'),
      'out address-taken IP.STATIC_ADDRESS 2,3',
    ],
    [
      serial('IP.STATIC_ADDRESS', 'S1,TX610,10.0.0.3'),
      'stop nothing-to-send',
      'out address-taken IP.STATIC_ADDRESS 2',
    ],
    [
      serial('IP.STATIC_ADDRESS', 'S1,TX610,10.0.0.2\nS2,RX610,10.0.0.3'), // the row left out leaves another one out
      'stop nothing-to-send',
      'out address-taken IP.STATIC_ADDRESS 3',
      'out address-taken IP.STATIC_ADDRESS 2',
    ],
    [
      serial('IP.ADDRESS,UNIT.ID', 'S1,TX610,10.0.0.1,A\nS2,RX610,10.0.0.1,B'),
      'held held-status IP.ADDRESS 3',
      'fixed address-shared IP.ADDRESS 2,3',
    ],
    [serial('IP.STATIC_ADDRESS', 'S1,TX610,10.0.0.2\nS2,RX610,10.0.0.1')], // two units may change places
  ];
  for (const [text, ...problems] of table) assert.deepEqual(told(check(text)), problems, text);
  assert.deepEqual(told(check(serial('UNIT.ID', 'S1,TX610,A\nS2,RX610,B'), { ownSerial: 's1' })), [
    'out row-self  2',
  ]);
});

test('very many problems are told by kind, none is left away', () => {
  const lines = ['S1,TX610,A', 'S2,RX610,a', 'S3,KestT-PL,B', 'S3,KestT-PL,C'];
  const { problems } = check(`UNIT.SERIAL,UNIT.MODEL,UNIT.ID\n${lines.join('\n')}\n`);
  const kinds = (most) =>
    gatherProblems(problems, most).map(({ code, rows, detail }) => [code, rows.join(), detail]);
  assert.deepEqual(kinds(3), [
    ['nothing-to-send', '', ''],
    ['twice-id', '2,3', 'A, a'],
    ['twice-serial', '4,5', 'S3'],
  ]);
  assert.equal(kinds(9).length, 4);
});

test('a faulty cell stays behind, the rest of its row is sent', () => {
  const plan = check('UNIT.SERIAL,UNIT.MODEL,UNIT.ID,STREAM.BIT_RATE\nS1,TX610,A&B=C,50\n');
  assert.equal(plan.text, 'UNIT.SERIAL,UNIT.MODEL,STREAM.BIT_RATE,\r\nS1,TX610,50,\r\n');
  assert.deepEqual(plan.rows[0].cells['UNIT.ID'], {
    state: 'fault',
    old: 'ENC-1',
    value: 'A&B=C',
    reason: 'ampersand',
  });
});

test('a message that would not fit is not sent', () => {
  const keys = Array.from({ length: 27 }, (_, at) => `A.KEY_NUMBER_${at}`);
  const large = { ...site, keys: [...site.keys, ...keys] };
  const row = (length) => ({
    number: 2,
    cells: ['S1', 'TX610', ...keys.map((_, at) => 'v'.repeat(at === 0 ? length : 58))],
  });
  const lengthOf = (length) =>
    preflight({ columns: ['UNIT.SERIAL', 'UNIT.MODEL', ...keys], rows: [row(length)] }, large);
  const fixed =
    'CMD=START&UNIT.ID=S1&CMD=END'.length + keys.reduce((sum, key) => sum + key.length + 2, 0) + 26 * 58;
  const most = 2047 - fixed;
  assert.ok(most > 0 && most < 63, `${most}`);
  assert.equal(lengthOf(most).sending.length, 1);
  assert.deepEqual(told(lengthOf(most + 1)), ['stop nothing-to-send', 'out message-too-long  2']);
});

test('a site tells conflicts, hidden units and what changed', () => {
  const now = readSite(
    'IP.ADDRESS,UNIT.ID,UNIT.MODEL,UNIT.SERIAL\r\n10.0.0.1,A,TX610,S1\r\n10.0.0.2,a,RX610,S2\r\n10.0.0.5,C,T-PL,s1\r\nx\r\n,,,\r\n',
  );
  assert.deepEqual(
    now.units.map((unit) => unit.marks.join()),
    ['id,serial', 'id', 'serial', 'fields'],
  );
  assert.deepEqual([now.hidden, now.encoders, now.decoders], [1, 2, 1]);
  assert.deepEqual(compareSites(memoryOf(site), memoryOf(now)), {
    difference: 2,
    missing: ['WALL-3'],
    appeared: ['C', 'x'],
  });
});
