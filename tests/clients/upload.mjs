// Uploads files to a unit as one real web client does; for the box only.
//
//   upload.mjs CLIENT URL
//
// Each line of standard input is the path of a file. The file is sent to URL as the field "file", beside the command
// UPDATE_SPLASH, and the body of the answer goes to standard output as it came, then a zero byte. Whatever keeps an
// answer away ends the script with its message and a status that is not 0.

import { createReadStream } from 'node:fs';
import { createInterface } from 'node:readline';
import { text } from 'node:stream/consumers';
import { promisify } from 'node:util';
import { openPage } from './browser.mjs';

const command = 'UPDATE_SPLASH';

// Makes, for a URL, the procedure that uploads the file at a path and returns the body of the answer.
const clients = {
  // Streams the file between headers of its own.
  async form_data(url) {
    const { default: FormData } = await import('form-data');
    return async (path) => {
      const form = new FormData();
      form.append('CMD', command);
      form.append('file', createReadStream(path));
      return text(await promisify(form.submit.bind(form))(url));
    };
  },

  // Joins the whole body in memory: a name percent-encoded, a third header to the file, no line end after all.
  async needle(url) {
    const { default: needle } = await import('needle');
    return async (path) => {
      const form = { file: { file: path, content_type: 'image/jpeg' }, CMD: command };
      return (await needle('post', url, form, { multipart: true, open_timeout: 0 })).raw.toString();
    };
  },

  // Submits the form of upload.html, as the unit's web server serves it.
  async chromium_form(url) {
    const page = await openPage();
    return async (path) => {
      await page.goto(new URL('/upload.html', url).href);
      await page.setInputFiles('input[type=file]', path);
      const [answer] = await Promise.all([page.waitForNavigation(), page.click('button')]);
      return answer.text();
    };
  },
};

const [client, url] = process.argv.slice(2);
if (!Object.hasOwn(clients, client) || !url) {
  console.error(`usage: upload.mjs ${Object.keys(clients).join('|')} URL`);
  process.exit(2);
}
const upload = await clients[client](url);
for await (const path of createInterface({ input: process.stdin })) {
  process.stdout.write(`${await upload(path)}\0`);
}
process.exit();
