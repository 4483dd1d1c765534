// Booted units as a test sees them; started by `script/unit ... -- node --test tests/booted/NAME.mjs`.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import { request } from 'node:http';
import { createConnection } from 'node:net';
import { setTimeout as sleep } from 'node:timers/promises';

export const urls = process.env.UNIT_URLS.split(' ');
const folder = process.env.UNIT_RUN;

// Sends `text` to a socket file and resolves with what comes back once it matches `end`; fails after `seconds`.
async function talk(path, text, end, seconds) {
  const socket = createConnection(path);
  let said = '';
  const answered = new Promise((resolve, reject) => {
    socket.on('data', (bytes) => {
      said += bytes;
      if (end.test(said)) resolve(said);
    });
    socket.on('error', reject);
    socket.on('close', () => reject(new Error(`closed: ${said}`)));
    socket.setTimeout(seconds * 1000, () => reject(new Error(`silent for ${seconds} s: ${said}`)));
  });
  try {
    await once(socket, 'connect');
    socket.write(text);
    return await answered;
  } finally {
    socket.destroy();
  }
}

// Runs a line of shell in unit 1, 2, ... and resolves with what it printed. The marks are written so that the echo of the
// line does not match them.
export async function shell(unit, line, seconds = 60) {
  const said = await talk(
    `${folder}/unit${unit}.shell`,
    `\nprintf 'beg''in\\n'; { ${line}; } < /dev/null 2>&1; printf 'e''nd\\n'\n`,
    /(^|\n)begin\r\n[^]*?end\r\n/,
    seconds,
  );
  return /(?:^|\n)begin\r\n([^]*?)end\r\n/.exec(said)[1].replaceAll('\r', '');
}

// Restarts the machine as a power cut does: nothing is flushed.
export const cutPower = (unit) =>
  talk(`${folder}/unit${unit}.monitor`, 'system_reset\n', /system_reset[^]*\(qemu\)/, 20);

// Waits until the unit serves its pages again, 60 s at the most.
export async function answers(unit) {
  const end = Date.now() + 60_000;
  while (Date.now() < end) {
    const page = await fetch(urls[unit - 1], { signal: AbortSignal.timeout(2000) }).catch(() => null);
    if (page?.ok) return;
    await sleep(100);
  }
  assert.fail(
    `unit ${unit} does not answer: ${await shell(unit, 'dmesg | tail -5').catch((failure) => failure.message)}`,
  );
}

// Sends a command; with a file, an upload. With `socketPath`, to the unit in the box there. Resolves with {status, page}.
// Not fetch: it ends after five minutes without a byte, and refuses the bare line feeds in a refusal's header, which
// busybox httpd passes on.
export async function send(command, { unit = 1, socketPath, file, signal } = {}) {
  const form = new FormData();
  form.set('CMD', command);
  form.set('file', new Blob([file ?? '']), 'file');
  const upload = new Response(form);
  const body = file && Buffer.from(await upload.arrayBuffer());
  const { hostname, port } = new URL(urls[unit - 1]);
  const asked = request({
    ...(socketPath ? { socketPath } : { hostname, port }),
    path: '/cgi-bin/handler.cgi' + (file ? '' : `?CMD=${command}`),
    method: file ? 'POST' : 'GET',
    headers: {
      Host: 'unit',
      ...(file && { 'Content-Type': upload.headers.get('content-type'), 'Content-Length': body.length }),
    },
    signal,
    insecureHTTPParser: true,
  });
  asked.on('error', () => {}); // after the answer: the body was not read to the end
  asked.end(body);
  const [answer] = await once(asked, 'response');
  let page = '';
  for await (const bytes of answer) page += bytes;
  signal?.throwIfAborted(); // an answer without a length ends there as if it were whole
  return { status: answer.statusCode, page };
}

// The page that answers a command.
export const ask = async (command, options) => (await send(command, options)).page;

// The part of an answer after the line that names the command.
export const result = (page) =>
  page.replace(/^[^]*?<p>Key: CMD value: [^<]*<\/p>\n/, '').replace(/<\/BODY>[^]*$/, '');

export const md5 = async (unit, path) => (await shell(unit, `md5sum ${path}`)).split(' ')[0];

// Fails when the kernel's log has an out-of-memory line.
export async function hadMemory(unit = 1) {
  assert.equal(await shell(unit, 'dmesg | grep -i "out of memory"'), '');
}
