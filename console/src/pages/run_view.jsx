// A mass update that runs or has run: what became of each unit, the report, and what can follow.

import { useMemo, useState } from 'preact/hooks';
import { attempt, discover, draftFromText } from '../actions.js';
import { compareWith, countLater, csvOf, labelsOf, placesOf, secondsLeft, tallyOf } from '../logic/run.js';
import { groupBy } from '../logic/site.js';
import { isEnded } from '../logic/site_log.js';
import { writeSpreadsheet } from '../logic/spreadsheet_csv.js';
import { Table } from '../parts/table.jsx';
import { OwnMark } from '../parts/unit_link.jsx';
import {
  CancelButton,
  Check,
  Choice,
  DownloadButton,
  ErrorNotice,
  Notice,
  stamp,
  useClock,
} from '../parts/widgets.jsx';
import { cancelBatch, closeRun, compareRun, endRun, goOn, stopAfterBatch } from '../runs.js';
import { useStore } from '../store.js';
import { visible } from '../logic/visible.js';
import { texts } from '../texts.js';

const words = texts.configure;
const columns = words.runColumns.map((title, at) => ({
  key: at,
  title,
  width: [6, 14, 26, 16, 10, 14, 46, 20][at],
}));
const comparisonColumns = words.comparisonColumns.map((title, key) => ({
  key,
  title,
  width: [30, 26, 34, 34][key],
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

// Each row with what is known of it.
function pairsOf(run, site, comparison) {
  const labels = labelsOf(run, site);
  const cells = groupBy(comparison, ({ at }) => at);
  return run.rows.map((row, at) => ({
    ...{ row, label: labels[at], record: run.records[at] },
    reported: cells.has(at) ? words.reported(cells.get(at)) : '',
  }));
}

// The texts of one row.
function cellsOf({ row, label, record, reported }) {
  return [
    String(row.number),
    row.serial,
    label,
    row.address,
    String(row.sent.length),
    words.states[record.state],
    isEnded(record) ? (words.reasons[record.reason] ?? '') : '',
    reported,
  ];
}

const reportOf = (pairs) => writeSpreadsheet([words.runColumns, ...pairs.map(cellsOf)]);

// The rows that failed or were not reached.
const retryOf = (run) => csvOf(run, placesOf(run, 'fail', 'unsent'));

function Waiting({ others }) {
  const { activity } = useStore();
  const text = others ? words.waitsFor(others) : activity?.tries > 0 ? words.waitsForUnit : words.preparing;
  return (
    <div class="progress" role="status">
      <progress aria-label={words.running} max={others?.total} value={others?.done} />
      <span>{text}</span>
      <CancelButton onClick={cancelBatch} />
    </div>
  );
}

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

const mostChanges = 20;

function Changes({ run, pairs }) {
  return (
    <ul>
      {run.changes.slice(0, mostChanges).map((change, at) => (
        <li key={at}>
          {pairs[change.at].label}: {words.changed(change)}
        </li>
      ))}
      {run.changes.length > mostChanges && <li>{words.moreChanges(run.changes.length - mostChanges)}</li>}
    </ul>
  );
}

function Pause({ run, tally, pairs }) {
  const now = useClock(1000);
  return (
    <>
      <Notice level={run.why === 'between' ? 'info' : 'warn'}>
        {words.paused[run.why]}{' '}
        {run.until && words.pausedFor(Math.max(0, Math.ceil((run.until - now) / 1000)))}
      </Notice>
      {run.why === 'changed' && <Changes {...{ run, pairs }} />}
      <div class="bar">
        <button type="button" class={run.why === 'changed' ? 'danger' : 'main'} onClick={goOn}>
          {words.goOn(tally.left)}
        </button>
        {run.why === 'changed' && (
          <button type="button" onClick={compareRun}>
            {words.compareAgain}
          </button>
        )}
        <button type="button" onClick={endRun}>
          {tally.done > 0 ? words.endRun : words.back}
        </button>
      </div>
    </>
  );
}

// What the units report now, cell by cell. This unit itself is never among them: it skips itself.
function Comparison({ pairs, comparison, busy }) {
  const [differing, setDiffering] = useState(true);
  const differs = ({ sent, now }) => sent !== now;
  const shown = comparison.filter((cell) => !differing || differs(cell));
  return (
    <>
      <div class="bar">
        <h4>{words.comparison}</h4>
        <button type="button" disabled={busy} onClick={() => attempt(discover)}>
          {words.discoverAndCompare}
        </button>
        {comparison.length > 0 && (
          <Check label={words.onlyDiffering} checked={differing} onChange={setDiffering} />
        )}
      </div>
      <p role="status">
        {comparison.length > 0
          ? words.compared(comparison.length, comparison.filter(differs).length)
          : words.acknowledged}
      </p>
      {shown.length > 0 && (
        <Table
          label={words.comparison}
          columns={comparisonColumns}
          rows={shown}
          renderRow={({ at, key, sent, now }, index) => (
            <tr key={index} aria-rowindex={index + 2} class={sent === now ? '' : 'conflict'}>
              <th scope="row">{pairs[at].label}</th>
              <td>{key}</td>
              <td>{visible(sent)}</td>
              <td>{visible(now) ?? words.notReported}</td>
            </tr>
          )}
        />
      )}
    </>
  );
}

function Outcome({ run, tally, pairs }) {
  const { undo } = run;
  return (
    <div class="bar">
      <DownloadButton name={`report-${stamp()}.csv`} content={() => reportOf(pairs)}>
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

function RunRow({ index, ownSerial, ...pair }) {
  const { row, record } = pair;
  return (
    <tr aria-rowindex={index} class={`run ${record.state}`}>
      {cellsOf(pair).map((text, column) => (
        <td key={column} title={text}>
          {column === 5 && (
            <span aria-hidden="true" class="symbol">
              {symbols[record.state]}
            </span>
          )}
          {text}
          {column === 2 && <OwnMark when={row.serial === ownSerial} />}
        </td>
      ))}
    </tr>
  );
}

export function RunView({ run, site, others, ownSerial, busy }) {
  const [filter, setFilter] = useState('all');
  const tally = tallyOf(run.records);
  const comparison = useMemo(() => (site ? compareWith(run, site) : []), [run, site]);
  const pairs = pairsOf(run, site, comparison);
  const shown = pairs.filter(({ record }) => filter === 'all' || (isEnded(record) && record.state !== 'ok'));
  const { step } = run;
  const Stage = { over: Outcome, paused: Pause, waiting: Waiting }[step] ?? Progress;
  return (
    <>
      <h3 id="run-heading">{step === 'over' && !run.ended ? words.lostSight : words.stages[step]}</h3>
      <Stage {...{ run, tally, pairs, others }} />
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
        renderRow={(pair, at) => (
          <RunRow key={pair.row.number} index={at + 2} {...pair} ownSerial={ownSerial} />
        )}
      />
      {(step === 'over' || step === 'paused') && tally.ok + tally.fail > 0 && (
        <Comparison {...{ pairs, comparison, busy }} />
      )}
    </>
  );
}
