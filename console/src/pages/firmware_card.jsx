// Firmware: checked, confirmed and sent. What comes then is shown on every page.

import { useState } from 'preact/hooks';
import { askFirmware, closeFirmware, firmwareBegun, firmwareCommand } from '../actions.js';
import { kindsOf, readArchive } from '../logic/archive.js';
import { useOwnUnit } from '../parts/own_unit.jsx';
import { Card, Confirmation, FileFacts, UploadButton, useChosenFile, useUpload } from '../parts/upload.jsx';
import { Check, DropZone, ErrorNotice, Notice } from '../parts/widgets.jsx';
import { recall, remember } from '../store.js';
import { texts } from '../texts.js';

const words = texts.unit.firmware;

// A running update, on every page until the unit takes requests again.
export function FirmwareBanner({ firmware: { seen, said } }) {
  if (seen === 'back') {
    return (
      <Notice level="good">
        {words.back}{' '}
        <button type="button" onClick={closeFirmware}>
          {texts.close}
        </button>
      </Notice>
    );
  }
  return (
    <Notice level="warn">
      {words.started} {words[seen]} {said}{' '}
      <button type="button" onClick={askFirmware}>
        {words.askNow}
      </button>
    </Notice>
  );
}

function Members({ members }) {
  return (
    <details class="cells">
      <summary>{words.members(members.length)}</summary>
      <ul class="members">
        {members.map(({ name, size }, at) => (
          <li key={at}>
            {name} <span class="hint">{texts.unit.size(size)}</span>
          </li>
        ))}
      </ul>
    </details>
  );
}

// What archives of this model had before, as far as this browser has installed some.
const memoryOf = (model) => `firmware.${model}`;

function ArchiveFacts({ archive, model }) {
  if (archive.fault) return <Notice level="error">{words.faults[archive.fault]}</Notice>;
  const kinds = kindsOf(archive.members);
  const missing = (recall(memoryOf(model)) ?? []).filter((kind) => !kinds.includes(kind));
  return (
    <>
      <Notice level="good">{words.good(archive.members.length, archive.size)}</Notice>
      {missing.length > 0 && <Notice level="warn">{words.missing(missing)}</Notice>}
      <Members members={archive.members} />
    </>
  );
}

export function FirmwareCard({ firmware }) {
  const [chosen, choose, clear] = useChosenFile(async (file) => ({ archive: await readArchive(file) }));
  const [asking, setAsking] = useState(false);
  const [safe, setSafe] = useState(false);
  const upload = useUpload('firmware', firmwareCommand);
  const model = useOwnUnit()?.values['UNIT.MODEL'] ?? '';
  const { archive, hash } = chosen ?? {};
  const install = async () => {
    setAsking(false);
    if (!(await upload.start(chosen.file))) return;
    remember(memoryOf(model), kindsOf(archive.members));
    clear();
    firmwareBegun('');
  };
  const ask = () => {
    setSafe(false);
    setAsking(true);
  };
  const busy = upload.sending !== null || (firmware !== null && firmware.seen !== 'back');
  return (
    <Card id="firmware" title={words.title} hint={words.hint}>
      <DropZone label={texts.unit.choose} accept=".gz,.tgz" onFile={choose} disabled={busy} />
      {chosen && <FileFacts chosen={chosen} />}
      {archive && <ArchiveFacts {...{ archive, model }} />}
      <ErrorNotice text={upload.error} />
      <UploadButton
        label={`${words.go}…`}
        sending={upload.sending}
        disabled={busy || !archive || archive.fault || !hash}
        onClick={ask}
      />
      {asking && (
        <Confirmation
          title={words.confirm}
          go={words.go}
          ready={safe}
          onGo={install}
          onCancel={() => setAsking(false)}
          chosen={chosen}
        >
          <ArchiveFacts {...{ archive, model }} />
          <Notice level="warn">{words.confirmText}</Notice>
          <Check label={words.confirmCheck} checked={safe} onChange={setSafe} />
        </Confirmation>
      )}
    </Card>
  );
}
