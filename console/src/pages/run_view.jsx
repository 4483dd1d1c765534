// A mass update that runs or has run: what became of each unit, the report, and what can follow.

import { useState } from 'preact/hooks';
import { draftFromText } from '../actions.js';
import { countLater, csvOf, placesOf, secondsLeft, tallyOf } from '../logic/run.js';
import { isEnded } from '../logic/site_log.js';
import { writeSpreadsheet } from '../logic/spreadsheet_csv.js';
import { Table } from '../parts/table.jsx';
import { Choice, DownloadButton, ErrorNotice, Notice, stamp, useClock } from '../parts/widgets.jsx';
import { closeRun, endRun, goOn, stopAfterBatch } from '../runs.js';
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
    [...new Set([row.was, row.id])].filter(Boolean).join(' → '),
    row.address,
    String(row.settings),
    words.states[record.state],
    isEnded(record) ? (words.reasons[record.reason] ?? '') : '',
  ];
}

const reportOf = ({ rows, records }) =>
  writeSpreadsheet([words.runColumns, ...rows.map((row, at) => cellsOf(row, records[at]))]);

// The rows that failed or were not reached.
const retryOf = (run) => csvOf(run, placesOf(run, 'fail', 'unsent'));

function Progress({ run, tally }) {
  const left = secondsLeft(run, useClock(1000));
  const all = run.records.length;
  const started = run.batch.some((at) => run.records[at].state !== 'waiting');
  return (
    <div class="progress" role="status">
      <progress
        max={all}
        value={started || tally.done > 0 ? tally.done : undefined}
        aria-label={words.running}
      />
      <span>
        {started ? words.progress(tally.done, all) : words.preparing}
        {run.offline ? ` · ${words.offline}` : left !== null && ` · ${words.remaining(left)}`}
      </span>
      {countLater(run) > 0 && (
        <button type="button" disabled={run.stopping} onClick={stopAfterBatch}>
          {run.stopping ? words.stopping : words.stop}
        </button>
      )}
    </div>
  );
}

function Pause({ run, tally }) {
  const now = useClock(1000);
  return (
    <>
      <Notice level={run.why === 'between' ? 'info' : 'warn'}>
        {words.paused[run.why]}{' '}
        {run.until && words.pausedFor(Math.max(0, Math.ceil((run.until - now) / 1000)))}
      </Notice>
      <div class="bar">
        <button type="button" class="main" onClick={goOn}>
          {words.goOn(tally.left)}
        </button>
        <button type="button" onClick={endRun}>
          {words.endRun}
        </button>
      </div>
    </>
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
  const { step } = run;
  const Stage = { over: Outcome, paused: Pause }[step] ?? Progress;
  return (
    <>
      <h3 id="run-heading">{step === 'over' && !run.ended ? words.lostSight : words.stages[step]}</h3>
      <Stage {...{ run, tally }} />
      {step !== 'over' && run.kept === false && <Notice level="warn">{words.notKept}</Notice>}
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
