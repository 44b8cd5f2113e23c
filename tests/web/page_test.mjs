// The page in a real browser. Against the stand-in, or a service: QIV_ADDRESS=http://127.0.0.1:8080.

import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { after, before, test } from 'node:test';
import { real_address, settle, Stage, vehicle_under_way } from './browser.mjs';

let stage;

before(async () => { stage = await Stage.open(); });
after(() => stage?.close());

/** Runs a test on a fresh page and holds it against all that must not happen. */
function on_page(name, link, run, options) {
  test(name, async () => {
    const page = await stage.live_page(typeof link === 'function' ? await link() : link, options);
    try {
      await run(page);
      assert.deepEqual(page.faults, []);
    } finally {
      await page.context().close();
    }
  });
}

const title = (page) => page.locator('[data-panel-title]');
const phone = { viewport: { width: 390, height: 844 }, deviceScaleFactor: 2, hasTouch: true, isMobile: true };
const vehicle_link = async () => `#vehicle=${encodeURIComponent((await vehicle_under_way(stage.address)).vehicle.vehicle_id)}`;
const stop_link = async () => `#stop=${encodeURIComponent((await stop_ahead()).stop_id)}`;

/** A stop in the middle of what a vehicle has before it. */
async function stop_ahead() {
  const { forecast } = await vehicle_under_way(stage.address);
  const ahead = forecast.stops.filter((stop) => !stop.observed);
  return ahead[Math.floor(ahead.length / 2)];
}

on_page('shows the network, the vehicles and the overview', '', async (page) => {
  await page.locator('.clock.is-live').waitFor();
  const status = await (await fetch(`${stage.address}/api/v1/status`)).json();
  assert.equal(await title(page).innerText(), status.city);
  assert.equal(await page.title(), `${status.city} · qiv`);
  assert.ok((await page.locator('.rows [data-item]').count()) > 0);
  assert.equal(await page.locator('.legend li').count(), 6);
  assert.equal(await page.locator('.banner').count(), 0);
  await stage.picture(page, 'overview');
});

on_page('stops keep their names beside the badges of vehicles', '', async (page) => {
  await page.waitForFunction(() => Number(document.querySelector('.vehicles').dataset.named) > 10);
  const { named, badges, covered } = await page.evaluate(() => ({ ...document.querySelector('.vehicles').dataset }));
  assert.ok(Number(badges) > 5, `${badges} badges beside ${named} names`);
  assert.equal(covered, '0');
});

on_page('vehicles move between their reports', vehicle_link, async (page) => {
  await page.waitForFunction(() => document.querySelector('.vehicles').dataset.chosen);
  const paint = () => page.evaluate(() => document.querySelector('.vehicles').toDataURL());
  const first = await paint();
  await page.waitForFunction((before) => document.querySelector('.vehicles').toDataURL() !== before, first);
});

on_page('follows a vehicle: stops with bounds, and what is behind the forecast', vehicle_link, async (page) => {
  await page.locator('.strip-row .band').first().waitFor();
  const id = await page.evaluate(() => decodeURIComponent(location.hash.split('=')[1]));
  const { forecast } = await (await fetch(`${stage.address}/api/v1/vehicles/${encodeURIComponent(id)}`)).json();
  const ahead = forecast.stops.filter((stop) => !stop.observed);
  assert.ok(Math.abs((await page.locator('.strip-row:not(.passed)').count()) - ahead.length) <= 1);
  assert.match(await page.locator('.strip-row .band').first().getAttribute('aria-label'), /68 % between \d\d:\d\d and \d\d:\d\d, 90 %/);
  await page.locator('.weights li, .why .note').first().waitFor();
  await stage.picture(page, 'vehicle');
});

on_page('a click on a vehicle opens it, a click on Close shows the overview', vehicle_link, async (page) => {
  await page.locator('.strip-row').first().waitFor();
  const heading = await title(page).innerText();
  const hash = await page.evaluate(() => location.hash);
  await page.waitForFunction(() => document.querySelector('.vehicles').dataset.chosen);
  await settle(page);
  const [x, y] = (await page.evaluate(() => document.querySelector('.vehicles').dataset.chosen)).split(',').map(Number);
  await page.getByRole('button', { name: 'Close' }).click();
  await page.locator('.overview-head').waitFor();
  assert.equal(await page.evaluate(() => location.hash), '');
  await page.mouse.click(x, y);
  await page.locator('.strip-row').first().waitFor();
  assert.equal(await page.evaluate(() => location.hash), hash);
  assert.equal(await title(page).innerText(), heading);
});

