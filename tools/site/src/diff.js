// site diff: two discoveries, unit by unit and cell by cell.

import { compareSites, inOrder, memoryOf } from '../../../console/src/logic/site.js';
import { texts } from '../../../console/src/texts.js';
import { forEachUnit } from './discover.js';
import { event, line, table } from './output.js';
import { siteFromFile } from './plan.js';
import { status } from './status.js';

const serialOf = (unit) => unit.values['UNIT.SERIAL'];

// Returns {missing, appeared, cells}: the names of units that only one of them has, and {serial, id, key, before, after} of
// each value that differs.
export function diffSites(before, after) {
  const { missing, appeared } = compareSites(memoryOf(before), memoryOf(after));
  const earlier = new Map(before.units.map((unit) => [serialOf(unit), unit]));
  const keys = before.keys.filter((key) => after.keys.includes(key));
  const cells = after.units.flatMap((unit) => {
    const old = serialOf(unit) && earlier.get(serialOf(unit));
    if (!old) return [];
    return keys
      .filter((key) => old.values[key] !== unit.values[key])
      .map((key) => ({
        serial: serialOf(unit),
        id: unit.values['UNIT.ID'] ?? '',
        key,
        before: old.values[key],
        after: unit.values[key],
      }));
  });
  return { missing, appeared, cells: cells.sort((one, other) => inOrder(one.id, other.id)) };
}

async function siteOf(place, options) {
  if (!/^https?:\/\//i.test(place)) return { site: siteFromFile(place), result: status.good };
  const { results, result } = await forEachUnit([place], options, (unit) => unit.discover());
  return { site: results[0], result };
}

export async function diff([one, other], options) {
  const before = await siteOf(one, options);
  const after = await siteOf(other, options);
  if (!before.site || !after.site) return status.failed;
  const { missing, appeared, cells } = diffSites(before.site, after.site);
  if (options.json) {
    for (const id of missing) event('missing', { id });
    for (const id of appeared) event('appeared', { id });
    for (const cell of cells) event('changed', cell);
  } else {
    if (missing.length > 0) line(texts.units.missing(missing));
    if (appeared.length > 0) line(texts.units.appeared(appeared));
    const [, unit, setting] = texts.configure.changeColumns;
    const rows = cells.map(({ serial, id, key, before: from, after: to }) => [id || serial, key, from, to]);
    if (rows.length > 0) table([unit, setting, 'Before', 'After'], rows);
  }
  return missing.length + appeared.length + cells.length > 0 ? status.held : status.good;
}
