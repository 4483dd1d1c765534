// Drafts of a mass update: from a file, and what other pages than the grid put into them.

import { same } from './class_rules.js';
import { headerLine } from './headers.js';
import { bareSerial, groupBy } from './site.js';
import { readSpreadsheet } from './spreadsheet_csv.js';
import { ownLines } from './unit_csv.js';

const serialKey = 'UNIT.SERIAL';
export const firstColumns = [serialKey, 'UNIT.MODEL', 'UNIT.ID'];

const columnOf = (columns, key) => columns.findIndex((name) => same(name.trim(), key));
const serialOf = (text) => (text ?? '').trim().toLowerCase();

// Returns the draft of a file's bytes, titles above the header left out. Lines of the site's own discovery, whose text is
// `discovery`, are read by the unit's rules of quotes; `keys` are those of the site.
export function readDraft(bytes, discovery, keys) {
  const { rows, notes } = readSpreadsheet(bytes, ownLines(discovery));
  const textsOf = (cells = []) => cells.map((cell) => cell.text);
  const titles = headerLine(rows.map(textsOf), keys);
  if (titles > 0) notes.push(['titles', titles]);
  return {
    columns: textsOf(rows[titles]),
    headerRow: titles + 1,
    rows: rows.slice(titles + 1).map((cells, at) => ({
      number: titles + at + 2,
      cells: textsOf(cells),
      quoted: cells.map((cell) => cell.quoted),
    })),
    notes,
  };
}

// Returns a draft with settings {unit, key, value} put into their cells. Columns and rows that it lacks are added; a new
// row has the serial, model and id of its unit. `draft` may be null.
export function withSettings(draft, settings) {
  const start = draft ?? { name: '', source: 'site', columns: [], rows: [], notes: [] };
  const keys = [...firstColumns.slice(0, draft ? 1 : undefined), ...settings.map(({ key }) => key)];
  const missing = [...new Set(keys)].filter((key) => columnOf(start.columns, key) < 0);
  const columns = [...start.columns, ...missing];
  const serialColumn = columnOf(columns, serialKey);
  const rowsOf = groupBy([...start.rows.keys()], (at) => serialOf(start.rows[at].cells[serialColumn]));
  const rowsOfUnit = (unit) => {
    const serial = serialOf(unit.values[serialKey]);
    return rowsOf.get(serial) ?? rowsOf.get(bareSerial(serial)) ?? [];
  };
  const rows = [...start.rows];
  let number = Math.max(1, ...rows.map((row) => row.number));
  for (const [unit, own] of groupBy(settings, (setting) => setting.unit)) {
    const [at = rows.length] = rowsOfUnit(unit);
    if (at === rows.length) {
      number += 1;
      const known = columns.map((name) => firstColumns.find((key) => same(name.trim(), key)));
      rows.push({ number, cells: known.map((key) => unit.values[key] ?? '') });
    }
    const cells = columns.map((_, column) => rows[at].cells[column] ?? '');
    for (const { key, value } of own) cells[columnOf(columns, key)] = value;
    rows[at] = { ...rows[at], cells, quoted: undefined };
  }
  return { ...start, columns, rows, edited: true };
}

// Returns the texts that a draft has for a key, by serial; blank ones are left out.
export function draftedValues(draft, key) {
  const [serialColumn, column] = [serialKey, key].map((name) => columnOf(draft?.columns ?? [], name));
  if (serialColumn < 0 || column < 0) return new Map();
  return new Map(
    draft.rows
      .map(({ cells }) => [serialOf(cells[serialColumn]), cells[column] ?? ''])
      .filter(([, value]) => value !== ''),
  );
}
