// Uploads a file to a unit as one real web client does; for the box only.
//
//   upload.mjs CLIENT URL PATH
//
// The file is sent to URL as the field "file", beside the command UPDATE_SPLASH, and the body of the answer goes to
// standard output as it came. Whatever keeps an answer away ends the script with its message and a status that is not 0.

import { createReadStream } from 'node:fs';
import { text } from 'node:stream/consumers';
import { promisify } from 'node:util';
import { openPage } from './browser.mjs';

const command = 'UPDATE_SPLASH';

// Each uploads the file at a path and returns the body of the answer.
const clients = {
  // Streams the file between headers of its own.
  async form_data(url, path) {
    const { default: FormData } = await import('form-data');
    const form = new FormData();
    form.append('CMD', command);
    form.append('file', createReadStream(path));
    return text(await promisify(form.submit.bind(form))(url));
  },

  // Joins the whole body in memory: a name percent-encoded, a third header to the file, no line end after all.
  async needle(url, path) {
    const { default: needle } = await import('needle');
    const form = { file: { file: path, content_type: 'image/jpeg' }, CMD: command };
    return (await needle('post', url, form, { multipart: true, open_timeout: 0 })).raw.toString();
  },

  // Submits the form of a page.
  async chromium_form(url, path) {
    const page = await openPage();
    const form = `<form action="${url}" method="post" enctype="multipart/form-data">
      <input name="CMD" value="${command}"><input type="file" name="file"><button>Upload</button></form>`;
    const address = new URL('/form.html', url).href;
    await page.route(address, (route) =>
      route.fulfill({ contentType: 'text/html; charset=utf-8', body: form }),
    );
    await page.goto(address);
    await page.setInputFiles('input[type=file]', path);
    const [answer] = await Promise.all([page.waitForNavigation(), page.click('button')]);
    return answer.text();
  },
};

const [client, url, path] = process.argv.slice(2);
process.stdout.write(await clients[client](url, path), () => process.exit());
