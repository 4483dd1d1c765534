// One unit and, through it, its site: its requests wait for each other, a unit that refuses is asked again, and what a
// discovery wrote is read.

import { texts } from '../../../console/src/texts.js';
import { RequestFailure, RequestQueue } from '../../../console/src/logic/request_queue.js';
import { readSite } from '../../../console/src/logic/site.js';
import { UsageError, unitUrl } from './command_line.js';
import { readFile } from './files.js';
import { askPassword, canAsk } from './output.js';
import { openTransport, sleep } from './transport.js';

const siteFile = '/site.csv';
const defaultWait = 300; // seconds
const refusals = ['busy', 'updating', 'taken'];

// Up to half as long again, by chance: clients that were refused at the same time come again at different times.
const roughly = (milliseconds) => milliseconds * (1 + Math.random() / 2);
const pause = () => roughly(10_000);

const ownTexts = {
  login: 'The unit wants a name and a password (--user), or refuses these.',
  taken: texts.failures.busy,
};

export function explain(failure) {
  if (!(failure instanceof RequestFailure)) return failure.message;
  const text = ownTexts[failure.kind] ?? texts.failures[failure.kind];
  return failure.detail ? `${text} (${failure.detail})` : text;
}

// The kind that a failure has in JSON.
export const kindOf = (failure) => (failure instanceof RequestFailure ? failure.kind : 'failed');

async function passwordFor({ user, 'password-file': file }) {
  if (file) return readFile(file).toString().split(/\r?\n/)[0];
  if (!canAsk())
    throw new UsageError('no terminal to ask for the password; --password-file names a file with it');
  return askPassword(`Password of ${user}: `);
}

// Returns what all units of a command line have in common, the password asked for once.
export async function accessOf(options) {
  if (options['password-file'] && !options.user) throw new UsageError('--password-file needs --user');
  const login = options.user && `${options.user}:${await passwordFor(options)}`;
  return {
    authorization: login && `Basic ${Buffer.from(login).toString('base64')}`,
    ca: options.ca && readFile(options.ca),
    wait: (options.wait ?? defaultWait) * 1000,
  };
}

export class Unit {
  report = () => {}; // hears {kind, seconds} of each wait for a unit that refuses
  discovered = ''; // when the last discovery was written, by the unit's clock

  constructor(address, access) {
    this.url = unitUrl(address);
    this.wait = access.wait;
    const { sendCommand, readStatic } = openTransport({ origin: this.url, ...access });
    this.readStatic = readStatic;
    this.queue = new RequestQueue(sendCommand, (milliseconds) => sleep(roughly(milliseconds)));
  }

  // Runs `work(unit)` as the queue does, again and again as long as the unit refuses and `wait` lasts: work that is
  // refused has done nothing.
  async run(job, work, signal) {
    const until = Date.now() + this.wait;
    for (;;) {
      try {
        return await this.queue.run(job, work, signal);
      } catch (failure) {
        const left = until - Date.now();
        if (!refusals.includes(failure.kind) || left <= 0 || signal?.aborted) throw failure;
        this.report({ kind: failure.kind, seconds: Math.round(left / 1000) });
        await sleep(Math.min(pause(), left));
      }
    }
  }

  ask(command) {
    return this.run('ask', (unit) => unit.ask(command));
  }

  // Returns the last discovery as readSite does, with the file's `bytes` and `text`; null when there is none.
  async lastSite() {
    const file = await this.readStatic(siteFile);
    return file && { ...readSite(file.text), bytes: file.bytes, text: file.text, modified: file.modified };
  }

  // A discovery that could not reach the network leaves the file of the last one.
  async discover() {
    const before = await this.readStatic(siteFile);
    await this.ask('DISCOVER_DEVICES_API');
    const site = await this.lastSite();
    if (!site || (site.modified !== '' && site.modified === before?.modified))
      throw new Error(texts.units.noNewList);
    this.discovered = site.modified;
    return site;
  }
}
