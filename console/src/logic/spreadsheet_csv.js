// CSV as spreadsheets write and read it: any of three separators, byte order marks, doubled quotes, line ends inside
// quotes, and cells that start like a formula.

const quote = '"';
export const mostTitles = 10; // lines above a header

// Returns {text, notes}: what the bytes say, and what a reader of the file should know.
function decode(bytes) {
  const starts = (...mark) => mark.every((byte, at) => bytes[at] === byte);
  if (starts(0xff, 0xfe)) return { text: new TextDecoder('utf-16le').decode(bytes), notes: ['utf-16'] };
  if (starts(0xfe, 0xff)) return { text: new TextDecoder('utf-16be').decode(bytes), notes: ['utf-16'] };
  const notes = starts(0xef, 0xbb, 0xbf) ? ['bom'] : [];
  if (bytes.includes(0)) return { text: '', notes: ['binary'] };
  try {
    return { text: new TextDecoder('utf-8', { fatal: true }).decode(bytes), notes };
  } catch {
    return { text: new TextDecoder('windows-1252').decode(bytes), notes: [...notes, 'encoding'] };
  }
}

// The separator that the first line with any has most of, commas before all others.
function separatorOf(text) {
  const lines = text.split(/[\r\n]+/, mostTitles + 1).map((line) => line.replace(/"[^"]*"/g, ''));
  const header = lines.find((line) => /[,;\t]/.test(line)) ?? '';
  const count = (separator) => header.split(separator).length;
  return [',', ';', '\t'].reduce((best, separator) => (count(separator) > count(best) ? separator : best));
}

// Reads the quoted text whose opening quote is at `from`. Returns [text, place of what follows the closing quote, problem].
function takeQuoted(text, from) {
  let end = from + 1;
  while (end < text.length && (text[end] !== quote || text[end + 1] === quote))
    end += text[end] === quote ? 2 : 1;
  const content = text.slice(from + 1, end).replaceAll('""', quote);
  const problem = end >= text.length ? 'quote-open' : /[\r\n]/.test(content) && 'quote-lines';
  return [content, Math.min(end + 1, text.length), problem];
}

const endOfLine = (text, at) => at + (text.startsWith('\r\n', at) ? 2 : 1);

// `own` maps lines that the unit itself has written to their cells, which are taken as they are.
function readRows(text, separator, own, notes) {
  const rows = [];
  const plain = new RegExp(`[^${separator}\\r\\n]*`, 'y');
  const wholeLine = /[^\r\n]*/y;
  let fields = [];
  for (let at = 0; at < text.length || fields.length > 0;) {
    wholeLine.lastIndex = at;
    const line = fields.length === 0 && own.size > 0 ? wholeLine.exec(text)[0] : '';
    if (own.has(line)) {
      rows.push(own.get(line).map((cell) => ({ text: cell, quoted: false, own: true })));
      at = endOfLine(text, at + line.length);
      continue;
    }
    const quoted = text[at] === quote;
    let content = '';
    let problem = '';
    if (quoted) [content, at, problem] = takeQuoted(text, at);
    if (problem) notes.push([problem, rows.length + 1]);
    plain.lastIndex = at;
    const tail = plain.exec(text)[0];
    at += tail.length;
    fields.push({ text: content + tail, quoted });
    if (text[at] === separator && at < text.length) {
      at += 1;
      continue;
    }
    at = endOfLine(text, at);
    rows.push(fields);
    fields = [];
  }
  return rows;
}

const guarded = /^'[=+\-@\t\r]/;

// Reads a file's bytes. Returns {rows, notes}: rows of cells {text, quoted}, the header among them, and notes of
// 'bom', 'utf-16', 'encoding', 'binary', 'separator' and 'guard' for what is not as the unit would have it, and
// ['quote-open', row] and ['quote-lines', row] for quotes that may have swallowed rows. `own` are lines of the unit with
// their fields, as ownLines of unit_csv.js returns them: its rules of quotes differ.
export function readSpreadsheet(bytes, own = new Map()) {
  const { text, notes } = decode(bytes);
  const declared = /^sep=([,;\t|])\r?\n/i.exec(text);
  const separator = declared ? declared[1] : separatorOf(text);
  const body = declared ? text.slice(declared[0].length) : text;
  const rows = readRows(body, separator, separator === ',' ? own : new Map(), notes);
  if (separator !== ',') notes.push('separator');
  for (const cell of rows.flat()) {
    if (cell.own || !guarded.test(cell.text)) continue;
    cell.text = cell.text.slice(1);
    if (!notes.includes('guard')) notes.push('guard');
  }
  return { rows, notes };
}

// Cells that a spreadsheet would take for a formula get an apostrophe; numbers are left alone.
function guard(value) {
  return /^[=+\-@\t\r]/.test(value) && !/^[+-]?\d+([.,]\d+)?$/.test(value) ? `'${value}` : value;
}

// Writes rows of texts for a spreadsheet: with a byte order mark, quotes where needed, and no cell that acts. Some
// languages' spreadsheets want semicolons.
export function writeSpreadsheet(rows, separator = ',') {
  const field = (value) => {
    const text = guard(value);
    return /[",;\r\n\t]/.test(text) ? quote + text.replaceAll(quote, '""') + quote : text;
  };
  return `\ufeff${rows.map((cells) => `${cells.map(field).join(separator)}\r\n`).join('')}`;
}
