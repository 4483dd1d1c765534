// A browser for tests, in the box only.

import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { chromium } from 'playwright-core';

// Starts Debian's Chromium past its launcher, which wants settings of /etc that a unit lacks, and returns a page of it.
// /dev/shm stays the handler's own, file names are UTF-8, and no wait has a limit: the test that started the script has
// one. Options are those of a page, `switches` more of the browser's own.
export async function openPage(options, switches = []) {
  const browser = await chromium.launch({
    executablePath: '/usr/lib/chromium/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage', ...switches],
    env: { ...process.env, LC_ALL: 'C.UTF-8' },
    timeout: 0,
  });
  const page = await browser.newPage(options);
  page.setDefaultTimeout(0);
  return page;
}

const axe = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

// What keeps people from using the page as it is now: a line each, rule and place.
export async function accessibilityProblems(page) {
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => axe.run());
  return violations.flatMap(({ id, nodes }) =>
    nodes.map(({ target, failureSummary }) => `${id}: ${target.join(' ')}: ${failureSummary}`),
  );
}
