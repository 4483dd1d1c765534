// Files for this unit itself: firmware, splash image, EDID. Each is checked here before a byte is sent, since the unit
// checks next to nothing.

import { useEffect, useRef, useState } from 'preact/hooks';
import { explain, queue, uploadFile, waitUntilBack } from '../actions.js';
import { hashFile, readArchive } from '../logic/archive.js';
import { edidSize, readEdid } from '../logic/edid.js';
import { CancelButton, Dialog, DropZone, ErrorNotice, Notice, useClock } from '../parts/widgets.jsx';
import { texts } from '../texts.js';

const words = texts.unit;
const stallSeconds = 10;

// An upload: `start(file)` resolves to whether it went well; meanwhile `sending` is {sent, all, movedAt, cancel}.
function useUpload(job, command) {
  const [sending, setSending] = useState(null);
  const [error, setError] = useState('');
  const start = async (file) => {
    const abort = new AbortController();
    const show = (sent) => setSending({ sent: Math.min(sent, file.size), all: file.size, movedAt: Date.now(), cancel: () => abort.abort() });
    setError('');
    show(0);
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
  const allSent = sent >= all;
  return (
    <div class="progress">
      <progress max={all} value={allSent ? undefined : sent} aria-label={words.upload} />
      <span role="status">{allSent ? words.working : words.sending(sent, all)}</span>
      {!allSent && silent >= stallSeconds && <Notice level="warn">{words.stalled(silent)}</Notice>}
      {!allSent && <CancelButton onClick={cancel} />}
    </div>
  );
}

// What is known of a chosen file; the hash of a large one takes a while.
function useChosenFile(examine) {
  const [chosen, setChosen] = useState(null);
  const turn = useRef(0);
  const choose = async (file) => {
    turn.current += 1;
    const mine = turn.current;
    const show = (facts) => mine === turn.current && setChosen((before) => ({ ...(before?.file === file ? before : {}), file, ...facts }));
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

function FileFacts({ chosen: { file, hash, share } }) {
  return (
    <dl class="facts">
      <dt>{file.name}</dt>
      <dd>{words.size(file.size)}</dd>
      <dt>{words.sha}</dt>
      <dd class="hash">{hash ?? words.checking(share)}</dd>
    </dl>
  );
}

function Card({ id, title, hint, children }) {
  return (
    <section class="card" aria-labelledby={`${id}-heading`} id={id}>
      <h3 id={`${id}-heading`}>{title}</h3>
      <p class="hint">{hint}</p>
      {children}
    </section>
  );
}

function FirmwareConfirmation({ chosen, onGo, onCancel }) {
  const [safe, setSafe] = useState(false);
  return (
    <Dialog title={words.firmware.confirm} onCancel={onCancel}>
      <FileFacts chosen={chosen} />
      <Notice level="warn">{words.firmware.confirmText}</Notice>
      <label class="check"><input type="checkbox" checked={safe} onChange={() => setSafe(!safe)} /> {words.firmware.confirmCheck}</label>
      <div class="bar">
        <button type="button" class="main danger" disabled={!safe} onClick={onGo}>{words.firmware.go}</button>
        <CancelButton onClick={onCancel} />
      </div>
    </Dialog>
  );
}

// Until the unit is back. Its pages tell when it restarts; its handler is asked once then, or when a person wants it.
function FirmwareWait({ onClose }) {
  const [seen, setSeen] = useState('there');
  const [said, setSaid] = useState('');
  const back = seen === 'back';
  const ask = () => queue.ask('firmware', 'CHECK_IMPORT_CSV_STATUS').then(
    () => setSeen('back'),
    (failure) => setSaid(failure.kind === 'updating' ? words.firmware.stillUpdating : explain(failure)),
  );
  useEffect(() => {
    const end = new AbortController();
    waitUntilBack(end.signal, setSeen).then(() => end.signal.aborted || ask());
    return () => end.abort();
  }, []);
  return (
    <div class="wait">
      <Notice level={back ? 'good' : 'warn'}>{back ? words.firmware.back : words.firmware.started}</Notice>
      {!back && <div class="progress"><progress aria-label={words.firmware.title} /><span role="status">{words.firmware[seen]} {said}</span></div>}
      <div class="bar">
        {back ? <button type="button" onClick={onClose}>{texts.close}</button> : <button type="button" onClick={ask}>{words.firmware.askNow}</button>}
      </div>
    </div>
  );
}

function FirmwareCard() {
  const [chosen, choose, clear] = useChosenFile(async (file) => ({ archive: await readArchive(file) }));
  const [step, setStep] = useState('choose');
  const { sending, error, start } = useUpload('firmware', 'UPDATE_FIRMWARE');
  const install = async () => {
    setStep('choose');
    if (await start(chosen.file)) setStep('wait');
  };
  const archive = chosen?.archive;
  return (
    <Card id="firmware" title={words.firmware.title} hint={words.firmware.hint}>
      {step === 'wait' ? <FirmwareWait onClose={() => { clear(); setStep('choose'); }} /> : (
        <>
          <DropZone label={words.choose} accept=".gz,.tgz" onFile={choose} disabled={sending !== null} />
          {chosen && <FileFacts chosen={chosen} />}
          {archive?.fault && <Notice level="error">{words.firmware.faults[archive.fault]}</Notice>}
          {archive && !archive.fault && <Notice level="good">{words.firmware.good(archive.member, archive.size)}</Notice>}
          <ErrorNotice text={error} />
          {sending ? <Sending sending={sending} />
            : <button type="button" class="main" disabled={!archive || archive.fault || !chosen.hash} onClick={() => setStep('confirm')}>{words.firmware.go}…</button>}
          {step === 'confirm' && <FirmwareConfirmation chosen={chosen} onGo={install} onCancel={() => setStep('choose')} />}
        </>
      )}
    </Card>
  );
}

// Returns {url, width, height, jpeg} of a picture; width is 0 when it cannot be shown.
async function examinePicture(file) {
  const head = new Uint8Array(await file.slice(0, 3).arrayBuffer());
  const jpeg = head[0] === 0xff && head[1] === 0xd8 && head[2] === 0xff;
  const url = URL.createObjectURL(file);
  const image = new Image();
  image.src = url;
  const shown = await image.decode().then(() => true, () => false);
  return { picture: { url, jpeg, width: shown ? image.naturalWidth : 0, height: image.naturalHeight } };
}

function CurrentSplash({ version }) {
  const [missing, setMissing] = useState(false);
  useEffect(() => setMissing(false), [version]);
  if (missing) return null;
  return (
    <figure>
      <img src={`/images/default.jpg?${version}`} alt={words.splash.current} onError={() => setMissing(true)} />
      <figcaption>{words.splash.current}</figcaption>
    </figure>
  );
}

function SplashCard() {
  const [chosen, choose, clear] = useChosenFile(examinePicture);
  const [version, setVersion] = useState(0);
  const { sending, error, start } = useUpload('splash', 'UPDATE_SPLASH');
  const upload = async () => {
    if (!await start(chosen.file)) return;
    clear();
    setVersion(Date.now());
  };
  const picture = chosen?.picture;
  const fault = picture && (picture.width === 0 ? words.splash.notImage : !picture.jpeg && words.splash.notJpeg);
  return (
    <Card id="splash" title={words.splash.title} hint={words.splash.hint}>
      <DropZone label={words.choose} accept=".jpg,.jpeg,image/jpeg" onFile={choose} disabled={sending !== null} />
      {chosen && <FileFacts chosen={chosen} />}
      {picture?.width > 0 && <figure><img src={picture.url} alt={words.splash.preview} /><figcaption>{words.splash.preview}</figcaption></figure>}
      {fault && <Notice level="error">{fault}</Notice>}
      {picture && !fault && <Notice level="good">{words.splash.good(picture.width, picture.height)}</Notice>}
      <ErrorNotice text={error} />
      {!chosen && version > 0 && !error && <Notice level="good">{words.splash.done}</Notice>}
      {sending ? <Sending sending={sending} />
        : <button type="button" class="main" disabled={!picture || fault} onClick={upload}>{words.upload}</button>}
      {!chosen && <CurrentSplash version={version} />}
    </Card>
  );
}

const slots = ['UPDATE_EDID', 'UPDATE_EDID1', 'UPDATE_EDID2', 'UPDATE_EDID3'];

// A fault that only looks wrong can be sent all the same; one of size cannot be installed.
function edidFaults(edid, slot, size) {
  const stops = size < edidSize || (slot > 0 && size > edidSize);
  const texts = edid.faults.map(({ code, detail }) => words.edid.faults[code === 'long' && slot > 0 ? 'longForSlot' : code](detail));
  return { stops, doubtful: edid.faults.some(({ code }) => code === 'header' || code === 'checksum'), texts };
}

function EdidFacts({ edid }) {
  if (!edid.maker) return null;
  return (
    <ul class="edid-facts">
      <li>{words.edid.monitor(edid.name, edid.maker)}</li>
      <li>{edid.timing ? words.edid.timing(edid.timing) : words.edid.noTiming}</li>
    </ul>
  );
}

function EdidCard() {
  const [chosen, choose, clear] = useChosenFile(async (file) => (
    { edid: readEdid(new Uint8Array(await file.slice(0, 1 << 16).arrayBuffer())) }));
  const [slot, setSlot] = useState(0);
  const [anyway, setAnyway] = useState(false);
  const [done, setDone] = useState(false);
  const { sending, error, start } = useUpload('edid', slots[slot]);
  const pick = (file) => {
    setAnyway(false);
    setDone(false);
    choose(file);
  };
  const upload = async () => {
    if (!await start(chosen.file)) return;
    clear();
    setDone(true);
  };
  const faults = chosen?.edid && edidFaults(chosen.edid, slot, chosen.file.size);
  return (
    <Card id="edid" title={words.edid.title} hint={words.edid.hint}>
      <DropZone label={words.choose} accept=".bin,.edid,.dat" onFile={pick} disabled={sending !== null} />
      <label>{words.edid.slot} <select value={slot} onChange={(event) => setSlot(Number(event.target.value))}>
        {words.edid.slots.map((title, at) => <option key={at} value={at}>{title}</option>)}
      </select></label>
      {chosen && <FileFacts chosen={chosen} />}
      {faults && <EdidFacts edid={chosen.edid} />}
      {faults?.texts.map((text) => <Notice key={text} level={faults.stops ? 'error' : 'warn'}>{text}</Notice>)}
      {faults?.doubtful && !faults.stops
        && <label class="check"><input type="checkbox" checked={anyway} onChange={() => setAnyway(!anyway)} /> {words.anyway}</label>}
      <ErrorNotice text={error} />
      {done && !error && <Notice level="good">{words.edid.done}</Notice>}
      {sending ? <Sending sending={sending} />
        : <button type="button" class="main" disabled={!faults || faults.stops || (faults.doubtful && !anyway)} onClick={upload}>{words.upload}</button>}
    </Card>
  );
}

export function UnitPage() {
  return (
    <section aria-labelledby="unit-heading">
      <div class="bar"><h2 id="unit-heading">{words.heading}</h2></div>
      <div class="cards">
        <FirmwareCard />
        <SplashCard />
        <EdidCard />
      </div>
    </section>
  );
}
