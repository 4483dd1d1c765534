// site diff: two discoveries, unit by unit and cell by cell.

import { nameOf } from '../../../console/src/logic/site.js';
import { compareValues } from '../../../console/src/logic/snapshots.js';
import { texts } from '../../../console/src/texts.js';
import { forEachUnit } from './discover.js';
import { event, line, table } from './output.js';
import { siteFromFile } from './plan.js';
import { status } from './status.js';

async function siteOf(place, options) {
  if (!/^https?:\/\//i.test(place)) return siteFromFile(place);
  const { results } = await forEachUnit([place], options, (unit) => unit.discover());
  return results[0];
}

const identityOf = ({ values }) => ({ serial: values['UNIT.SERIAL'] ?? '', id: values['UNIT.ID'] ?? '' });

export async function diff([one, other], options) {
  const before = await siteOf(one, options);
  const after = await siteOf(other, options);
  if (!before || !after) return status.failed;
  const { missing, appeared, changes } = compareValues(before, after);
  if (options.json) {
    for (const unit of missing) event('missing', identityOf(unit));
    for (const unit of appeared) event('appeared', identityOf(unit));
    for (const { unit, key, from, to } of changes) event('changed', { ...identityOf(unit), key, from, to });
  } else {
    if (missing.length > 0) line(texts.units.missing(missing.map(nameOf)));
    if (appeared.length > 0) line(texts.units.appeared(appeared.map(nameOf)));
    const [, unitTitle, keyTitle] = texts.configure.changeColumns;
    const rows = changes.map(({ unit, key, from, to }) => [nameOf(unit), key, from, to]);
    if (rows.length > 0) table([unitTitle, keyTitle, 'Before', 'After'], rows);
  }
  return missing.length + appeared.length + changes.length > 0 ? status.held : status.good;
}
