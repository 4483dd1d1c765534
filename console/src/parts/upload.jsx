// What the uploads have in common: a file that is looked at first, its way to the unit, and the frame around it.

import { useRef, useState } from 'preact/hooks';
import { explain, uploadFile } from '../actions.js';
import { hashFile } from '../logic/archive.js';
import { useStore } from '../store.js';
import { texts } from '../texts.js';
import { OwnUnit } from './own_unit.jsx';
import { CancelButton, Dialog, Notice, useClock } from './widgets.jsx';

const words = texts.unit;
const stallSeconds = 10; // without a byte that leaves
const answerSeconds = 60; // without an answer, while a flash is written

// An upload: `start(file)` resolves to whether it went well; meanwhile `sending` is {sent, all, movedAt, cancel}, `sent`
// null until its turn has come.
export function useUpload(job, command) {
  const [sending, setSending] = useState(null);
  const [error, setError] = useState('');
  const start = async (file) => {
    const abort = new AbortController();
    const show = (sent) =>
      setSending({
        sent: sent === null ? null : Math.min(sent, file.size),
        all: file.size,
        movedAt: Date.now(),
        cancel: () => abort.abort(),
      });
    setError('');
    show(null);
    try {
      await uploadFile(job, command, file, { onSent: show, signal: abort.signal });
      return true;
    } catch (failure) {
      setError(explain(failure));
      return false;
    } finally {
      setSending(null);
    }
  };
  return { sending, error, setError, start };
}

function Sending({ sending: { sent, all, movedAt, cancel } }) {
  const silent = Math.floor((useClock(500) - movedAt) / 1000);
  const { activity } = useStore();
  if (sent === null) {
    return (
      <div class="progress">
        <progress aria-label={words.upload} />
        <span role="status">{words.queued(activity?.job)}</span>
        <CancelButton onClick={cancel} />
      </div>
    );
  }
  const allSent = sent >= all;
  const stalled = silent >= (allSent ? answerSeconds : stallSeconds);
  return (
    <div class="progress">
      <progress max={all} value={allSent ? undefined : sent} aria-label={words.upload} />
      <span role="status">{allSent ? words.working : words.sending(sent, all)}</span>
      {stalled && <Notice level="warn">{allSent ? words.noAnswer(silent) : words.stalled(silent)}</Notice>}
      {(!allSent || stalled) && <CancelButton onClick={cancel} />}
    </div>
  );
}

// What is known of a chosen file; the hash of a large one takes a while.
export function useChosenFile(examine) {
  const [chosen, setChosen] = useState(null);
  const turn = useRef(0);
  const choose = async (file) => {
    turn.current += 1;
    const mine = turn.current;
    const show = (facts) =>
      mine === turn.current &&
      setChosen((before) => ({ ...(before?.file === file ? before : {}), file, ...facts }));
    show({ hash: null, share: 0 });
    show(await examine(file));
    show({ hash: await hashFile(file, (share) => show({ share })) });
  };
  const clear = () => {
    turn.current += 1;
    setChosen(null);
  };
  return [chosen, choose, clear];
}

export function FileFacts({ chosen: { file, hash, share } }) {
  return (
    <dl class="facts">
      <dt>{file.name}</dt>
      <dd>{words.size(file.size)}</dd>
      <dt>{words.sha}</dt>
      <dd class="hash">{hash ?? words.checking(share)}</dd>
    </dl>
  );
}

export function Card({ id, title, hint, children }) {
  return (
    <section class="card" aria-labelledby={`${id}-heading`} id={id}>
      <h3 id={`${id}-heading`}>{title}</h3>
      <p class="hint">{hint}</p>
      {children}
    </section>
  );
}

// Asks before an upload: which unit, which file, and what is to be seen or ticked before.
export function Confirmation({ title, chosen, go, ready = true, onGo, onCancel, children }) {
  return (
    <Dialog title={title} onCancel={onCancel}>
      <OwnUnit />
      <FileFacts chosen={chosen} />
      {children}
      <div class="bar">
        <button type="button" class="main danger" disabled={!ready} onClick={onGo}>
          {go}
        </button>
        <CancelButton onClick={onCancel} />
      </div>
    </Dialog>
  );
}

// Starts an upload, and shows it while it runs.
export function UploadButton({ label = words.upload, sending, disabled, onClick }) {
  if (sending) return <Sending sending={sending} />;
  return (
    <button type="button" class="main" disabled={disabled} onClick={onClick}>
      {label}
    </button>
  );
}
