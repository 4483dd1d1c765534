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

// Returns {bytes, text, modified} of a static file, null when there is none. `from` asks for what lies behind so many
// bytes; `whole` tells whether the server sent it all the same. Throws a
// RequestFailure when the unit cannot be reached, or when a login has ended.
export async function readStatic(path, from = 0) {
  const headers = from > 0 ? { Range: `bytes=${from}-` } : {};
  const signal = AbortSignal.timeout(fileLimit);
  const unreachable = () => {
    throw new RequestFailure('unreachable', path);
  };
  const answer = await fetch(path, { cache: 'no-store', headers, signal }).catch(unreachable);
  if (answer.status === 416) return { bytes: new Uint8Array(), text: '', whole: false };
  if (answer.status === 401) throw new RequestFailure('login', path);
  if (!answer.ok || answer.status === 204) return null;
  const bytes = new Uint8Array(await answer.arrayBuffer().catch(unreachable));
  const modified = answer.headers.get('Last-Modified') ?? '';
  return { bytes, text: new TextDecoder().decode(bytes), modified, whole: answer.status === 200 };
}

export const sleep = (milliseconds) =>
  new Promise((resolve) => {
    setTimeout(resolve, milliseconds);
  });
