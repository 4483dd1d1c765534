// A page of another site, in a real browser, tries each command of the unit by form, fetch and picture, and once more from
// a name that its owner had pointed at the unit. In the box only.
//
//   foreign.mjs URL COMMAND...
//
// URL is that of the handler. Ends with status 0 when every attempt has ended; whether one reached the program, the
// caller sees at the unit.

import { createServer } from 'node:http';
import { openPage } from './browser.mjs';

const [url, ...commands] = process.argv.slice(2);
const unit = new URL(url);

const page = `<!DOCTYPE html><title>Another site</title><iframe name="answer"></iframe>`;
const site = createServer((_, answer) => {
  answer.writeHead(200, { 'Content-Type': 'text/html' }).end(page);
}).listen(9000, '127.0.0.1');

// In the page: tries one command each way, and waits until all have ended.
async function attempt({ url, command }) {
  const ended = (element, start) =>
    new Promise((resolve) => {
      element.onload = resolve;
      element.onerror = resolve;
      start();
    });
  const body = new FormData();
  body.append('CMD', command);
  body.append('file', new Blob(['x'.repeat(256)]), 'file');
  await fetch(`${url}?CMD=${command}`, { mode: 'no-cors' }).catch(() => {});
  await fetch(url, { mode: 'no-cors', method: 'POST', body }).catch(() => {});
  const picture = document.body.appendChild(new Image());
  await ended(picture, () => {
    picture.src = `${url}?CMD=${command}&p`;
  });
  const form = document.createElement('form');
  Object.assign(form, { action: url, method: 'post', enctype: 'multipart/form-data', target: 'answer' });
  form.append(Object.assign(document.createElement('input'), { name: 'CMD', value: command }));
  document.body.append(form);
  await ended(document.querySelector('iframe'), () => form.submit());
}

const browser = await openPage({}, ['--host-resolver-rules=MAP *.example 127.0.0.1']);
await browser.goto('http://127.0.0.1:9000/');
for (const command of commands) await browser.evaluate(attempt, { url, command });
await browser.goto('http://localhost:9000/');
for (const command of commands) await browser.evaluate(attempt, { url, command });

const rebound = `http://rebound.example:${unit.port}/`;
await browser.route(rebound, (route) => route.fulfill({ contentType: 'text/html', body: page }));
await browser.goto(rebound);
for (const command of commands) {
  await browser.evaluate(attempt, { url: `${rebound}${unit.pathname.slice(1)}`, command });
}
await browser.context().browser().close();
site.close();
