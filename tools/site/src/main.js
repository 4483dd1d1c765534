#!/usr/bin/env -S node --max-semi-space-size=2
// site(1): the site at a shell. Exit statuses are those of docs/site.md. The option above has Node.js
// collect garbage earlier: a large site takes a third more memory without it.

import { apply, runs, undo } from './apply.js';
import { check } from './check.js';
import { UsageError, helpOf, isHelp, readCommandLine } from './command_line.js';
import { diff } from './diff.js';
import { discover } from './discover.js';
import { list } from './list.js';
import { clearProgress, event, line, notice, write } from './output.js';
import { status } from './status.js';
import { upload } from './upload.js';
import { explain, kindOf } from './unit.js';

const version = process.env.SITE_VERSION ?? 'from its source'; // the build puts it in
const work = { discover, list, check, diff, apply, undo, runs, upload };

async function main(words) {
  if (words[0] === '--version') return line(`site ${version}`);
  if (isHelp(words)) return write(`${helpOf(words[0])}\n`);
  const { name, operands, options } = readCommandLine(words);
  if (options.format === 'json') options.json = true;
  let result = status.failed;
  try {
    result = await work[name](operands, options);
  } catch (failure) {
    if (failure instanceof UsageError) throw failure;
    if (options.json) event('error', { kind: kindOf(failure), text: explain(failure) });
    else notice(`site: ${explain(failure)}`);
  }
  if (options.json) event('end', { status: result });
  return result;
}

main(process.argv.slice(2)).then(
  (result) => {
    clearProgress();
    process.exitCode = result ?? status.good;
  },
  (failure) => {
    const usage = failure instanceof UsageError;
    notice(`site: ${usage ? failure.message : failure.stack}`);
    process.exitCode = usage ? status.usage : status.failed;
  },
);
