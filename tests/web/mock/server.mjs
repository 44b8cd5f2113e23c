// A stand-in for the service: serves the built page and answers as the service does, for a day that
// moves. Can lose its source, or its own life.
//
//   node tests/web/mock/server.mjs DIST [PORT] [SPEED]

import { createServer } from 'node:http';
import { readFileSync } from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import * as answers from './answers.mjs';
import { read_timetable } from './timetable.mjs';
import { World } from './world.mjs';

const data = fileURLToPath(new URL('../../../data/dart-2025/gtfs.zip', import.meta.url));
const day = '20251007';
const midnight_s = Date.UTC(2025, 9, 6, 23) / 1000;
const begin_s = midnight_s + 8 * 3600 + 17 * 60;
const cycle_ms = 1000;

const types = {
  '.html': 'text/html; charset=utf-8', '.js': 'text/javascript', '.css': 'text/css', '.svg': 'image/svg+xml', '.woff2': 'font/woff2',
};

export class Mock {
  constructor({ dist, speed = 1, seed = 'dublin' }) {
    this.dist = dist;
    this.speed = speed;
    this.world = new World(read_timetable(data, day, midnight_s), seed);
    /** The configured address of a base map's tiles. */
    this.tiles = '';
    this.health = 'good';
    this.down = false;
    this.serial = 1;
    this.sockets = new Set();
    this.followers = new Set();
    this.server = createServer((request, response) => this.handle(request, response));
    this.server.on('connection', (socket) => {
      if (this.down) return socket.destroy();
      this.sockets.add(socket);
      socket.on('close', () => this.sockets.delete(socket));
    });
  }

  async start(port = 0) {
    this.started_ms = Date.now();
    await new Promise((resolve) => this.server.listen(port, '127.0.0.1', resolve));
    this.cycle = setInterval(() => this.tell(), cycle_ms);
    return `http://127.0.0.1:${this.server.address().port}`;
  }

  stop() {
    clearInterval(this.cycle);
    for (const socket of this.sockets) socket.destroy();
    return new Promise((resolve) => this.server.close(resolve));
  }

  /** From now on nothing answers, and what was connected is cut off; or all is well again. */
  set_down(down) {
    this.down = down;
    if (down) for (const socket of this.sockets) socket.destroy();
  }

  now() {
    return Math.floor(begin_s + ((Date.now() - this.started_ms) / 1000) * this.speed);
  }

  handle(request, response) {
    const url = new URL(request.url, 'http://localhost');
    const segments = url.pathname.split('/').slice(1).map(decodeURIComponent);
    try {
      if (segments[0] === 'events') return this.follow(url, response);
      if (segments[0] === 'api') return this.send(response, 200, 'application/json', JSON.stringify(this.answer(segments.slice(2), url.searchParams)));
      return this.file(url.pathname === '/' ? 'index.html' : segments.join('/'), response);
    } catch (error) {
      if (!(error instanceof answers.NotFound)) throw error;
      const body = { code: 'not_found', message: error.message, remedy: 'Ask for one of those that are listed.' };
      return this.send(response, 404, 'application/json', JSON.stringify(body));
    }
  }

  send(response, code, type, body, headers = {}) {
    response.writeHead(code, { 'Content-Type': type, 'Cache-Control': 'no-cache', ...headers });
    response.end(body);
  }

  answer([what, id, part], query) {
    const now = this.now();
    const limit = Number(query.get('limit') ?? 20);
    switch (what) {
      case 'status': return answers.status(this.world, now, this.serial);
      case 'sources': return answers.sources(now, this.health);
      case 'scores': return answers.scores(now);
      case 'changes': return answers.changes(this.world, now);
      case 'network': return answers.network(this.world);
      case 'routes': return answers.routes(this.world);
      case 'stops': return part === 'arrivals' ? answers.arrivals(this.world, now, id, limit) : answers.stops(this.world, query.get('q') ?? '', limit);
      case 'vehicles': return id ? answers.vehicle(this.world, now, id) : answers.vehicles(this.world, now);
      case 'trips': return answers.trip(this.world, now, id);
      case 'why': return answers.why(this.world, now, id, limit);
      default: throw new answers.NotFound(`There is no "${what}"`);
    }
  }

  file(name, response) {
    const type = types[path.extname(name)];
    let bytes;
    try {
      bytes = readFileSync(path.join(this.dist, path.basename(name)));
    } catch {
      throw new answers.NotFound(`There is no file "${name}"`);
    }
    if (name !== 'index.html') return this.send(response, 200, type, bytes);
    // As the service does: the tile address goes into the page, and its policy into a header as well.
    const fill = { tiles: this.tiles, tile_host: this.tiles && new URL(this.tiles).origin };
    const index = bytes.toString().replace(/\{\{(\w+)\}\}/g, (_, field) => fill[field] ?? '');
    const policy = index.match(/Content-Security-Policy" content="([^"]*)"/)[1];
    return this.send(response, 200, type, index, { 'Content-Security-Policy': `${policy}; frame-ancestors 'none'` });
  }

  follow(url, response) {
    response.writeHead(200, { 'Content-Type': 'text/event-stream', 'Cache-Control': 'no-cache' });
    const follower = { response, topics: [], told: new Map() };
    for (const topic of ['stop', 'trip', 'vehicle']) for (const id of url.searchParams.getAll(topic)) follower.topics.push([topic, id]);
    if (url.searchParams.has('vehicles')) follower.topics.push(['vehicles', 'all']);
    this.followers.add(follower);
    response.on('close', () => this.followers.delete(follower));
    this.tell_one(follower);
  }

  tell() {
    this.serial += 1;
    for (const follower of this.followers) this.tell_one(follower);
  }

  tell_one({ response, topics, told }) {
    const now = this.now();
    const event = (name, content) => response.write(`event: ${name}\nid: ${this.serial}\ndata: ${JSON.stringify(content)}\n\n`);
    for (const [topic, id] of topics) {
      const key = `${topic} ${id}`;
      const before = told.get(key);
      if (topic === 'vehicles') {
        const current = new Map(answers.moves(this.world.vehicles(now)).map((move) => [move.id, JSON.stringify(move)]));
        const changed = [...current].filter(([one, text]) => before?.get(one) !== text).map(([, text]) => JSON.parse(text));
        const gone = [...(before?.keys() ?? [])].filter((one) => !current.has(one));
        if (!before || changed.length || gone.length) event('vehicles', { now, full: !before, vehicles: changed, gone });
        told.set(key, current);
        continue;
      }
      const [name, content] = this.content(topic, id, now);
      const text = JSON.stringify({ ...content, now: 0 });
      if (text !== before) event(name, content);
      told.set(key, text);
    }
  }

  content(topic, id, now) {
    try {
      if (topic === 'stop') return ['stop', answers.arrivals(this.world, now, id, 10)];
      return topic === 'trip' ? ['trip', answers.trip(this.world, now, id)] : ['vehicle', answers.vehicle(this.world, now, id)];
    } catch (error) {
      if (!(error instanceof answers.NotFound)) throw error;
      return ['gone', { now, topic, id }];
    }
  }
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const [dist, port = '8090', speed = '1'] = process.argv.slice(2);
  console.log(await new Mock({ dist, speed: Number(speed) }).start(Number(port)));
}
