// A unit for the console's browser tests, in the box only: web server, fleet and browser.

import { spawn } from 'node:child_process';
import { readFileSync, readdirSync } from 'node:fs';
import { setTimeout as sleep } from 'node:timers/promises';
import { accessibilityProblems, openPage } from '../clients/browser.mjs';

export const address = 'http://127.0.0.1:8080/';

// Starts a command of the box. Returns the procedure that ends it; the box ends what is left.
export function start(command, ...options) {
  const child = spawn(command, options, { stdio: ['ignore', 'inherit', 'inherit'] });
  const ended = new Promise((resolve) => {
    child.on('close', resolve);
  });
  return () => child.kill() && ended;
}

// Waits, without a limit of its own, until `test()` returns something true.
export async function until(test) {
  while (!(await test())) await sleep(100);
}

export const content = (path) => readFileSync(path, 'utf8');

// Starts simulated units, this unit's own API service included. Resolves once they answer, to a procedure that ends them.
export async function startFleet(...options) {
  const end = start('fleet', '--self', ...options);
  await until(() => content('/proc/net/udp').includes(':1F40 ')); // their port, 8000
  return end;
}

// Starts the web server that HANDLER_WEB_SERVER names. Returns the procedure that ends it.
export async function startServer() {
  const end = start('box/web-server', process.env.HANDLER_WEB_SERVER ?? 'lighttpd');
  await until(() => fetch(address).catch(() => null));
  return end;
}

// What another console does: asks without a pause, and sends rows as soon as the unit takes requests.
export async function anotherConsole(...lines) {
  const request = async (path, options) => {
    const answer = await fetch(`${address}cgi-bin/handler.cgi${path}`, options).then((page) => page.text());
    return answer.includes('HANDLER=ERROR') ? request(path, options) : answer;
  };
  const body = new FormData();
  body.append('CMD', 'CSV_IMPORT');
  body.append('file', new Blob([`${lines.join('\r\n')}\r\n`]), 'theirs.csv');
  await request('', { method: 'POST', body });
  return request('?CMD=PERFORM_CSV_UPDATE');
}

export const asked = []; // by the browser's own dialogs; all are accepted

// Opens the console. A fault of its scripts ends the test, and so does a wait of minutes.
export async function openConsole() {
  const page = await openPage({ viewport: { width: 1360, height: 800 } });
  page.setDefaultTimeout(180_000);
  page.on('pageerror', (failure) => {
    throw failure;
  });
  page.on('dialog', (dialog) => {
    asked.push(dialog.message());
    return dialog.accept();
  });
  await page.goto(address);
  return page;
}

// Starts a web server and simulated units, and opens the console. Returns its page, the procedure that ends the units, and
// what tests do there again and again.
export async function openSite(...options) {
  await startServer();
  const endFleet = await startFleet(...options);
  const page = await openConsole();
  const goTo = (name) => page.getByRole('navigation').getByRole('link', { name, exact: true }).click();
  const discover = async () => {
    await goTo('Units');
    await page.getByRole('button', { name: /^Discover/ }).click();
    await page.getByText('Listening for their answers').waitFor();
    await page.locator('progress').waitFor({ state: 'hidden' });
  };
  const button = (name) => page.getByRole('button', { name, exact: true });
  return { page, endFleet, goTo, discover, button };
}

// One part of a test. When it fails, the text of the page is printed before the reason, and the test ends.
export async function chapter(page, title, work) {
  console.log(title);
  try {
    await work();
  } catch (failure) {
    console.error(await page.locator('body').innerText());
    throw failure;
  }
}

// Downloads what a button offers. Returns its text, byte order mark included.
export async function download(page, button) {
  const [file] = await Promise.all([
    page.waitForEvent('download'),
    page.getByRole('button', { name: button }).click(),
  ]);
  return content(await file.path());
}

// Where pictures of the pages go, for the documentation: those that are there are renewed, all are made in an empty folder.
const folder = process.env.HANDLER_SCREENSHOTS;
const wanted = folder ? readdirSync(folder) : [];

// Looks at the page on a phone and on screens, in dark and light, and takes its picture. Returns what is wrong: widths at
// which the page is wider than its window, and the accessibility problems.
export async function look(page, name) {
  const problems = [];
  const usual = page.viewportSize();
  for (const width of [390, 1280, 1920]) {
    await page.setViewportSize({ ...usual, width });
    const needed = await page.evaluate(() => document.documentElement.scrollWidth);
    if (needed > width) problems.push(`${name} is ${needed} px wide at ${width} px`);
  }
  await page.setViewportSize(usual);
  for (const colorScheme of ['dark', 'light']) {
    await page.emulateMedia({ colorScheme, reducedMotion: 'reduce' });
    problems.push(...(await accessibilityProblems(page)));
    const picture = `${name}-${colorScheme}.png`;
    if (folder && (wanted.length === 0 || wanted.includes(picture))) {
      await page.screenshot({ path: `${folder}/${picture}` });
    }
  }
  return problems;
}
