// Builds the page into dist/: few files, nothing inline, nothing from another host.

import { build } from 'esbuild';
import { createHash } from 'node:crypto';
import { copyFile, mkdir, readFile, rm, writeFile } from 'node:fs/promises';
import { fileURLToPath } from 'node:url';
import path from 'node:path';

const here = path.dirname(fileURLToPath(import.meta.url));
const dist = path.join(here, 'dist');

await rm(dist, { recursive: true, force: true });
await mkdir(dist, { recursive: true });

const result = await build({
  absWorkingDir: here,
  entryPoints: { page: 'src/main.tsx' },
  outdir: dist,
  entryNames: '[name]-[hash]',
  assetNames: '[name]-[hash]',
  bundle: true,
  minify: true,
  format: 'esm',
  target: 'es2022',
  jsx: 'automatic',
  jsxImportSource: 'preact',
  loader: { '.woff2': 'file' },
  legalComments: 'eof',
  metafile: true,
  logLevel: 'warning',
});

// The map's worker is a program of its own, which the map starts by its address.
const worker_bytes = await readFile(path.join(here, 'node_modules/maplibre-gl/dist/maplibre-gl-worker.mjs'));
const worker = `map-worker-${createHash('sha256').update(worker_bytes).digest('hex').slice(0, 8)}.js`;
await writeFile(path.join(dist, worker), worker_bytes);
await copyFile(path.join(here, 'src/icon.svg'), path.join(dist, 'icon.svg'));

const outputs = Object.keys(result.metafile.outputs).map((name) => path.basename(name));
const named = (pattern) => outputs.find((name) => pattern.test(name));
const index = (await readFile(path.join(here, 'index.html'), 'utf8'))
  .replace('{{script}}', named(/^page-.*\.js$/))
  .replace('{{style}}', named(/^page-.*\.css$/))
  .replace('{{worker}}', worker);
await writeFile(path.join(dist, 'index.html'), index);
