// site discover: several addresses are several sites, asked at the same time.

import { mkdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { texts } from '../../../console/src/texts.js';
import { writeSpreadsheet } from '../../../console/src/logic/spreadsheet_csv.js';
import { UsageError } from './command_line.js';
import { openOutput, withFile } from './files.js';
import { event, notice, table, write } from './output.js';
import { status } from './status.js';
import { Unit, accessOf, explain, kindOf } from './unit.js';

const formats = ['csv', 'spreadsheet', 'json', 'table'];
const siteColumn = 'SITE';
const tableKeys = [
  'UNIT.ID',
  'IP.ADDRESS',
  'UNIT.MODEL',
  'UNIT.SERIAL',
  'UNIT.FIRMWARE',
  'STREAM.HOST',
  'VW.NAME',
];

const reporter =
  (url, json) =>
  ({ kind, seconds }) =>
    json
      ? event('waiting', { url, kind, seconds })
      : notice(
          `${url}: ${kind === 'updating' ? 'its firmware is being updated' : 'busy'}; asked again for ${seconds} s`,
        );

function unitAt(address, access, json) {
  const unit = new Unit(address, access);
  unit.report = reporter(unit.url, json);
  return unit;
}

export const openUnit = async (address, options) => unitAt(address, await accessOf(options), options.json);

// Runs `work(unit)` for each address at the same time. Returns the results in order, null for those that failed, which is
// said, and the exit status.
export async function forEachUnit(addresses, options, work) {
  const access = await accessOf(options);
  const units = addresses.map((address) => unitAt(address, access, options.json));
  let result = status.good;
  const fail = (url, failure) => {
    result = status.failed;
    if (options.json) event('error', { url, kind: kindOf(failure), text: explain(failure) });
    else notice(`${url}: ${explain(failure)}`);
    return null;
  };
  const results = await Promise.all(
    units.map((unit) => work(unit).catch((failure) => fail(unit.url, failure))),
  );
  return { results, result };
}

const inConflict = ({ marks }) => marks.some((mark) => mark !== 'fields');

function tell(url, site, json) {
  const { units, hidden, encoders, decoders } = site;
  const conflicts = units.filter(inConflict).length;
  if (!json) {
    notice(`${url}: ${texts.units.totals(site)}`);
    if (hidden > 0) notice(`${url}: ${texts.units.hidden(hidden, site.keys[0])}`);
    if (conflicts > 0) notice(`${url}: ${texts.units.conflicts(conflicts)}`);
    return;
  }
  for (const { number, values, marks, kind } of units) event('unit', { url, number, values, marks, kind });
  event('site', { url, total: units.length + hidden, encoders, decoders, hidden, conflicts });
}

// One site as its unit wrote it; of several, all units with the site they belong to.
function csvOf(found, several, format) {
  if (!several && format === 'csv') return found[0].site.bytes;
  const keys = [...new Set(found.flatMap(({ site }) => site.keys))];
  const columns = several ? [siteColumn, ...keys] : keys;
  const rows = found.flatMap(({ url, site }) =>
    site.units.map(({ values }) => [...(several ? [url] : []), ...keys.map((key) => values[key] ?? '')]),
  );
  if (format === 'spreadsheet') return writeSpreadsheet([columns, ...rows]);
  const field = (value) => (value.includes(',') ? `"${value}"` : value);
  return [columns, ...rows].map((cells) => `${cells.map(field).join(',')}\r\n`).join('');
}

function showTable(found, several) {
  const marksOf = ({ marks }) => marks.map((mark) => texts.units.mark[mark]).join(', ');
  const rows = found.flatMap(({ url, site }) =>
    site.units.map((unit) => [
      ...(several ? [url] : []),
      ...tableKeys.map((key) => unit.values[key] ?? ''),
      marksOf(unit),
    ]),
  );
  table([...(several ? [siteColumn] : []), ...tableKeys, ''], rows);
}

const fileName = (url) => `${url.replace(/^http:\/\//, '').replace(/[^A-Za-z0-9.-]/g, '_')}.csv`;

// A file for one site, a folder with a file each for several. Returns {write(found), drop()}.
function openPlace(path, several, format) {
  if (!several) {
    const { write: put, drop } = openOutput(path);
    return { write: (found) => put(csvOf(found, false, format)), drop };
  }
  withFile(path, 'written', () => mkdirSync(path, { recursive: true }));
  const write = (found) => {
    for (const one of found) {
      const file = join(path, fileName(one.url));
      withFile(file, 'written', () => writeFileSync(file, csvOf([one], false, format)));
    }
  };
  return { write, drop: () => {} };
}

export async function discover(addresses, options) {
  const format = options.format ?? (options.output || !process.stdout.isTTY ? 'csv' : 'table');
  if (!formats.includes(format))
    throw new UsageError(`no format “${format}”; there are ${formats.join(', ')}`);
  if (options.output && !['csv', 'spreadsheet'].includes(format))
    throw new UsageError('--output writes csv or spreadsheet');
  const several = addresses.length > 1;
  // Before a unit is asked: a discovery stops its video.
  const place = options.output && openPlace(options.output, several, format);
  let found = [];
  let result;
  try {
    const ended = await forEachUnit(addresses, options, async (unit) => {
      const site = await unit.discover();
      tell(unit.url, site, options.json);
      return { url: unit.url, site };
    });
    found = ended.results.filter(Boolean);
    ({ result } = ended);
  } finally {
    if (found.length === 0) place?.drop();
  }
  if (found.length === 0) return result;
  if (place) place.write(found);
  else if (!options.json && format === 'table') showTable(found, several);
  else if (!options.json) write(csvOf(found, several, format));
  return result;
}
