// The way to the unit: commands to its handler, and the static files that commands leave in /www.

import { linesSoFar, readAnswer } from './logic/answer.js';
import { RequestFailure } from './logic/request_queue.js';

const handler = '/cgi-bin/handler.cgi';
const watchInterval = 10_000; // milliseconds between looks at a unit that has not answered
const mostMissed = 3; // looks in a row, until it counts as gone
const fileLimit = 5000; // milliseconds, within which a unit that is there sends any static file

function requestFor(command, file) {
  const request = new XMLHttpRequest();
  request.open(file ? 'POST' : 'GET', file ? handler : `${handler}?CMD=${command}`);
  request.overrideMimeType('text/plain; charset=utf-8');
  request.setRequestHeader('Cache-Control', 'no-cache');
  return request;
}

// The command comes first: it makes the unit ready for a firmware file before that arrives.
function formOf(command, file) {
  const form = new FormData();
  form.append('CMD', command);
  form.append('file', file, file.name ?? 'file');
  return form;
}

// Ends a request whose unit has gone without closing the connection, which a browser would wait for without an end. The
// pages are looked at, since that disturbs nothing.
async function watch(isOver, end) {
  for (let missed = 0; missed < mostMissed;) {
    await sleep(watchInterval);
    if (isOver()) return;
    missed = await readStatic('/index.html').then(
      () => 0,
      ({ kind }) => (kind === 'login' ? 0 : missed + 1),
    );
  }
  end();
}

// Sends one command. Options: `file` to upload, `onSent(bytes)` while it leaves, `onLines(lines)` with the answer's lines
// so far, `signal` to cancel, `limit` in milliseconds. Returns {kind, body} as readAnswer does.
export function sendCommand(command, { file, onSent, onLines, signal, limit = 0 } = {}) {
  return new Promise((resolve, reject) => {
    if (signal?.aborted) {
      reject(new RequestFailure('cancelled', command));
      return;
    }
    const request = requestFor(command, file);
    const finish = () => resolve(readAnswer(command, request.status, request.responseText));
    request.onload = finish;
    request.timeout = limit;
    const breakOff = () => resolve({ kind: 'broken', body: '' });
    request.onerror = breakOff;
    request.ontimeout = breakOff;
    request.onabort = () => reject(new RequestFailure('cancelled', command));
    if (onSent) {
      request.upload.onloadstart = () => onSent(0);
      request.upload.onprogress = ({ loaded }) => onSent(loaded);
    }
    if (onLines) request.onprogress = () => onLines(linesSoFar(command, request.responseText));
    signal?.addEventListener('abort', () => request.abort());
    if (!file)
      watch(
        () => request.readyState === XMLHttpRequest.DONE,
        () => {
          breakOff();
          request.abort();
        },
      );
    request.send(file ? formOf(command, file) : null);
  });
}

// Asks for a static file. Returns the answer, null when there is no such file: some servers answer 204 then, so that the
// browser logs no error.
async function fetchStatic(path, options) {
  const signal = AbortSignal.timeout(fileLimit);
  const answer = await fetch(path, { cache: 'no-store', signal, ...options }).catch(() => {
    throw new RequestFailure('unreachable', path);
  });
  if (answer.status === 401) throw new RequestFailure('login', path);
  return answer.status === 416 || (answer.ok && answer.status !== 204) ? answer : null;
}

// Returns {version, modified, age, size} of a static file without reading it, null when there is none. Its version changes
// when it does; its age is in seconds by the unit's own clock.
export async function lookAt(path) {
  const answer = await fetchStatic(path, { method: 'HEAD' });
  if (!answer) return null;
  const { headers } = answer;
  const modified = headers.get('Last-Modified') ?? '';
  const age = (Date.parse(headers.get('Date')) - Date.parse(modified)) / 1000;
  const size = Number(headers.get('Content-Length'));
  return { version: `${modified} ${size}`, modified, age, size };
}

// Returns {bytes, text, modified, whole} of a static file, null when there is none. `from` asks for what follows so many
// bytes of it; `whole` is whether the server sent all of it. Throws a RequestFailure when the unit cannot be reached, or
// when a login has ended.
export async function readStatic(path, from = 0) {
  // One byte more than is wanted: a server answers a range of nothing with an error.
  const answer = await fetchStatic(path, { headers: from > 0 ? { Range: `bytes=${from - 1}-` } : {} });
  if (!answer) return null;
  if (answer.status === 416) return readStatic(path);
  const whole = answer.status === 200;
  const body = await answer.arrayBuffer().catch(() => {
    throw new RequestFailure('unreachable', path);
  });
  const bytes = new Uint8Array(body, whole ? 0 : 1);
  const modified = answer.headers.get('Last-Modified') ?? '';
  return { bytes, text: new TextDecoder().decode(bytes), modified, whole };
}

export const sleep = (milliseconds) =>
  new Promise((resolve) => {
    setTimeout(resolve, milliseconds);
  });
