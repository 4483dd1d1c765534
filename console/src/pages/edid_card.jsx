// An EDID: decoded, and installed in one of four places.

import { useState } from 'preact/hooks';
import { edidSize, readEdid } from '../logic/edid.js';
import { Card, Confirmation, FileFacts, UploadButton, useChosenFile, useUpload } from '../parts/upload.jsx';
import { Check, Choice, DropZone, ErrorNotice, Notice } from '../parts/widgets.jsx';
import { texts } from '../texts.js';

const words = texts.unit.edid;

const slots = ['UPDATE_EDID', 'UPDATE_EDID1', 'UPDATE_EDID2', 'UPDATE_EDID3'];

// A fault that only looks wrong can be sent all the same; one of size cannot be installed.
function edidFaults(edid, slot, size) {
  const stops = size < edidSize || (slot > 0 && size > edidSize);
  const lines = edid.faults.map(({ code, detail }) =>
    words.faults[code === 'long' && slot > 0 ? 'longForSlot' : code](code === 'long' ? size : detail),
  );
  return { stops, doubtful: edid.faults.some(({ code }) => code === 'header' || code === 'checksum'), lines };
}

function EdidFacts({ edid, faults: { stops, lines } }) {
  return (
    <>
      {edid.maker && (
        <ul>
          <li>{words.monitor(edid.name, edid.maker)}</li>
          <li>{edid.timing ? words.timing(edid.timing) : words.noTiming}</li>
          {edid.blocks.map((right, block) => (
            <li key={block}>{words.block(block + 1, right)}</li>
          ))}
        </ul>
      )}
      {lines.map((line) => (
        <Notice key={line} level={stops ? 'error' : 'warn'}>
          {line}
        </Notice>
      ))}
    </>
  );
}

const examine = async (file) => ({
  edid: readEdid(new Uint8Array(await file.slice(0, 1 << 16).arrayBuffer())),
});

export function EdidCard() {
  const [chosen, choose, clear] = useChosenFile(examine);
  const [slot, setSlot] = useState(0);
  const [anyway, setAnyway] = useState(false);
  const [done, setDone] = useState(null); // the slot that was filled
  const [asking, setAsking] = useState(false);
  const { sending, error, start } = useUpload('edid', slots[slot]);
  const pick = (file) => {
    setAnyway(false);
    setDone(null);
    choose(file);
  };
  const upload = async () => {
    setAsking(false);
    if (!(await start(chosen.file))) return;
    clear();
    setDone(slot);
  };
  const edid = chosen?.edid;
  const faults = edid && edidFaults(edid, slot, chosen.file.size);
  const disabled = !faults || faults.stops || (faults.doubtful && !anyway);
  return (
    <Card id="edid" title={words.title} hint={words.hint}>
      <DropZone
        label={texts.unit.choose}
        accept=".bin,.edid,.dat"
        onFile={pick}
        disabled={sending !== null}
      />
      <Choice
        label={words.slot}
        value={slot}
        options={[...words.slots.entries()]}
        onChange={(value) => setSlot(Number(value))}
      />
      {chosen && <FileFacts chosen={chosen} />}
      {edid && <EdidFacts {...{ edid, faults }} />}
      {faults?.doubtful && !faults.stops && (
        <Check label={texts.unit.anyway} checked={anyway} onChange={setAnyway} />
      )}
      <ErrorNotice text={error} />
      {done !== null && !error && <Notice level="good">{words.done(words.slots[done])}</Notice>}
      <UploadButton {...{ sending, disabled }} onClick={() => setAsking(true)} />
      {asking && (
        <Confirmation
          title={words.confirm(words.slots[slot])}
          go={words.go}
          onGo={upload}
          onCancel={() => setAsking(false)}
          chosen={chosen}
        >
          <EdidFacts {...{ edid, faults }} />
        </Confirmation>
      )}
    </Card>
  );
}
