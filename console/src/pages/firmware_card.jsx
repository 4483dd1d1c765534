// Firmware: checked, confirmed, sent, and waited for until the unit is back.

import { useEffect, useRef, useState } from 'preact/hooks';
import { explain, firmwareCommand, queue, waitUntilBack } from '../actions.js';
import { readArchive } from '../logic/archive.js';
import { Card, FileFacts, UploadButton, useChosenFile, useUpload } from '../parts/upload.jsx';
import { CancelButton, Check, Dialog, DropZone, ErrorNotice, Notice } from '../parts/widgets.jsx';
import { texts } from '../texts.js';

const words = texts.unit.firmware;

function FirmwareConfirmation({ chosen, onGo, onCancel }) {
  const [safe, setSafe] = useState(false);
  return (
    <Dialog title={words.confirm} onCancel={onCancel}>
      <FileFacts chosen={chosen} />
      <Notice level="warn">{words.confirmText}</Notice>
      <Check label={words.confirmCheck} checked={safe} onChange={setSafe} />
      <div class="bar">
        <button type="button" class="main danger" disabled={!safe} onClick={onGo}>
          {words.go}
        </button>
        <CancelButton onClick={onCancel} />
      </div>
    </Dialog>
  );
}

// Until the unit is back. Its pages tell when it restarts; its handler is asked then, or when a person wants it.
function FirmwareWait({ onClose }) {
  const [seen, setSeen] = useState('there');
  const [said, setSaid] = useState('');
  const end = useRef(new AbortController()).current;
  const ask = () =>
    queue.ask('firmware', 'CHECK_IMPORT_CSV_STATUS').then(
      () => {
        end.abort();
        setSeen('back');
      },
      (failure) => setSaid(failure.kind === 'updating' ? words.stillUpdating : explain(failure)),
    );
  useEffect(() => {
    waitUntilBack(end.signal, setSeen, ask);
    return () => end.abort();
  }, []);
  if (seen === 'back') {
    return (
      <>
        <Notice level="good">{words.back}</Notice>
        <button type="button" onClick={onClose}>
          {texts.close}
        </button>
      </>
    );
  }
  return (
    <>
      <Notice level="warn">{words.started}</Notice>
      <div class="progress">
        <progress aria-label={words.title} />
        <span role="status">
          {words[seen]} {said}
        </span>
      </div>
      <button type="button" onClick={ask}>
        {words.askNow}
      </button>
    </>
  );
}

function FirmwareChoice({ chosen, choose, upload, onInstall }) {
  const [asking, setAsking] = useState(false);
  const { archive, hash } = chosen ?? {};
  const install = () => {
    setAsking(false);
    onInstall();
  };
  return (
    <>
      <DropZone
        label={texts.unit.choose}
        accept=".gz,.tgz"
        onFile={choose}
        disabled={upload.sending !== null}
      />
      {chosen && <FileFacts chosen={chosen} />}
      {archive?.fault && <Notice level="error">{words.faults[archive.fault]}</Notice>}
      {archive && !archive.fault && <Notice level="good">{words.good(archive.member, archive.size)}</Notice>}
      <ErrorNotice text={upload.error} />
      <UploadButton
        label={`${words.go}…`}
        sending={upload.sending}
        disabled={!archive || archive.fault || !hash}
        onClick={() => setAsking(true)}
      />
      {asking && <FirmwareConfirmation chosen={chosen} onGo={install} onCancel={() => setAsking(false)} />}
    </>
  );
}

export function FirmwareCard() {
  const [chosen, choose, clear] = useChosenFile(async (file) => ({ archive: await readArchive(file) }));
  const [installing, setInstalling] = useState(false);
  const upload = useUpload('firmware', firmwareCommand);
  const install = async () => {
    if (!(await upload.start(chosen.file))) return;
    clear();
    setInstalling(true);
  };
  return (
    <Card id="firmware" title={words.title} hint={words.hint}>
      {installing ? (
        <FirmwareWait onClose={() => setInstalling(false)} />
      ) : (
        <FirmwareChoice {...{ chosen, choose, upload }} onInstall={install} />
      )}
    </Card>
  );
}
