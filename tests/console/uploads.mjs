// Files for the unit itself, and a unit that is busy, broken or being updated, in the browser. In the box only.

import assert from 'node:assert/strict';
import { existsSync, readFileSync } from 'node:fs';
import { gzipSync } from 'node:zlib';
import { makeEdid, makeTar } from './sample_files.mjs';
import { chapter, content, look, openConsole, startFleet, startServer, until } from './unit.mjs';

let endServer = await startServer();
await startFleet('--count', '3');
const page = await openConsole();
const goTo = (name) => page.getByRole('link', { name, exact: true }).click();
const card = (name) => page.locator(`#${name}`);
const says = async (name, ...words) => {
  for (const text of words) await card(name).getByText(text).waitFor();
};
const upload = (name) => card(name).getByRole('button', { name: 'Upload' });
const choose = (name, file, buffer) =>
  card(name).locator('input[type=file]').setInputFiles({ name: file, mimeType: '', buffer });

// If it fails, a broken picture, or one that nobody has confirmed, is installed.
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
  const replace = page.getByRole('dialog');
  await replace.getByText('Which unit answers at 127.0.0.1:8080 is not known.').waitFor();
  await replace.getByAltText('The chosen picture').waitFor();
  assert.ok(!existsSync('/xoem/default.jpg')); // nothing is sent before it is confirmed
  assert.deepEqual(await look(page, 'splash-confirm'), []);
  await replace.getByRole('button', { name: 'Replace it' }).click();
  await says('splash', 'The unit has taken the splash image.');
  assert.ok(readFileSync('/xoem/default.jpg').equals(jpeg));
});

// If it fails, a faulty EDID is installed, and sources send no picture.
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
  await says('edid', 'Block 2: checksum right');
  await upload('edid').click();
  await page.getByRole('heading', { name: 'Replace custom EDID 2?' }).waitFor();
  assert.deepEqual(await look(page, 'edid-confirm'), []);
  await page.getByRole('dialog').getByRole('button', { name: 'Replace it' }).click();
  await says('edid', 'The unit has taken the EDID as custom EDID 2.');
  assert.ok(readFileSync('/config/CUSTOM_2.cbin').equals(edid));

  await choose('edid', 'odd.bin', Buffer.concat([edid.subarray(0, 255), Buffer.of(edid[255] ^ 1)]));
  await says('edid', 'Wrong checksum in block 2.');
  assert.ok(await upload('edid').isDisabled());
  await card('edid').getByLabel('Upload it all the same').check();
  assert.ok(await upload('edid').isEnabled());
  await choose('edid', 'short.bin', edid.subarray(0, 128));
  await says('edid', 'Only 128 bytes; an EDID for this unit has 256.');
});

// If it fails, a busy unit looks broken, or a broken answer like a list.
await chapter(page, 'a busy unit is asked until it answers, a broken answer is reported', async () => {
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

// If it fails, a cut file is installed, or nobody is warned to leave the power on.
await chapter(page, 'firmware is checked, confirmed for this very unit, and waited for', async () => {
  await goTo('This unit');
  await page.getByRole('button', { name: 'Find out which it is' }).click();
  await page.locator('.own-unit').getByText('KU000001').waitFor();
  await page.locator('header').getByText('UNIT-001 · KestT-2 · 10.77.0.1').waitFor();
  const firmware = gzipSync(makeTar('firmware.bin', 200_000));
  await choose('firmware', 'cut.tar.gz', firmware.subarray(0, 100_000));
  await says('firmware', 'damaged, or cut short');
  await page.evaluate(() => localStorage.setItem('console.firmware.KestT-2', '["firmware.bin","boot#.img"]'));
  await choose('firmware', 'fw.tar.gz', firmware);
  await card('firmware').getByRole('button', { name: 'Install firmware…' }).click();
  const dialog = page.getByRole('dialog');
  await dialog.locator('.own-unit').getByText('3.4.1').waitFor();
  await dialog.getByText('this one lacks: boot#.img').waitFor();
  await dialog.getByText('Members of the archive (1)').click();
  await dialog.getByText('firmware.bin').waitFor();
  const go = dialog.getByRole('button', { name: 'Install firmware' });
  assert.ok(await go.isDisabled());
  await page.getByLabel('The power is safe').check();
  assert.deepEqual(await look(page, 'firmware'), []);
  await go.click();
  const banner = page.locator('main > .notice');
  await banner.getByText('Do not remove its power.').waitFor();
  assert.equal(await page.locator('#activity').innerText(), 'Firmware is being installed');
  await goTo('Listings');
  await page.getByRole('button', { name: 'Encoders' }).click();
  await page.getByRole('alert').getByText('firmware is being updated').waitFor();
  await page.reload();
  await banner.getByText('Do not remove its power.').waitFor();
  assert.notEqual(await page.locator('#activity').innerText(), 'Idle');

  // The unit restarts: its pages go and come back, and the console asks by itself.
  await endServer();
  await banner.getByText('The unit restarts…').waitFor();
  await until(() => content('/var/log/update_fw.log').includes('done'));
  endServer = await startServer();
  await banner.getByText('The unit is back.').waitFor();
  assert.equal(await page.locator('#activity').innerText(), 'Idle');
  assert.match(content('/var/link'), /running/);
});
process.exit();
