// CSV as the unit and as spreadsheets have it.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { headerLine, suggestedKey } from '../../console/src/logic/headers.js';
import { readSpreadsheet, writeSpreadsheet } from '../../console/src/logic/spreadsheet_csv.js';
import {
  ownLines,
  readAsUnit,
  readDiscovery,
  whyNotWritable,
  writeForUnit,
} from '../../console/src/logic/unit_csv.js';

const keys = ['UNIT.SERIAL', 'UNIT.MODEL', 'VW.NAME', 'UNIT.ID'];
const bytes = (text) => new TextEncoder().encode(text);
const textsOf = ({ rows }) => rows.map((row) => row.map(({ text }) => text).join('|'));

// Where this differs from the unit, the preflight shows values that units do not get.
test('a CSV is read as the unit reads it', () => {
  const long = 'x'.repeat(64);
  const table = [
    ['VW.NAME,UNIT.ID', '"x,y",A', { 'VW.NAME': 'x,y', 'UNIT.ID': 'A' }],
    ['VW.NAME,UNIT.ID', '"xy",A', { 'UNIT.ID': 'A' }], // quotes without a comma inside store nothing
    ['VW.NAME,UNIT.ID', '"a"b,c",A', { 'UNIT.ID': 'c"' }], // and end at the first comma
    ['VW.NAME,UNIT.ID', ',', { 'UNIT.ID': '' }], // the last column stores its key alone
    ['UNIT.ID,VW.NAME', 'A,"xy"', { 'VW.NAME': '"xy"', 'UNIT.ID': 'A' }], // without quote rules
    ['UNIT.ID,VW.NAME', 'A,"x,y"', { 'UNIT.ID': 'A' }], // what follows the comma belongs to no column
    ['VW.NAME,UNIT.ID', `${long},${long.slice(1)}`, { 'UNIT.ID': long.slice(1) }],
    ['VW.NAME,UNKNOWN,UNIT.ID', 'Room,gone,A', { 'VW.NAME': 'Room', 'UNIT.ID': 'A' }], // no cell shifts
    ['"VW.NAME",UNIT.ID', 'Room,A', { 'UNIT.ID': 'A' }],
    ['vw.name,UNIT.REBOOT', 'Room,TRUE', { 'vw.name': 'Room', 'UNIT.REBOOT': 'TRUE' }],
    ['VW.NAME,VW.NAME', 'one,two', { 'VW.NAME': 'two' }],
    ['VW.NAME,VW.NAME', 'one,', { 'VW.NAME': 'one' }],
    ['VW.NAME', '', { 'VW.NAME': '' }], // a line of nothing is a record
  ];
  for (const [header, line, values] of table) {
    const { records } = readAsUnit(`${header}\r\n${line}\r\n`, keys);
    assert.deepEqual([records.length, records[0].values], [1, values], `${header} / ${line}`);
  }
  assert.deepEqual(readAsUnit('', keys), { slots: [], records: [], unused: [] });
  const pushedOut = ['UNIT.REBOOT', 'UNKNOWN', ...keys].join(',');
  assert.deepEqual(readAsUnit(`${pushedOut},\r\n`, keys).unused, keys.slice(-1));
});

// People write titles above the header and call settings by names of their own.
test('a header is found below titles, and what people call a setting is understood', () => {
  const lines = [
    [
      ['UNIT.SERIAL', 'x'],
      ['S1', 'name'],
    ],
    [
      ['Site list', ''],
      ['', ''],
      ['Serial', 'Room'],
      ['S1', 'A'],
    ],
    [['Plan of UNIT.SERIAL'], ['SN', 'VW name'], ['S1', 'id']],
    [['a'], ['b']],
    [],
  ];
  assert.deepEqual(
    lines.map((rows) => headerLine(rows, keys)),
    [0, 2, 1, 0, 0],
  );
  const all = [...keys, 'IP.ADDRESS', 'IP.STATIC_ADDRESS', 'IP.NETMASK', 'IP.STATIC_NETMASK', 'BT.NAME'];
  const table = {
    Serial: 'UNIT.SERIAL',
    'serial no.': 'UNIT.SERIAL',
    unit_serial: 'UNIT.SERIAL',
    Netmask: 'IP.STATIC_NETMASK',
    'Static address': 'IP.STATIC_ADDRESS',
    Model: 'UNIT.MODEL',
    Name: '', // VW.NAME or BT.NAME
    Colour: '',
    '': '',
  };
  for (const [header, key] of Object.entries(table)) assert.equal(suggestedKey(header, all), key, header);
});

