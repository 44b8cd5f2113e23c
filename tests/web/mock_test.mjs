// The stand-in answers as the service's description says, so that what works with it works with the service.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { after, before, test } from 'node:test';
import { Mock } from './mock/server.mjs';
import { violations } from './schema.mjs';

const description = JSON.parse(readFileSync(new URL('../../host/serve/api/openapi.json', import.meta.url)));
const mock = new Mock({ dist: '' });
let address;

before(async () => { address = await mock.start(); });
after(() => mock.stop());

const get = async (path) => (await fetch(address + path)).json();

function assert_fits(schema, value) {
  assert.deepEqual(violations(description, { $ref: `#/components/schemas/${schema}` }, value).slice(0, 5), []);
}

test('every answer fits the description', async () => {
  const { vehicles } = await get('/api/v1/vehicles');
  const { trip, vehicle_id } = vehicles.find((one) => one.trip);
  const answers = {
    Status: '/api/v1/status', Sources: '/api/v1/sources', Scores: '/api/v1/scores', Changes: '/api/v1/changes', Network: '/api/v1/network',
    Routes: '/api/v1/routes', Stops: '/api/v1/stops?q=dub', Arrivals: '/api/v1/stops/PERSE/arrivals', Vehicles: '/api/v1/vehicles',
    VehicleDetail: `/api/v1/vehicles/${vehicle_id}`, TripDetail: `/api/v1/trips/${encodeURIComponent(trip)}`,
    Why: `/api/v1/why/${encodeURIComponent(trip)}`, Error: '/api/v1/vehicles/nobody',
  };
  for (const [schema, path] of Object.entries(answers)) assert_fits(schema, await get(path));
});

test('every state of a source fits the description', async () => {
  for (const health of ['stale', 'failing', 'good']) {
    mock.health = health;
    assert_fits('Sources', await get('/api/v1/sources'));
  }
});

test('canceled trips and incidents fit the description', async () => {
  const { vehicles } = await get('/api/v1/vehicles');
  const { trip, vehicle_id } = vehicles.find((one) => one.status === 'under_way' && one.next_stop);
  const { stop_id } = vehicles.find((one) => one.trip === trip).next_stop;
  for (const status of ['detoured', 'standing']) {
    mock.world.incidents.set(vehicle_id, { status, reason: 'road works' });
    const answer = await get(`/api/v1/vehicles/${vehicle_id}`);
    assert_fits('VehicleDetail', answer);
    assert.equal(answer.vehicle.status, status);
  }
  mock.world.incidents.clear();
  mock.world.canceled.add(trip);
  mock.world.skipping.set(trip, [stop_id]);
  assert_fits('Changes', await get('/api/v1/changes'));
  assert_fits('Vehicles', await get('/api/v1/vehicles'));
  const arrivals = await get(`/api/v1/stops/${stop_id}/arrivals`);
  assert_fits('Arrivals', arrivals);
  assert.equal(arrivals.arrivals.find((one) => one.trip === trip).state, 'canceled');
  assert_fits('TripDetail', await get(`/api/v1/trips/${encodeURIComponent(trip)}`));
  mock.world.canceled.clear();
  const skipping = await get(`/api/v1/trips/${encodeURIComponent(trip)}`);
  assert_fits('TripDetail', skipping);
  assert.equal(skipping.trip.stops.find((stop) => stop.stop_id === stop_id).arrival, null);
  mock.world.skipping.clear();
});

test('events begin with the whole', async () => {
  const ending = new AbortController();
  const answer = await fetch(`${address}/events?vehicles=all&stop=PERSE&vehicle=nobody`, { signal: ending.signal });
  const reader = answer.body.getReader();
  let text = '';
  while ((text.match(/\n\n/g) ?? []).length < 3) text += new TextDecoder().decode((await reader.read()).value);
  ending.abort();
  const events = text.split('\n\n').filter(Boolean).map((event) => {
    const fields = Object.fromEntries(event.split('\n').map((line) => line.split(/: (.*)/s)));
    return [fields.event, JSON.parse(fields.data)];
  });
  assert.deepEqual(events.map(([name]) => name), ['stop', 'gone', 'vehicles']);
  assert_fits('Arrivals', events[0][1]);
  assert_fits('GoneEvent', events[1][1]);
  assert_fits('VehiclesEvent', events[2][1]);
  assert.equal(events[2][1].full, true);
});

test('the schema check finds what is wrong', () => {
  const { vehicles } = { vehicles: [{ vehicle_id: 7, colour: 'red' }] };
  const found = violations(description, { $ref: '#/components/schemas/Vehicles' }, { now: 1.5, vehicles });
  assert.ok(found.includes('$.now: 1.5 is not an integer'));
  assert.ok(found.includes('$.vehicles[0].vehicle_id: not a string'));
  assert.ok(found.includes('$.vehicles[0].colour: not in the description'));
  assert.ok(found.includes('$.vehicles[0].status: missing'));
});
