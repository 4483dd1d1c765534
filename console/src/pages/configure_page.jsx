// Mass configuration: a draft is opened, edited and checked here; the run is run_view.jsx.

import { useMemo, useState } from 'preact/hooks';
import { attempt, discover, draftFromSite, editCells, openDraft, runUpdate, undoEdit } from '../actions.js';
import { preflight } from '../logic/preflight.js';
import { EditGrid } from '../parts/edit_grid.jsx';
import { fittingWidth } from '../parts/table.jsx';
import { CancelButton, Dialog, DownloadButton, DropZone, Menu, Notice, stamp } from '../parts/widgets.jsx';
import { recall, set } from '../store.js';
import { texts } from '../texts.js';
import { RunView } from './run_view.jsx';

const words = texts.configure;
const mostProblems = 100; // that are listed

// 2, 3, 4, 7 become "2–4, 7".
function rowRanges(rows) {
  const ranges = [];
  for (const row of rows) {
    const last = ranges.at(-1);
    if (last && row === last[1] + 1) last[1] = row;
    else ranges.push([row, row]);
  }
  return ranges.map(([from, to]) => (from === to ? `${from}` : `${from}–${to}`)).join(', ');
}

// "AB-{nnn}" and 7 become "AB-007".
const filled = (pattern, number) => pattern.replace(/\{(n+)\}/g, (_, digits) => String(number).padStart(digits.length, '0'));

function FillTool({ columns, canEdit, shown }) {
  const editable = columns.map((title, column) => [title, column]).filter(([, column]) => canEdit(column));
  const [column, setColumn] = useState(editable[0]?.[1] ?? 0);
  const [pattern, setPattern] = useState('');
  const [from, setFrom] = useState(1);
  const fill = () => editCells(shown.map((row, at) => [row, column, filled(pattern, from + at)]));
  return (
    <Menu title={words.fill} form>
      <label>{words.fillColumn} <select value={column} onChange={(event) => setColumn(Number(event.target.value))}>
        {editable.map(([title, at]) => <option key={at} value={at}>{title}</option>)}
      </select></label>
      <label>{words.fillPattern} <input value={pattern} onInput={(event) => setPattern(event.target.value)} /></label>
      <label>{words.fillFrom} <input type="number" value={from} onInput={(event) => setFrom(Number(event.target.value))} /></label>
      <p class="hint">{words.fillHint}</p>
      <button type="button" onClick={fill}>{words.fillGo(shown.length)}</button>
    </Menu>
  );
}

function Start({ site }) {
  return (
    <div class="start">
      {!site && <Notice level="info">{words.noSite}</Notice>}
      <DropZone label={words.drop} hint={words.dropHint} accept=".csv,.txt,text/csv" disabled={!site} onFile={(file) => attempt(() => openDraft(file))} />
      <button type="button" class="main" disabled={!site} onClick={draftFromSite}>{words.editSite}</button>
    </div>
  );
}

const rowFilters = {
  all: () => true,
  sending: (row) => row.state === 'send',
  problems: (row) => row.state === 'left-out' || Object.values(row.cells).some(({ state }) => state === 'fault' || state === 'held'),
};

const nameOf = ({ unit, values }) => unit?.values['UNIT.ID'] || values['UNIT.ID'] || values['UNIT.SERIAL'];

function Editor({ draft, plan, rowFilter, active, activate }) {
  const shown = useMemo(() => draft.rows.map((_, at) => at).filter((at) => rowFilters[rowFilter](plan.rows[at])), [draft, plan, rowFilter]);
  const columns = useMemo(() => draft.columns.map((title, key) => (
    { key, title: title || `#${key + 1}`, width: fittingWidth(title, draft.rows.map((row) => row.cells[key] ?? '')) }
  )), [draft.columns, draft.source === 'site' ? null : draft.rows]);
  const canEdit = (column) => draft.source !== 'site' || draft.columns[column] !== 'UNIT.SERIAL';
  const row = plan.rows[shown[active.row]];
  const cellAt = (at, column) => plan.rows[shown[at]]?.cells[plan.header[column]];
  const stateAt = (at, column) => {
    if (plan.header[column] === null) return 'held';
    return plan.rows[shown[at]].state === 'left-out' ? 'fault' : cellAt(at, column)?.state ?? 'blank';
  };
  const marks = Object.fromEntries(words.legend);
  const cell = cellAt(active.row, active.column);
  const key = plan.header[active.column];
  return (
    <>
      <div class="bar tools">
        <FillTool columns={draft.columns} {...{ canEdit, shown }} />
        <p class="legend">{words.legend.map(([state, title]) => <span key={state}><span class={`sample ${state}`} aria-hidden="true">Abc</span> {title}</span>)}</p>
      </div>
      <EditGrid
        label={words.table} columns={columns} rows={shown.map((at) => draft.rows[at])} {...{ active, activate, canEdit }}
        edit={(changes) => editCells(changes.map(([at, column, text]) => [shown[at], column, text]))} undo={undoEdit}
        titleOf={(at) => nameOf(plan.rows[shown[at]])} classOf={stateAt} sayMark={(at, column) => marks[stateAt(at, column)]}
      />
      <p class="cell-detail" role="status">
        {row && key && cell && <><strong>{nameOf(row)} · {key}</strong> {words.cell[cell.state]({ ...cell, key })}</>}
      </p>
      <p class="hint">{words.keys}</p>
    </>
  );
}

