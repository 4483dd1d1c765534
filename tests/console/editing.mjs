// A draft is found faulty, edited and kept, in the browser. In the box only.

import assert from 'node:assert/strict';
import { asked, chapter, look, openSite } from './unit.mjs';

const { page, goTo, button } = await openSite('--count', '24');
const focused = () =>
  page.evaluate(() => document.activeElement.getAttribute('role') ?? document.activeElement.id);
const detail = page.locator('.cell-detail');

async function open(name, text) {
  const file = { name, mimeType: 'text/csv', buffer: Buffer.from(text) };
  await page.locator('input[type=file]:visible').setInputFiles(file);
  await page.getByRole('grid').waitFor();
}

// If it fails, a problem is overlooked, or only a mouse can reach it.
await chapter(page, 'problems are counted, and each is reached with the keyboard', async () => {
  await page.getByRole('button', { name: /^Discover/ }).focus();
  await page.keyboard.press('Enter');
  await page.getByText('Listening for their answers').waitFor();
  await page.locator('progress').waitFor({ state: 'hidden' });
  assert.match(await page.evaluate(() => document.activeElement.innerText), /^Discover/);

  await goTo('Configure');
  const rows = ['KU000003,A&B,Hall', 'KU000005,FIVE,Five', 'KU000007,SEVEN,"a""b, c"', 'KU000002,TWO,Door'];
  await open('site.csv', `UNIT.SERIAL,UNIT.ID,VW.NAME\r\n${rows.join('\r\n')}\r\n`);
  const tools = page.getByRole('group', { name: 'Problems' });
  assert.match(await tools.innerText(), /Left out: 2\s+Held back: 1/);
  await button('Next problem').click();
  assert.equal(await focused(), 'grid');
  await detail.getByText('UNIT-003 · UNIT.ID').waitFor();
  await page.keyboard.press('F8');
  await detail.getByText('UNIT-007 · VW.NAME').waitFor();
  await page.keyboard.press('F8');
  await page.keyboard.press('F8');
  await detail.getByText('UNIT-003 · UNIT.ID').waitFor(); // begins again
  await page.keyboard.press('Shift+F8');
  await detail.getByText('UNIT-002 · VW.NAME').waitFor();
  await page
    .locator('.problems tr', { hasText: 'beside a comma' })
    .getByRole('button', { name: '4' })
    .click();
  await detail.getByText('UNIT-007 · VW.NAME').waitFor();
  assert.equal(await focused(), 'grid');

  await button('Update 4 units…').click();
  assert.equal(await page.evaluate(() => document.activeElement.innerText), 'Cancel');
  await page.keyboard.press('Escape');
  assert.match(await page.evaluate(() => document.activeElement.innerText), /^Update 4/);
  assert.deepEqual(await look(page, 'problems'), []);
  await button('Start over').click();
  await page.locator('input[type=file]:visible').waitFor();
  assert.equal(await focused(), 'main');
});

// If it fails, people must rewrite their lists before the console reads them.
await chapter(page, 'titles and headers of people’s own are understood', async () => {
  await open('plan.csv', 'Hall A;;\r\n;;\r\nSerial;Room name;IP\r\nKU000003;Hall;\r\nKU000005;Five;\r\n');
  await page.getByText('The header is below').waitFor();
  await button('Take Serial → UNIT.SERIAL, IP → IP.STATIC_ADDRESS').click();
  await page.getByLabel('Room name →').selectOption('VW.NAME');
  await page.getByText('2 settings for 2 units.').waitFor();
  assert.deepEqual(await look(page, 'headers'), []);
  assert.match(await page.locator('[role=grid] tbody').innerText(), /^4 UNIT-003/);
});

// If it fails, a paste overwrites other cells, or cannot be undone.
await chapter(page, 'cells are selected, copied, pasted, undone and done again', async () => {
  const cellOf = (row, column) =>
    page.locator(`[role=grid] tbody tr:nth-child(${row}) td:nth-of-type(${column})`);
  const texts = async () => {
    const cells = await page.locator('[role=grid] tbody td:nth-of-type(2)').allInnerTexts();
    return cells.map((text) => text.split('\n').at(-1)).join();
  };
  await page.context().grantPermissions(['clipboard-read', 'clipboard-write']);
  await cellOf(1, 2).click();
  await page.keyboard.press('Shift+ArrowDown');
  await page.keyboard.press('Shift+ArrowLeft');
  assert.equal(await page.locator('td.selected').count(), 4);
  await page.keyboard.press('Control+c');
  assert.equal(await page.evaluate(() => navigator.clipboard.readText()), 'KU000003\tHall\r\nKU000005\tFive');
  const paste = async (text) => {
    await page.evaluate((copied) => navigator.clipboard.writeText(copied), text);
    await page.keyboard.press('Control+v');
  };
  await cellOf(2, 2).click();
  await paste('One\t10.77.1.99\r\nTwo\t');
  await page.getByText('2 of 4 cells were not pasted').waitFor();
  assert.equal(await texts(), 'Hall,One');
  await cellOf(1, 2).click({ modifiers: ['Shift'] });
  await paste('Both');
  assert.equal(await texts(), 'Both,Both');
  await page.keyboard.press('Delete');
  assert.equal(await texts(), ',');
  await page.keyboard.press('Control+z');
  await page.keyboard.press('Control+z');
  assert.equal(await texts(), 'Hall,One');
  await page.keyboard.press('Control+y');
  assert.equal(await texts(), 'Both,Both');
});

// If it fails, a draft is lost with its page, or its faults are forgotten.
await chapter(page, 'presets are applied; a draft and its faults survive a reload', async () => {
  await page.getByText('Presets…').click();
  await button('Decoders: AUDIO.MUTE = FALSE (2)').click();
  await page.getByRole('columnheader', { name: 'AUDIO.MUTE' }).waitFor();
  await page.getByRole('combobox', { name: 'Column' }).last().selectOption('VIDEO.OUTPUT');
  await page.getByLabel('Value').fill('O&N');
  await button('Keep as a preset').click();
  await button('Decoders: VIDEO.OUTPUT = O&N (2)').click();
  await page.locator('.problems').getByText('An “&” would end the value').waitFor();
  assert.deepEqual(await look(page, 'presets'), []);
  const before = await page.locator('[role=grid]').innerText();
  const asksBefore = asked.length;
  await page.waitForTimeout(1000); // until it is kept
  await page.reload();
  await page.locator('.problems').getByText('An “&” would end the value').waitFor();
  assert.equal(await page.locator('[role=grid]').innerText(), before);
  assert.equal(asked.length, asksBefore);
  await button('Start over').click(); // asks: there are edits
  assert.equal(asked.length, asksBefore + 1);
});
process.exit();
