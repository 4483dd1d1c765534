// What a mass update would do, before anything is sent: every fault of a draft at once, what each cell changes, what the
// unit holds back, the CSV that is sent in the end and the one that takes it back.
//
// A draft is {columns, rows, notes, headerRow}: the header's texts, rows {number, cells, quoted} with the texts of their
// cells, the notes of the reader, and the number of the header's row, 1 if not given. Of a fault nothing is sent: a faulty
// cell is left out, and so is a row that would go nowhere or to the wrong unit.
//
// Problems are {level, code, column, rows, detail}. Levels: `stop` nothing can be sent; `out` something is left out;
// `check` it is sent, and may be wrong; `held` the unit takes no such setting; `fixed` put right in what is sent.

import { addressProblems, isAddress } from './addresses.js';
import {
  acceptedKey,
  byteLength,
  fateOfSetting,
  isExcluded,
  kindOfModel,
  longestMessage,
  messageOf,
  same,
} from './class_rules.js';
import { otherShapes } from './shapes.js';
import { bareSerial, groupBy, identities, recordOf } from './site.js';
import { readAsUnit, whyNotWritable, writeForUnit } from './unit_csv.js';

const serialKey = 'UNIT.SERIAL';
const modelKey = 'UNIT.MODEL';
const addressKey = 'IP.ADDRESS';
const staticAddressKey = 'IP.STATIC_ADDRESS';
const idKey = 'UNIT.ID';
const alwaysSent = [serialKey, modelKey, addressKey];

// Collects problems; those that differ in the row alone become one.
class Problems {
  #byText = new Map();

