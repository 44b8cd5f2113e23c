// The service's answers, made from a world at a moment. Shapes as in /api/v1/openapi.json.

import { chance } from './world.mjs';

export class NotFound extends Error {}

const statuses = ['under_way', 'waiting', 'at_terminus', 'standing', 'off_route', 'detoured', 'no_trip', 'unknown_trip', 'not_in_service', 'stale', 'doubled'];
const states = ['not_begun', 'waiting', 'under_way', 'overdue', 'finished', 'canceled'];

const tally = (names, values) => Object.fromEntries(names.map((name) => [name, values.filter((value) => value === name).length]));

const shown_stop = (stop) => ({ stop_id: stop.stop_id, name: stop.name, lat: stop.place[1], lon: stop.place[0], routes: stop.routes });

export function status(world, now, serial) {
  const vehicles = world.vehicles(now);
  const trips = world.on_display(now).map((run) => world.trip(run, now));
  const { stops, routes, patterns } = world.timetable;
  return {
    city: 'Dublin', version: '1.0.0', serial, now, ready: true, not_ready: null,
    network: {
      network_version: 'dart-2025-1', feed_version: 'reconstructed', time_zone: 'Europe/Dublin',
      stops: stops.size, routes: routes.length, patterns: patterns.size, trips: 423,
      first_day: '20250918', last_day: '20251014',
    },
    vehicles: { total: vehicles.length, by: tally(statuses, vehicles.map((one) => one.status)) },
    trips: { total: trips.length, by: tally(states, trips.map((one) => one.state)) },
    trip_updates: { header_time: now, age_s: 0, trips: trips.length, standing: false, detail: null, withheld: [] },
    counts: {
      positions_taken: 48210 + serial * 20, progress_stored: 39500 + serial * 18, trips_finished: 212, trips_learned: 212,
      archive_failures: 0, archive_losses: 0, cycles: serial, trips_withheld: 0, feeds_withheld: 0, positions_given_up: 0,
    },
    last_cycle_s: 0.004, event_clients: { connected: 1, dropped: 0 }, rejections: [],
  };
}

const healthy = { statements: 0, not_modified: 0, duplicates: 0, out_of_order: 0, empty: 0, time_jumps: 0, rejections: [], detail: null };

export function sources(now, health) {
  const silent_s = { good: 4, stale: 312, failing: 95 }[health];
  const detail = {
    good: null,
    stale: 'The newest vehicle is 312 s old; 120 s are allowed.',
    failing: 'HTTP 503 from the feed, five times in a row; next attempt in 16 s.',
  }[health];
  return {
    now,
    sources: [
      {
        name: 'positions', kind: 'GTFS-realtime over HTTP', health, detail,
        last_success: now - (health === 'failing' ? silent_s : 4), last_failure: health === 'failing' ? now - 9 : null,
        header_time: now - silent_s, newest_entity_time: now - silent_s - 3,
        success_age_s: health === 'failing' ? silent_s : 4, header_age_s: silent_s, entity_age_s: silent_s + 3,
        fetches: 3127, failures: health === 'failing' ? 7 : 2, not_modified: 214, duplicates: 61, out_of_order: 1, empty: 0,
        time_jumps: 0, positions: 48210, statements: 0,
        rejections: [
          { reason: 'without a place', count: 312, first: 'entity E821, 7 October 06:14' },
          { reason: 'older than what was there before', count: 18, first: 'entity E105, 7 October 07:02' },
        ],
      },
      {
        ...healthy, name: 'timetable', kind: 'GTFS from a file', health: 'good', last_success: now - 1520, last_failure: null,
        header_time: null, newest_entity_time: null, success_age_s: 1520, header_age_s: null, entity_age_s: null,
        fetches: 6, failures: 0, not_modified: 5, positions: 0,
      },
    ],
  };
}

export function scores(now) {
  const horizons = [[0, 2], [2, 5], [5, 10], [10, 15], [15, 20], [20, 30], [30, 45]];
  const score = (span_s, arrivals, luck) => ({
    span_s, arrivals, eta_score: 91.4 - luck, agency_eta_score: 84.2 - luck,
    buckets: horizons.map(([from_min, to_min], i) => ({
      from_min, to_min, n: Math.round(arrivals * (0.9 - 0.1 * i)),
      mae_s: 21 + 9.5 * i + luck * i, bias_s: 2.5 - i, coverage_68: 0.671 + 0.012 * Math.sin(i + luck),
      coverage_90: 0.894 + 0.012 * Math.cos(i + luck), timetable_mae_s: 104 + 1.5 * i + 3 * luck,
      timetable_delay_mae_s: 27 + 12.6 * i + luck * i,
      agency: {
        mae_s: 31 + 14 * i + luck, bias_s: -4 + i, own_n: Math.round(arrivals * (0.8 - 0.1 * i)),
        own_mae_s: 29 + 13 * i, forecast_mae_s: 21 + 9 * i,
      },
    })),
  });
  return { now, scores: [score(3600, 612, 1.8), score(86400, 9874, 0.4), score(0, 31200, 0)] };
}

