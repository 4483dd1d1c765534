// Whether units report what they were sent. After a run they restart, so they are waited for.

import { event, line, notice, table } from './output.js';
import { sleep } from './transport.js';

const firstPause = 3000; // milliseconds
const nextPause = 10_000;
const stateTexts = { differs: 'differs', missing: 'unit not found', unreported: 'not reported' };

export const unitsBySerial = (site) =>
  new Map(site.units.map((unit) => [(unit.values['UNIT.SERIAL'] ?? '').toLowerCase(), unit]));

// Returns {row, key, sent, reported, state} for each setting of the rows; states: `same`, `differs`, `missing` (the unit was
// not discovered), `unreported` (units of its kind do not report it).
export function compareSettings(rows, site) {
  const units = unitsBySerial(site);
  return rows.flatMap((row) => {
    const unit = units.get(row.serial.toLowerCase());
    return Object.entries(row.settings).map(([key, sent]) => {
      const reported = unit?.values[key] ?? '';
      const state = !unit
        ? 'missing'
        : reported === sent
          ? 'same'
          : reported === ''
            ? 'unreported'
            : 'differs';
      return { row, key, sent, reported, state };
    });
  });
}

export const hasAll = (row, site) => compareSettings([row], site).every(({ state }) => state === 'same');

const isFound = (rows, site) => {
  const units = unitsBySerial(site);
  return rows.every(({ serial }) => units.has(serial.toLowerCase()));
};

// Discovers until all units of the rows are found, or for so many milliseconds. Returns the last discovery.
export async function discoverAll(unit, rows, longest = unit.wait) {
  const until = Date.now() + longest;
  for (;;) {
    const site = await unit.discover();
    if (isFound(rows, site) || Date.now() >= until) return site;
    await sleep(Math.min(nextPause, until - Date.now()));
  }
}

// Returns whether the units of the rows have what they were sent.
export async function verify(unit, rows, json) {
  if (rows.length === 0) return true;
  if (!json) notice('Discovering, to compare with what was sent…');
  await sleep(firstPause);
  const site = await discoverAll(unit, rows);
  const cells = compareSettings(rows, site);
  const count = (state) => cells.filter((cell) => cell.state === state).length;
  const wrong = cells.filter(({ state }) => state !== 'same');
  if (json) {
    for (const { row, key, sent, reported, state } of cells)
      event('verified', { row: row.number, serial: row.serial, key, sent, reported, state });
  } else {
    line(`${count('same')} of ${cells.length} settings are as sent.`);
    const listed = wrong.map(({ row, key, sent, reported, state }) => [
      row.serial,
      key,
      sent,
      reported,
      stateTexts[state],
    ]);
    if (listed.length > 0) table(['Serial', 'Setting', 'Sent', 'Reported', ''], listed);
  }
  return wrong.every(({ state }) => state === 'unreported');
}
