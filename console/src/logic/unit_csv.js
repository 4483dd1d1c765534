// CSV as the unit writes and reads it, which is not as spreadsheets do: only a value with a comma has quotes,
// nothing is ever doubled, and what ends a line has rules of its own.

import { acceptedKey, isLongerThan, kindOfModel, longestText, mostColumns, same } from './class_rules.js';

const quote = '"';

// Lines without their ends; what follows the last line feed is a line when it is not empty.
function linesOf(text) {
  const lines = text.split('\n').map((line) => line.replace(/\r$/, ''));
  if (lines.at(-1) === '') lines.pop();
  return lines;
}

// Takes apart one line of a discovery. Quotes enclose a field when a comma is inside; any other is part of the value.
function discoveryFields(line) {
  const fields = [];
  let at = 0;
  do {
    const enclosed = line[at] === quote ? /^"([^"]*,.*?)"(?=,|$)/.exec(line.slice(at)) : null;
    const comma = line.indexOf(',', at);
    const length = enclosed ? enclosed[0].length : (comma < 0 ? line.length : comma) - at;
    fields.push(enclosed ? enclosed[1] : line.slice(at, at + length));
    at += length + 1;
  } while (at <= line.length);
  return fields;
}

// Reads what a discovery wrote. Returns {keys, rows}; each row is a list of values, as long as the line has fields.
export function readDiscovery(text) {
  const [header, ...lines] = linesOf(text);
  return { keys: header ? header.split(',') : [], rows: lines.map(discoveryFields) };
}

export const firstRow = 2; // the number of the first data line, as a spreadsheet counts

// Reads what writeForUnit wrote into a draft, as preflight.js has it. IP.ADDRESS is no setting, and the unit may have
// another one now.
export function draftOf(text) {
  const { keys, rows } = readDiscovery(text);
  const kept = [...keys.keys()].filter((at) => keys[at] !== '' && keys[at] !== 'IP.ADDRESS');
  return {
    columns: kept.map((at) => keys[at]),
    rows: rows.map((cells, at) => ({ number: at + firstRow, cells: kept.map((column) => cells[column]) })),
    notes: [],
  };
}

// Returns the fields of each line that a spreadsheet would read in another way, by the line.
export const ownLines = (text) =>
  new Map(
    linesOf(text)
      .filter((line) => /["']/.test(line))
      .map((line) => [line, discoveryFields(line)]),
  );

// Takes the field at the start of `rest`, which has a comma. Returns [value, what follows the field's comma].
function takeField(rest) {
  const comma = rest.indexOf(',');
  if (rest[0] !== quote) return [rest.slice(0, comma), rest.slice(comma + 1)];
  const closing = rest.indexOf(quote, 1);
  if (closing > comma && rest[closing + 1] === ',') return [rest.slice(1, closing), rest.slice(closing + 2)];
  return ['', rest.slice(comma + 1)];
}

// Stores a cell as the unit does: the first column of a name takes the values of all columns of that name; an empty or
// overlong value changes nothing.
function store(record, key, value) {
  if (!key || isLongerThan(value, longestText)) return;
  record.values[key] = value || (record.values[key] ?? '');
}

function readRecord(line, slots) {
  const record = { values: {}, kind: kindOfModel('') };
  let rest = line;
  let column = 0;
  for (; rest.includes(','); ++column) {
    let value;
    [value, rest] = takeField(rest);
    if (value === '') continue;
    store(record, slots[column], value);
    if (slots[column] && same(slots[column], 'UNIT.MODEL')) record.kind = kindOfModel(value);
  }
  store(record, slots[column], rest); // the model of a unit counts in every column but this last one
  return record;
}

// Reads a CSV as a mass update does, for a unit whose settings are `keys`. Returns {slots, records, unused}: the key of
// each column, null for a refused one, for each data line its values by key and its kind, and the keys of columns that are
// stored but never sent, since the accepted ones in front of them are as many as the unit has settings.
export function readAsUnit(text, keys) {
  const [header, ...lines] = linesOf(text);
  const fields = header === undefined ? [] : header.split(',').slice(0, mostColumns);
  const slots = fields.map((field) => (acceptedKey(field, keys) === null ? null : field));
  const unused = slots.filter((key) => key !== null).slice(keys.length);
  return { slots, records: lines.map((line) => readRecord(line, slots)), unused };
}

// Returns why the unit cannot be given a value, or null when it can.
export function whyNotWritable(value) {
  if (isLongerThan(value, longestText)) return 'too-long';
  if (/[\u0000-\u001f\u007f]/.test(value)) return 'control';
  if (value.includes('\ufffd')) return 'unreadable'; // in the place of bytes that are no UTF-8
  if (value.includes('&')) return 'ampersand';
  if (value.startsWith(quote) || (value.includes(quote) && value.includes(','))) return 'quote';
  return null;
}

// Writes writable values so that the unit reads back the same. Every line ends with a comma: the last column would get
// no quotes read and no model recognised.
export function writeForUnit(columns, rows) {
  const field = (value) => (value.includes(',') ? quote + value + quote : value);
  return [columns, ...rows].map((cells) => `${cells.map(field).join(',')},\r\n`).join('');
}
