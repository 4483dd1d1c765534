// What a person or a program reads: tables and lines, or one JSON object a line. Data goes to standard output; questions,
// notices and progress to standard error.

import { createInterface } from 'node:readline';
import { Writable } from 'node:stream';

// Texts of units may have anything in them: control characters would act on the terminal, and marks that turn the
// direction of writing would hide what is said.
const acting = /[\u0000-\u001f\u007f-\u009f\u200b-\u200f\u2028-\u202e\u2066-\u2069\ufeff]/g;
const escaped = (letter) => `\\u${letter.charCodeAt(0).toString(16).padStart(4, '0')}`;
export const visible = (text) => String(text).replace(acting, escaped);

// A reader that leaves (`| head`) ends the output, not the work.
let gone = false;
process.stdout.on('error', () => {
  gone = true;
});

export function write(text) {
  if (!gone) process.stdout.write(text);
}

export const line = (text) => write(`${visible(text)}\n`);

export function event(name, fields) {
  write(`${JSON.stringify({ event: name, ...fields }).replace(acting, escaped)}\n`);
}

// Columns as wide as their widest cell, the last one ragged.
export function table(columns, rows) {
  const cells = [columns, ...rows].map((row) => row.map(visible));
  const widths = columns.map((_, at) => cells.reduce((most, row) => Math.max(most, row[at].length), 0));
  for (const row of cells)
    write(
      `${row
        .map((text, at) => text.padEnd(widths[at]))
        .join('  ')
        .trimEnd()}\n`,
    );
}

const isScreen = () => process.stderr.isTTY === true;
let progressShown = false;

export function notice(text) {
  clearProgress();
  process.stderr.write(`${visible(text)}\n`);
}

// Why nothing is sent, where no fault of the file says it.
export function notSent(text, json) {
  if (json) event('not-sent', { text });
  else notice(text);
}

export function clearProgress() {
  if (progressShown) process.stderr.write('\r\u001b[K');
  progressShown = false;
}

// One line that is written over again and again; only a screen can do that.
export function progress(done, all, text) {
  if (!isScreen()) return;
  const width = 30;
  const full = all > 0 ? Math.round((width * done) / all) : 0;
  const bar = `[${'#'.repeat(full)}${'.'.repeat(width - full)}] ${text}`;
  process.stderr.write(`\r\u001b[K${visible(bar).slice(0, (process.stderr.columns ?? 80) - 1)}`);
  progressShown = true;
}

function askLine(question, output) {
  clearProgress();
  process.stderr.write(question);
  return new Promise((resolve) => {
    const lines = createInterface({ input: process.stdin, output, terminal: output !== process.stderr });
    let answer = null;
    lines.once('line', (text) => {
      answer = text;
      lines.close();
    });
    lines.once('SIGINT', () => process.kill(process.pid, 'SIGINT'));
    lines.once('close', () => resolve(answer));
  });
}

export const canAsk = () => process.stdin.isTTY === true;

// Returns whether a person says yes.
export async function confirm(question) {
  const answer = await askLine(`${visible(question)} [y/N] `, process.stderr);
  return /^(y|yes)$/i.test(answer?.trim() ?? '');
}

// Returns what is typed, which is not shown.
export async function askPassword(question) {
  const nowhere = new Writable({ write: (_piece, _encoding, done) => done() });
  const answer = await askLine(question, nowhere);
  process.stderr.write('\n');
  return answer ?? '';
}
