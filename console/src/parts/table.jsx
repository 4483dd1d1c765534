// Tables that stay quick with thousands of rows: only those in sight are in the page.

import { useLayoutEffect, useRef, useState } from 'preact/hooks';

// Pixels of a row, as in console.css: fingers need more than a mouse.
export const rowHeight = matchMedia('(pointer: coarse)').matches ? 44 : 28;
const spare = 6; // items beyond those in sight, on both sides

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

// Which of `count` items of `size` pixels are in sight of a scrolling element, from top to bottom or from left to right.
// Returns [first, end].
export function useInSight(box, count, size = rowHeight, offset = 'scrollTop', extent = 'height') {
  const [start, setStart] = useState(0);
  const [length, setLength] = useState(600);
  useLayoutEffect(() => {
    const element = box.current;
    const observer = new ResizeObserver(([entry]) => setLength(entry.contentRect[extent]));
    const onScroll = () => setStart(Math.floor(element[offset] / size));
    observer.observe(element);
    element.addEventListener('scroll', onScroll, { passive: true });
    return () => {
      observer.disconnect();
      element.removeEventListener('scroll', onScroll);
    };
  }, []);
  // Paper has no scroll bar.
  if (usePrinting()) return [0, count];
  const end = Math.min(count, start + Math.ceil(length / size) + 1 + spare);
  return [Math.max(0, Math.min(start, count) - spare), end];
}

function SortableHead({ column, sort, onSort }) {
  const sorted = sort?.key === column.key ? sort.direction : null;
  const aria = { up: 'ascending', down: 'descending' }[sorted] ?? 'none';
  if (!onSort) return <th scope="col">{column.title}</th>;
  const direction = sorted === 'up' ? 'down' : 'up';
  return (
    <th scope="col" aria-sort={aria}>
      <button type="button" class="sort" onClick={() => onSort({ key: column.key, direction })}>
        {column.title}
        <span aria-hidden="true">{{ up: ' ▲', down: ' ▼' }[sorted] ?? ''}</span>
      </button>
    </th>
  );
}

const Gap = ({ rows, columns }) =>
  rows > 0 ? (
    <tr aria-hidden="true">
      <td colSpan={columns} class="gap" style={{ height: `${rows * rowHeight}px` }} />
    </tr>
  ) : null;

function Head({ columns, sort, onSort }) {
  return (
    <thead>
      <tr aria-rowindex={1}>
        {columns.map((column) => (
          <SortableHead key={column.key} {...{ column, sort, onSort }} />
        ))}
      </tr>
    </thead>
  );
}

// The columns are {key, title, width in characters}; `renderRow(row, index)` returns a <tr> of `rowHeight`. A grid is to
// take the focus itself, `boxRef` is given the element that scrolls.
export function Table({ label, columns, rows, renderRow, sort, onSort, boxRef, role = 'table', ...rest }) {
  const ownBox = useRef(null);
  const box = boxRef ?? ownBox;
  const [first, last] = useInSight(box, rows.length);
  const width = columns.reduce((sum, column) => sum + column.width, 0);
  const focus = role === 'grid' ? {} : { tabIndex: 0 };
  return (
    <div class="table" ref={box} role="region" aria-label={label} {...focus}>
      <table
        role={role}
        aria-label={label}
        aria-rowcount={rows.length + 1}
        style={{ minWidth: `${width}ch` }}
        {...rest}
      >
        <colgroup>
          {columns.map((column) => (
            <col key={column.key} style={{ width: `${column.width}ch` }} />
          ))}
        </colgroup>
        <Head {...{ columns, sort, onSort }} />
        <tbody>
          <Gap rows={first} columns={columns.length} />
          {rows.slice(first, last).map((row, at) => renderRow(row, first + at))}
          <Gap rows={rows.length - last} columns={columns.length} />
        </tbody>
      </table>
    </div>
  );
}

// A width in characters that fits a column's title and nearly all of its texts.
export function fittingWidth(title, texts) {
  const lengths = Uint32Array.from(texts, (text) => text.length).sort();
  const long = lengths[Math.floor(lengths.length * 0.98)] ?? 0;
  return Math.max(6, Math.min(34, Math.max(title.length * 1.15 + 3, long) + 2));
}
