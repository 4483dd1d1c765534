// The splash image: shown before it is sent, and as the unit has it.

import { useState } from 'preact/hooks';
import { Card, Confirmation, FileFacts, UploadButton, useChosenFile, useUpload } from '../parts/upload.jsx';
import { DropZone, ErrorNotice, Notice } from '../parts/widgets.jsx';
import { texts } from '../texts.js';

const words = texts.unit.splash;

const bytesOf = async (piece) => new Uint8Array(await piece.arrayBuffer());
// The unit writes the picture to a flash partition and does not look whether it fits; its size is not documented.
const largePicture = 1 << 20;
const tailSize = 4096; // some programs write a little more after the end of a picture

// Returns {url, width, height, jpeg, whole} of a picture; width is 0 when it cannot be shown. Browsers show what there is
// of a JPEG that was cut; a whole one has an end mark.
async function examinePicture(file) {
  const head = await bytesOf(file.slice(0, 3));
  const jpeg = head[0] === 0xff && head[1] === 0xd8 && head[2] === 0xff;
  const tail = await bytesOf(file.slice(-tailSize));
  const whole = tail.some((byte, at) => byte === 0xff && tail[at + 1] === 0xd9);
  const url = URL.createObjectURL(file);
  const image = new Image();
  image.src = url;
  const shown = await image.decode().then(
    () => true,
    () => false,
  );
  return {
    picture: { url, jpeg, whole, width: shown ? image.naturalWidth : 0, height: image.naturalHeight },
  };
}

// The image as the unit serves it now, `version` being the time of the look: no cache has it.
function CurrentSplash({ version }) {
  const [missing, setMissing] = useState(false);
  if (missing) return <p class="hint">{words.none}</p>;
  return (
    <figure>
      <img src={`/images/default.jpg?${version}`} alt={words.current} onError={() => setMissing(true)} />
      <figcaption>{words.current}</figcaption>
    </figure>
  );
}

const Preview = ({ picture }) => (
  <figure>
    <img src={picture.url} alt={words.preview} />
    <figcaption>{words.preview}</figcaption>
  </figure>
);

function faultOf(picture) {
  if (picture.width === 0) return words.notImage;
  if (!picture.jpeg) return words.notJpeg;
  return picture.whole ? '' : words.cut;
}

export function SplashCard() {
  const [chosen, choose, clear] = useChosenFile(examinePicture);
  const [version, setVersion] = useState(Date.now());
  const [done, setDone] = useState(false);
  const [asking, setAsking] = useState(false);
  const { sending, error, start } = useUpload('splash', 'UPDATE_SPLASH');
  const upload = async () => {
    setAsking(false);
    if (!(await start(chosen.file))) return;
    clear();
    setDone(true);
    setVersion(Date.now());
  };
  // The picture that is replaced is the present one, not that of the time when the page was opened.
  const ask = () => {
    setVersion(Date.now());
    setAsking(true);
  };
  const picture = chosen?.picture;
  const fault = picture && faultOf(picture);
  return (
    <Card id="splash" title={words.title} hint={words.hint}>
      <DropZone
        label={texts.unit.choose}
        accept=".jpg,.jpeg,image/jpeg"
        onFile={choose}
        disabled={sending !== null}
      />
      {chosen && <FileFacts chosen={chosen} />}
      {picture?.width > 0 && <Preview picture={picture} />}
      {fault && <Notice level="error">{fault}</Notice>}
      {picture && !fault && <Notice level="good">{words.good(picture.width, picture.height)}</Notice>}
      {chosen?.file.size > largePicture && <Notice level="warn">{words.large}</Notice>}
      <ErrorNotice text={error} />
      {!chosen && done && !error && <Notice level="good">{words.done}</Notice>}
      <UploadButton sending={sending} disabled={!picture || fault} onClick={ask} />
      {!chosen && <CurrentSplash key={version} version={version} />}
      {asking && (
        <Confirmation
          title={words.confirm}
          go={words.go}
          onGo={upload}
          onCancel={() => setAsking(false)}
          chosen={chosen}
        >
          <div class="pictures">
            <CurrentSplash version={version} />
            <Preview picture={picture} />
          </div>
        </Confirmation>
      )}
    </Card>
  );
}
