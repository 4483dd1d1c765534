// What a file of settings would do to a site: the console's checks, said at a shell.

import { readDraft } from '../../../console/src/logic/draft.js';
import { cellOf, gatherProblems, preflight } from '../../../console/src/logic/preflight.js';
import { readSite } from '../../../console/src/logic/site.js';
import { texts } from '../../../console/src/texts.js';
import { readFile } from './files.js';
import { event, line, table } from './output.js';
import { status } from './status.js';

const words = texts.configure;
const mostProblems = 100; // that are listed one by one
const mostRanges = 12; // of rows, in one line of the list

export const draftFromBytes = (bytes, site) => readDraft(bytes, site.text, site.keys);

// The discovery of a file. Throws when it is none.
export function siteFromFile(path) {
  const text = new TextDecoder().decode(readFile(path));
  const site = { ...readSite(text), text };
  if (!site.keys.includes('UNIT.SERIAL'))
    throw new Error(`${path} is no discovery: it has no column UNIT.SERIAL`);
  return site;
}

// 2, 3, 4, 7 become "2–4, 7".
function rowRanges(rows) {
  const ranges = [];
  for (const row of rows) {
    const last = ranges.at(-1);
    if (last && row === last[1] + 1) last[1] = row;
    else ranges.push([row, row]);
  }
  const shown = ranges.map(([from, to]) => (from === to ? `${from}` : `${from}–${to}`));
  if (shown.length <= mostRanges) return shown.join(', ');
  return `${shown.slice(0, mostRanges).join(', ')} ${words.moreRows(rows.length)}`;
}

// Whether there is nothing to do because every unit has what the file says.
export const changesNothing = ({ sending, unchanged, problems }) =>
  sending.length === 0 &&
  unchanged > 0 &&
  problems.every(({ level, code }) => code === 'nothing-to-send' || level === 'held' || level === 'fixed');

// The exit status of a check.
export function statusOf(plan) {
  const levels = new Set(plan.problems.map(({ level }) => level));
  if (changesNothing(plan)) levels.delete('stop');
  if (levels.has('stop') || levels.has('out')) return status.faults;
  return levels.has('check') || levels.has('held') ? status.held : status.good;
}

// The name by which people know the unit of a row.
export const nameOf = ({ unit, values }) =>
  unit?.values['UNIT.ID'] || values['UNIT.ID'] || values['UNIT.SERIAL'];

function tellProblems({ problems }, json) {
  if (json) {
    for (const problem of problems) event('problem', { ...problem, text: words.problem(problem) });
    return;
  }
  if (problems.length === 0) return line(words.noProblems);
  const rows = gatherProblems(problems, mostProblems).map((problem) => [
    words.levels[problem.level],
    rowRanges(problem.rows),
    problem.column,
    words.problem(problem),
  ]);
  table(words.problemColumns, rows);
}

function tellRows({ sending }, json) {
  for (const row of sending) {
    const { number, values, unit, settings } = row;
    const address = values['IP.ADDRESS'] || unit?.values['IP.ADDRESS'] || '';
    const pairs = Object.fromEntries(settings.map(({ key, value }) => [key, value]));
    if (json) {
      const old = Object.fromEntries(settings.map(({ key }) => [key, cellOf(row, key).old]));
      event('row', {
        row: number,
        serial: values['UNIT.SERIAL'],
        id: nameOf(row),
        address,
        settings: pairs,
        old,
      });
    } else {
      const said = settings.map(({ key, value }) => `${key}=${value} (${cellOf(row, key).old ?? '?'})`);
      line(`${number}  ${nameOf(row)}  ${address}  ${said.join('; ')}`);
    }
  }
}

// Says all that the console's preflight says, and what each unit gets.
export function tellPlan(plan, json) {
  const { sending, settings, unchanged, moved, lost } = plan;
  tellProblems(plan, json);
  tellRows(plan, json);
  if (json) {
    event('plan', { units: sending.length, settings, unchanged, moved, lost });
    return;
  }
  line(words.summary(plan));
  if (moved.length > 0) {
    line(words.confirmMoved(moved.length));
    table(
      words.movedColumns,
      moved.map(({ id, from, to }) => [id, from, to]),
    );
  }
  if (lost > 0) line(words.lost(lost));
}

export const planOf = (draft, site, options) =>
  preflight(draft, site, { onlyChanges: !options.all, unknownToo: options['unknown-too'] });