function ProblemTable({ problems, goTo }) {
  if (problems.length === 0) return <p>{words.noProblems}</p>;
  return (
    <div class="problems" tabIndex={0} role="region" aria-label={words.problemsTable}>
      <table>
        <thead><tr>{words.problemColumns.map((title) => <th key={title} scope="col">{title || <span class="hidden">{words.problemsTable}</span>}</th>)}</tr></thead>
        <tbody>
          {problems.slice(0, mostProblems).map((problem, at) => (
            <tr key={at} class={problem.level}>
              <td><span class={`level ${problem.level}`}>{words.levels[problem.level]}</span></td>
              <td>{problem.rows.length > 0 && <button type="button" class="link" onClick={() => goTo(problem)}>{rowRanges(problem.rows)}</button>}</td>
              <td>{problem.column}</td>
              <td>{words.problem(problem)}</td>
            </tr>
          ))}
        </tbody>
      </table>
      {problems.length > mostProblems && <p>{words.more(problems.length - mostProblems)}</p>}
    </div>
  );
}

function Confirmation({ plan, onCancel }) {
  const leftOut = plan.problems.filter(({ level }) => level === 'warn').length;
  const [seen, setSeen] = useState(leftOut === 0);
  const go = () => {
    onCancel();
    runUpdate(plan);
  };
  return (
    <Dialog title={words.confirm(plan.sending.length)} onCancel={onCancel}>
      <p><strong>{words.summary(plan)}</strong></p>
      <p>{words.confirmText}</p>
      {leftOut > 0 && <label class="check"><input type="checkbox" checked={seen} onChange={() => setSeen(!seen)} /> {words.confirmLeftOut(leftOut)}</label>}
      <div class="bar">
        <button type="button" class="main danger" disabled={!seen} onClick={go}>{words.confirmGo}</button>
        <CancelButton onClick={onCancel} />
      </div>
    </Dialog>
  );
}

function Preflight({ plan, goTo, busy }) {
  const [asking, setAsking] = useState(false);
  return (
    <section aria-labelledby="preflight-heading">
      <h3 id="preflight-heading">{words.preflight}</h3>
      <p role="status"><strong>{words.summary(plan)}</strong></p>
      <ProblemTable problems={plan.problems} goTo={goTo} />
      <div class="bar">
        <button type="button" class="main" disabled={plan.text === '' || busy} onClick={() => setAsking(true)}>{words.send(plan.sending.length)}</button>
        {plan.text !== '' && <DownloadButton name={`import-${stamp()}.csv`} content={() => plan.text}>{words.sentCsv}</DownloadButton>}
        {plan.undo !== '' && <DownloadButton name={`undo-${stamp()}.csv`} content={() => plan.undo}>{words.undoCsv}</DownloadButton>}
        {plan.lost > 0 && <span class="hint">{words.lost(plan.lost)}</span>}
      </div>
      {asking && <Confirmation plan={plan} onCancel={() => setAsking(false)} />}
    </section>
  );
}

function Outdated({ busy }) {
  return <Notice level="info">{words.outdated} <button type="button" disabled={busy} onClick={() => attempt(discover)}>{texts.units.again}</button></Notice>;
}

// The drafts made from a run hold nothing but changes, and what they are compared with is from before it.
function Draft({ draft, site, outdated, canUndo, busy }) {
  const [onlyChanges, setOnlyChanges] = useState(draft.source === 'file' || draft.source === 'site');
  const [rowFilter, setRowFilter] = useState('all');
  const [active, activate] = useState({ row: 0, column: 0 });
  const plan = useMemo(() => preflight(draft, site, { onlyChanges, ownSerial: recall('own-serial') ?? '' }), [draft, site, onlyChanges]);
  const goTo = ({ rows, column }) => {
    setRowFilter('all');
    activate({ row: Math.max(0, draft.rows.findIndex(({ number }) => number === rows[0])), column: Math.max(0, plan.header.indexOf(column)) });
  };
  const filter = (event) => {
    setRowFilter(event.target.value);
    activate({ row: 0, column: active.column });
  };
  return (
    <>
      {outdated && <Outdated busy={busy} />}
      <div class="bar tools">
        <strong>{draft.name || words.fromSite}</strong>
        <button type="button" onClick={() => set({ draft: null })}>{words.other}</button>
        <button type="button" disabled={!canUndo} onClick={undoEdit}>{words.undoEdit}</button>
        <label>{words.show} <select value={rowFilter} onChange={filter}>
          {Object.entries(words.rowFilters).map(([name, title]) => <option key={name} value={name}>{title}</option>)}
        </select></label>
        <label class="check" title={words.onlyChangesHint}>
          <input type="checkbox" checked={onlyChanges} onChange={() => setOnlyChanges(!onlyChanges)} /> {words.onlyChanges}
        </label>
      </div>
      <Editor {...{ draft, plan, rowFilter, active, activate }} />
      <Preflight {...{ plan, goTo, busy }} />
    </>
  );
}

export function ConfigurePage({ state: { site, outdated, draft, earlierDrafts, run, activity } }) {
  return (
    <section aria-labelledby="configure-heading">
      <div class="bar"><h2 id="configure-heading">{words.heading}</h2></div>
      {run ? <RunView run={run} />
        : draft && site ? <Draft key={draft.source + draft.name} {...{ draft, site, outdated }} canUndo={earlierDrafts.length > 0} busy={activity !== null} />
          : <Start site={site} />}
    </section>
  );
}
