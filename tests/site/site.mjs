// Runs site(1) as a shell does.

import { spawn } from 'node:child_process';
import { fileURLToPath } from 'node:url';

const program = fileURLToPath(new URL('../../tools/site/src/main.js', import.meta.url));

// Starts it. Returns {child, ended}, which resolves to {status, out, err, events}: events are what --json printed, without
// the last one, whose status must be that of the program.
export function startSite(words, { env = {}, input = '' } = {}) {
  const child = spawn(process.execPath, [program, ...words], { env: { ...process.env, ...env } });
  const texts = { out: '', err: '' };
  child.stdout.on('data', (piece) => (texts.out += piece));
  child.stderr.on('data', (piece) => (texts.err += piece));
  child.stdin.on('error', () => {});
  child.stdin.end(input);
  const ended = new Promise((resolve) => {
    child.on('close', (status) => {
      let events = [];
      if (words.includes('--json') && texts.out !== '') {
        events = texts.out
          .trim()
          .split('\n')
          .map((line) => JSON.parse(line));
        const last = events.pop();
        if (last.event !== 'end' || last.status !== status)
          throw new Error(`${status}: ${JSON.stringify(last)}`);
      }
      resolve({ status, ...texts, events });
    });
  });
  return { child, ended, texts };
}

export const site = (...words) => startSite(words).ended;
export const siteJson = (...words) => startSite([...words, '--json']).ended;
