// The site at a glance, and what those pages put into a draft.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { draftedValues, withSettings } from '../../console/src/logic/draft.js';
import { firmwareByModel } from '../../console/src/logic/firmware.js';
import { settingsOfPreset, templateOf } from '../../console/src/logic/presets.js';
import { nameOf, readSite } from '../../console/src/logic/site.js';
import { compareValues, wayBack } from '../../console/src/logic/snapshots.js';
import { hostOf, listByEncoder, readStreams } from '../../console/src/logic/streams.js';
import { findUnit, settingsByGroup } from '../../console/src/logic/unit_details.js';
import { visible } from '../../console/src/logic/visible.js';

const header = 'IP.ADDRESS,UNIT.ID,UNIT.MODEL,UNIT.SERIAL,STREAM.RTP_ADDRESS,STREAM.HOST';
const siteOf = (...lines) => readSite([header, ...lines].join('\r\n'));

const site = siteOf(
  '10.0.0.1,ENC-10,TX610,E10,239.0.0.10,',
  '10.0.0.2,ENC-2,TX610,E2,239.0.0.2,',
  '10.0.0.3,ENC-3,TX610,E3,239.0.0.3,',
  '10.0.0.4,ENC-4,TX610,E4,239.0.0.3,',
  '10.0.0.5,OTHER,NOSUCH,O5,239.0.0.5,239.0.0.2',
  '10.0.1.1,BY-STREAM,RX610,D1,,239.0.0.10',
  '10.0.1.2,BY-ADDRESS,RX610,D2,,10.0.0.3',
  '10.0.1.3,BY-OWN-STREAM,RX610,D3,239.0.0.10,',
  '10.0.1.4,NONE,RX610,D4,,',
  '10.0.1.5,ZERO,RX610,D5,,0.0.0.0',
  '10.0.1.6,UNKNOWN,RX610,D6,,239.0.0.5',
  '10.0.1.7,UNCLEAR,RX610,D7,,239.0.0.3',
);

// Where one of the two is missed, the matrix shows a decoder without its source.
test('a decoder’s source is found by address and by stream address', () => {
  const streams = readStreams(site);
  const listed = streams.decoders.map(({ name, state, source }) => `${name} ${state} ${source?.name ?? ''}`);
  assert.deepEqual(listed, [
    'BY-ADDRESS source ENC-3',
    'BY-OWN-STREAM source ENC-10',
    'BY-STREAM source ENC-10',
    'NONE none ',
    'UNCLEAR unclear ',
    'UNKNOWN unknown ',
    'ZERO none ',
  ]);
  const encoders = streams.encoders.map(({ name, shared }) => `${name}${shared ? ' shared' : ''}`);
  assert.deepEqual(encoders, ['ENC-2', 'ENC-3 shared', 'ENC-4 shared', 'ENC-10']);
  const list = listByEncoder(streams).map(({ encoder, decoder }) =>
    [encoder, decoder].map((one) => one?.name),
  );
  assert.deepEqual(
    list.map((names) => names.join(' < ')),
    [
      'ENC-2 < ',
      'ENC-3 < BY-ADDRESS',
      'ENC-4 < ',
      'ENC-10 < BY-OWN-STREAM',
      'ENC-10 < BY-STREAM',
      ' < NONE',
      ' < UNCLEAR',
      ' < UNKNOWN',
      ' < ZERO',
    ],
  );
});

// Decoders that are given units’ addresses must not get one stream address among them.
test('a new source is named as the site’s decoders name theirs', () => {
  const encoders = ['10.0.0.1,A,TX610,E1,239.0.0.1,', '10.0.0.2,B,TX610,E2,,'];
  const table = [
    [[], '239.0.0.1 10.0.0.2'], // no decoder has a host
    [['10.0.1.1,C,RX610,D1,,239.0.0.1'], '239.0.0.1 10.0.0.2'],
    [['10.0.1.1,C,RX610,D1,,10.0.0.1'], '10.0.0.1 10.0.0.2'],
  ];
  for (const [decoders, expected] of table) {
    const { encoders: known, byStream } = readStreams(siteOf(...encoders, ...decoders));
    assert.equal(known.map((encoder) => hostOf(encoder, byStream)).join(' '), expected, decoders.join());
  }
});