// A value that the unit would read in another way must be refused, not sent.
test('what is written for the unit is read back', () => {
  for (const value of ['plain', 'a,b', 'say "x"', ' blanks ', '', ',', "'", '=1+1', 'Küche']) {
    assert.equal(whyNotWritable(value), null);
    const { records } = readAsUnit(writeForUnit(['VW.NAME', 'UNIT.MODEL'], [[value, 'RX610']]), keys);
    assert.equal(records[0].values['VW.NAME'] ?? '', value);
    assert.ok(records[0].kind.decoder);
  }
  assert.ok(!readAsUnit('VW.NAME,UNIT.MODEL\r\nA,RX610\r\n', keys).records[0].kind.decoder); // in the last column
  const unfit = {
    '"x"': 'quote',
    'a"b,c': 'quote',
    'a&b': 'ampersand',
    'a\nb': 'control',
    'a\ufffd': 'unreadable',
  };
  for (const [value, why] of Object.entries(unfit)) assert.equal(whyNotWritable(value), why, value);
  assert.equal(whyNotWritable('ü'.repeat(32)), 'too-long');
});

// Separators, encodings and quotes depend on the program and its language.
test('spreadsheets are read whatever they write', () => {
  const table = [
    [bytes('a,b\n1,2'), ['a|b', '1|2'], []],
    [bytes('\ufeffa;b\r\n"1;2";"say ""x"""\r\n'), ['a|b', '1;2|say "x"'], ['bom', 'separator']],
    [bytes('sep=;\r\na;b,c\r\n'), ['a|b,c'], ['separator']],
    [bytes('Site list\n\na;b;c,d\n'), ['Site list', '', 'a|b|c,d'], ['separator']],
    [bytes('a\tb\r1\t2\r'), ['a|b', '1|2'], ['separator']],
    [bytes('a,b\n"x\ny",\n'), ['a|b', 'x\ny|'], [['quote-lines', 2]]],
    [bytes("a\n'=1+1\n'plain'\n"), ['a', '=1+1', "'plain'"], ['guard']],
    [Uint8Array.of(0x61, 0x0a, 0xfc), ['a', 'ü'], ['encoding']],
    [Uint8Array.of(0xff, 0xfe, 0x61, 0, 0x2c, 0, 0x62, 0), ['a|b'], ['utf-16']],
    [Uint8Array.of(0xfe, 0xff, 0, 0x61), ['a'], ['utf-16']],
    [Uint8Array.of(0x61, 0, 1), [], ['binary']],
  ];
  for (const [content, rows, notes] of table) {
    const read = readSpreadsheet(content);
    assert.deepEqual([textsOf(read), read.notes], [rows, notes]);
  }
});

// A quote inside a value of the unit, read as a spreadsheet’s, would swallow the lines after it.
test('lines of the unit itself are read by its own rules', () => {
  const lines = ['A,B,C', '"x, y",,', '"q",b,"1,2"', '"5 inch,b,', "'-x,b,"].join('\r\n');
  const rows = ['x, y||', '"q"|b|1,2', '"5 inch|b|', "'-x|b|"];
  assert.deepEqual(
    readDiscovery(lines).rows.map((row) => row.join('|')),
    rows,
  );
  const edited = readSpreadsheet(bytes(`${lines}\r\n"7 inch,b\r\n`), ownLines(`${lines}\r\n`));
  assert.deepEqual(textsOf(edited).slice(1, 5), rows);
  assert.deepEqual(edited.notes, [['quote-open', 6]]);
});

// An id that begins with “=” would be carried out by whoever opens the file.
test('a spreadsheet takes no cell for a formula', () => {
  const cells = ['=1+1', '-5', '+49 x', '@a', 'a"b', 'c,d', 'a;b', 'two\nlines', 'e'];
  const text = writeSpreadsheet([cells]);
  assert.equal(text, '\ufeff\'=1+1,-5,\'+49 x,\'@a,"a""b","c,d","a;b","two\nlines",e\r\n');
  assert.deepEqual(textsOf(readSpreadsheet(bytes(text))), [cells.join('|')]);
});