  add(level, code, { column = '', row = null, detail = '' } = {}) {
    const text = JSON.stringify([level, code, column, detail]);
    if (!this.#byText.has(text)) this.#byText.set(text, { level, code, column, detail, rows: [] });
    if (row !== null) this.#byText.get(text).rows.push(row);
  }

  list() {
    const rank = ['stop', 'out', 'check', 'held', 'fixed'];
    return [...this.#byText.values()].sort(
      (one, other) => rank.indexOf(one.level) - rank.indexOf(other.level),
    );
  }
}

// Problems for a list of at most `most` of them: where there are more, those of one kind and column become one.
export function gatherProblems(problems, most) {
  if (problems.length <= most) return problems;
  const textOf = ({ level, code, column }) => JSON.stringify([level, code, column]);
  return [...groupBy(problems, textOf).values()].map((group) => {
    const details = group.map(({ detail }) => detail);
    const detail = details.slice(0, 3).join(', ') + (details.length > 3 ? '…' : '');
    const rows = group.flatMap((problem) => problem.rows).sort((one, other) => one - other);
    return { ...group[0], rows, detail: details[0] ? detail : '' };
  });
}

// Finds the key of each column; of a column that is not sent there is none.
function readHeader({ columns, headerRow = 1 }, keys, problems) {
  const found = columns.map((field, at) => {
    const name = field.trim();
    const key = acceptedKey(name, keys);
    const place = { column: name || `#${at + 1}`, row: headerRow };
    if (key === null) {
      if (name !== '' || at < columns.length - 1)
        problems.add('out', name === '' ? 'column-blank' : 'column-unknown', place);
      return null;
    }
    if (isExcluded(key)) {
      problems.add('out', 'column-excluded', place);
      return null;
    }
    if (key !== field) problems.add('fixed', 'column-spelling', { ...place, detail: key });
    return key;
  });
  groupBy(found.filter(Boolean), (key) => key).forEach((columnsOfKey, key) => {
    if (columnsOfKey.length > 1) problems.add('stop', 'column-twice', { column: key, row: headerRow });
  });
  if (!found.includes(serialKey))
    problems.add('stop', 'no-serial-column', { column: serialKey, row: headerRow });
  return found;
}

const isNetmask = (value) =>
  /^1+0*$/.test(
    value
      .split('.')
      .map((part) => Number(part).toString(2).padStart(8, '0'))
      .join(''),
  );
const isHost = (value) => {
  const first = Number(value.split('.')[0]);
  return first > 0 && first !== 127 && first < 224;
};

// Returns the fault of a value for a key, null when it can be sent.
function faultOf(key, value) {
  if (key.startsWith('IP.STATIC_') && !isAddress(value)) return 'address';
  if (key === staticAddressKey && !isHost(value)) return 'host';
  if (key === 'IP.STATIC_NETMASK' && !isNetmask(value)) return 'netmask';
  if (key === idKey && value.trim() === '') return 'blanks';
  if (/^#(REF!|NAME\?|VALUE!|WERT!|DIV\/0!|N\/A|NV|NULL!|NUM!|ZAHL!|BEZUG!)$/.test(value)) return 'formula';
  return whyNotWritable(value);
}

// Puts the texts of a row under their keys, and notes what is wrong with the row as a row of cells.
function valuesOf(draftRow, { header, blankValues, problems }) {
  const { number, cells, quoted = [] } = draftRow;
  const values = { ...blankValues };
  header.forEach((key, column) => {
    if (key) values[key] = cells[column] ?? '';
  });
  quoted.forEach((isQuoted, column) => {
    const [key, value] = [header[column], cells[column] ?? ''];
    const lone = isQuoted && (!value.includes(',') || value.includes('"'));
    if (key && lone) problems.add('fixed', 'quoting', { column: key, row: number });
  });
  if (cells.length > header.length && cells.slice(header.length).some((cell) => cell !== ''))
    problems.add('out', 'too-many-cells', { row: number });
  return values;
}

// Finds the discovered unit of a row and takes its serial and model over where the row has none or spells them
// differently.
function findUnit(row, { unitsBySerial, unitsByBareSerial, problems }) {
  const { values, number } = row;
  let found = unitsBySerial.get(values[serialKey].toLowerCase()) ?? [];
  if (found.length === 0 && /^[1-9]\d*$/.test(values[serialKey])) {
    const alike = unitsByBareSerial.get(values[serialKey]) ?? [];
    if (alike.length === 1) {
      found = alike;
      problems.add('check', 'serial-zeros', {
        column: serialKey,
        row: number,
        detail: alike[0].values[serialKey],
      });
    }
  }
  if (found.length === 0) return;
  if (found.length > 1) problems.add('check', 'unit-twice', { column: serialKey, row: number });
  [row.unit] = found;
  const model = row.unit.values[modelKey] ?? '';
  if (values[serialKey] !== row.unit.values[serialKey]) {
    values[serialKey] = row.unit.values[serialKey];
    problems.add('fixed', 'serial-spelling', { column: serialKey, row: number, detail: values[serialKey] });
  }
  if (!values[modelKey] && model) {
    values[modelKey] = model;
    problems.add('fixed', 'model-filled', { column: modelKey, row: number });
  } else if (model && !same(values[modelKey], model)) {
    problems.add('check', 'model-differs', { column: modelKey, row: number, detail: model });
  }
}

const months =
  'jan|feb|febr|fév|mar|mär|mrz|avr|apr|may|mai|jun|juin|jul|juil|aug|août|sep|sept|oct|okt|nov|dec|dez|déc';
const dates = new RegExp(
  `^(\\d{1,2}(\\. ?|[ -])(${months})|(${months})[ -]\\d{1,2})\\.?$|^\\d{1,2}[./]\\d{1,2}[./](\\d{2}|\\d{4})$`,
  'i',
);

// True for values as spreadsheets rewrite them: booleans in another language, 1E+05, dates.
const looksConverted = (value) =>
  /^(wahr|falsch|vrai|faux|verdadero|falso|vero|waar|onwaar|sant|sann|falskt|prawda|fałsz)$/i.test(value) ||
  /^-?\d(\.\d+|,\d+)?E\+?-?\d+$/i.test(value) ||
  dates.test(value);

const oldOf = (row, key) => row.unit?.values[key] ?? null;

// Decides about one cell that changes something: `fault`, `held`, or `change` with the name under which it is sent.
function decideCell(key, value, row) {
  const old = oldOf(row, key);
  const fate = fateOfSetting(key, row.kind);
  const fault = fate.sent ? faultOf(key, value) : null;
  if (fault) return { state: 'fault', old, value, reason: fault };
  if (!fate.sent) return { state: 'held', old, value, reason: fate.held };
  return { state: 'change', old, value, name: fate.sent };
}

// Nearly all cells of a large draft are as the unit has them, and get no object of their own.
function decideCells(row, { keys, settings, site, problems }) {
  const { values, unit } = row;
  row.kind = kindOfModel(keys.includes(modelKey) ? (values[modelKey] ?? '') : '');
  const before = unit?.values ?? {};
  for (const key of settings) {
    const value = values[key] ?? '';
    if (value === '' || value === before[key]) continue;
    const cell = decideCell(key, value, row);
    row.cells[key] = cell;
    const place = { column: key, row: row.number };
    if (cell.state === 'fault') problems.add('out', `cell-${cell.reason}`, place);
    if (cell.state === 'held') problems.add('held', `held-${cell.reason}`, place);
    if (cell.state !== 'change') continue;
    if (looksConverted(value)) problems.add('check', 'converted', place);
    const shapes = otherShapes(site, key, value);
    if (shapes.length > 0) problems.add('check', 'shape', { ...place, detail: shapes.join() });
    if (key === idKey && value !== value.trim()) problems.add('check', 'id-edges', place);
  }
}

// Returns {state, old, value, reason, name} of a cell, undefined for a blank row or a column that is not sent. States:
// `blank`, `same`, `fault`, `held`, `change`.
export function cellOf(row, key) {
  if (!key || row.state === 'blank') return undefined;
  const value = row.values[key] ?? '';
  return row.cells[key] ?? { state: value === '' ? 'blank' : 'same', old: oldOf(row, key), value };
}

function leaveOut(row, code, problems, place = {}) {
  row.state = 'left-out';
  row.reason = code;
  problems.add('out', code, { row: row.number, ...place });
}

// Reads one row of the draft up to the decision about each of its cells.
function readRow(draftRow, context) {
  const { problems, ownSerial, unknownToo } = context;
  const values = valuesOf(draftRow, context);
  const cells = Object.create(null); // a unit may report a key of any name, "constructor" too
  const row = { number: draftRow.number, values, unit: null, state: 'send', reason: '', cells };
  values[serialKey] = (values[serialKey] ?? '').trim();
  if (draftRow.cells.every((cell) => cell.trim() === '')) {
    problems.add('fixed', 'row-blank', { row: row.number });
    row.state = 'blank';
    return row;
  }
  if (values[serialKey] !== '') findUnit(row, context);
  decideCells(row, context);
  if (values[serialKey] === '') leaveOut(row, 'serial-blank', problems, { column: serialKey });
  else if (whyNotWritable(values[serialKey])) leaveOut(row, 'serial-unfit', problems, { column: serialKey });
  else if (same(values[serialKey], 'ALL')) leaveOut(row, 'serial-all', problems, { column: serialKey });
  else if (ownSerial && same(values[serialKey], ownSerial)) leaveOut(row, 'row-self', problems);
  else if (!row.unit && !unknownToo) leaveOut(row, 'unit-unknown', problems, { column: serialKey });
  else if (!row.unit) problems.add('check', 'unit-unknown', { column: serialKey, row: row.number });
  return row;
}

// The name under which a unit is sent a value that it has already, '' when it is not sent.
function nameOfSame(key, value, kind) {
  if (key === serialKey || key === modelKey) return '';
  const { sent = '' } = fateOfSetting(key, kind);
  return sent && !faultOf(key, value) ? sent : '';
}

// Takes the settings that a row would be sent, and leaves the row out when there are none or too many.
function chooseSettings(row, { keys, onlyChanges, problems }) {
  if (row.state !== 'send') return;
  row.settings = [];
  for (const key of onlyChanges ? Object.keys(row.cells) : keys) {
    const { state, value, name } = cellOf(row, key);
    const sentAs = state === 'same' ? nameOfSame(key, value, row.kind) : name;
    if (sentAs) row.settings.push({ key, name: sentAs, value });
  }
  if (row.settings.length === 0) {
    row.state = 'unchanged';
    return;
  }
  const message = messageOf(
    row.values[serialKey],
    row.settings.map(({ name, value }) => [name, value]),
  );
  if (byteLength(message) > longestMessage) {
    leaveOut(row, 'message-too-long', problems, { detail: String(byteLength(message)) });
  }
}

const sentValue = (row, key) => {
  if (key === addressKey && row.sharesAddress) return '';
  if (alwaysSent.includes(key)) return whyNotWritable(row.values[key] ?? '') ? '' : (row.values[key] ?? '');
  return row.settings.find((setting) => setting.key === key)?.value ?? '';
};

// Rows that share an identity among those sent: the unit sends none of them.
function skipSharedIdentities(rows, problems) {
  const shared = [];
  for (const [key, mark] of identities.filter(([identity]) => identity !== addressKey)) {
    groupBy(
      rows.filter((row) => row.state === 'send'),
      (row) => sentValue(row, key).toLowerCase(),
    ).forEach((group, text) => {
      if (text !== '' && group.length > 1) shared.push([group, key, mark]);
    });
  }
  for (const [group, key, mark] of shared) {
    for (const row of group)
      leaveOut(row, `twice-${mark}`, problems, { column: key, detail: sentValue(row, key) });
  }
}

// The address of a row is no setting: where rows share one it stays blank, so that both are sent.
function blankSharedAddresses(rows, problems) {
  groupBy(
    rows.filter((row) => row.state === 'send'),
    (row) => sentValue(row, addressKey).toLowerCase(),
  ).forEach((group, address) => {
    if (address === '' || group.length < 2) return;
    for (const row of group) {
      row.sharesAddress = true;
      problems.add('fixed', 'address-shared', { column: addressKey, row: row.number, detail: address });
    }
  });
}

// Static addresses that two units would have in the end, which the unit itself does not look for. A row that is left out
// keeps its unit's address taken, for others to run into.
function skipSharedAddresses(rows, site, problems) {
  while (skipThoseThatCollide(rows, site, problems));
}

function skipThoseThatCollide(rows, site, problems) {
  const sending = rows.filter((row) => row.state === 'send' && sentValue(row, staticAddressKey));
  if (sending.length === 0) return false;
  const moved = new Set(sending.map((row) => row.unit));
  const staying = site.units.filter((unit) => !moved.has(unit));
  const taken = new Set(staying.flatMap((unit) => [unit.values[addressKey], unit.values[staticAddressKey]]));
  groupBy(sending, (row) => sentValue(row, staticAddressKey)).forEach((group, address) => {
    if (group.length < 2 && !taken.has(address)) return;
    for (const row of group)
      leaveOut(row, 'address-taken', problems, { column: staticAddressKey, detail: address });
  });
  return sending.some((row) => row.state !== 'send');
}

// Leaves out rows whose address would make the unit unreachable, and adds a warning where it may.
function checkAddresses(rows, problems) {
  const sending = rows.filter((row) => row.state === 'send');
  const moving = groupBy(
    sending.filter((row) => row.unit && sentValue(row, staticAddressKey)),
    (row) => row.unit.values[addressKey] ?? '',
  );
  for (const row of sending) {
    const isAnothersNow = (address) => (moving.get(address) ?? []).some((other) => other.unit !== row.unit);
    const before = (key) => {
      const value = row.unit?.values[key] ?? '';
      return isAddress(value) ? value : '';
    };
    for (const code of addressProblems((key) => sentValue(row, key), before, isAnothersNow)) {
      const place = { column: staticAddressKey, detail: sentValue(row, staticAddressKey) };
      if (code === 'address-moves' || code === 'address-handed-on') {
        problems.add('check', code, { ...place, row: row.number });
      } else {
        leaveOut(row, code, problems, place);
      }
    }
  }
}

// The units whose address changes: {id, from, to}.
function movedUnits(sending) {
  return sending.flatMap((row) => {
    const to = row.cells[staticAddressKey]?.state === 'change' ? sentValue(row, staticAddressKey) : '';
    const from = row.unit?.values[addressKey] ?? '';
    const id = row.unit?.values[idKey] || row.values[serialKey];
    return to !== '' && to !== from ? [{ id, from, to }] : [];
  });
}

// Ids that a unit which is not in the plan has already.
function warnOfTakenIds(rows, site, problems) {
  const sending = rows.filter((row) => row.state === 'send' && sentValue(row, idKey));
  const renamed = sending.filter((row) => row.cells[idKey]?.state === 'change');
  if (renamed.length === 0) return;
  const planned = new Set(sending.map((row) => row.unit));
  const ids = new Set(
    site.units.filter((unit) => !planned.has(unit)).map((unit) => (unit.values[idKey] ?? '').toLowerCase()),
  );
  for (const row of renamed) {
    const { value } = row.cells[idKey];
    if (ids.has(value.toLowerCase()))
      problems.add('check', 'id-taken', { column: idKey, row: row.number, detail: value });
  }
}

// The CSV of the rows that are sent, without columns that would be empty throughout.
function writeRows(rows, keys, valueOf) {
  const columns = [...new Set([...alwaysSent.filter((key) => keys.includes(key)), ...keys])].filter((key) =>
    rows.some((row) => valueOf(row, key) !== ''),
  );
  return writeForUnit(
    columns,
    rows.map((row) => columns.map((key) => valueOf(row, key))),
  );
}

// Whether the unit reads from the text just what the rows are to be sent.
function readsBack(text, rows, keys) {
  const { records } = readAsUnit(text, keys);
  return (
    records.length === rows.length &&
    rows.every(
      (row, at) =>
        JSON.stringify(records[at].kind) === JSON.stringify(row.kind) &&
        Object.entries(records[at].values).every(([key, value]) => value === sentValue(row, key)) &&
        row.settings.every(({ key, value }) => records[at].values[key] === value),
    )
  );
}

// What a unit had before, where a change is sent and the old value is known; blank cells change nothing.
function oldValue(row, key) {
  if (key === serialKey || key === modelKey) return sentValue(row, key);
  const cell = row.cells[key];
  return cell?.state === 'change' && cell.old && !faultOf(key, cell.old) ? cell.old : '';
}

function undoOf(rows, keys) {
  const changed = (row) => Object.keys(row.cells).filter((key) => row.cells[key].state === 'change');
  const kept = rows.filter((row) => changed(row).some((key) => oldValue(row, key)));
  return {
    undo: kept.length > 0 ? writeRows(kept, keys, oldValue) : '',
    lost: rows.flatMap((row) => changed(row).filter((key) => !oldValue(row, key))).length,
  };
}

function noteReading(draft, problems) {
  const levels = {
    bom: 'fixed',
    'utf-16': 'fixed',
    separator: 'fixed',
    guard: 'fixed',
    titles: 'fixed',
    encoding: 'check',
    binary: 'stop',
    'quote-open': 'stop',
    'quote-lines': 'check',
  };
  for (const note of draft.notes ?? []) {
    const [code, row = null] = [note].flat();
    problems.add(levels[code], code, { row });
  }
}

// Returns {problems, header, rows, sending, moved, unchanged, settings, text, undo, lost}: the key of each column, each row
// with its fate `state` (`send`, `left-out`, `unchanged`, `blank`) and those of its `cells` that change something (cellOf
// returns any of them), the rows that are sent in their order, the units whose address changes, counts, and the two CSVs,
// empty where a problem stops it all. `lost` counts changes that the second one cannot take back.
export function preflight(draft, site, { onlyChanges = true, ownSerial = '', unknownToo = false } = {}) {
  const problems = new Problems();
  noteReading(draft, problems);
  const header = readHeader(draft, site.keys, problems);
  const keys = [...new Set([...header.filter(Boolean), ...site.keys.filter((key) => key === modelKey)])];
  const unitsBySerial = groupBy(site.units, (unit) => (unit.values[serialKey] ?? '').toLowerCase());
  const unitsByBareSerial = groupBy(site.units, (unit) => bareSerial(unit.values[serialKey] ?? ''));
  const known = { site, unitsBySerial, unitsByBareSerial, ownSerial };
  const blankValues = recordOf(header.filter(Boolean), '');
  const settings = keys.filter((key) => key !== serialKey && key !== modelKey);
  const context = { ...known, blankValues, header, keys, settings, problems, onlyChanges, unknownToo };
  const rows = draft.rows.map((row) => readRow(row, context));
  rows.forEach((row) => chooseSettings(row, context));
  skipSharedIdentities(rows, problems);
  checkAddresses(rows, problems);
  skipSharedAddresses(rows, site, problems);
  warnOfTakenIds(rows, site, problems);
  blankSharedAddresses(rows, problems);

  const sending = rows.filter((row) => row.state === 'send');
  const text = writeRows(sending, keys, sentValue);
  if (sending.length === 0) problems.add('stop', 'nothing-to-send');
  else if (!readsBack(text, sending, site.keys)) problems.add('stop', 'not-readable');
  const list = problems.list();
  const stopped = list.some(({ level }) => level === 'stop');
  return {
    problems: list,
    header,
    rows,
    sending,
    moved: movedUnits(sending),
    unchanged: rows.filter((row) => row.state === 'unchanged').length,
    settings: sending.reduce((sum, row) => sum + row.settings.length, 0),
    text: stopped ? '' : text,
    ...undoOf(sending, keys),
  };
}
