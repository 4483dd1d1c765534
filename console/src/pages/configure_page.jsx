// Mass configuration: a draft is opened and edited here; what it would do is preflight_panel.jsx, its run run_view.jsx.

import { useEffect, useMemo, useState } from 'preact/hooks';
import {
  attempt,
  discover,
  draftFromSite,
  dropDraft,
  editCells,
  openDraft,
  redoEdit,
  undoEdit,
} from '../actions.js';
import { passing, sorted } from '../logic/choice.js';
import { cellOf, preflight } from '../logic/preflight.js';
import { EditGrid, focusGrid } from '../parts/edit_grid.jsx';
import { fittingWidth } from '../parts/table.jsx';
import { BusyButton, Check, Choice, DropZone, FilterInput, Menu, Notice } from '../parts/widgets.jsx';
import { showRun } from '../runs.js';
import { texts } from '../texts.js';
import { HeaderMap } from './header_map.jsx';
import { PreflightPanel, nameOf } from './preflight_panel.jsx';
import { PresetTool } from './preset_tool.jsx';
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

// The rows that passed the filters when they were chosen stay where they are, whatever becomes of them: none vanishes or
// moves while it is edited.
function useShownRows({ draft, plan, site, options, view }) {
  return useMemo(() => {
    const { rows, kind, filter, sort } = view;
    const passes = passing({ kind, filter });
    const itemOf = (at) => {
      const { unit, kind: own } = plan.rows[at];
      const cells = () => [...draft.rows[at].cells, ...Object.values(unit?.values ?? {})];
      return { kind: own ?? {}, marks: unit?.marks ?? [], texts: cells };
    };
    const shown = [...draft.rows.keys()].filter(
      (at) => rowFilters[rows](plan.rows[at]) && passes(itemOf(at)),
    );
    const textOf = (at) =>
      sort.key === 'number' ? String(draft.rows[at].number) : (draft.rows[at].cells[sort.key] ?? '');
    return sort.key === 'number' && sort.direction === 'up' ? shown : sorted(shown, sort.direction, textOf);
  }, [site, options, view, draft.rows.length]);
}

const wholeDraft = { rows: 'all', kind: 'all', filter: '', sort: { key: 'number', direction: 'up' } };
let lastView = { of: '', view: wholeDraft }; // of a draft's name: stays when pages change

function Editor({ draft, plan, site, shown, active: chosen, activate, goNext, sort, onSort }) {
  const active = { ...chosen, row: Math.max(0, Math.min(chosen.row, shown.length - 1)) };
  const columns = useColumns(draft);
  const canEdit = (column) => draft.source !== 'site' || draft.columns[column] !== 'UNIT.SERIAL';
  const rowAt = (at) => plan.rows[shown[at]];
  const cellAt = (at, column) => rowAt(at) && cellOf(rowAt(at), plan.header[column]);
  const stateAt = (at, column) => {
    if (plan.header[column] === null) return 'held';
    return rowAt(at).state === 'left-out' ? 'fault' : (cellAt(at, column)?.state ?? 'blank');
  };
  const units = shown.map((at) => plan.rows[at].unit).filter(Boolean);
  const marks = Object.fromEntries(words.legend);
  const [notice, setNotice] = useState('');
  useEffect(() => setNotice(''), [active.row, active.column]);
  return (
    <>
      <div class="bar tools">
        <FillTool columns={draft.columns} {...{ canEdit, shown }} />
        <PresetTool units={units} keys={site.keys} />
        <Legend />
      </div>
      <EditGrid
        label={words.table}
        rows={shown.map((at) => draft.rows[at])}
        edit={(changes) => editCells(changes.map(([at, column, text]) => [shown[at], column, text]))}
        undo={undoEdit}
        redo={redoEdit}
        refuse={(count, all) => setNotice(words.notPasted(count, all))}
        goNext={goNext}
        titleOf={(at) => nameOf(rowAt(at)) + (rowAt(at).reason === 'row-self' ? ` (${texts.thisUnit})` : '')}
        classOf={stateAt}
        sayMark={(at, column) => marks[stateAt(at, column)]}
        {...{ columns, active, activate, canEdit, sort, onSort }}
      />
      <CellDetail
        row={rowAt(active.row)}
        name={plan.header[active.column]}
        cell={cellAt(active.row, active.column)}
      />
      {notice && <Notice level="warn">{notice}</Notice>}
      <p class="hint">{words.keys}</p>
    </>
  );
}

