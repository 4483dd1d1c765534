// CSV as the unit and as spreadsheets have it.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { readSpreadsheet, writeSpreadsheet } from '../../console/src/logic/spreadsheet_csv.js';
import {
  ownLines,
  readAsUnit,
  readDiscovery,
  whyNotWritable,
  writeForUnit,
} from '../../console/src/logic/unit_csv.js';

const keys = ['UNIT.SERIAL', 'UNIT.MODEL', 'VW.NAME', 'UNIT.ID'];

test('a CSV is read as the unit reads it', () => {
  const long = 'x'.repeat(64);
  const name = (value) => ({ 'VW.NAME': value });
  const table = [
    ['VW.NAME,UNIT.ID', 'Room 1,A', { ...name('Room 1'), 'UNIT.ID': 'A' }],
    ['VW.NAME,UNIT.ID', '"x,y",A', { ...name('x,y'), 'UNIT.ID': 'A' }],
    ['VW.NAME,UNIT.ID', '"xy",A', { 'UNIT.ID': 'A' }], // quotes without a comma inside store nothing
    ['VW.NAME,UNIT.ID', '"a"b,c",A', { 'UNIT.ID': 'c"' }], // and end at the first comma
    ['VW.NAME,UNIT.ID', 'say "x",A', { ...name('say "x"'), 'UNIT.ID': 'A' }],
    ['VW.NAME,UNIT.ID', ',A', { 'UNIT.ID': 'A' }],
    ['VW.NAME,UNIT.ID', 'Room,', { ...name('Room'), 'UNIT.ID': '' }], // the last column stores its key alone
    ['UNIT.ID,VW.NAME', 'A,"xy"', { ...name('"xy"'), 'UNIT.ID': 'A' }], // without quote rules
    ['UNIT.ID,VW.NAME', 'A,"x,y"', { 'UNIT.ID': 'A' }], // what follows the comma belongs to no column
    ['VW.NAME,UNIT.ID', `${long},A`, { 'UNIT.ID': 'A' }],
    ['VW.NAME,UNIT.ID', `${long.slice(1)},A`, { ...name(long.slice(1)), 'UNIT.ID': 'A' }],
    ['VW.NAME,UNKNOWN,UNIT.ID', 'Room,gone,A', { ...name('Room'), 'UNIT.ID': 'A' }], // no cell shifts
    ['"VW.NAME",UNIT.ID', 'Room,A', { 'UNIT.ID': 'A' }],
    ['vw.name,UNIT.REBOOT', 'Room,TRUE', { 'vw.name': 'Room', 'UNIT.REBOOT': 'TRUE' }],
    ['VW.NAME,VW.NAME', 'one,two', name('two')],
    ['VW.NAME,VW.NAME', 'one,', name('one')],
    ['VW.NAME', '', { 'VW.NAME': '' }], // a line of nothing is a record
  ];
  for (const [header, line, values] of table) {
    const { records } = readAsUnit(`${header}\r\n${line}\r\n`, keys);
    assert.deepEqual(
      records.map((record) => record.values),
      [values],
      `${header} / ${line}`,
    );
  }
  assert.deepEqual(readAsUnit('', keys), { slots: [], records: [], unused: [] });
  const pushedOut = ['UNIT.REBOOT', 'UNKNOWN', ...keys].join(',');
  assert.deepEqual(readAsUnit(`${pushedOut},\r\n`, keys).unused, keys.slice(-1));
});

test('a model counts in every column but the last', () => {
  const kindOf = (text) => readAsUnit(text, keys).records[0].kind;
  assert.deepEqual(kindOf('UNIT.MODEL,UNIT.ID\r\nkestr-2,A\r\n'), {
    decoder: true,
    encoder: false,
    extended: true,
  });
  assert.deepEqual(kindOf('UNIT.ID,UNIT.MODEL\r\nA,KestR-2\r\n'), {
    decoder: false,
    encoder: false,
    extended: false,
  });
});

