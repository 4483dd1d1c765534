// A table of cells to edit with the keyboard as in a spreadsheet. The focus stays on the table; the active cell is named
// by it.

import { useEffect, useLayoutEffect, useRef, useState } from 'preact/hooks';
import { Table, rowHeight } from './table.jsx';

const pageRows = 15;
const activeId = 'active-cell';

const moves = {
  ArrowUp: [-1, 0], ArrowDown: [1, 0], ArrowLeft: [0, -1], ArrowRight: [0, 1],
  PageUp: [-pageRows, 0], PageDown: [pageRows, 0], Home: [0, -Infinity], End: [0, Infinity],
};

const within = (number, count) => Math.max(0, Math.min(number, count - 1));

function CellInput({ text, label, onDone }) {
  const input = useRef(null);
  const done = useRef(false);
  useEffect(() => input.current.focus(), []);
  const finish = (value, row, column) => {
    if (done.current) return;
    done.current = true;
    onDone(value, row, column);
  };
  const onKeyDown = (event) => {
    event.stopPropagation();
    const { value } = event.target;
    if (event.key === 'Enter') finish(value, 1, 0);
    else if (event.key === 'Tab') finish(value, 0, event.shiftKey ? -1 : 1);
    else if (event.key === 'Escape') finish(null, 0, 0);
    else return;
    event.preventDefault();
  };
  const stop = (event) => event.stopPropagation();
  return <input ref={input} class="cell" aria-label={label} defaultValue={text} onKeyDown={onKeyDown} onPaste={stop} onBlur={(event) => finish(event.target.value, 0, 0)} />;
}

// `rows` are {number, cells}; `active` is {row, column} of the active cell and `activate` moves it. `edit(changes)` takes
// [row, column, text] for each changed cell, `undo` takes the last change back. `classOf(row, column)` marks a cell,
// `sayMark(row, column)` says the mark in front of its text, `titleOf(row)` is what a person knows the row by.
export function EditGrid({ label, columns, rows, active, activate, edit, undo, canEdit, classOf, sayMark, titleOf }) {
  const [typed, setTyped] = useState(null); // the text to start an input with; null when nothing is edited
  const box = useRef(null);
  const table = () => box.current.querySelector('table');

  useLayoutEffect(() => {
    const cell = document.getElementById(activeId);
    if (cell) cell.scrollIntoView({ block: 'nearest', inline: 'nearest' });
    else box.current.scrollTop = Math.max(0, (active.row - 3) * rowHeight);
  }, [active]);

  const move = (down, right) => activate({ row: within(active.row + down, rows.length), column: within(active.column + right, columns.length) });
  const start = (text) => canEdit(active.column) && setTyped(text);
  const finish = (text, down, right) => {
    setTyped(null);
    if (text !== null && text !== (rows[active.row].cells[active.column] ?? '')) edit([[active.row, active.column, text]]);
    if (down !== 0 || right !== 0) move(down, right);
    table().focus();
  };

  const onKeyDown = (event) => {
    const { key, ctrlKey, metaKey, altKey } = event;
    if (rows.length === 0) return;
    if (moves[key]) move(...moves[key]);
    else if ((ctrlKey || metaKey) && key === 'z') undo();
    else if (key === 'Enter' || key === 'F2') start(rows[active.row].cells[active.column] ?? '');
    else if (key === 'Delete' && canEdit(active.column)) edit([[active.row, active.column, '']]);
    else if (key.length === 1 && !ctrlKey && !metaKey && !altKey) start(key);
    else return;
    event.preventDefault();
  };

  // A block of cells, as spreadsheets copy it; what does not fit is dropped.
  const onPaste = (event) => {
    event.preventDefault();
    const lines = event.clipboardData.getData('text/plain').replace(/\r?\n$/, '').split(/\r?\n/);
    const cells = lines.flatMap((line, down) => line.split('\t').map((text, right) => [active.row + down, active.column + right, text]));
    const fitting = cells.filter(([row, column]) => row < rows.length && column < columns.length && canEdit(column));
    if (fitting.length > 0) edit(fitting);
  };

  const renderCell = (row, at, column) => {
    const here = at === active.row && column === active.column;
    const text = row.cells[column] ?? '';
    const attributes = {
      key: column,
      id: here ? activeId : undefined,
      class: [classOf(at, column), here && 'active', !canEdit(column) && 'fixed'].filter(Boolean).join(' '),
      onMouseDown: () => activate({ row: at, column }),
      onDblClick: () => start(text),
    };
    if (here && typed !== null) return <td {...attributes}><CellInput text={typed} label={columns[column].title} onDone={finish} /></td>;
    const mark = sayMark(at, column);
    return <td {...attributes} title={text}>{mark && <span class="hidden">{mark}: </span>}{text}</td>;
  };

  return (
    <Table
      label={label} role="grid" boxRef={box} rows={rows} tabIndex={0} onKeyDown={onKeyDown} onPaste={onPaste}
      aria-activedescendant={activeId} aria-colcount={columns.length + 1}
      columns={[{ key: 'number', title: '#', width: 20 }, ...columns]}
      renderRow={(row, at) => (
        <tr key={row.number} aria-rowindex={at + 2}>
          <th scope="row"><span class="number">{row.number}</span> {titleOf(at)}</th>
          {columns.map((_, column) => renderCell(row, at, column))}
        </tr>
      )}
    />
  );
}
