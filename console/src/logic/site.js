// The site as the last discovery found it: its units, which of them share an identity, and what changed since the
// discovery before.

import { kindOfModel } from './class_rules.js';
import { readDiscovery } from './unit_csv.js';
import { visible } from './visible.js';

// Compares texts as people order them: 10.0.0.9 before 10.0.0.10.
export const inOrder = new Intl.Collator('en', { numeric: true }).compare;

// An object with these keys. `{...record}` is quicker than an object that grows key by key: it counts with thousands of
// rows.
export const recordOf = (keys, value) => Object.fromEntries(keys.map((key) => [key, value]));

// What no two units may share, and the mark of those that do.
export const identities = [
  ['UNIT.ID', 'id'],
  ['IP.ADDRESS', 'address'],
  ['UNIT.SERIAL', 'serial'],
];

// Groups items by a text. Returns a Map from each text to its items, in their order.
export function groupBy(items, textOf) {
  const groups = new Map();
  for (const item of items) {
    const text = textOf(item);
    if (groups.has(text)) groups.get(text).push(item);
    else groups.set(text, [item]);
  }
  return groups;
}

function markSharedIdentities(units) {
  for (const [key, mark] of identities) {
    groupBy(units, (unit) => (unit.values[key] ?? '').toLowerCase()).forEach((group, value) => {
      if (value !== '' && group.length > 1) group.forEach((unit) => unit.marks.push(mark));
    });
  }
}

// Returns {keys, units, hidden, encoders, decoders} of a discovery's CSV. A unit is {number, values, marks, kind}:
// its line, the first one of data being 1, its values by key, the identities it shares, encoder or decoder. A line of
// empty fields is a unit that the list has no room for, because another one has the same first value.
export function readSite(text) {
  const { keys, rows } = readDiscovery(text);
  const units = [];
  const blank = recordOf(keys, '');
  rows.forEach((row, at) => {
    if (row.every((value) => value === '')) return;
    const values = { ...blank };
    keys.forEach((key, column) => {
      values[key] ||= row[column] ?? '';
    });
    const marks = row.length === keys.length ? [] : ['fields'];
    units.push({ number: at + 1, values, marks, kind: kindOfModel(values['UNIT.MODEL'] ?? '') });
  });
  markSharedIdentities(units);
  return {
    keys,
    units,
    hidden: rows.length - units.length,
    encoders: units.filter((unit) => unit.kind.encoder).length,
    decoders: units.filter((unit) => unit.kind.decoder).length,
  };
}

// The name of a unit as it is shown.
export const nameOf = (unit) => visible(unit.values['UNIT.ID'] || unit.values['IP.ADDRESS'] || '');

// A serial without the leading zeros that spreadsheets drop.
export const bareSerial = (serial) => serial.replace(/^0+(?=.)/, '');

// The text by which a unit is found again in another discovery.
export const keyOf = (unit) => unit.values['UNIT.SERIAL'] || nameOf(unit);

// The serial of the unit at this address, '' when there is none.
export const serialAt = (site, address) =>
  site.units.find((unit) => unit.values['IP.ADDRESS'] === address)?.values['UNIT.SERIAL'] ?? '';

// The encoder that a listing's own line "MYSELF,HOST,STREAM ADDRESS" is of; null when it fits no encoder, or several.
export function unitOfListing(site, listing) {
  const [, host, stream] = /^MYSELF,(.*),(.*)$/m.exec(listing) ?? [];
  const found = site.units.filter(
    ({ values, kind }) =>
      kind.encoder && values['IP.ADDRESS'] === host && values['STREAM.RTP_ADDRESS'] === stream,
  );
  return found.length === 1 ? found[0] : null;
}

// What to remember of a site for the next comparison: a name by serial.
export function memoryOf(site) {
  const names = {};
  for (const unit of site.units) names[keyOf(unit)] = nameOf(unit);
  return { total: site.units.length + site.hidden, names };
}

// Returns {difference, missing, appeared}: the number of units more than then, and the names of those gone and new.
export function compareSites(then, now) {
  const without = (one, other) => Object.keys(one.names).filter((serial) => !(serial in other.names));
  return {
    difference: now.total - then.total,
    missing: without(then, now)
      .map((serial) => then.names[serial])
      .sort(inOrder),
    appeared: without(now, then)
      .map((serial) => now.names[serial])
      .sort(inOrder),
  };
}
