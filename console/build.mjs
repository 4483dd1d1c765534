// Builds the console into a folder of static files, ready for /www, and prints their size as gzip makes them.
//
//   node console/build.mjs [FOLDER]      default build/console

import { cpSync, mkdirSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { gzipSync } from 'node:zlib';
import { fileURLToPath } from 'node:url';
import { build } from 'esbuild';

const most = 80_000; // bytes of all files together, gzipped
const source = fileURLToPath(new URL('src/', import.meta.url));
const folder = process.argv[2] ?? fileURLToPath(new URL('../build/console/', import.meta.url));

rmSync(folder, { recursive: true, force: true });
mkdirSync(folder, { recursive: true });
await build({
  entryPoints: { console: `${source}main.jsx` },
  outdir: folder,
  bundle: true,
  minify: true,
  format: 'esm',
  target: ['chrome105', 'firefox113', 'safari16.4'],
  jsx: 'automatic',
  jsxImportSource: 'preact',
  charset: 'utf8',
  legalComments: 'none',
  logLevel: 'warning',
});
for (const name of ['index.html', 'console.css']) cpSync(source + name, `${folder}/${name}`);
const licences = ['preact', '@noble/hashes'].map((name) => {
  const text = readFileSync(new URL(`node_modules/${name}/LICENSE`, import.meta.url), 'utf8');
  return `${name}\n\n${text}`;
});
writeFileSync(`${folder}/licences.txt`, licences.join('\n\n'));

const names = readdirSync(folder);
const gzipped = names.reduce(
  (sum, name) => sum + gzipSync(readFileSync(`${folder}/${name}`), { level: 9 }).length,
  0,
);
// For servers that send a file gzipped when one lies beside it.
for (const name of names)
  writeFileSync(`${folder}/${name}.gz`, gzipSync(readFileSync(`${folder}/${name}`), { level: 9 }));
console.log(
  `console: ${names.length} files, ${(gzipped / 1000).toFixed(1)} kB gzipped of at most ${most / 1000} kB`,
);
if (gzipped > most) process.exit(1);
