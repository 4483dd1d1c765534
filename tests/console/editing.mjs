// A draft is found faulty, edited and kept, in the browser. In the box only.

import assert from 'node:assert/strict';
import { chapter, look, openConsole, start, startServer } from './unit.mjs';

await startServer();
start('fleet', '--self', '--count', '24');
const page = await openConsole();
const button = (name) => page.getByRole('button', { name, exact: true });
const goTo = (name) => page.getByRole('navigation').getByRole('link', { name, exact: true }).click();
const focused = () =>
  page.evaluate(() => document.activeElement.getAttribute('role') ?? document.activeElement.id);
const detail = page.locator('.cell-detail');

async function open(name, text) {
  const file = { name, mimeType: 'text/csv', buffer: Buffer.from(text) };
  await page.locator('input[type=file]:visible').setInputFiles(file);
  await page.getByRole('grid').waitFor();
}

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
  await page.locator('.problems tr', { hasText: 'beside a comma' }).getByRole('button', { name: '4' }).click();
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
process.exit();
