// Starts the page in Debian's Chromium, against the stand-in or, where QIV_ADDRESS says so, against
// a service. Watches for what must never happen: an error in the console, a request to another host.

import { createRequire } from 'node:module';
import { mkdirSync } from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { Mock } from './mock/server.mjs';

// The packages are where the tests are started from, which may be another folder than this file's.
const { chromium } = createRequire(path.join(process.cwd(), 'package.json'))('playwright-core');

const flags = [
  '--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader', '--ignore-gpu-blocklist', '--disable-quic',
  '--no-first-run', '--disable-background-networking', '--disable-component-update', '--disable-sync',
];

const pictures = process.env.QIV_PICTURES ?? fileURLToPath(new URL('../../docs/pictures/', import.meta.url));
const save_pictures = process.env.QIV_SAVE_PICTURES === '1';
export const patience_ms = 20_000;

/** The service that the environment names; null: the tests use the stand-in. */
export const real_address = process.env.QIV_ADDRESS ?? null;

export class Stage {
  static async open() {
    const stage = new Stage();
    stage.browser = await chromium.launch({ executablePath: process.env.QIV_CHROMIUM ?? '/usr/bin/chromium', args: flags });
    if (!real_address) stage.mock = new Mock({ dist: process.env.QIV_WEB_DIST });
    stage.address = real_address ?? (await stage.mock.start());
    return stage;
  }

  async close() {
    await this.browser.close();
    await this.mock?.stop();
  }

  /** A fresh page at this link, with all that went wrong on it noted in `faults`. */
  async page(link = '', options = {}) {
    const context = await this.browser.newContext({
      viewport: { width: 1360, height: 850 }, locale: 'en-IE', colorScheme: 'light', ...options,
    });
    const page = await context.newPage();
    page.setDefaultTimeout(patience_ms);
    const host = new URL(this.address).host;
    page.faults = [];
    page.on('console', (message) => {
      if (['error', 'warning'].includes(message.type())) page.faults.push(`console: ${message.text()}`);
    });
    page.on('pageerror', (error) => page.faults.push(`page: ${error.message}`));
    page.on('request', (request) => {
      const url = new URL(request.url());
      if (['http:', 'https:', 'ws:', 'wss:'].includes(url.protocol) && url.host !== host) page.faults.push(`request: ${url}`);
    });
    await page.goto(`${this.address}/${link}`);
    return page;
  }

  /** The page, once the vehicles are on the map. */
  async live_page(link, options) {
    const page = await this.page(link, options);
    await page.waitForFunction(() => Number(document.querySelector('.vehicles')?.dataset.drawn) > 0);
    return page;
  }

  async picture(page, name) {
    if (!save_pictures || real_address) return;
    mkdirSync(pictures, { recursive: true });
    await settle(page);
    await page.screenshot({ path: path.join(pictures, `${name}.png`) });
  }
}

/** Waits until the map stands still: the vehicles on it are as many as before, the chosen one about where it was. */
export async function settle(page) {
  await page.waitForFunction(() => {
    const { drawn, chosen = '0,0' } = document.querySelector('.vehicles').dataset;
    const now = [Number(drawn), ...chosen.split(',').map(Number)];
    const moved = window.before ? Math.max(...now.map((value, i) => Math.abs(value - window.before[i]))) : Infinity;
    window.before = now;
    window.still = moved <= 3 ? (window.still ?? 0) + 1 : 0;
    return window.still >= 3;
  }, null, { polling: 300 });
}

/** A vehicle of the service that is under way with a forecast. */
export async function vehicle_under_way(address) {
  const { vehicles } = await (await fetch(`${address}/api/v1/vehicles`)).json();
  const found = vehicles.filter((one) => one.status === 'under_way' && one.next_stop);
  if (found.length === 0) throw new Error('no vehicle is under way');
  // The one with the longest way to go shows the most.
  const details = await Promise.all(found.slice(0, 30).map(async ({ vehicle_id }) =>
    (await fetch(`${address}/api/v1/vehicles/${encodeURIComponent(vehicle_id)}`)).json()));
  const ahead = ({ forecast }) => forecast?.stops.filter((stop) => !stop.observed).length ?? 0;
  return details.sort((a, b) => ahead(b) - ahead(a))[0];
}
