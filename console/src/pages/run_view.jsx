// A mass update that runs or has run: what became of each unit, the report, and what can follow.

import { useState } from 'preact/hooks';
import { closeRun, draftFromText } from '../actions.js';
import { isEnded } from '../logic/site_log.js';
import { writeSpreadsheet } from '../logic/spreadsheet_csv.js';
import { writeForUnit } from '../logic/unit_csv.js';
import { Table } from '../parts/table.jsx';
import { Choice, DownloadButton, ErrorNotice, Notice, stamp, useClock } from '../parts/widgets.jsx';
import { texts } from '../texts.js';

const words = texts.configure;
const columns = words.runColumns.map((title, at) => ({
  key: at,
  title,
  width: [6, 14, 26, 16, 10, 14, 52][at],
}));
const symbols = {
  waiting: '·',
  sent: '…',
  saved: '…',
  rebooting: '…',
  ok: '✓',
  fail: '✕',
  self: '–',
  skipped: '–',
  unsent: '–',
};

// The texts of one row.
function cellsOf(row, record) {
  return [
    String(row.number),
    row.serial,
    row.id,
    row.address,
    String(row.settings.length),
    words.states[record.state],
    isEnded(record) ? (words.reasons[record.reason] ?? '') : '',
  ];
}

function tallyOf(records) {
  const count = (...states) => records.filter(({ state }) => states.includes(state)).length;
  return {
    ok: count('ok'),
    fail: count('fail'),
    skipped: count('self', 'skipped'),
    unsent: count('unsent'),
    done: records.filter(isEnded).length,
  };
}

const reportOf = ({ rows, records }) =>
  writeSpreadsheet([words.runColumns, ...rows.map((row, at) => cellsOf(row, records[at]))]);

// The rows that failed or were not reached, with just what is for them.
function retryOf({ rows, records }) {
  const values = rows
    .filter((_, at) => ['fail', 'unsent'].includes(records[at].state))
    .map(({ serial, model, settings }) => ({
      'UNIT.SERIAL': serial,
      'UNIT.MODEL': model,
      ...Object.fromEntries(settings),
    }));
  const keys = [...new Set(values.flatMap(Object.keys))];
  return writeForUnit(
    keys,
    values.map((row) => keys.map((key) => row[key] ?? '')),
  );
}

function Progress({ run, tally }) {
  const elapsed = (useClock(1000) - run.since) / 1000;
  const all = run.records.length;
  if (run.records.every(({ state }) => state === 'waiting')) {
    return (
      <div class="progress" role="status">
        <progress aria-label={words.running} />
        <span>{words.preparing}</span>
      </div>
    );
  }
  const left = tally.done > 0 ? (elapsed / tally.done) * (all - tally.done) : null;
  return (
    <div class="progress" role="status">
      <progress max={all} value={tally.done} aria-label={words.running} />
      <span>
        {words.progress(tally.done, all)}
        {left !== null && ` · ${words.remaining(left)}`}
      </span>
    </div>
  );
}

function Outcome({ run, tally }) {
  const { undo } = run;
  return (
    <div class="bar">
      <DownloadButton name={`report-${stamp()}.csv`} content={() => reportOf(run)}>
        {words.report}
      </DownloadButton>
      {tally.fail + tally.unsent > 0 && (
        <button
          type="button"
          class="main"
          onClick={() => draftFromText(retryOf(run), words.retryName, 'retry')}
        >
          {words.retry}
        </button>
      )}
      {undo !== '' && (
        <button type="button" onClick={() => draftFromText(undo, words.undoName, 'undo')}>
          {words.undo}
        </button>
      )}
      {undo !== '' && (
        <DownloadButton name={`undo-${stamp()}.csv`} content={() => undo}>
          {words.undoCsv}
        </DownloadButton>
      )}
      <button type="button" onClick={closeRun}>
        {words.back}
      </button>
    </div>
  );
}

function RunRow({ row, record, index }) {
  return (
    <tr aria-rowindex={index} class={`run ${record.state}`}>
      {cellsOf(row, record).map((text, column) => (
        <td key={column} title={text}>
          {column === 5 && (
            <span aria-hidden="true" class="symbol">
              {symbols[record.state]}
            </span>
          )}
          {text}
        </td>
      ))}
    </tr>
  );
}

export function RunView({ run }) {
  const [filter, setFilter] = useState('all');
  const tally = tallyOf(run.records);
  const pairs = run.rows.map((row, at) => ({ row, record: run.records[at] }));
  const shown = pairs.filter(({ record }) => filter === 'all' || (isEnded(record) && record.state !== 'ok'));
  return (
    <>
      <h3 id="run-heading">{run.over ? (run.ended ? words.ended : words.lostSight) : words.running}</h3>
      {run.over ? <Outcome {...{ run, tally }} /> : <Progress {...{ run, tally }} />}
      {!run.over && !run.kept && <Notice level="warn">{words.notKept}</Notice>}
      <ErrorNotice text={run.failure} />
      <div class="bar tools">
        <p id="tally" role="status">
          <strong>{words.tally(tally)}</strong>
        </p>
        <Choice
          label={words.show}
          value={filter}
          options={Object.entries(words.runFilters)}
          onChange={setFilter}
        />
      </div>
      <Table
        label={words.runTable}
        columns={columns}
        rows={shown}
        renderRow={(pair, at) => <RunRow key={pair.row.number} index={at + 2} {...pair} />}
      />
    </>
  );
}
