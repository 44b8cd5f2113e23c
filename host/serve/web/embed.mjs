// Writes the files of dist/ as a C++ source that holds their bytes.
//
//   node embed.mjs DIST OUTPUT.cc

import { readdirSync, readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';

const [dist, output] = process.argv.slice(2);

const types = {
  '.html': 'text/html; charset=utf-8',
  '.js': 'text/javascript; charset=utf-8',
  '.css': 'text/css; charset=utf-8',
  '.svg': 'image/svg+xml',
  '.woff2': 'font/woff2',
};
const line_bytes = 4096;

/** The bytes as C++ string literals, one a line. */
function literals(bytes) {
  const lines = [];
  for (let from = 0; from < bytes.length; from += line_bytes) {
    let text = '';
    for (const byte of bytes.subarray(from, from + line_bytes)) {
      const plain = byte >= 0x20 && byte < 0x7f && byte !== 0x22 && byte !== 0x5c && byte !== 0x3f;
      text += plain ? String.fromCharCode(byte) : `\\${byte.toString(8).padStart(3, '0')}`;
    }
    lines.push(`"${text}"`);
  }
  return lines.join('\n');
}

const entries = readdirSync(dist).sort().map((name) => {
  const bytes = readFileSync(path.join(dist, name));
  const type = types[path.extname(name)];
  if (!type) throw new Error(`${name}: no content type is known for it`);
  const hashed = /-[0-9A-Za-z]{8}\.\w+$/.test(name);
  return `{"/${name}", "${type}", {\n${literals(bytes)},\n${bytes.length}}, ${hashed}},\n`;
});

writeFileSync(output, `#include "serve/web/embedded_page.h"

namespace qiv {

const std::vector<EmbeddedFile>& embedded_page() {
  static const std::vector<EmbeddedFile> files = {
${entries.join('')}};
  return files;
}

}  // namespace qiv
`);
