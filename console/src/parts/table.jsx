// Tables that stay quick with thousands of rows and many columns: only what is in sight is in the page.

import { useLayoutEffect, useMemo, useRef, useState } from 'preact/hooks';

// Pixels of a row, as in console.css: fingers need more than a mouse.
export const rowHeight = matchMedia('(pointer: coarse)').matches ? 44 : 28;

// Whether the page is being printed.
function usePrinting() {
  const [printing, setPrinting] = useState(false);
  useLayoutEffect(() => {
    const begin = () => setPrinting(true);
    const end = () => setPrinting(false);
    addEventListener('beforeprint', begin);
    addEventListener('afterprint', end);
    return () => {
      removeEventListener('beforeprint', begin);
      removeEventListener('afterprint', end);
    };
  }, []);
  return printing;
}

// Which of `count` items are in the page: those that `find(element)` says are in sight of a scrolling element, [first, end],
// and `spare` ones on both sides; all of them where there is no `find`. `guess` are those before the element is there; `deps`
// change when other items are meant.
function useInSight(box, count, spare, guess, find, deps = []) {
  const [range, setRange] = useState(guess);
  useLayoutEffect(() => {
    if (!find) return undefined;
    const element = box.current;
    const look = () => {
      const [first, end] = find(element);
      // Rendered anew only when something in sight is missing, or when far too much is there.
      const fits = ([from, to]) => from <= first && to >= end && to - from <= end - first + 4 * spare;
      setRange((before) => (fits(before) ? before : [first - spare, end + spare]));
    };
    const observer = new ResizeObserver(look);
    observer.observe(element);
    element.addEventListener('scroll', look, { passive: true });
    return () => {
      observer.disconnect();
      element.removeEventListener('scroll', look);
    };
  }, deps);
  const printing = usePrinting(); // paper has no scroll bar
  if (!find || printing) return [0, count];
  return [Math.max(0, Math.min(range[0], count)), Math.min(count, range[1])];
}

// Pixels of a page's height that no table takes, and the least that one has, as in console.css.
const [around, least] = [272, 192];

// The rows in sight, [first, end].
export const useRowsInSight = (box, count) =>
  useInSight(box, count, 6, [0, Math.ceil(Math.max(least, innerHeight - around) / rowHeight)], (element) => [
    Math.floor(element.scrollTop / rowHeight),
    Math.ceil((element.scrollTop + element.clientHeight) / rowHeight),
  ]);

// Where each column begins, and where the last one ends, in characters.
export const edgesOf = (columns) =>
  columns.reduce((edges, { width }) => [...edges, edges.at(-1) + width], [0]);

const narrow = 6; // pixels of a character, in any font

// The columns in sight, [first, end], of those after the first one, which is always in sight. `edges` are where each one
// begins, and where the last one ends, in any unit; `least` is how many pixels it has at least. All columns of a table that is
// not `wide` count as in sight.
export function useColumnsInSight(box, edges, wide, least = narrow) {
  const width = edges.at(-1);
  const count = edges.length - 1;
  const between = (from, to) => {
    const first = edges.findLastIndex((edge) => edge <= from);
    const end = edges.findIndex((edge) => edge >= to);
    return [Math.max(1, first), end < 0 ? count : end];
  };
  const find = (element) => {
    const scale = element.firstElementChild.offsetWidth / width;
    return between(element.scrollLeft / scale + edges[1], (element.scrollLeft + element.clientWidth) / scale);
  };
  const [first, end] = useInSight(box, count, 3, between(0, innerWidth / least), wide && find, [edges]);
  return [Math.max(1, first), end];
}

// Where to scroll from `at`, no further than needed, to see what is between `start` and `end` in a window of `length`.
const nearest = (at, length, start, end) => (start < at ? start : Math.max(at, end - length));

// Brings a cell into sight whenever it is another one. It is known by its id; one that is not in the page yet is found by
// its row, and by its place among the `edges` of columns. Returns the procedure that does so at another time.
export function useScrollTo(box, id, row, place, edges) {
  const bring = () => {
    const cell = document.getElementById(id);
    if (cell) {
      cell.scrollIntoView({ block: 'nearest', inline: 'nearest' });
      return;
    }
    const element = box.current;
    const table = element.firstElementChild;
    const [head, scale] = [table.tHead.offsetHeight, table.offsetWidth / edges.at(-1)];
    const [names, start, end] = [1, place, place + 1].map((at) => edges[at] * scale);
    const [top, bottom] = [row * rowHeight, (row + 1) * rowHeight];
    element.scrollTo(
      nearest(element.scrollLeft, element.clientWidth - names, start - names, end - names),
      nearest(element.scrollTop, element.clientHeight - head, top, bottom),
    );
  };
  useLayoutEffect(bring, [row, place]);
  return bring;
}

