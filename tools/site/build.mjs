// Builds site(1) into one file for Node.js, beside its man page, its completion and the licences of what is bundled.
//
//   node tools/site/build.mjs [FOLDER]      default tools/site/dist

import { chmodSync, copyFileSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { fileURLToPath } from 'node:url';

const here = fileURLToPath(new URL('.', import.meta.url));
const folder = process.argv[2] ?? `${here}dist`;
const { version } = JSON.parse(readFileSync(`${here}package.json`, 'utf8'));
const consoleRequire = createRequire(new URL('../../console/package.json', import.meta.url));
const { build } = consoleRequire('esbuild');

rmSync(folder, { recursive: true, force: true });
mkdirSync(folder, { recursive: true });
await build({
  entryPoints: [`${here}src/main.js`],
  outfile: `${folder}/site.mjs`,
  bundle: true,
  platform: 'node',
  format: 'esm',
  target: 'node18',
  charset: 'utf8',
  define: { 'process.env.SITE_VERSION': JSON.stringify(version) },
  legalComments: 'none',
  logLevel: 'warning',
});
chmodSync(`${folder}/site.mjs`, 0o755);
copyFileSync(`${here}site.bash`, `${folder}/site.bash`);
writeFileSync(`${folder}/site.1`, readFileSync(`${here}site.1`, 'utf8').replace('@VERSION@', version));
const licence = readFileSync(
  new URL('../../console/node_modules/@noble/hashes/LICENSE', import.meta.url),
  'utf8',
);
writeFileSync(`${folder}/licences.txt`, `@noble/hashes\n\n${licence}`);
