// Reads the members of a zip file: stored and deflated ones, which is what GTFS files hold.

import { inflateRawSync } from 'node:zlib';

const end_of_directory = 0x06054b50;
const directory_entry = 0x02014b50;

/** Name → text, of every member. */
export function read_zip(bytes) {
  let end = bytes.length - 22;
  while (end >= 0 && bytes.readUInt32LE(end) !== end_of_directory) end -= 1;
  if (end < 0) throw new Error('not a zip file');
  const texts = new Map();
  let at = bytes.readUInt32LE(end + 16);
  for (let left = bytes.readUInt16LE(end + 10); left > 0; left -= 1) {
    if (bytes.readUInt32LE(at) !== directory_entry) throw new Error('the directory of the zip file is damaged');
    const method = bytes.readUInt16LE(at + 10);
    const size = bytes.readUInt32LE(at + 20);
    const [name_size, extra_size, comment_size] = [28, 30, 32].map((field) => bytes.readUInt16LE(at + field));
    const name = bytes.toString('utf8', at + 46, at + 46 + name_size);
    const local = bytes.readUInt32LE(at + 42);
    const begin = local + 30 + bytes.readUInt16LE(local + 26) + bytes.readUInt16LE(local + 28);
    const packed = bytes.subarray(begin, begin + size);
    texts.set(name, (method === 0 ? packed : inflateRawSync(packed)).toString('utf8'));
    at += 46 + name_size + extra_size + comment_size;
  }
  return texts;
}

/** The rows of a table as objects; fields may be quoted. */
export function read_table(text) {
  const [head, ...lines] = text.replace(/^\uFEFF/, '').split(/\r?\n/).filter(Boolean).map(fields_of);
  return lines.map((line) => Object.fromEntries(head.map((name, i) => [name, line[i] ?? ''])));
}

function fields_of(line) {
  return [...line.matchAll(/("(?:[^"]|"")*"|[^,]*)(?:,|$)/g)]
    .slice(0, -1)
    .map((match) => match[1])
    .map((field) => (field.startsWith('"') ? field.slice(1, -1).replaceAll('""', '"') : field))
    .concat(line.endsWith(',') ? [''] : []);
}