on_page('opens the board of a stop that was searched for', '', async (page) => {
  const name = (await stop_ahead()).stop_name;
  await page.getByRole('combobox', { name: 'Search' }).fill(name);
  await page.getByRole('option', { name }).first().waitFor();
  await page.keyboard.press('Enter');
  await page.locator('.board-row').first().waitFor();
  assert.match(await page.evaluate(() => location.hash), /^#stop=/);
  assert.ok((await title(page).innerText()).includes(name));
  assert.match(await page.locator('.board-row').first().innerText(), /\d\d:\d\d–\d\d:\d\d/);
  assert.match(await page.locator('.board').innerText(), /be here by \d\d:\d\d/);
  await stage.picture(page, 'stop');
  await page.locator('.board-row a').first().click();
  await page.locator('.strip-row').first().waitFor();
  assert.match(await page.evaluate(() => location.hash), /^#trip=/);
  await page.goBack();
  await page.locator('.board-row').first().waitFor();
});

on_page('finds lines and vehicles as well', '', async (page) => {
  const { vehicle } = await vehicle_under_way(stage.address);
  const search = page.getByRole('combobox', { name: 'Search' });
  await search.fill(vehicle.vehicle_id);
  await page.locator('[role=option]', { hasText: 'Vehicle' }).first().waitFor();
  await search.fill(vehicle.line);
  await page.locator('[role=option]', { hasText: 'Line' }).first().click();
  await page.locator('.rows [data-item]').first().waitFor();
  assert.match(await page.evaluate(() => location.hash), /^#line=/);
});

on_page('shows how good the forecasts were', '#panel=scores', async (page) => {
  await page.locator('.segments button').first().waitFor();
  const { scores } = await (await fetch(`${stage.address}/api/v1/scores`)).json();
  assert.equal(await page.locator('.segments button').count(), scores.length);
  await page.locator('.segments button').last().click();
  const buckets = scores.at(-1).buckets.filter((bucket) => bucket.n > 0);
  if (buckets.length === 0) {
    await page.getByText('No arrival has been scored').waitFor();
    return;
  }
  await page.locator('.chart canvas').first().waitFor();
  await page.getByText('The same as a table').click();
  assert.ok(Math.abs((await page.locator('tbody tr').count()) - buckets.length) <= 1);
  await page.getByText('The same as a table').click();
  await page.locator('.segments button').first().click();
  await stage.picture(page, 'scores');
});

on_page('shows how good the agency’s own predictions were', '#panel=scores', async (page) => {
  await page.locator('.segments button').first().waitFor();
  const { scores } = await (await fetch(`${stage.address}/api/v1/scores`)).json();
  const [score] = scores;
  const buckets = score.buckets.filter((bucket) => bucket.n > 0);
  const predicts = score.agency_eta_score !== null && buckets.length > 0 && buckets.every((bucket) => bucket.agency);
  await (buckets.length > 0 ? page.locator('.figures').first() : page.getByText('No arrival has been scored')).waitFor();
  const figures = page.locator('.figures[aria-label="The agency’s own"]');
  assert.equal(await figures.count(), predicts ? 1 : 0);
  if (!predicts) return;
  assert.match(await figures.innerText(), new RegExp(`ETA score\\s+${score.agency_eta_score.toFixed(1)}`, 'i'));
  await page.getByText('The same as a table').click();
  assert.equal(await page.locator('thead th', { hasText: 'The agency’s own' }).count(), 1);
});

on_page('shows every source with its age and counts', '#panel=sources', async (page) => {
  const { sources } = await (await fetch(`${stage.address}/api/v1/sources`)).json();
  if (sources.length === 0) {
    await page.getByText('The service names no sources.').waitFor();
    return;
  }
  await page.locator('.source').first().waitFor();
  assert.deepEqual(await page.locator('.source h3').allInnerTexts(), sources.map((source) => source.name));
  assert.match(await page.locator('.source').first().innerText(), /Last answer/);
});

on_page('can be used with the keyboard alone', '', async (page) => {
  await page.locator('.rows [data-item]').nth(2).waitFor();
  await page.keyboard.press('Tab');
  assert.equal(await page.evaluate(() => document.activeElement.className), 'skip');
  await page.keyboard.press('Enter');
  assert.ok(await page.evaluate(() => document.activeElement.hasAttribute('data-panel-title')));
  for (let i = 0; i < 12 && !(await page.evaluate(() => document.activeElement.matches('.rows [data-item]'))); i += 1) {
    await page.keyboard.press('Tab');
  }
  const at = () => page.evaluate(() => [...document.querySelectorAll('.rows [data-item]')].indexOf(document.activeElement));
  assert.equal(await at(), 0);
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('ArrowDown');
  assert.equal(await at(), 2);
  await page.keyboard.press('Home');
  assert.equal(await at(), 0);
  const link = await page.evaluate(() => document.activeElement.getAttribute('href'));
  await page.keyboard.press('Enter');
  await page.waitForFunction((hash) => location.hash === hash && document.activeElement.hasAttribute('data-panel-title'), link);
  await page.keyboard.press('Escape');
  await page.locator('.overview-head').waitFor();
  await page.waitForFunction((hash) => document.activeElement.getAttribute('href') === hash, link);
  await page.keyboard.press('/');
  assert.equal(await page.evaluate(() => document.activeElement.id), 'search');
});

on_page('fits a telephone: the panel is a sheet that can be pulled up', stop_link, async (page) => {
  await page.locator('.board-row').first().waitFor();
  const height = () => page.evaluate(() => document.querySelector('.panel').getBoundingClientRect().height);
  const half = await height();
  await page.getByRole('button', { name: 'Show more' }).tap();
  await page.waitForFunction((before) => document.querySelector('.panel').getBoundingClientRect().height > before * 1.5, half);
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth));
  await page.getByRole('button', { name: 'Show less' }).tap();
  await page.waitForFunction((before) => Math.abs(document.querySelector('.panel').getBoundingClientRect().height - before) < 1, half);
  await stage.picture(page, 'phone');
}, phone);

on_page('is dark where the browser is, and as the switch says', vehicle_link, async (page) => {
  const ground = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
  await page.locator('.strip-row').first().waitFor();
  const dark = await ground();
  await stage.picture(page, 'dark');
  await page.locator('.theme').click();
  await page.waitForFunction((before) => getComputedStyle(document.body).backgroundColor !== before, dark);
  await page.reload();
  await page.locator('.strip-row').first().waitFor();
  assert.notEqual(await ground(), dark);
}, { colorScheme: 'dark' });

on_page('speaks the language of the browser, and the one that is chosen', '', async (page) => {
  await page.getByRole('combobox', { name: 'Suche' }).waitFor();
  assert.equal(await page.evaluate(() => document.documentElement.lang), 'de');
  await page.locator('.language select').selectOption('fr');
  await page.getByRole('combobox', { name: 'Recherche' }).waitFor();
  await page.locator('.language select').selectOption('es');
  await page.getByRole('heading', { name: 'Retraso ahora' }).waitFor();
}, { locale: 'de-AT' });

on_page('holds still for those who want no motion', vehicle_link, async (page) => {
  await page.locator('.strip-row').first().waitFor();
  assert.equal(await page.evaluate(() => getComputedStyle(document.querySelector('.clock i')).animationName), 'none');
}, { reducedMotion: 'reduce' });

test('a link to what is not there says so', async () => {
  const page = await stage.page('#vehicle=nobody%20knows');
  await page.getByText('There is no such thing here now.').waitFor();
  // The browser itself notes the 404 in its console; nothing else may stand there.
  assert.deepEqual(page.faults.filter((fault) => !fault.includes('404')), []);
  await page.context().close();
});

test('asks the configured host for tiles, and the page’s policy lets it', { skip: real_address ? 'needs the stand-in' : false }, async () => {
  const png = Buffer.from('iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNkYPhfDwAChwGA60e6kgAAAABJRU5ErkJggg==', 'base64');
  let asked = 0;
  const host = createServer((_, response) => {
    asked += 1;
    response.writeHead(200, { 'Content-Type': 'image/png', 'Access-Control-Allow-Origin': '*' }).end(png);
  });
  await new Promise((resolve) => host.listen(0, '127.0.0.1', resolve));
  const origin = `http://127.0.0.1:${host.address().port}`;
  stage.mock.tiles = `${origin}/{z}/{x}/{y}.png`;
  const page = await stage.live_page('');
  stage.mock.tiles = '';
  await page.waitForFunction((from) => performance.getEntriesByType('resource').some((one) => one.name.startsWith(from) && one.responseEnd > 0), origin);
  assert.ok(asked > 0);
  assert.deepEqual(page.faults.filter((fault) => !fault.startsWith(`request: ${origin}`)), []);
  await page.context().close();
  await new Promise((resolve) => host.close(resolve));
});

test('a canceled trip stays on the board, struck out', { skip: real_address ? 'needs the stand-in' : false }, async () => {
  const { stop_id } = await stop_ahead();
  const { arrivals } = await (await fetch(`${stage.address}/api/v1/stops/${stop_id}/arrivals?limit=10`)).json();
  const canceled = arrivals.filter((arrival) => !arrival.last_stop)[1];
  const page = await stage.live_page(`#stop=${encodeURIComponent(stop_id)}`);
  const row = page.locator(`.board-row:has(a[href="#trip=${encodeURIComponent(canceled.trip)}"])`);
  await row.locator('.band').waitFor();
  stage.mock.world.canceled.add(canceled.trip);
  await row.getByText('Canceled').waitFor();
  assert.match(await row.locator('s').innerText(), /^\d\d:\d\d$/);
  assert.equal(await row.locator('.band').count(), 0);
  await row.locator('a').click();
  await page.locator('.facts', { hasText: 'Canceled' }).waitFor();
  await page.locator('.strip-row.not-made').first().waitFor();
  assert.equal(await page.locator('.next-card').count(), 0);
  stage.mock.world.canceled.clear();
  await page.locator('.next-card').waitFor();
  assert.deepEqual(page.faults, []);
  await page.context().close();
});

/** Lets the agency say something of each kind; of a stop that is still to come, its trip, and its line. */
async function let_the_agency_speak() {
  const { world } = stage.mock;
  const { vehicle, forecast } = await vehicle_under_way(stage.address);
  const ahead = forecast.stops.filter((stop) => !stop.observed);
  const stop = ahead[Math.floor(ahead.length / 2)];
  const other = world.on_display(stage.mock.now()).find((run) => run.key !== vehicle.trip && !run.calls[0].observed);
  world.canceled.add(other.key);
  world.skipping.set(vehicle.trip, [stop.stop_id]);
  world.notices = [
    { alert_id: '7', effect: 'stop_moved', header: 'The stop is on the other side of the road', informed: [{ route_id: null, trip_id: null, stop_id: stop.stop_id }] },
    { alert_id: '8', effect: 'detour', header: null, informed: [{ route_id: vehicle.route_id, trip_id: null, stop_id: null }] },
    { alert_id: '9', effect: 'significant_delays', header: 'Signal failure, everywhere', informed: [{ route_id: null, trip_id: null, stop_id: null }] },
  ];
  world.added = [{
    trip_id: 'EXTRA-1', route_id: vehicle.route_id, start_date: '20251007', start_time: '08:40:00', vehicle_id: null, stops: 9, said_by: 'trip updates',
  }];
  return {
    vehicle, stop, other,
    silence() {
      world.canceled.clear();
      world.skipping.clear();
      world.notices = [];
      world.added = [];
    },
  };
}

for (const [name, options] of [['changes', {}], ['changes-phone', phone], ['changes-dark', { colorScheme: 'dark' }]]) {
  test(`shows what the agency says: ${name}`, { skip: real_address ? 'needs the stand-in' : false }, async () => {
    const said = await let_the_agency_speak();
    const page = await stage.live_page('#panel=changes', options);
    await page.getByText('EXTRA-1').waitFor();
    const section = (title) => page.locator('section.changes').filter({ has: page.locator('h3', { hasText: title }) });
    assert.equal(await section('Canceled trips').locator('[data-item]').getAttribute('href'), `#trip=${encodeURIComponent(said.other.key)}`);
    assert.ok((await section('Trips that leave out stops').innerText()).includes(`does not call at ${said.stop.stop_name}`));
    assert.equal(await section('Notices').locator('[data-item]').count(), 3);
    assert.match(await section('Notices').innerText(), /Stop moved.*Detour.*Signal failure/s);
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth));
    if (name === 'changes') await stage.picture(page, name);
    assert.deepEqual(page.faults, []);
    await page.context().close();
    said.silence();
  });
}