// A setting of another page must not overwrite other cells or give a unit a second row. Spreadsheets drop leading zeros.
test('settings go into the cells of a draft, whatever it has already', () => {
  const [unit] = siteOf('10.0.1.1,BY-STREAM,RX610,0D1,,239.0.0.10').units;
  const change = { unit, key: 'STREAM.HOST', value: '239.0.0.2' };
  const fromNothing = withSettings(null, [change]);
  assert.deepEqual(
    [fromNothing.columns, ...fromNothing.rows.map(({ cells }) => cells)].map((cells) => cells.join()),
    ['UNIT.SERIAL,UNIT.MODEL,UNIT.ID,STREAM.HOST', '0D1,RX610,BY-STREAM,239.0.0.2'],
  );
  const file = { name: 'x.csv', source: 'file', notes: [], columns: ['VW.NAME', ' unit.serial'] };
  const table = [
    [[[2, 'Room', '0d1 ']], ['Room,0d1 ,239.0.0.2'], [2], '0d1'],
    [[[2, 'Room', 'd1 ']], ['Room,d1 ,239.0.0.2'], [2], 'd1'],
    [[[5, 'Hall', 'D9']], ['Hall,D9', ',0D1,239.0.0.2'], [5, 6], '0d1'],
    [[[5]], ['', ',0D1,239.0.0.2'], [5, 6], '0d1'],
  ];
  for (const [rows, cells, numbers, serial] of table) {
    const draft = { ...file, rows: rows.map(([number, ...texts]) => ({ number, cells: texts })) };
    const after = withSettings(draft, [change]);
    const serials = after.rows.map((row) => row.cells.join());
    assert.deepEqual(after.columns, ['VW.NAME', ' unit.serial', 'STREAM.HOST']);
    assert.deepEqual([serials, after.rows.map(({ number }) => number)], [cells, numbers]);
    assert.equal(draftedValues(after, 'STREAM.HOST').get(serial), '239.0.0.2');
  }
});

// A name that turns text around could pass for the name of another unit.
test('characters that nobody sees are shown as their numbers, all others as they are', () => {
  const table = [
    ['R\u202eL', 'R⟨U+202E⟩L'],
    ['\ufeffa\u00adb\u200d', '⟨U+FEFF⟩a⟨U+00AD⟩b⟨U+200D⟩'],
    ['Küche, Зал 大 🎬', 'Küche, Зал 大 🎬'],
    [' two  blanks ', ' two  blanks '],
    ['', ''],
    [undefined, undefined],
    [null, undefined], // no value: a table says so itself
  ];
  for (const [text, shown] of table) assert.equal(visible(text), shown);
});

// A link to a unit must also work for a unit that reports no serial.
test('a unit is found by its serial, or by its name, and its settings are grouped', () => {
  const keys = 'UNIT.ID,UNIT.SERIAL,STREAM.10,IP.ADDRESS,STREAM.9,VW.NAME';
  const { units, ...rest } = readSite(
    [keys, 'A,S1,ten,10.0.0.1,nine,', 'B,,,10.0.0.2,,', 'S1,,,,,'].join('\r\n'),
  );
  const found = (key) => findUnit({ ...rest, units }, key)?.number ?? null;
  assert.deepEqual(['S1', 'B', '10.0.0.2', ''].map(found), [1, 2, null, null]);
  const listed = settingsByGroup(units[0]).map(([group, settings]) => `${group}: ${settings.join(' ')}`);
  assert.deepEqual(listed, [
    'IP: IP.ADDRESS,10.0.0.1',
    'STREAM: STREAM.9,nine STREAM.10,ten',
    'UNIT: UNIT.ID,A UNIT.SERIAL,S1',
  ]);
});

