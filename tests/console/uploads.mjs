// Files for the unit itself, and a unit that is busy, broken or being updated, in the browser. In the box only.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { gzipSync } from 'node:zlib';
import { makeEdid, makeTar } from './sample_files.mjs';
import { chapter, content, look, openConsole, start, startServer, until } from './unit.mjs';

let endServer = await startServer();
start('fleet', '--self', '--count', '3');
const page = await openConsole();
const goTo = (name) => page.getByRole('link', { name, exact: true }).click();
const card = (name) => page.locator(`#${name}`);
const choose = (name, file, bytes) =>
  card(name)
    .locator('input[type=file]')
    .setInputFiles({ name: file, mimeType: '', buffer: Buffer.from(bytes) });

// What Chromium makes of a grey picture.
const jpeg = await page
  .evaluate(() => {
    const canvas = document.createElement('canvas');
    [canvas.width, canvas.height] = [320, 180];
    const paper = canvas.getContext('2d');
    paper.fillStyle = 'steelblue';
    paper.fillRect(0, 0, 320, 180);
    return canvas.toDataURL('image/jpeg').split(',')[1];
  })
  .then((text) => Buffer.from(text, 'base64'));

await chapter(page, 'a splash image is shown before it is sent', async () => {
  await goTo('This unit');
  await choose('splash', 'logo.png', '\x89PNG');
  await card('splash').getByText('Not a picture that can be shown.').waitFor();
  assert.ok(await card('splash').getByRole('button', { name: 'Upload' }).isDisabled());
  await choose('splash', 'logo.jpg', jpeg);
  await card('splash').getByText('JPEG, 320 × 180 pixels.').waitFor();
  await card('splash').getByAltText('The chosen picture').waitFor();
  assert.deepEqual(await look(page, 'splash'), []);
  await card('splash').getByRole('button', { name: 'Upload' }).click();
  await card('splash').getByText('The unit has taken the splash image.').waitFor();
  assert.ok(readFileSync('/xoem/default.jpg').equals(jpeg));
});

await chapter(page, 'an EDID is dropped, decoded and stored', async () => {
  const edid = makeEdid('DESK 24');
  await card('edid')
    .locator('.drop')
    .evaluate(
      (zone, bytes) => {
        const data = new DataTransfer();
        data.items.add(new File([Uint8Array.from(bytes)], 'desk.bin'));
        zone.dispatchEvent(new DragEvent('drop', { dataTransfer: data, bubbles: true, cancelable: true }));
      },
      [...edid],
    );
  await card('edid').getByText('Monitor: DESK 24 (ABC)').waitFor();
  await card('edid').getByText('Preferred timing: 1920 × 1080 at 60 Hz').waitFor();
  await card('edid').getByLabel('Install as').selectOption('custom EDID 2');
  await card('edid').getByRole('button', { name: 'Upload' }).click();
  await card('edid').getByText('The unit has taken the EDID.').waitFor();
  assert.ok(readFileSync('/config/CUSTOM_2.cbin').equals(edid));

  await choose(
    'edid',
    'odd.bin',
    edid.map((byte, at) => (at === 20 ? byte ^ 1 : byte)),
  );
  await card('edid').getByText('Wrong checksum in block 1.').waitFor();
  assert.ok(await card('edid').getByRole('button', { name: 'Upload' }).isDisabled());
  await card('edid').getByLabel('Upload it all the same').check();
  assert.ok(await card('edid').getByRole('button', { name: 'Upload' }).isEnabled());
  await choose('edid', 'short.bin', edid.slice(0, 128));
  await card('edid').getByText('Only 128 bytes; an EDID for this unit has 256.').waitFor();
});

await chapter(page, 'a busy unit is asked until it answers, a broken answer is told', async () => {
  await goTo('Listings');
  const busy = fetch('http://127.0.0.1:8080/cgi-bin/handler.cgi?CMD=DISCOVER_DEVICES_API');
  await until(() => content('/var/log/tools.log').includes('UNIT.MCD_MODE'));
  await page.getByRole('button', { name: 'Encoders' }).click();
  await page.getByText(/the unit is busy with another request, try 2/).waitFor();
  await page.getByRole('cell', { name: 'MYSELF' }).waitFor();
  await busy;
  await page.route('**/cgi-bin/*', (route) => route.fulfill({ status: 500, body: '' }));
  await page.getByRole('button', { name: 'Decoders' }).click();
  await page.getByRole('alert').getByText('The unit’s answer is broken').waitFor();
  await page.unroute('**/cgi-bin/*');
});

await chapter(page, 'firmware is checked, confirmed, and waited for', async () => {
  await goTo('This unit');
  const firmware = gzipSync(makeTar('firmware.bin', 200_000));
  await choose('firmware', 'cut.tar.gz', firmware.subarray(0, 100_000));
  await card('firmware').getByText('damaged, or cut short').waitFor();
  await choose('firmware', 'fw.tar.gz', firmware);
  await card('firmware').getByText('first member “firmware.bin”').waitFor();
  await card('firmware').getByRole('button', { name: 'Install firmware…' }).click();
  const go = page.getByRole('dialog').getByRole('button', { name: 'Install firmware' });
  assert.ok(await go.isDisabled());
  await page.getByLabel('The power is safe').check();
  assert.deepEqual(await look(page, 'firmware'), []);
  await go.click();
  await card('firmware').getByText('Do not remove its power.').waitFor();
  await goTo('Listings');
  await page.getByRole('button', { name: 'Encoders' }).click();
  await page.getByRole('alert').getByText('firmware is being updated').waitFor();

  // The unit restarts: its pages go and come back, and it is asked without being told to.
  await goTo('This unit');
  await endServer();
  await card('firmware').getByText('The unit restarts…').waitFor();
  await until(() => content('/var/log/update_fw.log').includes('done'));
  endServer = await startServer();
  await card('firmware').getByText('The unit is back.').waitFor();
  assert.match(content('/var/link'), /running/);
});
process.exit();
