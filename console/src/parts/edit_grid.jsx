// A table of cells to edit with the keyboard as in a spreadsheet. The focus stays on the table; the active cell is named
// by it.

import { useLayoutEffect, useMemo, useRef, useState } from 'preact/hooks';
import { visible } from '../logic/visible.js';
import { Table, edgesOf, useScrollTo } from './table.jsx';

const pageRows = 15;
const activeId = 'active-cell';

const moves = {
  ArrowUp: [-1, 0],
  ArrowDown: [1, 0],
  ArrowLeft: [0, -1],
  ArrowRight: [0, 1],
  PageUp: [-pageRows, 0],
  PageDown: [pageRows, 0],
  Home: [0, -Infinity],
  End: [0, Infinity],
};

const within = (number, count) => Math.max(0, Math.min(number, count - 1));

// Where a key moves the active cell, null for other keys.
export function moved({ row, column }, key, rows, columns) {
  if (!moves[key]) return null;
  const [down, right] = moves[key];
  return { row: within(row + down, rows), column: within(column + right, columns) };
}

// `onSave(text)` is called once, whatever takes the input away: a key, a click elsewhere, or the table that scrolls; but
// not when Escape does. `onMove(down, right)` follows a key.
function CellInput({ text, label, onSave, onMove }) {
  const input = useRef(null);
  const done = useRef(false);
  const save = (value) => {
    if (!done.current) onSave(value);
    done.current = true;
  };
  useLayoutEffect(() => {
    const field = input.current;
    field.focus();
    field.setSelectionRange(field.value.length, field.value.length);
    return () => save(field.value);
  }, []);
  const finish = (value, down, right) => {
    save(value);
    onMove(down, right);
  };
  const onKeyDown = (event) => {
    event.stopPropagation();
    const { value } = event.target;
    if (event.isComposing) return;
    if (event.key === 'Enter') finish(value, 1, 0);
    else if (event.key === 'Tab') finish(value, 0, event.shiftKey ? -1 : 1);
    else if (event.key === 'Escape') finish(null, 0, 0);
    else return;
    event.preventDefault();
  };
  const stop = (event) => event.stopPropagation();
  return (
    <input
      ref={input}
      class="cell"
      aria-label={label}
      defaultValue={text}
      onKeyDown={onKeyDown}
      onCopy={stop}
      onPaste={stop}
      onBlur={(event) => save(event.target.value)}
    />
  );
}

// The rows and columns of the selection: from the anchor, if there is one, to the active cell.
function selectionOf({ row, column, anchor = { row, column } }) {
  const [top, bottom] = [row, anchor.row].sort((one, other) => one - other);
  const [left, right] = [column, anchor.column].sort((one, other) => one - other);
  const has = (at, place) => at >= top && at <= bottom && place >= left && place <= right;
  return { top, bottom, left, right, has, many: bottom > top || right > left };
}

// The places of a selection, [row, column] each.
function* placesOf({ top, bottom, left, right }) {
  for (let row = top; row <= bottom; ++row)
    for (let column = left; column <= right; ++column) yield [row, column];
}

// Whatever has the focus, the keys are the grid's afterwards.
export const focusGrid = () => document.querySelector('[role=grid]')?.focus();

// The keys of the grid, those of a cell's input aside.
function useKeys({ columns, rows, active, activate, edit, undo, redo, goNext, canEdit, start }) {
  const { row, column } = active;
  return (event) => {
    const { key, ctrlKey, metaKey, altKey, shiftKey } = event;
    if (rows.length === 0 || event.target !== event.currentTarget) return;
    const next = moved(active, key, rows.length, columns.length);
    if (next) activate(shiftKey ? { ...next, anchor: active.anchor ?? { row, column } } : next);
    else if (key === 'F8') goNext(shiftKey ? -1 : 1);
    else if ((ctrlKey || metaKey) && key === 'z') undo();
    else if ((ctrlKey || metaKey) && (key === 'y' || key === 'Z')) redo();
    else if (key === 'Enter' || key === 'F2') start(rows[row].cells[column] ?? '');
    else if (key === 'Delete') {
      const cells = [...placesOf(selectionOf(active))].filter(([, place]) => canEdit(place));
      if (cells.length > 0) edit(cells.map((place) => [...place, '']));
    } else if (key.length === 1 && !ctrlKey && !metaKey && !altKey) start(key, true);
    else return;
    event.preventDefault();
  };
}

// Takes a block of cells, as spreadsheets copy it; a single one goes into the whole selection. What does not fit is
// refused.
function usePaste({ columns, rows, active, edit, refuse, canEdit }) {
  return (event) => {
    event.preventDefault();
    const text = event.clipboardData.getData('text/plain').replace(/\r?\n$/, '');
    const lines = text.split(/\r?\n/).map((line) => line.split('\t'));
    const selection = selectionOf(active);
    const cells =
      lines.length === 1 && lines[0].length === 1
        ? [...placesOf(selection)].map((place) => [...place, text])
        : lines.flatMap((line, down) =>
            line.map((cell, right) => [selection.top + down, selection.left + right, cell]),
          );
    const fits = ([row, column]) => row < rows.length && column < columns.length && canEdit(column);
    const fitting = cells.filter(fits);
    if (fitting.length > 0) edit(fitting);
    if (fitting.length < cells.length) refuse(cells.length - fitting.length, cells.length);
  };
}

