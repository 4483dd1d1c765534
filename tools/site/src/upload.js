// site upload: a file for one unit, looked at first, since the unit checks next to nothing.

import { accessSync, closeSync, constants, createReadStream, openSync, readSync, statSync } from 'node:fs';
import { basename } from 'node:path';
import { Readable } from 'node:stream';
import { failureOf } from '../../../console/src/logic/answer.js';
import { hashFile, readArchive } from '../../../console/src/logic/archive.js';
import { edidSize, readEdid } from '../../../console/src/logic/edid.js';
import { texts } from '../../../console/src/texts.js';
import { openUnit } from './discover.js';
import { withFile } from './files.js';
import { canAsk, clearProgress, confirm, event, line, notSent, notice, progress } from './output.js';
import { status } from './status.js';
import { sleep } from './transport.js';
import { explain, kindOf } from './unit.js';

const words = texts.unit;
const lookInterval = 2000; // milliseconds between looks at a unit that installs firmware
const askInterval = 10_000; // between questions to its handler; a refused one stops nothing

const commandOf = {
  splash: 'UPDATE_SPLASH',
  edid: 'UPDATE_EDID',
  edid1: 'UPDATE_EDID1',
  edid2: 'UPDATE_EDID2',
  edid3: 'UPDATE_EDID3',
  firmware: 'UPDATE_FIRMWARE',
  csv: 'CSV_IMPORT',
};

// A file of this machine as the console's modules read one of a browser's: in pieces.
class DiskFile {
  constructor(path) {
    this.path = path;
    this.name = basename(path);
    const about = withFile(path, 'read', () => {
      accessSync(path, constants.R_OK);
      return statSync(path);
    });
    if (!about.isFile()) throw new Error(`${path} is no file.`);
    this.size = about.size;
  }

  bytes(from, to) {
    const piece = Buffer.alloc(Math.max(0, Math.min(to, this.size) - from));
    const file = openSync(this.path, 'r');
    try {
      return piece.subarray(0, readSync(file, piece, 0, piece.length, from));
    } finally {
      closeSync(file);
    }
  }

  slice(from, to) {
    return { arrayBuffer: async () => Uint8Array.from(this.bytes(from, to)).buffer };
  }

  stream() {
    return Readable.toWeb(createReadStream(this.path));
  }
}

const headSize = 1 << 20; // cameras put a thumbnail in front of the picture's own frame
const tailSize = 4096; // some programs write a little more after the end of a picture

// Returns {width, height} from the first frame header of a JPEG, null when there is none.
function jpegFrame(bytes) {
  let at = 2;
  while (at + 9 < bytes.length && bytes[at] === 0xff) {
    const marker = bytes[at + 1];
    const isFrame = marker >= 0xc0 && marker <= 0xcf && ![0xc4, 0xc8, 0xcc].includes(marker);
    if (isFrame) return { height: bytes.readUInt16BE(at + 5), width: bytes.readUInt16BE(at + 7) };
    at += marker === 0xff ? 1 : 2 + bytes.readUInt16BE(at + 2);
  }
  return null;
}

function examineSplash(file) {
  const head = file.bytes(0, headSize);
  if (!(head[0] === 0xff && head[1] === 0xd8 && head[2] === 0xff)) return { faults: [words.splash.notJpeg] };
  const frame = jpegFrame(head);
  if (!frame) return { faults: [words.splash.notImage] };
  if (!file.bytes(Math.max(0, file.size - tailSize), file.size).includes(Buffer.of(0xff, 0xd9)))
    return { faults: [words.splash.cut] };
  return { faults: [], facts: [words.splash.good(frame.width, frame.height)] };
}

function examineEdid(file, isSlot) {
  const { faults, name, maker, timing } = readEdid(file.bytes(0, 1 << 16));
  const textOf = ({ code, detail }) =>
    words.edid.faults[code === 'long' && isSlot ? 'longForSlot' : code](code === 'long' ? file.size : detail);
  const stops = ({ code }) => code === 'size' || (code === 'long' && isSlot);
  const facts = maker
    ? [words.edid.monitor(name, maker), timing ? words.edid.timing(timing) : words.edid.noTiming]
    : [];
  return {
    faults: file.size < edidSize || faults.some(stops) ? faults.map(textOf) : [],
    doubts: faults.filter((fault) => !stops(fault) && fault.code !== 'long').map(textOf),
    facts,
  };
}

const memberText = ({ name, size }) => `  ${name}, ${words.size(size)}`;

async function examineFirmware(file) {
  const { fault, members, size } = await readArchive(file);
  return fault
    ? { faults: [words.firmware.faults[fault]] }
    : { faults: [], facts: [words.firmware.good(members.length, size), ...members.map(memberText)] };
}

// Returns {faults, doubts, facts}: texts of what stops an upload, of what may be sent after a second thought, and of what
// is known of the file.
function examine(kind, file) {
  if (kind === 'splash') return examineSplash(file);
  if (kind === 'firmware') return examineFirmware(file);
  return kind === 'csv' ? { faults: [] } : examineEdid(file, kind !== 'edid');
}