function Outdated({ busy }) {
  return (
    <Notice level="info">
      {words.outdated}{' '}
      <BusyButton busy={busy} onClick={() => attempt(discover)}>
        {texts.units.again}
      </BusyButton>
    </Notice>
  );
}

// How many problems there are, and the way from one to the next: in the order of the rows, each row and column once.
function ProblemTools({ plan, steps, goNext }) {
  const counted = Object.keys(words.levels)
    .map((level) => [level, plan.problems.filter((problem) => problem.level === level)])
    .filter(([, problems]) => problems.length > 0);
  return (
    <div class="bar tools" role="group" aria-label={words.problemsTable}>
      {counted.length === 0 && <span>{words.noProblems}</span>}
      {counted.map(([level, problems]) => (
        <span key={level} class={`level ${level}`}>
          {words.levels[level]}: {problems.length}
        </span>
      ))}
      {steps.length > 0 && (
        <>
          <button type="button" onClick={() => goNext(-1)}>
            {words.previousProblem}
          </button>
          <button type="button" onClick={() => goNext(1)}>
            {words.nextProblem}
          </button>
        </>
      )}
    </div>
  );
}

// The places of all problems that are in the grid, as {row index, column index}.
function stepsOf(plan, draft) {
  const at = new Map(draft.rows.map(({ number }, index) => [number, index]));
  const places = plan.problems
    .filter(({ level }) => level !== 'fixed')
    .flatMap(({ rows, column }) => rows.map((row) => [at.get(row), Math.max(0, plan.header.indexOf(column))]))
    .filter(([row]) => row !== undefined);
  const once = new Map(places.map((place) => [place.join(), { row: place[0], column: place[1] }]));
  return [...once.values()].sort((one, other) => one.row - other.row || one.column - other.column);
}

function DraftTools({ draft, plan, shown, canUndo, canRedo, view, setView, options, setOptions }) {
  const isUnknown = plan.problems.some(({ code }) => code === 'unit-unknown');
  const set = (news) => setOptions({ ...options, ...news });
  return (
    <div class="bar tools">
      <strong>{draft.name || words.fromSite}</strong>
      <button type="button" onClick={dropDraft}>
        {words.other}
      </button>
      <BusyButton busy={!canUndo} onClick={undoEdit}>
        {words.undoEdit}
      </BusyButton>
      <BusyButton busy={!canRedo} onClick={redoEdit}>
        {words.redoEdit}
      </BusyButton>
      <Choice
        label={words.show}
        value={view.rows}
        options={Object.entries(words.rowFilters)}
        onChange={(rows) => setView({ ...view, rows })}
      />
      <Choice
        label={texts.units.kind}
        value={view.kind}
        options={Object.entries(texts.units.kinds)}
        onChange={(kind) => setView({ ...view, kind })}
      />
      <FilterInput
        label={texts.units.filter}
        value={view.filter}
        onInput={(filter) => setView({ ...view, filter })}
      />
      <span class="hint" role="status">
        {texts.units.shown(shown.length, draft.rows.length)}
      </span>
      <Check
        label={words.onlyChanges}
        hint={words.onlyChangesHint}
        checked={options.onlyChanges}
        onChange={(onlyChanges) => set({ onlyChanges })}
      />
      {isUnknown && (
        <Check
          label={words.unknownToo}
          checked={options.unknownToo}
          onChange={(unknownToo) => set({ unknownToo })}
        />
      )}
    </div>
  );
}

