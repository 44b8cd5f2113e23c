// The bundled timetable of Dublin's suburban trains, as far as the page needs it.

import { readFileSync } from 'node:fs';
import { read_table, read_zip } from './zip.mjs';

const metres_per_degree = 111_195;

export function distance_m([lon_a, lat_a], [lon_b, lat_b]) {
  const scale = Math.cos((lat_a * Math.PI) / 180);
  return Math.hypot((lon_b - lon_a) * scale, lat_b - lat_a) * metres_per_degree;
}

const seconds_of = (text) => text.split(':').reduce((sum, part) => sum * 60 + Number(part), 0);

/** A line of points with the distance of each from the first. */
function measured(points) {
  const along = [0];
  for (let i = 1; i < points.length; i += 1) along.push(along[i - 1] + distance_m(points[i - 1], points[i]));
  return { points, along };
}

/**
 * Stops, routes, patterns, and the trips of one day of service.
 * `midnight_s`: Unix seconds from which the day's times count.
 */
export function read_timetable(gtfs_zip, day, midnight_s) {
  const files = read_zip(readFileSync(gtfs_zip));
  const table = (name) => read_table(files.get(name));
  const running = new Set(
    table('calendar_dates.txt').filter((row) => row.date === day && row.exception_type === '1').map((row) => row.service_id),
  );
  const stops = new Map(table('stops.txt').map((row) => [row.stop_id, {
    stop_id: row.stop_id, name: row.stop_name, place: [Number(row.stop_lon), Number(row.stop_lat)], routes: [],
  }]));
  const shapes = new Map();
  for (const row of table('shapes.txt')) {
    if (!shapes.has(row.shape_id)) shapes.set(row.shape_id, []);
    shapes.get(row.shape_id).push([Number(row.shape_pt_lon), Number(row.shape_pt_lat)]);
  }
  const calls = new Map();
  for (const row of table('stop_times.txt')) {
    if (!calls.has(row.trip_id)) calls.set(row.trip_id, []);
    calls.get(row.trip_id).push({
      stop_id: row.stop_id, sequence: Number(row.stop_sequence), offset_m: Number(row.shape_dist_traveled),
      arrival: midnight_s + seconds_of(row.arrival_time), departure: midnight_s + seconds_of(row.departure_time),
    });
  }
  const routes = table('routes.txt').map((row) => ({
    route_id: row.route_id, short_name: row.route_short_name, long_name: row.route_long_name,
    type: Number(row.route_type), color: row.route_color || null, patterns: [],
  }));
  const patterns = new Map();
  const trips = [];
  for (const row of table('trips.txt')) {
    const at = calls.get(row.trip_id);
    const name = `${row.route_id}/${row.direction_id}/${row.shape_id}/${at.length}`;
    if (!patterns.has(name)) patterns.set(name, pattern_of(name, row, at, shapes.get(row.shape_id)));
    const pattern = patterns.get(name);
    pattern.trips += 1;
    if (running.has(row.service_id)) {
      trips.push({ trip_id: row.trip_id, vehicle_id: row.trip_short_name, headsign: row.trip_headsign, pattern, calls: at });
    }
  }
  for (const pattern of patterns.values()) {
    const route = routes.find((one) => one.route_id === pattern.route_id);
    route.patterns.push(pattern.name);
    for (const call of pattern.calls) {
      const at = stops.get(call.stop_id);
      if (!at.routes.includes(route.route_id)) at.routes.push(route.route_id);
    }
  }
  return { stops, routes, patterns, trips, day };
}

function pattern_of(name, row, calls, points) {
  return {
    name, route_id: row.route_id, direction_id: Number(row.direction_id), headsign: row.trip_headsign,
    path: measured(points), length_m: calls.at(-1).offset_m, trips: 0,
    calls: calls.map(({ stop_id, offset_m }) => ({ stop_id, offset_m })),
  };
}

/** The place at this distance along a pattern, and the direction there. */
export function place_at(pattern, offset_m) {
  const { points, along } = pattern.path;
  const offset = Math.min(Math.max(offset_m / pattern.length_m, 0), 1) * along.at(-1);
  let i = 0;
  while (i + 2 < points.length && along[i + 1] <= offset) i += 1;
  const share = Math.min(1, (offset - along[i]) / Math.max(1, along[i + 1] - along[i]));
  const [from, to] = [points[i], points[i + 1]];
  const east = (to[0] - from[0]) * Math.cos((from[1] * Math.PI) / 180);
  return {
    place: [from[0] + (to[0] - from[0]) * share, from[1] + (to[1] - from[1]) * share],
    bearing_deg: ((Math.atan2(east, to[1] - from[1]) * 180) / Math.PI + 360) % 360,
  };
}