async function tellFile(file, { faults, doubts = [], facts = [] }, json) {
  const sha256 = await hashFile(file);
  if (json) {
    event('file', { name: file.name, size: file.size, sha256, facts, faults, doubts });
    return;
  }
  line(`${file.name}: ${words.size(file.size)}, ${words.sha} ${sha256}`);
  for (const text of [...facts, ...faults, ...doubts]) line(text);
}

// Returns the exit status that keeps the file from being sent, or good.
async function consent(kind, { faults, doubts = [] }, options) {
  if (faults.length > 0) return status.faults;
  const isDoubtful = doubts.length > 0 && !options['accept-problems'];
  const isFirmware = kind === 'firmware' && !options.yes;
  if (!isDoubtful && !isFirmware) return status.good;
  if (isDoubtful && (options.yes || !canAsk())) {
    notSent('Not sent without --accept-problems.', options.json);
    return status.faults;
  }
  if (!canAsk()) {
    notSent('Not sent: there is no terminal to ask; --yes asks nothing.', options.json);
    return status.declined;
  }
  if (isDoubtful && !(await confirm(`${words.anyway}?`))) return status.declined;
  if (!isFirmware) return status.good;
  notice(words.firmware.confirmText);
  notice(words.firmware.confirmCheck);
  return (await confirm(words.firmware.confirm)) ? status.good : status.declined;
}

async function send(unit, kind, file, json) {
  const abort = new AbortController();
  const cancel = () => abort.abort();
  process.once('SIGINT', cancel);
  const show = (sent) => {
    const all = Math.max(1, file.size);
    if (!json) progress(sent, all, sent < file.size ? words.sending(sent, all) : words.working);
  };
  try {
    const options = { onSent: show, signal: abort.signal };
    const body = await unit
      .run(kind, (session) => session.upload(commandOf[kind], file, options), abort.signal)
      .catch((failure) => {
        if (failure.kind === 'started' && kind === 'firmware') return '';
        throw failure;
      });
    const failure = failureOf(body);
    if (!failure) return;
    const log = await unit.readStatic('/upload_file.txt').catch(() => null);
    const reason = log?.text.split('\n').slice(2).join(' ').trim();
    throw new Error([failure, reason].filter(Boolean).join(': '));
  } finally {
    process.off('SIGINT', cancel);
    clearProgress();
  }
}

// Until the unit takes requests again, at most `wait`. Its handler is asked when its pages are back, and now and then: not
// every unit restarts. Returns whether it is back.
async function waitUntilBack(unit, tell) {
  const until = Date.now() + unit.wait;
  let isThere = true;
  let askedAt = Date.now();
  while (Date.now() < until) {
    await sleep(lookInterval);
    const wasThere = isThere;
    isThere = await unit.readStatic('/index.html').then(Boolean, ({ kind }) => kind === 'login');
    if (isThere !== wasThere) tell(isThere ? 'again' : 'gone');
    if (!isThere || (wasThere && Date.now() - askedAt < askInterval)) continue;
    askedAt = Date.now();
    const failure = await unit.queue.ask('firmware', 'CHECK_IMPORT_CSV_STATUS').then(
      () => null,
      (refusal) => refusal,
    );
    if (!failure) return true;
    if (failure.kind === 'updating') tell('stillUpdating');
  }
  return false;
}

async function followFirmware(unit, json) {
  let shown = '';
  const tell = (state) => {
    if (state === shown) return;
    shown = state;
    if (json) event('firmware', { url: unit.url, state });
    else notice(words.firmware[state]);
  };
  tell('started');
  if (!(await waitUntilBack(unit, tell)))
    throw new Error('The unit has not come back in time; it may still be installing.');
  tell('back');
}

const doneTexts = { splash: words.splash.done, csv: 'The unit has taken the CSV.' };

export async function upload([kind, path, address], options) {
  const file = new DiskFile(path);
  const found = await examine(kind, file);
  await tellFile(file, found, options.json);
  const refused = await consent(kind, found, options);
  if (refused !== status.good) return refused;
  const unit = await openUnit(address, options);
  try {
    await send(unit, kind, file, options.json);
  } catch (failure) {
    if (!['cancelled', 'withdrawn'].includes(failure.kind)) throw failure;
    const text =
      kind === 'firmware' && failure.kind === 'cancelled'
        ? texts.failures.cancelledFirmware
        : explain(failure);
    if (options.json) event('error', { url: unit.url, kind: kindOf(failure), text });
    else notice(text);
    return status.interrupted;
  }
  if (options.json) event('uploaded', { url: unit.url, kind });
  else if (kind !== 'firmware') line(doneTexts[kind] ?? words.edid.done);
  if (kind === 'firmware') await followFirmware(unit, options.json);
  return status.good;
}
