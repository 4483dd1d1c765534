// Small parts that several pages share.

import { useEffect, useLayoutEffect, useRef, useState } from 'preact/hooks';
import { texts } from '../texts.js';

// A dialog that keeps the keyboard inside; closing it by Escape cancels. It opens on Cancel, and gives the focus back.
export function Dialog({ title, children, onCancel }) {
  const dialog = useRef(null);
  useLayoutEffect(() => {
    const element = dialog.current;
    element.showModal();
    element.querySelector('.cancel')?.focus();
    return () => element.close();
  }, []);
  return (
    <dialog
      ref={dialog}
      aria-labelledby="dialog-title"
      onCancel={(event) => {
        event.preventDefault();
        onCancel();
      }}
    >
      <h2 id="dialog-title">{title}</h2>
      {children}
    </dialog>
  );
}

// What opens below its title, and is in the page only while it is open; Escape closes it, and so does the focus that leaves it.
export function Menu({ title, children, form = false }) {
  const details = useRef(null);
  const [open, setOpen] = useState(false);
  const close = () => {
    details.current.open = false;
  };
  const onKeyDown = (event) => {
    if (event.key !== 'Escape') return;
    close();
    details.current.querySelector('summary').focus();
  };
  const onFocusOut = ({ relatedTarget }) =>
    relatedTarget && !details.current.contains(relatedTarget) && close();
  return (
    <details
      class="choice"
      ref={details}
      onKeyDown={onKeyDown}
      onFocusOut={onFocusOut}
      onToggle={(event) => setOpen(event.currentTarget.open)}
    >
      <summary>{title}</summary>
      {open && <div class={form ? 'menu form' : 'menu'}>{children}</div>}
    </details>
  );
}

// A labelled choice among options of [value, title].
export function Choice({ label, value, options, onChange }) {
  return (
    <label>
      {label}{' '}
      <select value={value} onChange={(event) => onChange(event.target.value)}>
        {options.map(([option, title]) => (
          <option key={option} value={option}>
            {title}
          </option>
        ))}
      </select>
    </label>
  );
}

export const FilterInput = ({ label, value, onInput }) => (
  <label>
    {label}{' '}
    <input
      type="search"
      placeholder={texts.units.filterHint}
      value={value}
      onInput={(event) => onInput(event.target.value)}
    />
  </label>
);

export const Check = ({ label, checked, onChange, hint }) => (
  <label class="check" title={hint}>
    <input type="checkbox" checked={checked} onChange={() => onChange(!checked)} /> {label}
  </label>
);

// Takes one file, dropped or chosen.
export function DropZone({ label, hint, accept, onFile, disabled }) {
  const [over, setOver] = useState(false);
  const drop = (event) => {
    event.preventDefault();
    setOver(false);
    const [file] = event.dataTransfer.files;
    if (file && !disabled) onFile(file);
  };
  const choose = (event) => {
    const [file] = event.target.files;
    event.target.value = '';
    if (file) onFile(file);
  };
  const drag = (event) => {
    event.preventDefault();
    setOver(true);
  };
  return (
    <label
      class={over ? 'drop over' : 'drop'}
      onDragOver={drag}
      onDragLeave={() => setOver(false)}
      onDrop={drop}
    >
      <input type="file" accept={accept} onChange={choose} disabled={disabled} />
      <span class="drop-label">{label}</span>
      {hint && <span class="hint">{hint}</span>}
    </label>
  );
}

// Offers bytes or text as a file.
export function DownloadButton({ name, content, type = 'text/csv', children }) {
  const save = () => {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(new Blob([content()], { type }));
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 1000);
  };
  return (
    <button type="button" onClick={save}>
      {children}
    </button>
  );
}

export const Notice = ({ level, children }) => (
  <p class={`notice ${level}`} role={level === 'error' ? 'alert' : 'status'}>
    {children}
  </p>
);

export const ErrorNotice = ({ text }) => (text ? <Notice level="error">{text}</Notice> : null);

// Renders again every `milliseconds`, as long as it is shown. Returns the time.
export function useClock(milliseconds) {
  const [now, setNow] = useState(Date.now());
  useEffect(() => {
    const timer = setInterval(() => setNow(Date.now()), milliseconds);
    return () => clearInterval(timer);
  }, []);
  return now;
}

export const CancelButton = ({ onClick }) => (
  <button type="button" class="cancel" onClick={onClick}>
    {texts.cancel}
  </button>
);

// A button that waits while the unit is busy. It keeps the focus then, as a disabled one would not.
export const BusyButton = ({ busy, onClick, ...rest }) => (
  <button type="button" aria-disabled={busy} onClick={() => !busy && onClick()} {...rest} />
);

// For file names: 2026-11-24-0930.
export function stamp(date = new Date()) {
  const two = (number) => String(number).padStart(2, '0');
  const day = [date.getFullYear(), two(date.getMonth() + 1), two(date.getDate())].join('-');
  return `${day}-${two(date.getHours())}${two(date.getMinutes())}`;
}

// The head of a table that is not sorted.
export const TableHead = ({ titles }) => (
  <thead>
    <tr>
      {titles.map((title) => (
        <th key={title} scope="col">
          {title}
        </th>
      ))}
    </tr>
  </thead>
);