// Copies the selection as spreadsheets take it.
function useCopy({ rows, active }) {
  return (event) => {
    const { top, bottom, left, right } = selectionOf(active);
    const lines = rows
      .slice(top, bottom + 1)
      .map(({ cells }) =>
        Array.from({ length: right - left + 1 }, (_, at) => cells[left + at] ?? '').join('\t'),
      );
    event.clipboardData.setData('text/plain', lines.join('\r\n'));
    event.preventDefault();
  };
}

function Cell({ text, mark, look, here, selected, typed, title, place, activate, start, save, move }) {
  const attributes = {
    id: here ? activeId : undefined,
    'aria-colindex': place + 2,
    class: `${look}${here ? ' active' : ''}${selected ? ' selected' : ''}${typed === null ? '' : ' typed'}`,
    'aria-selected': selected,
    onMouseDown: activate,
    onDblClick: () => start(text),
  };
  if (typed !== null)
    return (
      <td {...attributes}>
        <CellInput text={typed} label={title} onSave={save} onMove={move} />
      </td>
    );
  return (
    <td {...attributes} title={text}>
      {mark && <span class="hidden">{mark}: </span>}
      {visible(text)}
    </td>
  );
}

// `rows` are {number, cells}; `active` is {row, column} of the active cell, with the cell `anchor` at the other end of the
// selection if there is one, and `activate` moves it. `edit(changes)` takes
// [row, column, text] for each changed cell, `undo` takes the last change back and `redo` makes it again, `refuse(count,
// all)` hears of pasted cells that did not fit, `goNext(1 or -1)` goes to another problem. `classOf(row, column)` marks a cell,
// `sayMark(row, column)` says the mark in front of its text, `titleOf(row)` is what a person knows the row by.
export function EditGrid(grid) {
  const { label, columns, rows, active, activate, edit, canEdit, classOf, sayMark, titleOf, sort, onSort } =
    grid;
  const [editing, setEditing] = useState(null); // {row, column, text to start the input with}
  const box = useRef(null);
  const { row, column } = active;
  const all = useMemo(() => [{ key: 'number', title: '#', width: 20 }, ...columns], [columns]);
  const bringActive = useScrollTo(box, activeId, row, column + 1, edgesOf(all));
  const selection = selectionOf(active);
  // Keys that are typed before the input has the focus are added to its text.
  const start = (text, more = false) => {
    if (!canEdit(column)) return;
    bringActive(); // the input is in the page only with its cell
    setEditing((open) => {
      if (!open) return { row, column, text };
      return more ? { ...open, text: open.text + text } : open;
    });
  };
  const save = (at, place, text) => {
    setEditing(null);
    if (text !== null && text !== (rows[at].cells[place] ?? '')) edit([[at, place, text]]);
  };
  const move = (down, right) => {
    activate({ row: within(row + down, rows.length), column: within(column + right, columns.length) });
    box.current.querySelector('table').focus();
  };
  const renderCell = ({ cells }, at, { title }, place) => (
    <Cell
      key={place}
      text={cells[place] ?? ''}
      mark={sayMark(at, place)}
      look={canEdit(place) ? classOf(at, place) : `${classOf(at, place)} fixed`}
      here={at === row && place === column}
      selected={selection.many && selection.has(at, place)}
      typed={editing?.row === at && editing.column === place ? editing.text : null}
      activate={({ shiftKey }) =>
        activate({
          row: at,
          column: place,
          anchor: shiftKey ? (active.anchor ?? { row, column }) : undefined,
        })
      }
      save={(text) => save(at, place, text)}
      {...{ title, place, start, move }}
    />
  );
  const renderRow = (line, at, across) => (
    <tr key={line.number} aria-rowindex={at + 2}>
      <th scope="row" aria-colindex={1}>
        <span class="number">{line.number}</span> {titleOf(at)}
      </th>
      {across((column, place) => renderCell(line, at, column, place - 1))}
    </tr>
  );
  const behaviour = {
    tabIndex: 0,
    onKeyDown: useKeys({ ...grid, start }),
    onPaste: usePaste(grid),
    onCopy: useCopy(grid),
  };
  const names = {
    'aria-activedescendant': activeId,
    'aria-multiselectable': true,
  };
  return (
    <Table
      role="grid"
      wide
      boxRef={box}
      columns={all}
      {...{ label, rows, sort, onSort, renderRow, ...behaviour, ...names }}
    />
  );
}
