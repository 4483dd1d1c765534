// What a person types: commands, their operands and options. Everything that parses, explains or completes a command line
// reads these two tables.

import { parseArgs } from 'node:util';

export class UsageError extends Error {}

// Options of several commands are described once. `value` names what follows the option; of a flag it is missing. `least` is
// the smallest number that one takes.
export const options = {
  format: { value: 'FORMAT', help: 'csv, spreadsheet, json or table; table on a terminal, else csv' },
  output: { value: 'PATH', short: 'o', help: 'write to this file; of several sites, to this folder' },
  against: { value: 'FILE', help: 'compare with this discovery instead of asking a unit' },
  last: { help: 'compare with the unit’s last discovery instead of making a new one' },
  all: { help: 'send cells that equal the present values, too' },
  'unknown-too': { help: 'send to units that were not discovered, too' },
  yes: { help: 'ask nothing' },
  'accept-problems': { help: 'with --yes: send although rows or cells are left out or doubtful' },
  'accept-moves': { help: 'with --yes: send although units change their address' },
  trial: { value: 'N', least: 1, help: 'send to the first N units, look, then go on' },
  'stop-after': { value: 'N', least: 1, help: 'stop once N units have failed' },
  batch: { value: 'N', least: 1, help: 'send so many units at a time' },
  'retry-failed': { help: 'send again what did not succeed in RUN, by default the last one' },
  verify: { help: 'discover afterwards and compare with what was sent' },
  wait: { value: 'SECONDS', least: 0, help: 'how long a busy or updating unit is waited for (300)' },
  user: { value: 'NAME', help: 'log in as NAME; the password is prompted for' },
  'password-file': { value: 'FILE', help: 'take the password from the first line of FILE' },
  ca: { value: 'FILE', help: 'certificates that vouch for the unit, PEM' },
  json: { help: 'one JSON object a line' },
};

const ofUnit = ['wait', 'user', 'password-file', 'ca', 'json'];
const ofRun = ['yes', 'accept-problems', 'accept-moves', 'trial', 'stop-after', 'batch', 'verify', ...ofUnit];

export const listings = ['encoders', 'decoders', 'streams'];
export const uploads = ['splash', 'edid', 'edid1', 'edid2', 'edid3', 'firmware', 'csv'];

// `operands` has the form that is shown, `least` and `most` the numbers that are taken; the first operand is one of `words`
// where a command has them.
export const commands = {
  discover: {
    operands: 'URL...',
    least: 1,
    most: Infinity,
    options: ['format', 'output', ...ofUnit],
    help: 'ask every unit of one or more sites for all it has',
  },
  list: {
    operands: 'KIND URL...',
    least: 2,
    most: Infinity,
    words: listings,
    options: ofUnit,
    help: 'list the encoders or decoders that answer now, or who streams to whom',
  },
  check: {
    operands: 'FILE [URL]',
    least: 1,
    most: 2,
    options: ['against', 'last', 'all', 'unknown-too', ...ofUnit],
    help: 'say what would be sent and what is wrong, send nothing',
  },
  diff: {
    operands: 'A B',
    least: 2,
    most: 2,
    options: ofUnit,
    help: 'compare two discoveries, each a file or the URL of a unit',
  },
  apply: {
    operands: 'FILE URL',
    least: 0,
    most: 2,
    options: ['all', 'unknown-too', 'retry-failed', ...ofRun],
    help: 'check, show what each unit gets, ask, send',
  },
  undo: {
    operands: 'RUN',
    least: 1,
    most: 1,
    options: ofRun,
    help: 'send the values that units had before RUN',
  },
  upload: {
    operands: 'KIND FILE URL',
    least: 3,
    most: 3,
    words: uploads,
    options: ['yes', 'accept-problems', ...ofUnit],
    help: 'check a file and install it in one unit',
  },
  runs: {
    operands: '[RUN]',
    least: 0,
    most: 1,
    options: ['json'],
    help: 'show what was sent and what is not known',
  },
};

export const isHelp = (words) => words.length === 0 || words.includes('--help') || words.includes('-h');

const formOf = (name) => `${name}${options[name].value ? ` ${options[name].value}` : ''}`;

// The lines of --help, for one command or all of them.
export function helpOf(name) {
  const command = commands[name];
  if (!command) {
    const lines = Object.entries(commands).map(
      ([each, { operands, help }]) => `  site ${`${each} ${operands}`.padEnd(28)} ${help}`,
    );
    return ['Usage:', ...lines, '', 'site COMMAND --help lists its options; see site(1).'].join('\n');
  }
  const kinds = command.words ? [`  ${command.operands.split(' ')[0]} is ${command.words.join(', ')}`] : [];
  const rows = command.options.map((each) => `  --${formOf(each).padEnd(24)} ${options[each].help}`);
  return [`Usage: site ${name} [OPTION...] ${command.operands}`, `  ${command.help}`, ...kinds, ...rows].join(
    '\n',
  );
}

function numberOf(name, text) {
  const { least } = options[name];
  if (!/^\d{1,7}$/.test(text) || Number(text) < least)
    throw new UsageError(`--${name} takes a number from ${least}, not “${text}”`);
  return Number(text);
}

// Returns {name, operands, options}. Throws a UsageError.
export function readCommandLine(words) {
  const [name, ...rest] = words;
  const command = commands[name];
  if (!command) throw new UsageError(`no command “${name}”; site --help lists them`);
  const known = Object.fromEntries(
    command.options.map((each) => {
      const { value, short } = options[each];
      return [each, { type: value ? 'string' : 'boolean', ...(short ? { short } : {}) }];
    }),
  );
  let parsed;
  try {
    parsed = parseArgs({ args: rest, options: known, allowPositionals: true });
  } catch (failure) {
    throw new UsageError(failure.message.split('. ')[0]);
  }
  const { values, positionals } = parsed;
  for (const each of Object.keys(values))
    if (options[each].least !== undefined) values[each] = numberOf(each, values[each]);
  if (positionals.length < command.least || positionals.length > command.most)
    throw new UsageError(`usage: site ${name} ${command.operands}`);
  if (command.words && !command.words.includes(positionals[0]))
    throw new UsageError(`no ${name} “${positionals[0]}”; there are ${command.words.join(', ')}`);
  return { name, operands: positionals, options: values };
}

// Returns the address of a unit's pages. A password in it would be seen by every user of this machine.
export function unitUrl(text) {
  let url;
  try {
    url = new URL(text.includes('://') ? text : `http://${text}`);
  } catch {
    url = null;
  }
  if (!/^https?:$/.test(url?.protocol)) throw new UsageError(`no address of a unit: “${text}”`);
  if (url.username || url.password)
    throw new UsageError('a login goes into --user and --password-file, not into the address');
  return url.origin;
}
