// Mass configuration: a draft is opened and edited here; what it would do is preflight_panel.jsx, its run run_view.jsx.

import { useMemo, useState } from 'preact/hooks';
import { attempt, discover, draftFromSite, dropDraft, editCells, openDraft, undoEdit } from '../actions.js';
import { preflight } from '../logic/preflight.js';
import { EditGrid } from '../parts/edit_grid.jsx';
import { fittingWidth } from '../parts/table.jsx';
import { Check, Choice, DropZone, Menu, Notice } from '../parts/widgets.jsx';
import { texts } from '../texts.js';
import { PreflightPanel, nameOf } from './preflight_panel.jsx';
import { RunView } from './run_view.jsx';

const words = texts.configure;

// "AB-{nnn}" and 7 become "AB-007".
const filled = (pattern, number) =>
  pattern.replace(/\{(n+)\}/g, (_, digits) => String(number).padStart(digits.length, '0'));

function FillTool({ columns, canEdit, shown }) {
  const editable = [...columns.entries()].filter(([column]) => canEdit(column));
  const [column, setColumn] = useState(editable[0]?.[0] ?? 0);
  const [pattern, setPattern] = useState('');
  const [from, setFrom] = useState(1);
  const fill = () => editCells(shown.map((row, at) => [row, column, filled(pattern, from + at)]));
  return (
    <Menu title={words.fill} form>
      <Choice
        label={words.fillColumn}
        value={column}
        options={editable}
        onChange={(value) => setColumn(Number(value))}
      />
      <label>
        {words.fillPattern} <input value={pattern} onInput={(event) => setPattern(event.target.value)} />
      </label>
      <label>
        {words.fillFrom}{' '}
        <input type="number" value={from} onInput={(event) => setFrom(Number(event.target.value))} />
      </label>
      <p class="hint">{words.fillHint}</p>
      <button type="button" onClick={fill}>
        {words.fillGo(shown.length)}
      </button>
    </Menu>
  );
}

function Start({ site }) {
  return (
    <div class="start">
      {!site && <Notice level="info">{words.noSite}</Notice>}
      <DropZone
        label={words.drop}
        hint={words.dropHint}
        accept=".csv,.txt,text/csv"
        disabled={!site}
        onFile={(file) => attempt(() => openDraft(file))}
      />
      <button type="button" class="main" disabled={!site} onClick={() => draftFromSite()}>
        {words.editSite}
      </button>
    </div>
  );
}

const rowFilters = {
  all: () => true,
  sending: (row) => row.state === 'send',
  problems: (row) =>
    row.state === 'left-out' ||
    Object.values(row.cells).some(({ state }) => state === 'fault' || state === 'held'),
};

const Legend = () => (
  <p class="legend">
    {words.legend.map(([state, title]) => (
      <span key={state}>
        <span class={`sample ${state}`} aria-hidden="true">
          Abc
        </span>{' '}
        {title}
      </span>
    ))}
  </p>
);

const CellDetail = ({ row, name, cell }) => (
  <p class="cell-detail" role="status">
    {cell && (
      <>
        <strong>
          {nameOf(row)} · {name}
        </strong>{' '}
        {words.cell[cell.state]({ ...cell, key: name })}{' '}
        {row.state === 'left-out' && words.problems[row.reason]}
      </>
    )}
  </p>
);

// The columns of the discovered units keep their width while cells are edited.
function useColumns({ columns, rows, source }) {
  const textsOf = (column) => rows.map((row) => row.cells[column] ?? '');
  return useMemo(
    () =>
      columns.map((name, key) => {
        const title = name || `#${key + 1}`;
        return { key, title, width: fittingWidth(title, textsOf(key)) };
      }),
    [columns, source === 'site' ? null : rows],
  );
}

// The rows that passed the filter when it was chosen stay, whatever becomes of them: none vanishes while it is edited.
function useShownRows({ draft, plan, site, onlyChanges, rowFilter }) {
  return useMemo(
    () => draft.rows.map((_, at) => at).filter((at) => rowFilters[rowFilter](plan.rows[at])),
    [site, onlyChanges, rowFilter, draft.rows.length],
  );
}

