// A matrix of crossings that stays quick with thousands of rows and columns: only those in sight are in the page. The
// focus stays on the table; the active crossing is named by it.

import { useMemo, useRef, useState } from 'preact/hooks';
import {
  SpaceBelow,
  SpaceBeside,
  rowHeight,
  useColumnsInSight,
  useRowsInSight,
  useScrollTo,
} from './table.jsx';
import { moved } from './edit_grid.jsx';

const size = rowHeight; // of a crossing, both ways
const activeId = 'active-crossing';

const names = 182; // pixels of the names of rows, as in console.css

// The crossings in sight: rows from `top` to `bottom`, columns from `left` to `right`, the ends left out.
function Crossings({
  rows,
  columns,
  crossing,
  active,
  activate,
  choose,
  setPointed,
  top,
  bottom,
  left,
  right,
}) {
  const renderCell = (row, column) => {
    const { look, sign, say } = crossing(row, column);
    const here = row === active.row && column === active.column;
    const click = () => {
      activate({ row, column });
      choose(row, column);
    };
    return (
      <td
        key={columns[column].key}
        id={here ? activeId : undefined}
        class={here ? `${look} active` : look}
        aria-colindex={column + 2}
        title={say}
        aria-label={say}
        onClick={click}
        onMouseEnter={() => setPointed(column)}
      >
        {sign}
      </td>
    );
  };
  return rows.slice(top, bottom).map(({ key, title, look }, at) => (
    <tr key={key} aria-rowindex={top + at + 2}>
      <th scope="row" class={top + at === active.row ? `${look} pointed` : look} title={title}>
        {title}
      </th>
      <SpaceBeside columns={left} />
      {columns.slice(left, right).map((_, place) => renderCell(top + at, left + place))}
      <SpaceBeside columns={columns.length - right} />
    </tr>
  ));
}

// Rows and columns are {key, title, sign, look}; a sign is a mark whose meaning is in the title. `crossing(row,
// column)` returns {look, sign, say} for their indexes. `active` is {row, column}, `activate` moves it, `choose(row, column)` is
// called for a click, Enter or the space bar.
export function Matrix(matrix) {
  const { label, corner, rows, columns, crossing, active, activate, choose } = matrix;
  const box = useRef(null);
  const [pointed, setPointed] = useState(null);
  const edges = useMemo(
    () => [0, ...Array.from({ length: columns.length + 1 }, (_, at) => names + at * size)],
    [columns],
  );
  const [top, bottom] = useRowsInSight(box, rows.length);
  const [left, right] = useColumnsInSight(box, edges, true, 1).map((place) => place - 1);
  useScrollTo(box, activeId, active.row, active.column + 1, edges);
  const onKeyDown = (event) => {
    const next = moved(active, event.key, rows.length, columns.length);
    if (next) activate(next);
    else if (event.key === 'Enter' || event.key === ' ') choose(active.row, active.column);
    else return;
    event.preventDefault();
  };
  const shown = columns.slice(left, right);
  const marked = (column) => column === (pointed ?? active.column);
  // The pointer alone changes no crossing: it marks its column's name. Whatever else changes, `crossing` is a new procedure.
  const crossings = useMemo(
    () => <Crossings {...{ ...matrix, setPointed, top, bottom, left, right }} />,
    [crossing, top, bottom, left, right],
  );
  return (
    <div
      class="table matrix"
      ref={box}
      role="region"
      aria-label={label}
      onMouseLeave={() => setPointed(null)}
    >
      <table
        role="grid"
        aria-label={label}
        aria-rowcount={rows.length + 1}
        aria-colcount={columns.length + 1}
        aria-activedescendant={activeId}
        style={{ width: `calc(var(--names) + ${columns.length * size}px)` }}
        tabIndex={0}
        onKeyDown={onKeyDown}
      >
        <colgroup>
          <col class="name" />
          {left > 0 && <col style={{ width: `${left * size}px` }} />}
          {shown.map(({ key }) => (
            <col key={key} style={{ width: `${size}px` }} />
          ))}
          {right < columns.length && <col style={{ width: `${(columns.length - right) * size}px` }} />}
        </colgroup>
        <thead>
          <tr aria-rowindex={1}>
            <th scope="col">{corner}</th>
            <SpaceBeside columns={left} />
            {shown.map(({ key, title, look }, at) => (
              <th
                key={key}
                scope="col"
                aria-colindex={left + at + 2}
                class={marked(left + at) ? `${look} pointed` : look}
              >
                <span title={title}>{title}</span>
              </th>
            ))}
            <SpaceBeside columns={columns.length - right} />
          </tr>
        </thead>
        <tbody>
          <SpaceBelow rows={top} />
          {crossings}
          <SpaceBelow rows={rows.length - bottom} />
        </tbody>
      </table>
    </div>
  );
}