test('what the agency says can be reached with the keyboard, and stands where it matters', { skip: real_address ? 'needs the stand-in' : false }, async () => {
  const said = await let_the_agency_speak();
  const page = await stage.live_page('');
  const door = page.getByRole('link', { name: /Service changes/ });
  await door.waitFor();
  assert.match(await door.innerText(), /6/);
  await door.focus();
  await page.keyboard.press('Enter');
  await page.getByText('EXTRA-1').waitFor();
  const is_row = () => page.evaluate(() => document.activeElement.matches('.changes [data-item]'));
  for (let i = 0; i < 6 && !(await is_row()); i += 1) await page.keyboard.press('Tab');
  assert.ok(await is_row());
  await page.keyboard.press('Enter');
  await page.locator('.alerts').getByText('The stop is on the other side of the road').waitFor();
  assert.equal(await page.evaluate(() => location.hash), `#stop=${encodeURIComponent(said.stop.stop_id)}`);
  await page.locator('.alerts').getByText('Detour').waitFor();
  await page.locator('.board-row.not-made', { hasText: 'Does not call here' }).waitFor();
  await page.evaluate((id) => { location.hash = `#vehicle=${encodeURIComponent(id)}`; }, said.vehicle.vehicle_id);
  await page.locator('.strip-row').first().waitFor();
  assert.deepEqual(await page.locator('.alerts li').allInnerTexts(), ['Detour']);
  said.silence();
  await page.evaluate(() => { location.hash = '#panel=changes'; });
  await page.getByText('The agency tells of no change.').waitFor();
  assert.deepEqual(page.faults, []);
  await page.context().close();
});

