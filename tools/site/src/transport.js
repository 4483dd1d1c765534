// The way to one unit over HTTP: commands to its handler, and the static files that commands leave. The same contract as
// the console's transport, for a program that has files instead of a page.

import { randomBytes } from 'node:crypto';
import http from 'node:http';
import https from 'node:https';
import { Readable } from 'node:stream';
import { pipeline } from 'node:stream/promises';
import { linesSoFar, readAnswer } from '../../../console/src/logic/answer.js';
import { RequestFailure } from '../../../console/src/logic/request_queue.js';

const handler = '/cgi-bin/handler.cgi';
const connectLimit = 10_000; // milliseconds
const fileLimit = 15_000; // milliseconds between two pieces of a static file
const watchInterval = 10_000; // milliseconds between looks at a unit that has not answered
const mostMissed = 3; // looks in a row, until it counts as gone
const mostBytes = 64 << 20; // of an answer or a file; a unit has no more to say
const linesInterval = 200; // milliseconds between two readings of an answer that still arrives

// A failure of the connection itself: nothing has reached the unit.
function unreachable(path, cause) {
  const failure = new RequestFailure('unreachable', path);
  failure.detail = cause.code ?? cause.message;
  return failure;
}

// The command comes first: it makes the unit ready for a firmware file before that arrives. Returns {headers, parts()}.
function formOf(command, file) {
  const boundary = `site${randomBytes(12).toString('hex')}`;
  const name = encodeURIComponent(file.name ?? 'file');
  const head = Buffer.from(
    `--${boundary}\r\nContent-Disposition: form-data; name="CMD"\r\n\r\n${command}\r\n` +
      `--${boundary}\r\nContent-Disposition: form-data; name="file"; filename="${name}"\r\n` +
      'Content-Type: application/octet-stream\r\n\r\n',
  );
  const tail = Buffer.from(`\r\n--${boundary}--\r\n`);
  return {
    headers: {
      'Content-Type': `multipart/form-data; boundary=${boundary}`,
      'Content-Length': head.length + file.size + tail.length,
    },
    async *parts(onSent) {
      let sent = 0;
      yield head;
      for await (const piece of file.stream()) {
        yield piece;
        sent += piece.length;
        onSent?.(sent);
      }
      yield tail;
    },
  };
}

// Reads a body; `onPiece(bytes)` is called with all that has come. Throws when it ends early or is too long.
async function readBody(answer, onPiece) {
  const pieces = [];
  let length = 0;
  for await (const piece of answer) {
    length += piece.length;
    if (length > mostBytes) throw new Error('too long');
    pieces.push(piece);
    onPiece?.(pieces);
  }
  if (!answer.complete) throw new Error('cut short');
  return Buffer.concat(pieces, length);
}

export const sleep = (milliseconds) =>
  new Promise((resolve) => {
    setTimeout(resolve, milliseconds);
  });