// A value that slipped into another column must not pass for a setting.
test('lines that cannot be read for certain are counted and marked', () => {
  const table = [
    // a line, units, units marked, lines of units that are hidden
    ['10.0.0.9,X,TX610,X9,239.0.0.9,', 2, 0, 0],
    ['10.0.0.9,X,TX610,X9', 2, 1, 0],
    ['10.0.0.9,X,TX610,X9,239.0.0.9,,more', 2, 1, 0],
    [',,,,,', 1, 0, 1],
    [',', 1, 0, 1],
    ['10.0.0.9,X,"TX6,10",X9,239.0.0.9,', 2, 0, 0],
  ];
  for (const [line, ...expected] of table) {
    const { units, hidden } = siteOf('10.0.0.1,A,TX610,A1,239.0.0.1,', line);
    const marked = units.filter(({ marks }) => marks.includes('fields')).length;
    assert.deepEqual([units.length, marked, hidden], expected, line);
  }
});

// Whoever looks for units with old firmware looks at the top of the list.
test('firmware is listed by model, the oldest version first', () => {
  const lines = ['A,TX610,3.10.0', 'B,TX610,3.9.1', 'D,RX610,3.9.1', 'C,TX610,3.9.1', 'E,TX610,'];
  const listed = firmwareByModel(readSite(['UNIT.ID,UNIT.MODEL,UNIT.FIRMWARE', ...lines].join('\r\n')));
  const texts = listed.flatMap(({ model, versions }) =>
    versions.map(({ version, units, older }) => `${model} ${version} ${units.map(nameOf)} ${older}`),
  );
  const expected = ['RX610 3.9.1 D false', 'TX610  E false', 'TX610 3.9.1 B,C true', 'TX610 3.10.0 A false'];
  assert.deepEqual(texts, expected);
});

// A setting that is missing in it stays changed after a restore. A unit with another id or address is the same unit.
test('the way back has the old value of every setting that a unit takes', () => {
  const lines = ['IP.ADDRESS,UNIT.MODEL,UNIT.SERIAL,UNIT.FIRMWARE,VW.NAME,STREAM.BIT_RATE,UNIT.ID'];
  const then = readSite(
    [...lines, '10.0.0.1,RX610,S1,1.0,Hall,100,A', '10.0.0.2,RX610,,1.0,Hall,,B'].join('\r\n'),
  );
  const now = readSite(
    [...lines, '10.0.0.9,RX610,S1,2.0,Room,200,', '10.0.0.2,RX610,,1.0,Room,,B'].join('\r\n'),
  );
  const { changes } = compareValues(then, now);
  const units = changes.map(({ unit }) => nameOf(unit));
  assert.deepEqual(units, [...Array(5).fill('10.0.0.9'), 'B']); // ordered by their names
  const { settings, lost } = wayBack(changes);
  assert.deepEqual(
    [settings.map(({ key, value }) => `${key} ${value}`), lost],
    [['VW.NAME Hall', 'UNIT.ID A'], 0],
  );
  assert.equal(wayBack(compareValues(now, then).changes).lost, 1); // there was no id
});

// A preset for decoders must not reach encoders.
test('presets and templates are made for what units take', () => {
  const units = site.units.slice(0, 6); // five that encode or are unknown, one that decodes
  const count = (preset) => settingsOfPreset(units, { value: '1', ...preset }).length;
  assert.equal(count({ kind: 'all', key: 'UNIT.ID' }), 6);
  assert.equal(count({ kind: 'decoders', key: 'AUDIO.MUTE' }), 1);
  assert.equal(count({ kind: 'all', key: 'AUDIO.MUTE' }), 1); // encoders would hold it back
  assert.equal(count({ kind: 'encoders', key: 'AUDIO.MUTE' }), 0);
  assert.deepEqual(templateOf(units.slice(5), ['UNIT.ID', 'IP.ADDRESS', 'VW.NAME', 'STREAM.HOST']), [
    ['UNIT.SERIAL', 'UNIT.MODEL', 'UNIT.ID', 'VW.NAME', 'STREAM.HOST'],
    ['D1', 'RX610', 'BY-STREAM', '', ''],
  ]);
});