function Editor({ draft, plan, shown, active: chosen, activate }) {
  const active = { ...chosen, row: Math.max(0, Math.min(chosen.row, shown.length - 1)) };
  const columns = useColumns(draft);
  const canEdit = (column) => draft.source !== 'site' || draft.columns[column] !== 'UNIT.SERIAL';
  const rowAt = (at) => plan.rows[shown[at]];
  const cellAt = (at, column) => rowAt(at)?.cells[plan.header[column]];
  const stateAt = (at, column) => {
    if (plan.header[column] === null) return 'held';
    return rowAt(at).state === 'left-out' ? 'fault' : (cellAt(at, column)?.state ?? 'blank');
  };
  const marks = Object.fromEntries(words.legend);
  return (
    <>
      <div class="bar tools">
        <FillTool columns={draft.columns} {...{ canEdit, shown }} />
        <Legend />
      </div>
      <EditGrid
        label={words.table}
        rows={shown.map((at) => draft.rows[at])}
        edit={(changes) => editCells(changes.map(([at, column, text]) => [shown[at], column, text]))}
        undo={undoEdit}
        titleOf={(at) => nameOf(rowAt(at)) + (rowAt(at).reason === 'row-self' ? ` (${texts.thisUnit})` : '')}
        classOf={stateAt}
        sayMark={(at, column) => marks[stateAt(at, column)]}
        {...{ columns, active, activate, canEdit }}
      />
      <CellDetail
        row={rowAt(active.row)}
        name={plan.header[active.column]}
        cell={cellAt(active.row, active.column)}
      />
      <p class="hint">{words.keys}</p>
    </>
  );
}

function Outdated({ busy }) {
  return (
    <Notice level="info">
      {words.outdated}{' '}
      <button type="button" disabled={busy} onClick={() => attempt(discover)}>
        {texts.units.again}
      </button>
    </Notice>
  );
}

function DraftTools({ draft, canUndo, rowFilter, filterRows, onlyChanges, setOnlyChanges }) {
  return (
    <div class="bar tools">
      <strong>{draft.name || words.fromSite}</strong>
      <button type="button" onClick={dropDraft}>
        {words.other}
      </button>
      <button type="button" disabled={!canUndo} onClick={undoEdit}>
        {words.undoEdit}
      </button>
      <Choice
        label={words.show}
        value={rowFilter}
        options={Object.entries(words.rowFilters)}
        onChange={filterRows}
      />
      <Check
        label={words.onlyChanges}
        hint={words.onlyChangesHint}
        checked={onlyChanges}
        onChange={setOnlyChanges}
      />
    </div>
  );
}

// The drafts made from a run hold nothing but changes, and what they are compared with is from before it.
function Draft({ draft, site, ownSerial, outdated, canUndo, busy }) {
  const [onlyChanges, setOnlyChanges] = useState(draft.source === 'file' || draft.source === 'site');
  const [rowFilter, setRowFilter] = useState('all');
  const [active, activate] = useState({ row: 0, column: 0 });
  const plan = useMemo(() => preflight(draft, site, { onlyChanges, ownSerial }), [draft, site, onlyChanges]);
  const shown = useShownRows({ draft, plan, site, onlyChanges, rowFilter });
  const goTo = ({ rows: [first], column }) => {
    const row = draft.rows.findIndex(({ number }) => number === first);
    setRowFilter('all');
    activate({ row: Math.max(0, row), column: Math.max(0, plan.header.indexOf(column)) });
  };
  const filterRows = (filter) => {
    setRowFilter(filter);
    activate({ row: 0, column: active.column });
  };
  return (
    <>
      {outdated && <Outdated busy={busy} />}
      <DraftTools {...{ draft, canUndo, rowFilter, filterRows, onlyChanges, setOnlyChanges }} />
      <Editor {...{ draft, plan, shown, active, activate }} />
      <PreflightPanel {...{ plan, goTo, busy }} />
    </>
  );
}

export function ConfigurePage({ state: { site, ownSerial, outdated, draft, earlierDrafts, run, activity } }) {
  return (
    <section aria-labelledby="configure-heading">
      <div class="bar">
        <h2 id="configure-heading">{words.heading}</h2>
      </div>
      {run ? (
        <RunView run={run} />
      ) : draft && site ? (
        <Draft
          key={draft.source + draft.name}
          {...{ draft, site, ownSerial, outdated }}
          canUndo={earlierDrafts.length > 0}
          busy={activity !== null}
        />
      ) : (
        <Start site={site} />
      )}
    </section>
  );
}