test('what is written for the unit is read back', () => {
  const values = ['plain', 'a,b', 'say "x"', ' blanks ', '', ',', "'", '=1+1', 'Küche'];
  for (const value of values) {
    assert.equal(whyNotWritable(value), null);
    const { records } = readAsUnit(writeForUnit(['UNIT.MODEL', 'VW.NAME'], [['RX610', value]]), keys);
    assert.equal(records[0].values['VW.NAME'] ?? '', value);
    assert.ok(records[0].kind.decoder);
  }
  const unfit = [
    ['"x"', 'quote'],
    ['a"b,c', 'quote'],
    ['a&b', 'ampersand'],
    ['a\nb', 'control'],
    ['a\ufffd', 'unreadable'],
    ['ü'.repeat(32), 'too-long'],
  ];
  for (const [value, why] of unfit) assert.equal(whyNotWritable(value), why, value);
});

test('a discovery is read as the unit wrote it', () => {
  const lines = [
    ['a,b,c', ['a', 'b', 'c']],
    ['"x, y",,', ['x, y', '', '']],
    ['"q",b,"1,2"', ['"q"', 'b', '1,2']],
    [',,', ['', '', '']],
  ];
  const { keys: header, rows } = readDiscovery(`A,B,C\r\n${lines.map(([line]) => line).join('\r\n')}\r\n`);
  assert.deepEqual(header, ['A', 'B', 'C']);
  assert.deepEqual(
    rows,
    lines.map(([, fields]) => fields),
  );
});

test('spreadsheets are read whatever they write', () => {
  const bytes = (text) => new TextEncoder().encode(text);
  const table = [
    [
      bytes('a,b\n1,2'),
      [
        ['a', 'b'],
        ['1', '2'],
      ],
      [],
    ],
    [
      bytes('\ufeffa;b\r\n"1;2";"say ""x"""\r\n'),
      [
        ['a', 'b'],
        ['1;2', 'say "x"'],
      ],
      ['bom', 'separator'],
    ],
    [bytes('sep=;\r\na;b,c\r\n'), [['a', 'b,c']], ['separator']],
    [
      bytes('a\tb\r1\t2\r'),
      [
        ['a', 'b'],
        ['1', '2'],
      ],
      ['separator'],
    ],
    [
      bytes('a,b\n"x\ny",\n'),
      [
        ['a', 'b'],
        ['x\ny', ''],
      ],
      [['quote-lines', 2]],
    ],
    [bytes("a\n'=1+1\n'plain'\n"), [['a'], ['=1+1'], ["'plain'"]], ['guard']],
    [bytes('a\n"open,b\nc'), [['a'], ['open,b\nc']], [['quote-open', 2]]],
    [Uint8Array.of(0x61, 0x0a, 0xfc), [['a'], ['ü']], ['encoding']],
    [Uint8Array.of(0xff, 0xfe, 0x61, 0, 0x2c, 0, 0x62, 0), [['a', 'b']], ['utf-16']],
    [Uint8Array.of(0x61, 0, 1), [], ['binary']],
    [bytes(''), [], []],
  ];
  for (const [content, rows, notes] of table) {
    const read = readSpreadsheet(content);
    assert.deepEqual(
      read.rows.map((row) => row.map((cell) => cell.text)),
      rows,
    );
    assert.deepEqual(read.notes, notes);
  }
});

test('lines of the unit itself are read by its own rules', () => {
  const lines = ['A,B', '"q",b', '"5 inch,b', "'-x,b", 'x,"1,2"', ''];
  const edited = '"7 inch,b';
  const read = (text) => readSpreadsheet(new TextEncoder().encode(text), ownLines(lines.join('\r\n')));
  const { rows, notes } = read([...lines.slice(0, -1), edited, ''].join('\r\n'));
  const cells = rows.map((row) => row.map(({ text }) => text));
  assert.deepEqual(cells.slice(1, 5), [
    ['"q"', 'b'],
    ['"5 inch', 'b'],
    ["'-x", 'b'],
    ['x', '1,2'],
  ]);
  assert.deepEqual(notes, [['quote-open', 6]]);
});

test('a spreadsheet takes no cell for a formula', () => {
  assert.equal(
    writeSpreadsheet([['=1+1', '-5', '+49 x', '@a', 'a"b', 'c,d', 'e']]),
    '\ufeff\'=1+1,-5,\'+49 x,\'@a,"a""b","c,d",e\r\n',
  );
  const cells = ['=cmd', '-5', '"', 'a;b', 'two\nlines'];
  const { rows } = readSpreadsheet(new TextEncoder().encode(writeSpreadsheet([cells])));
  assert.deepEqual(
    rows[0].map((cell) => cell.text),
    cells,
  );
});