function SortableHead({ column, place, sort, onSort }) {
  const sorted = sort?.key === column.key ? sort.direction : null;
  const aria = { up: 'ascending', down: 'descending' }[sorted] ?? 'none';
  const names = { scope: 'col', 'aria-colindex': place + 1 };
  if (!onSort) return <th {...names}>{column.title}</th>;
  const direction = sorted === 'up' ? 'down' : 'up';
  return (
    <th {...names} aria-sort={aria}>
      <button type="button" class="sort" onClick={() => onSort({ key: column.key, direction })}>
        {column.title}
        <span aria-hidden="true">{{ up: ' ▲', down: ' ▼' }[sorted] ?? ''}</span>
      </button>
    </th>
  );
}

// Both fill the place of columns, or of rows, that are not in the page.
export const SpaceBeside = ({ columns }) => (columns > 0 ? <td aria-hidden="true" class="gap" /> : null);
export const SpaceBelow = ({ rows }) =>
  rows > 0 ? (
    <tr aria-hidden="true">
      <td class="gap" style={{ height: `${rows * rowHeight}px` }} />
    </tr>
  ) : null;

// The columns are {key, title, width in characters}; `renderRow(row, index, across)` returns a <tr> of `rowHeight`. In a
// `wide` table only the columns in sight are in the page: `across(renderCell)` returns the cells of a row after its first one,
// `renderCell(column, place)` one of them, with its `aria-colindex`. A grid is to take the focus itself, `boxRef` is
// given the element that scrolls.
export function Table({
  label,
  columns,
  rows,
  renderRow,
  sort,
  onSort,
  boxRef,
  role = 'table',
  wide,
  ...rest
}) {
  const ownBox = useRef(null);
  const box = boxRef ?? ownBox;
  const edges = useMemo(() => edgesOf(columns), [columns]);
  const [top, bottom] = useRowsInSight(box, rows.length);
  const [left, right] = useColumnsInSight(box, edges, wide);
  const focus = role === 'grid' ? {} : { tabIndex: 0 };
  const across = (renderCell) => [
    <SpaceBeside key="before" columns={left - 1} />,
    ...columns.slice(left, right).map((column, at) => renderCell(column, left + at)),
    <SpaceBeside key="after" columns={columns.length - right} />,
  ];
  const col = (key, from, to) =>
    to > from && <col key={key} style={{ width: `${edges[to] - edges[from]}ch` }} />;
  const head = (column, place) => <SortableHead key={column.key} {...{ column, place, sort, onSort }} />;
  return (
    <div class="table" ref={box} role="region" aria-label={label} {...focus}>
      <table
        role={role}
        aria-label={label}
        aria-rowcount={rows.length + 1}
        aria-colcount={columns.length}
        style={{ minWidth: `${edges.at(-1)}ch` }}
        {...rest}
      >
        <colgroup>
          {col('first', 0, 1)}
          {col('before', 1, left)}
          {columns.slice(left, right).map(({ key }, at) => col(key, left + at, left + at + 1))}
          {col('after', right, columns.length)}
        </colgroup>
        <thead>
          <tr aria-rowindex={1}>
            {head(columns[0], 0)}
            {across(head)}
          </tr>
        </thead>
        <tbody>
          <SpaceBelow rows={top} />
          {rows.slice(top, bottom).map((row, at) => renderRow(row, top + at, across))}
          <SpaceBelow rows={rows.length - bottom} />
        </tbody>
      </table>
    </div>
  );
}

const widest = 34;

// A width in characters that fits a column's title and nearly all of its texts.
export function fittingWidth(title, texts) {
  const counts = Array(widest).fill(0); // of texts that are so long; the longest ones are not counted
  for (const { length } of texts) if (length < widest) counts[length] += 1;
  let long = 0;
  if (texts.length > 0)
    for (let left = Math.floor(texts.length * 0.98); long < widest && left >= counts[long]; ++long)
      left -= counts[long];
  return Math.max(6, Math.min(widest, Math.max(title.length * 1.15 + 3, long) + 2));
}