test('an agency that says nothing has no panel on the overview', { skip: real_address ? 'needs the stand-in' : false }, async () => {
  stage.mock.world.agency_speaks = false;
  const page = await stage.live_page('');
  await page.getByRole('link', { name: 'Sources' }).waitFor();
  assert.equal(await page.getByRole('link', { name: /Service changes/ }).count(), 0);
  stage.mock.world.agency_speaks = true;
  await page.getByRole('link', { name: /Service changes/ }).waitFor();
  await page.context().close();
});

test('a trip that was found by its vehicle’s course says so', { skip: real_address ? 'needs the stand-in' : false }, async () => {
  const { vehicles } = await (await fetch(`${stage.address}/api/v1/vehicles`)).json();
  const assigned = vehicles.find((one) => one.trip_confidence !== null && one.next_stop);
  assert.ok(assigned, 'the stand-in has such a vehicle');
  const page = await stage.live_page(`#trip=${encodeURIComponent(assigned.trip)}`);
  await page.locator('.facts').getByText('Trip assigned by its course, 87% sure').waitFor();
  await page.evaluate((id) => { location.hash = `#stop=${encodeURIComponent(id)}`; }, assigned.next_stop.stop_id);
  await page.locator('.board-row', { hasText: 'Trip assigned by its course, 87% sure' }).waitFor();
  assert.deepEqual(page.faults, []);
  await page.context().close();
});

