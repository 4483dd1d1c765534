// A mass update that runs or has run: what became of each unit, the report, and what can follow.

import { draftFromText } from '../actions.js';
import { writeSpreadsheet } from '../logic/spreadsheet_csv.js';
import { writeForUnit } from '../logic/unit_csv.js';
import { Table } from '../parts/table.jsx';
import { DownloadButton, ErrorNotice, stamp, useClock } from '../parts/widgets.jsx';
import { set } from '../store.js';
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
};

const isDone = ({ state }) => ['ok', 'fail', 'self', 'skipped'].includes(state);

// An id that changes stands behind the one by which people know the unit.
function idOf(row) {
  const ids = [row.unit?.values['UNIT.ID'], row.values['UNIT.ID']].filter(Boolean);
  return [...new Set(ids)].join(' → ');
}

// The texts of one row.
function cellsOf(row, record) {
  return [
    String(row.number),
    row.values['UNIT.SERIAL'],
    idOf(row),
    row.values['IP.ADDRESS'] || row.unit?.values['IP.ADDRESS'] || '',
    String(row.settings.length),
    words.states[record.state],
    isDone(record) ? (words.reasons[record.reason] ?? '') : '',
  ];
}

function tallyOf(records) {
  const count = (...states) => records.filter(({ state }) => states.includes(state)).length;
  return {
    ok: count('ok'),
    fail: count('fail'),
    skipped: count('self', 'skipped'),
    done: records.filter(isDone).length,
  };
}

const reportOf = ({ plan, records }) =>
  writeSpreadsheet([words.runColumns, ...plan.sending.map((row, at) => cellsOf(row, records[at]))]);

// The failed rows with just what was sent to them.
function retryOf({ plan, records }) {
  const failed = plan.sending.filter((_, at) => records[at].state === 'fail');
  const keys = [
    ...new Set(['UNIT.SERIAL', 'UNIT.MODEL', ...failed.flatMap((row) => row.settings.map(({ key }) => key))]),
  ];
  const valueOf = (row, key) => row.settings.find((setting) => setting.key === key)?.value ?? '';
  const identity = (row, key) =>
    key === 'UNIT.SERIAL' || key === 'UNIT.MODEL' ? (row.values[key] ?? '') : null;
  return writeForUnit(
    keys,
    failed.map((row) => keys.map((key) => identity(row, key) ?? valueOf(row, key))),
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
  const { plan } = run;
  return (
    <div class="bar">
      <DownloadButton name={`report-${stamp()}.csv`} content={() => reportOf(run)}>
        {words.report}
      </DownloadButton>
      {tally.fail > 0 && (
        <button
          type="button"
          class="main"
          onClick={() => draftFromText(retryOf(run), words.retryName, 'retry')}
        >
          {words.retry}
        </button>
      )}
      {plan.undo !== '' && (
        <button type="button" onClick={() => draftFromText(plan.undo, words.undoName, 'undo')}>
          {words.undo}
        </button>
      )}
      {plan.undo !== '' && (
        <DownloadButton name={`undo-${stamp()}.csv`} content={() => plan.undo}>
          {words.undoCsv}
        </DownloadButton>
      )}
      <button type="button" onClick={() => set({ run: null })}>
        {words.back}
      </button>
    </div>
  );
}

export function RunView({ run }) {
  const tally = tallyOf(run.records);
  return (
    <>
      <h3 id="run-heading">{run.over ? words.ended : words.running}</h3>
      {run.over ? <Outcome {...{ run, tally }} /> : <Progress {...{ run, tally }} />}
      <ErrorNotice text={run.failure} />
      <p id="tally" role="status">
        <strong>{words.tally(tally)}</strong>
      </p>
      <Table
        label={words.runTable}
        columns={columns}
        rows={run.plan.sending}
        renderRow={(row, at) => (
          <tr key={row.number} aria-rowindex={at + 2} class={`run ${run.records[at].state}`}>
            {cellsOf(row, run.records[at]).map((text, column) => (
              <td key={column} title={text}>
                {column === 5 && (
                  <span aria-hidden="true" class="symbol">
                    {symbols[run.records[at].state]}
                  </span>
                )}
                {text}
              </td>
            ))}
          </tr>
        )}
      />
    </>
  );
}