// What has failed is sent again as it was: some of it may have been taken, and not saved.
function Draft({ draft, site, ownSerial, outdated, canUndo, canRedo, busy }) {
  const [options, setOptions] = useState({ onlyChanges: draft.source !== 'retry', unknownToo: false });
  const [view, setShownView] = useState(lastView.of === draft.name ? lastView.view : wholeDraft);
  const [active, activate] = useState({ row: 0, column: 0 });
  const plan = useMemo(() => preflight(draft, site, { ...options, ownSerial }), [draft, site, options]);
  const shown = useShownRows({ draft, plan, site, options, view });
  const steps = useMemo(() => stepsOf(plan, draft), [plan, draft.rows]);
  const keepView = (changed) => {
    lastView = { of: draft.name, view: changed };
    setShownView(changed);
  };
  // Goes to a place of the draft, with the keyboard; all rows are shown when its row is not.
  const goToPlace = ({ row, column }) => {
    const place = shown.indexOf(row);
    if (place < 0) keepView(wholeDraft);
    activate({ row: place < 0 ? row : place, column });
    focusGrid();
  };
  const goTo = (number, column) => {
    const row = draft.rows.findIndex((one) => one.number === number);
    goToPlace({ row: Math.max(0, row), column: Math.max(0, plan.header.indexOf(column)) });
  };
  const goNext = (direction) => {
    const here = { row: shown[active.row] ?? 0, column: active.column };
    const after = (one, other) => one.row - other.row || one.column - other.column;
    const further = steps.filter((step) => after(step, here) * direction > 0);
    const next = direction > 0 ? (further[0] ?? steps[0]) : (further.at(-1) ?? steps.at(-1));
    if (next) goToPlace(next);
  };
  const setView = (changed) => {
    keepView(changed);
    activate({ row: 0, column: active.column });
  };
  return (
    <>
      {outdated && <Outdated busy={busy} />}
      <DraftTools {...{ draft, plan, shown, canUndo, canRedo, view, setView, options, setOptions }} />
      <HeaderMap {...{ draft, plan, site }} />
      <ProblemTools {...{ plan, steps, goNext }} />
      <Editor
        {...{ draft, plan, site, shown, active, activate, goNext }}
        sort={view.sort}
        onSort={(sort) => setView({ ...view, sort })}
      />
      <PreflightPanel {...{ plan, goTo, busy }} name={draft.name || words.fromSite} />
    </>
  );
}

const dateOf = (time) => new Date(time).toLocaleString('en-GB', { dateStyle: 'medium', timeStyle: 'short' });

function EarlierRuns({ runs }) {
  return (
    <Menu title={words.earlier(runs.length)}>
      {runs.map(({ id, name, tally }) => (
        <button type="button" key={id} onClick={() => showRun(id)}>
          {dateOf(id)} · {name} · {words.tally(tally)}
        </button>
      ))}
    </Menu>
  );
}

export function ConfigurePage({ state }) {
  const { site, base, ownSerial, outdated, draft, earlierDrafts, laterDrafts } = state;
  const { run, earlierRuns, others, activity } = state;
  return (
    <section aria-labelledby="configure-heading">
      <div class="bar">
        <h2 id="configure-heading">{words.heading}</h2>
        {earlierRuns.length > 0 && (!run || run.step === 'over') && <EarlierRuns runs={earlierRuns} />}
      </div>
      {run ? (
        <RunView key={run.id} {...{ run, site, others, ownSerial }} busy={activity !== null} />
      ) : draft && base ? (
        <Draft
          key={draft.source + draft.name}
          {...{ draft, ownSerial, outdated }}
          site={base}
          canUndo={earlierDrafts.length > 0}
          canRedo={laterDrafts.length > 0}
          busy={activity !== null}
        />
      ) : (
        <Start site={site} />
      )}
    </section>
  );
}