test('a vehicle that is detoured or stands for too long says so', { skip: real_address ? 'needs the stand-in' : false }, async () => {
  const { vehicle } = await vehicle_under_way(stage.address);
  const page = await stage.live_page(`#vehicle=${encodeURIComponent(vehicle.vehicle_id)}`);
  const facts = page.locator('.facts');
  await facts.getByText('Under way', { exact: true }).waitFor();
  stage.mock.world.incidents.set(vehicle.vehicle_id, { status: 'detoured', reason: 'beside its route for 900 m' });
  await facts.getByText('Detoured, going on beside its route').waitFor();
  await facts.getByText('beside its route for 900 m', { exact: true }).waitFor();
  await page.locator('.strip-row .band').first().waitFor();
  stage.mock.world.incidents.set(vehicle.vehicle_id, { status: 'standing', reason: 'no progress for 14 min' });
  await facts.getByText('Standing for too long').waitFor();
  await facts.getByText('no progress for 14 min').waitFor();
  stage.mock.world.incidents.clear();
  await facts.getByText('Under way', { exact: true }).waitFor();
  assert.deepEqual(page.faults, []);
  await page.context().close();
});

test('a source that fails or is stale is shown', { skip: real_address ? 'needs the stand-in' : false }, async () => {
  const page = await stage.live_page('');
  stage.mock.health = 'failing';
  await page.getByText('The source “positions” does not answer.').waitFor();
  await page.getByRole('button', { name: 'Details' }).click();
  await page.locator('.source.health-failing').waitFor();
  await stage.picture(page, 'outage');
  stage.mock.health = 'stale';
  await page.getByText('What the source “positions” says is old.').waitFor();
  stage.mock.health = 'good';
  await page.locator('.banner').waitFor({ state: 'detached' });
  assert.deepEqual(page.faults, []);
  await page.context().close();
});

test('a service that does not answer is shown, and found again', { skip: real_address ? 'needs the stand-in' : false }, async () => {
  const page = await stage.live_page('');
  await page.locator('.clock.is-live').waitFor();
  stage.mock.set_down(true);
  await page.locator('.banner.bad').getByText('The service does not answer.').waitFor();
  await page.locator('.clock.is-down').waitFor();
  await page.getByRole('button', { name: 'Try now' }).click();
  stage.mock.set_down(false);
  await page.locator('.clock.is-live').waitFor();
  await page.locator('.banner').waitFor({ state: 'detached' });
  // The browser notes each refused connection in its console; nothing else may stand there.
  assert.deepEqual(page.faults.filter((fault) => !/net::ERR_/.test(fault)), []);
  await page.context().close();
});
