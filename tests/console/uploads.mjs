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
const says = async (name, ...words) => {
  for (const text of words) await card(name).getByText(text).waitFor();
};
const upload = (name) => card(name).getByRole('button', { name: 'Upload' });
const choose = (name, file, buffer) =>
  card(name).locator('input[type=file]').setInputFiles({ name: file, mimeType: '', buffer });

await chapter(page, 'a splash image is shown before it is sent', async () => {
  await goTo('This unit');
  await choose('splash', 'logo.png', Buffer.from('\x89PNG'));
  await says('splash', 'Not a picture that can be shown.');
  assert.ok(await upload('splash').isDisabled());
  const jpeg = await page.screenshot({ type: 'jpeg', clip: { x: 0, y: 0, width: 320, height: 180 } });
  await choose('splash', 'cut.jpg', jpeg.subarray(0, jpeg.length - 2));
  await says('splash', 'The picture is truncated');
  assert.ok(await upload('splash').isDisabled());
  await choose('splash', 'logo.jpg', jpeg);
  await says('splash', 'JPEG, 320 × 180 pixels.');
  await card('splash').getByAltText('The chosen picture').waitFor();
  assert.deepEqual(await look(page, 'splash'), []);
  await upload('splash').click();
  await says('splash', 'The unit has taken the splash image.');
  assert.ok(readFileSync('/xoem/default.jpg').equals(jpeg));
});

await chapter(page, 'an EDID is dropped, decoded and stored', async () => {
  const edid = Buffer.from(makeEdid('DESK 24'));
  const dragged = await page.evaluateHandle(
    (bytes) => {
      const data = new DataTransfer();
      data.items.add(new File([Uint8Array.from(bytes)], 'desk.bin'));
      return data;
    },
    [...edid],
  );
  await card('edid').locator('.drop').dispatchEvent('drop', { dataTransfer: dragged });
  await says('edid', 'Monitor: DESK 24 (ABC)', 'Preferred timing: 1920 × 1080 at 60 Hz');
  await card('edid').getByLabel('Install as').selectOption('custom EDID 2');
  await upload('edid').click();
  await says('edid', 'The unit has taken the EDID.');
  assert.ok(readFileSync('/config/CUSTOM_2.cbin').equals(edid));

  await choose('edid', 'odd.bin', Buffer.concat([edid.subarray(0, 255), Buffer.of(edid[255] ^ 1)]));
  await says('edid', 'Wrong checksum in block 2.');
  assert.ok(await upload('edid').isDisabled());
  await card('edid').getByLabel('Upload it all the same').check();
  assert.ok(await upload('edid').isEnabled());
  await choose('edid', 'short.bin', edid.subarray(0, 128));
  await says('edid', 'Only 128 bytes; an EDID for this unit has 256.');
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
  await says('firmware', 'damaged, or cut short');
  await choose('firmware', 'fw.tar.gz', firmware);
  await says('firmware', 'first member “firmware.bin”');
  await card('firmware').getByRole('button', { name: 'Install firmware…' }).click();
  const go = page.getByRole('dialog').getByRole('button', { name: 'Install firmware' });
  assert.ok(await go.isDisabled());
  await page.getByLabel('The power is safe').check();
  assert.deepEqual(await look(page, 'firmware'), []);
  await go.click();
  await says('firmware', 'Do not remove its power.');
  await goTo('Listings');
  await page.getByRole('button', { name: 'Encoders' }).click();
  await page.getByRole('alert').getByText('firmware is being updated').waitFor();

  // The unit restarts: its pages go and come back, and it is asked without being told to.
  await goTo('This unit');
  await endServer();
  await says('firmware', 'The unit restarts…');
  await until(() => content('/var/log/update_fw.log').includes('done'));
  endServer = await startServer();
  await says('firmware', 'The unit is back.');
  assert.match(content('/var/link'), /running/);
});
process.exit();