// Returns {sendCommand, readStatic} for a unit: `origin` of its pages, `authorization` for that header, `ca` certificates.
export function openTransport({ origin, authorization, ca }) {
  const { request: open } = origin.startsWith('https:') ? https : http;

  function start(path, { method = 'GET', headers = {} } = {}) {
    const request = open(new URL(path, origin), {
      method,
      agent: false,
      ca,
      insecureHTTPParser: true, // takes the bare line feeds of a refusal's header, which busybox httpd passes on
      headers: {
        'Cache-Control': 'no-cache',
        ...(authorization ? { Authorization: authorization } : {}),
        ...headers,
      },
    });
    const connecting = setTimeout(
      () => request.destroy(Object.assign(new Error('no connection'), { code: 'ETIMEDOUT' })),
      connectLimit,
    );
    request.once('socket', (socket) => {
      const connected = () => {
        request.connected = true;
        clearTimeout(connecting);
      };
      socket.once(origin.startsWith('https:') ? 'secureConnect' : 'connect', connected);
    });
    request.once('close', () => clearTimeout(connecting));
    return request;
  }

  const answerTo = (request) =>
    new Promise((resolve, reject) => {
      request.once('response', resolve);
      request.once('error', reject);
      request.once('close', () => reject(new Error('closed')));
    });

  // Returns {bytes, text, modified, date, whole} of a static file, null when there is none: when it was changed and when it
  // was sent, by the unit's clock. `from` leaves out so many bytes; `whole` is true when the server sent them all the same.
  // Throws a RequestFailure.
  async function readStatic(path, from = 0) {
    const request = start(path, { headers: from > 0 ? { Range: `bytes=${from}-` } : {} });
    request.setTimeout(fileLimit, () => request.destroy(new Error('silent')));
    try {
      request.end();
      const answer = await answerTo(request);
      if (answer.statusCode === 401) throw new RequestFailure('login', path);
      const { 'last-modified': modified = '', date = '' } = answer.headers;
      if (answer.statusCode === 416)
        return { bytes: new Uint8Array(), text: '', modified: '', date, whole: false };
      if (![200, 206].includes(answer.statusCode)) return null;
      const bytes = await readBody(answer);
      const text = new TextDecoder().decode(bytes);
      return { bytes, text, modified, date, whole: answer.statusCode === 200 };
    } catch (failure) {
      throw failure instanceof RequestFailure ? failure : unreachable(path, failure);
    } finally {
      request.destroy();
    }
  }

  // Destroys a request whose unit has gone without closing the connection.
  function watch(request) {
    let missed = 0;
    const timer = setInterval(async () => {
      missed = await readStatic('/index.html').then(
        () => 0,
        ({ kind }) => (kind === 'login' ? 0 : missed + 1),
      );
      if (missed >= mostMissed) request.destroy(new Error('gone'));
    }, watchInterval);
    request.once('close', () => clearInterval(timer));
  }

  // Tells the lines of an answer that still arrives, a little later, so that many pieces are read at once. Returns
  // {hear(pieces), end()}.
  function hearLines(command, onLines) {
    let timer = null;
    return {
      hear(pieces) {
        timer ??= setTimeout(() => {
          timer = null;
          onLines(linesSoFar(command, Buffer.concat(pieces).toString('utf8')));
        }, linesInterval);
      },
      end: () => clearTimeout(timer),
    };
  }

  // Sends one command. Options: `file` to upload, `onSent(bytes)` while it leaves, `onLines(lines)` with the answer's lines
  // so far, `signal` to cancel, `limit` in milliseconds, `once` for a command that must not be asked again by itself: a
  // refusal is then of the kind `taken`. Returns {kind, body} as readAnswer does.
  async function sendCommand(command, { file, onSent, onLines, signal, limit = 0, once = false } = {}) {
    if (signal?.aborted) throw new RequestFailure('cancelled', command);
    const form = file ? formOf(command, file) : null;
    const request = form
      ? start(handler, { method: 'POST', headers: form.headers })
      : start(`${handler}?CMD=${command}`);
    const abort = () => request.destroy(new RequestFailure('cancelled', command));
    signal?.addEventListener('abort', abort);
    const timer = limit > 0 ? setTimeout(() => request.destroy(new Error('silent')), limit) : null;
    const lines = onLines && hearLines(command, onLines);
    if (!form) watch(request);
    try {
      const sending = pipeline(form ? Readable.from(form.parts(onSent)) : [], request);
      const coming = answerTo(request);
      // A server may answer before all has arrived; then its answer counts, not the upload that it cut short.
      sending.catch(() => {});
      const answer = await coming;
      const bytes = await readBody(answer, lines?.hear);
      const result = readAnswer(command, answer.statusCode, bytes.toString('utf8'));
      if (onLines && result.kind === 'done') onLines(result.body.split('\n').slice(0, -1));
      return once && result.kind === 'busy' ? { kind: 'taken', body: '' } : result;
    } catch (failure) {
      if (signal?.aborted) throw new RequestFailure('cancelled', command);
      if (!request.connected) throw unreachable(command, failure);
      return { kind: 'broken', body: '' };
    } finally {
      clearTimeout(timer);
      lines?.end();
      signal?.removeEventListener('abort', abort);
      request.destroy();
    }
  }

  return { sendCommand, readStatic };
}
