// Runs site(1) as a shell does.

import { spawn } from 'node:child_process';
import { fileURLToPath } from 'node:url';

const program = fileURLToPath(new URL('../../tools/site/src/main.js', import.meta.url));

const eventsOf = (text) =>
  text
    .split('\n')
    .filter(Boolean)
    .map((line) => JSON.parse(line));

// Starts it. Returns {child, ended}, which resolves to {status, out, err, events}: events are what --json printed, without
// the last one, whose status must be that of the program; none when it was killed.
export function startSite(words, { env = {}, input = '' } = {}) {
  const child = spawn(program, words, { env: { ...process.env, ...env } });
  const texts = { out: '', err: '' };
  child.stdout.on('data', (piece) => (texts.out += piece));
  child.stderr.on('data', (piece) => (texts.err += piece));
  child.stdin.on('error', () => {});
  child.stdin.end(input);
  const ended = new Promise((resolve, reject) => {
    child.on('close', (status) => {
      const events = words.includes('--json') && status !== null ? eventsOf(texts.out) : [];
      const last = events.pop();
      if (last && (last.event !== 'end' || last.status !== status)) reject(new Error(texts.out));
      resolve({ status, ...texts, events });
    });
  });
  return { child, ended, texts };
}

export const site = (...words) => startSite(words).ended;
export const siteJson = (...words) => startSite([...words, '--json']).ended;
