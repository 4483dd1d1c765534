// What a draft would do: its problems, its files, and the way to the run.

import { Fragment } from 'preact';
import { useMemo, useState } from 'preact/hooks';
import { gatherProblems } from '../logic/preflight.js';
import { wholeSite } from '../logic/run.js';
import { visible } from '../logic/visible.js';
import { Table } from '../parts/table.jsx';
import { CancelButton, Check, Choice, Dialog, DownloadButton, stamp } from '../parts/widgets.jsx';
import { startRun } from '../runs.js';
import { recall, remember } from '../store.js';
import { texts } from '../texts.js';

const words = texts.configure;
// The name by which people know the unit of a row.
export const nameOf = ({ unit, values }) =>
  visible(unit?.values['UNIT.ID'] || values['UNIT.ID'] || values['UNIT.SERIAL']);

const mostProblems = 100; // that are listed one by one
const mostRows = 12; // of a problem, that have a link each

// A link for each row of a problem.
function RowLinks({ problem, goTo }) {
  return (
    <>
      {problem.rows.slice(0, mostRows).map((row, at) => (
        <Fragment key={row}>
          {at > 0 && ', '}
          <button type="button" class="link" onClick={() => goTo(row, problem.column)}>
            {row}
          </button>
        </Fragment>
      ))}
      {problem.rows.length > mostRows && ` ${words.moreRows(problem.rows.length)}`}
    </>
  );
}

function ProblemTable({ problems, goTo }) {
  if (problems.length === 0) return <p>{words.noProblems}</p>;
  return (
    <div class="problems" tabIndex={0} role="region" aria-label={words.problemsTable}>
      <table>
        <thead>
          <tr>
            {words.problemColumns.map((title) => (
              <th key={title} scope="col">
                {title || <span class="hidden">{words.problemsTable}</span>}
              </th>
            ))}
          </tr>
        </thead>
        <tbody>
          {gatherProblems(problems, mostProblems).map((problem, at) => (
            <tr key={at}>
              <td>
                <span class={`level ${problem.level}`}>{words.levels[problem.level]}</span>
              </td>
              <td>
                <RowLinks {...{ problem, goTo }} />
              </td>
              <td>{problem.column}</td>
              <td>{words.problem(problem)}</td>
            </tr>
          ))}
        </tbody>
      </table>
    </div>
  );
}

const changeWidths = [6, 20, 26, 30, 30, 44];
const changeColumns = words.changeColumns.map((title, key) => ({ key, title, width: changeWidths[key] }));

function whatBecomesOf(row, cell) {
  if (cell.state === 'held') return `${words.fates.held}: ${words.held[cell.reason]}`;
  if (cell.state === 'fault') return `${words.fates.fault}: ${words.problems[`cell-${cell.reason}`]}`;
  return row.state === 'send' ? words.fates.change : `${words.fates.row}: ${words.problems[row.reason]}`;
}

const movedColumns = words.movedColumns.map((title) => ({ key: title, title, width: 18 }));

// The cells that are not blank or the same: {row, key}.
const changesOf = (plan) => plan.rows.flatMap((row) => Object.keys(row.cells).map((key) => ({ row, key })));

function ChangeRow({ row, name, index }) {
  const cell = row.cells[name];
  const state = row.state === 'left-out' ? 'fault' : cell.state;
  const cells = [
    String(row.number),
    nameOf(row),
    name,
    cell.old ?? '?',
    cell.value,
    whatBecomesOf(row, cell),
  ];
  return (
    <tr aria-rowindex={index}>
      {cells.map(visible).map((text, column) => (
        <td key={column} class={column === 4 ? state : ''} title={text}>
          {text}
        </td>
      ))}
    </tr>
  );
}

function Changes({ plan }) {
  const changes = useMemo(() => changesOf(plan), [plan]);
  const renderRow = ({ row, key }, at) => <ChangeRow key={at} name={key} index={at + 2} {...{ row }} />;
  if (changes.length === 0) return null;
  return (
    <details class="cells">
      <summary>{words.changes(changes.length)}</summary>
      <Table label={words.changesTable} columns={changeColumns} rows={changes} renderRow={renderRow} />
    </details>
  );
}