export function changes(world, now) {
  const { timetable, canceled, notices, added } = world;
  const runs = world.runs.filter((run) => canceled.has(run.key) || world.skipping.has(run.key));
  const trips = runs.map((run) => {
    const { trip, trip_id, start_date, route_id, line, color, headsign } = world.head(run, 'not_begun');
    const skipped = run.calls.filter((call) => world.skipping.get(run.key)?.includes(call.stop_id));
    return {
      trip, trip_id, start_date, route_id, line, color, headsign, departure: run.calls[0].scheduled_departure,
      canceled: canceled.has(run.key), contradicted: false,
      skipped_stops: skipped.map((call) => ({
        stop_sequence: call.sequence, stop_id: call.stop_id, stop_name: timetable.stops.get(call.stop_id).name,
      })),
      said_by: 'trip updates', why: 'trip update',
    };
  });
  const not_used = trips.length ? [{ reason: 'trip is not in the timetable', count: 2, first: 'trip E999' }] : [];
  return { now, heard: world.agency_speaks, trips, added, alerts: notices, calls_without_data: 0, not_used };
}

export function network(world) {
  const { stops, patterns, routes } = world.timetable;
  const features = [...patterns.values()].map((pattern) => {
    const route = routes.find((one) => one.route_id === pattern.route_id);
    return {
      type: 'Feature', geometry: { type: 'LineString', coordinates: pattern.path.points },
      properties: {
        kind: 'path', patterns: [pattern.name], route_id: route.route_id, line: route.short_name, color: route.color,
        route_type: route.type, direction_id: pattern.direction_id,
      },
    };
  });
  const used = [...stops.values()].filter((stop) => stop.routes.length > 0);
  const edge = (pick, axis) => pick(...used.map((stop) => stop.place[axis]));
  return {
    type: 'FeatureCollection',
    bbox: [edge(Math.min, 0), edge(Math.min, 1), edge(Math.max, 0), edge(Math.max, 1)],
    features: features.concat(used.map((stop) => ({
      type: 'Feature', geometry: { type: 'Point', coordinates: stop.place },
      properties: { kind: 'stop', stop_id: stop.stop_id, name: stop.name, routes: stop.routes },
    }))),
  };
}

export function stops(world, query, limit) {
  const words = query.toLowerCase().split(/\s+/).filter(Boolean);
  const found = [...world.timetable.stops.values()]
    .filter((stop) => words.every((word) => `${stop.name} ${stop.stop_id}`.toLowerCase().includes(word)));
  return { stops: found.slice(0, limit).map(shown_stop), total: found.length };
}

export const routes = (world) => ({ routes: world.timetable.routes });

export const vehicles = (world, now) => ({ now, vehicles: world.vehicles(now) });

export function vehicle(world, now, id) {
  const found = world.vehicles(now).find((one) => one.vehicle_id === id);
  if (!found) throw new NotFound(`There is no vehicle "${id}"`);
  return { now, vehicle: found, forecast: found.trip ? trip(world, now, found.trip).trip : null };
}

function run_of(world, now, key) {
  const run = world.on_display(now).find((one) => one.key === key);
  if (!run) throw new NotFound(`The trip "${key}" is not on display`);
  return run;
}

export const trip = (world, now, key) => ({ now, trip: world.trip(run_of(world, now, key), now) });

export function arrivals(world, now, stop_id, limit) {
  const stop = world.timetable.stops.get(stop_id);
  if (!stop) throw new NotFound(`There is no stop "${stop_id}"`);
  const rows = [];
  for (const run of world.on_display(now)) {
    const shown = world.trip(run, now);
    const at = shown.stops.findIndex((call) => call.stop_id === stop_id && !call.observed);
    if (at < 0) continue;
    const { offset_m, observed, stop_name, lat, lon, library_lower, library_upper, stop_id: _, ...call } = shown.stops[at];
    rows.push({
      ...world.head(run, shown.state), ...call, stops_before: shown.stops.slice(0, at).filter((one) => !one.observed).length,
      first_stop: at === 0, last_stop: at === shown.stops.length - 1,
    });
  }
  const time = (row) => row.arrival ?? row.scheduled_arrival;
  rows.sort((a, b) => time(a) - time(b));
  return { now, stop: shown_stop(stop), arrivals: rows.slice(0, limit) };
}

/** Earlier weekdays, those most alike weighing most. */
export function why(world, now, key, limit) {
  const run = run_of(world, now, key);
  const base = { trip: key, basis: run.earlier_trips ? 'history' : 'timetable', category: 1, category_text: 'weekdays, morning' };
  if (!run.earlier_trips) return { ...base, reason: 'No earlier trip of this pattern has been seen.', trips: [] };
  const days = ['20251006', '20251003', '20251002', '20251001', '20250930', '20250929', '20250926', '20250924', '20250923', '20250922'];
  const raw = days.map((day, i) => ({ day, weight: chance(key, day) * 0.7 ** i + 0.01 }));
  const sum = raw.reduce((total, one) => total + one.weight, 0) * 1.3;
  const trips = raw.map(({ day, weight }) => ({
    trip: `${run.trip.trip_id}@${day}`, trip_id: run.trip.trip_id, start_date: day, weight: weight / sum, lent: false,
  }));
  return { ...base, reason: null, trips: trips.sort((a, b) => b.weight - a.weight).slice(0, limit) };
}

export const moves = (list) => list.map((one) => ({
  id: one.vehicle_id, s: one.status, t: one.last_report, lat: one.lat, lon: one.lon, b: one.bearing_deg,
  r: one.route_id, late: one.lateness_s,
}));
