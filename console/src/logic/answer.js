// Answers of the unit's handler: what kind of page came, and the lines of the command inside it.

// A refusal is this page as a whole: a unit's own text may contain any part of it.
const refusalPage = (message) =>
  '<HTML><HEAD><meta name="ERROR_RORRE" content="none"></HEAD>' +
  '<BODY BGCOLOR=#FFFFFF TEXT=#000000 LINK=#000000 VLINK=#800080>\n<Center>\n' +
  `&HANDLER=ERROR ${message}\n</Center></BODY></HTML>`;
const refusals = new Map([
  [refusalPage('handler.cgi only supports one concurrent request, try again.'), 'busy'],
  [refusalPage('Firmware Update In Progress, try again later.'), 'updating'],
]);

const frame = (command) =>
  `<HTML><HEAD>\n<TITLE>Key and Value</TITLE>\n</HEAD><BODY>\n<p>Key: CMD value: ${command}</p>\n`;
const end = '</BODY></HTML>\n';

// Returns {kind, body}: the body has the lines of the command. Kinds:
//   done      the command has run
//   busy      another request was running
//   updating  a firmware update is running
//   login     the web server wants a name and a password
//   broken    anything else, an answer cut short included
export function readAnswer(command, status, text) {
  const refusal = status === 200 && refusals.get(text);
  if (refusal) return { kind: refusal, body: '' };
  if (status === 401) return { kind: 'login', body: '' };
  const start = frame(command);
  if (status !== 200 || !text.startsWith(start) || !text.endsWith(end)) return { kind: 'broken', body: '' };
  return { kind: 'done', body: text.slice(start.length, -end.length) };
}

// The whole lines that have arrived of an answer which is still being written.
export function linesSoFar(command, text) {
  const start = frame(command);
  return text.startsWith(start)
    ? text
        .slice(start.length, text.lastIndexOf('\n') + 1)
        .split('\n')
        .slice(0, -1)
    : [];
}

// Upload commands report a failure by a line with one of these words; those that succeed differ.
export function failureOf(body) {
  const line = body.split('\n').find((text) => /Fail|Error/.test(text));
  return line ? line.replace(/<\/?p>/g, '') : null;
}