// How fast a run goes: one unit first, so many at a time, a pause between, a stop after failures.
function Pace({ plan, pace, setPace }) {
  const units = plan.sending.map((row) => [row.values['UNIT.SERIAL'], nameOf(row)]);
  const set = (news) => setPace({ ...pace, ...news });
  const number = (key, options) => (
    <Choice
      label={words.pace[key]}
      value={String(pace[key])}
      options={options.map((value) => [String(value), words.pace[`${key}Options`](value)])}
      onChange={(value) => set({ [key]: JSON.parse(value) })}
    />
  );
  return (
    <fieldset class="form">
      <legend>{words.pace.title}</legend>
      <Choice
        label={words.pace.trial}
        value={pace.trial}
        options={[['', words.pace.noTrial], ...units]}
        onChange={(trial) => set({ trial })}
      />
      {number('size', [0, 1, 5, 10, 25, 100])}
      {pace.size > 0 && number('pause', [0, 10, 60, 300, null])}
      {pace.size > 0 && number('most', [0, 1, 2, 3, 5, 10])}
    </fieldset>
  );
}

function Confirmation({ plan, name, onCancel }) {
  const leftOut = plan.problems.filter(({ level }) => level === 'out' || level === 'check').length;
  const [seen, setSeen] = useState(leftOut === 0);
  const [seenMoved, setSeenMoved] = useState(plan.moved.length === 0);
  const [pace, setPace] = useState({ ...wholeSite, ...recall('pace') });
  const go = () => {
    onCancel();
    remember('pace', { ...pace, trial: '' });
    startRun(plan, name, pace);
  };
  return (
    <Dialog title={words.confirm(plan.sending.length)} onCancel={onCancel}>
      <p>
        <strong>{words.summary(plan)}</strong>
      </p>
      <p>{words.confirmText}</p>
      {plan.sending.length > 1 && <Pace {...{ plan, pace, setPace }} />}
      {leftOut > 0 && <Check label={words.confirmLeftOut(leftOut)} checked={seen} onChange={setSeen} />}
      {plan.moved.length > 0 && (
        <>
          <Table
            label={words.movedTable}
            columns={movedColumns}
            rows={plan.moved}
            renderRow={({ id, from, to }, at) => (
              <tr key={at} aria-rowindex={at + 2}>
                <th scope="row">{visible(id)}</th>
                <td>{from}</td>
                <td>{to}</td>
              </tr>
            )}
          />
          <Check label={words.confirmMoved(plan.moved.length)} checked={seenMoved} onChange={setSeenMoved} />
        </>
      )}
      <div class="bar">
        <button type="button" class="main danger" disabled={!seen || !seenMoved} onClick={go}>
          {words.confirmGo}
        </button>
        <CancelButton onClick={onCancel} />
      </div>
    </Dialog>
  );
}

export function PreflightPanel({ plan, name, goTo, busy }) {
  const [asking, setAsking] = useState(false);
  return (
    <section aria-labelledby="preflight-heading">
      <h3 id="preflight-heading">{words.preflight}</h3>
      <p role="status">
        <strong>{words.summary(plan)}</strong>
      </p>
      <ProblemTable problems={plan.problems} goTo={goTo} />
      <Changes plan={plan} />
      <div class="bar">
        <button
          type="button"
          class="main"
          disabled={plan.text === '' || busy}
          onClick={() => setAsking(true)}
        >
          {words.send(plan.sending.length)}
        </button>
        {plan.text !== '' && (
          <DownloadButton name={`import-${stamp()}.csv`} content={() => plan.text}>
            {words.sentCsv}
          </DownloadButton>
        )}
        {plan.undo !== '' && (
          <DownloadButton name={`undo-${stamp()}.csv`} content={() => plan.undo}>
            {words.undoCsv}
          </DownloadButton>
        )}
        {plan.lost > 0 && <span class="hint">{words.lost(plan.lost)}</span>}
      </div>
      {asking && <Confirmation {...{ plan, name }} onCancel={() => setAsking(false)} />}
    </section>
  );
}
