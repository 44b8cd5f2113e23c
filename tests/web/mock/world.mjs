// A day that moves: where each vehicle is, and what would be forecast, from a seed and a time alone.

import { place_at } from './timetable.mjs';

const report_every_s = 15;
const shown_before_s = 45 * 60;
const kept_after_s = 240;

/** A number in [0, 1) that depends on the texts alone. */
export function chance(...names) {
  let hash = 2166136261;
  for (const character of names.join('|')) {
    hash = Math.imul(hash ^ character.charCodeAt(0), 16777619);
    hash ^= hash >>> 13;
  }
  hash = Math.imul(hash ^ (hash >>> 15), 2246822507);
  return ((hash ^ (hash >>> 13)) >>> 0) / 2 ** 32;
}

/** When a trip really is at its stops: the timetable and a lateness that wanders. */
function actual_calls(seed, trip) {
  const luck = chance(seed, trip.trip_id);
  let late = luck < 0.12 ? -110 + 40 * luck : luck < 0.5 ? 80 * luck : luck < 0.8 ? 900 * (luck - 0.4) : 420 + 3000 * (luck - 0.8);
  let before = 0;
  return trip.calls.map((call, i) => {
    late += (chance(seed, trip.trip_id, i) - 0.46) * 34;
    const arrival = Math.round(Math.max(before + 20, call.arrival + late));
    const departure = Math.round(Math.max(arrival + 12, call.departure + Math.max(-20, late)));
    before = departure;
    return { ...call, scheduled_arrival: call.arrival, scheduled_departure: call.departure, arrival, departure };
  });
}

function state_of(calls, now_s) {
  if (now_s < calls[0].arrival - 300) return 'not_begun';
  if (now_s < calls[0].departure) return 'waiting';
  return now_s < calls.at(-1).arrival ? 'under_way' : 'finished';
}

function offset_at(calls, time_s) {
  if (time_s <= calls[0].departure) return 0;
  const next = calls.findIndex((call) => time_s < call.arrival);
  if (next < 0) return calls.at(-1).offset_m;
  const before = calls[next - 1];
  if (time_s <= before.departure) return before.offset_m;
  const share = (time_s - before.departure) / (calls[next].arrival - before.departure);
  return before.offset_m + (calls[next].offset_m - before.offset_m) * share;
}

/** Nothing is expected at the stops of a canceled trip. */
const not_made = Object.fromEntries(
  ['arrival', 'departure', 'delay_s', 'lower_68', 'upper_68', 'lower_90', 'upper_90', 'leave_by', 'library_lower', 'library_upper']
    .map((name) => [name, null]),
);

/** The forecast at one stop, as of `made_s`: near the truth, with bounds that widen with the horizon. */
function forecast_call(seed, trip, call, made_s, earlier_trips) {
  const observed = call.departure <= made_s;
  const horizon_s = Math.max(0, call.arrival - made_s);
  const spread_s = observed ? 0 : (10 + 0.045 * horizon_s) * (earlier_trips ? 1 : 2.2);
  const error_s = (chance(seed, trip.trip_id, call.sequence, 'error') - 0.5) * spread_s;
  const shift = (share) => Math.round(call.arrival + error_s + share * spread_s);
  const arrival = shift(0);
  return {
    stop_sequence: call.sequence, stop_id: call.stop_id, offset_m: call.offset_m, observed,
    scheduled_arrival: call.scheduled_arrival, scheduled_departure: call.scheduled_departure, skipped: false,
    arrival, departure: arrival + call.departure - call.arrival, delay_s: arrival - call.scheduled_arrival,
    lower_68: shift(-0.9), upper_68: shift(1.2), lower_90: shift(-1.6), upper_90: shift(2.6),
    leave_by: shift(-1.6), library_lower: shift(-0.6), library_upper: shift(0.6),
  };
}

export class World {
  constructor(timetable, seed) {
    this.timetable = timetable;
    this.runs = timetable.trips.map((trip) => ({
      trip, key: `${trip.trip_id}@${timetable.day}`, calls: actual_calls(seed, trip),
      earlier_trips: chance(seed, trip.trip_id, 'history') < 0.08 ? 0 : 12 + Math.floor(chance(seed, trip.trip_id, 'n') * 140),
      trick: chance(seed, trip.trip_id, 'trick'),
    }));
    this.seed = seed;
    /** The keys of trips that the agency has canceled. */
    this.canceled = new Set();
    /** By key the stops at which a trip does not call. */
    this.skipping = new Map();
    /** The agency's alerts and added trips, as the service's description has them. */
    this.notices = [];
    this.added = [];
    this.agency_speaks = true;
    /** By vehicle what it does instead of what it would: `{ status, reason }`. */
    this.incidents = new Map();
  }

  on_display(now_s) {
    return this.runs.filter(({ calls }) => now_s > calls[0].departure - shown_before_s && now_s < calls.at(-1).arrival + kept_after_s);
  }

  /** A trip with all of its stops. */
  trip(run, now_s) {
    const { trip, calls } = run;
    const canceled = this.canceled.has(run.key);
    const state = canceled ? 'canceled' : state_of(calls, now_s);
    const skipped = this.skipping.get(run.key) ?? [];
    const stops = calls.map((call) => {
      const stop = this.timetable.stops.get(call.stop_id);
      return {
        ...forecast_call(this.seed, trip, call, now_s, run.earlier_trips),
        ...(canceled || skipped.includes(call.stop_id) ? not_made : {}),
        skipped: skipped.includes(call.stop_id),
        stop_name: stop.name, lat: stop.place[1], lon: stop.place[0],
      };
    });
    const reported = this.report_time(run, now_s);
    return {
      ...this.head(run, state),
      made: now_s, position_time: state === 'not_begun' ? null : reported, offset_m: offset_at(calls, reported),
      next_stop: next_stop_of(stops), category: 1, category_text: 'weekdays, morning',
      stops: stops.map(({ observed, ...stop }) => ({ ...stop, observed })),
    };
  }

  head(run, state) {
    const { trip, earlier_trips } = run;
    const route = this.timetable.routes.find((one) => one.route_id === trip.pattern.route_id);
    return {
      trip: run.key, trip_id: trip.trip_id, start_date: this.timetable.day, start_time: null,
      route_id: route.route_id, line: route.short_name, color: route.color, direction_id: trip.pattern.direction_id,
      headsign: trip.headsign, pattern: trip.pattern.name, vehicle_id: ['not_begun', 'canceled'].includes(state) ? null : trip.vehicle_id,
      trip_confidence: state === 'under_way' ? this.confidence_of(run) : null,
      state, basis: earlier_trips ? 'history' : 'timetable', earlier_trips,
      confidence: 1 - 1 / Math.sqrt(earlier_trips + 1),
    };
  }

  /** How sure a trip is that its vehicle does not name; null where it does. */
  confidence_of(run) {
    if (this.incidents.has(run.trip.vehicle_id)) return null;
    return run.trick > 0.95 ? 0.87 : null;
  }

  /** Every vehicle reports at its own beat. */
  report_time(run, now_s) {
    const beat = Math.floor(chance(run.key) * report_every_s);
    return now_s - ((now_s - beat) % report_every_s);
  }

  /** The vehicles that report, each on the last of its trips that has begun. */
  vehicles(now_s) {
    const by_id = new Map();
    for (const run of this.on_display(now_s)) {
      if (state_of(run.calls, now_s) !== 'not_begun') by_id.set(run.trip.vehicle_id, run);
    }
    const all = [...by_id.values()].map((run) => this.vehicle(run, now_s));
    return all.sort((a, b) => (a.vehicle_id < b.vehicle_id ? -1 : 1));
  }

  vehicle(run, now_s) {
    const { status, reason } = this.incidents.get(run.trip.vehicle_id)
      ?? { status: status_of(run, state_of(run.calls, now_s)), reason: null };
    const time = status === 'stale' ? now_s - 700 : this.report_time(run, now_s);
    const offset_m = offset_at(run.calls, time);
    const { place, bearing_deg } = place_at(run.trip.pattern, offset_m);
    const on_trip = ['under_way', 'waiting', 'at_terminus', 'standing', 'detoured', 'stale'].includes(status);
    const confidence = status === 'under_way' ? this.confidence_of(run) : null;
    const trip = this.trip(run, now_s);
    return {
      vehicle_id: run.trip.vehicle_id, status, reason, since: run.calls[0].arrival - 120, last_report: time,
      last_received: Math.min(now_s, time + 4),
      lat: round(place[1] + (status === 'off_route' ? 0.012 : 0)), lon: round(place[0] + (status === 'off_route' ? -0.03 : 0)),
      bearing_deg: Math.round(bearing_deg * 10) / 10, speed_mps: 12.5,
      trip: on_trip ? run.key : null, reported_trip_id: status === 'no_trip' || confidence !== null ? null : run.trip.trip_id,
      trip_confidence: confidence,
      route_id: trip.route_id, line: trip.line, color: trip.color,
      direction_id: on_trip ? trip.direction_id : null, headsign: on_trip ? trip.headsign : null,
      pattern: on_trip ? trip.pattern : null, offset_m: on_trip ? Math.round(offset_m * 10) / 10 : null,
      lateness_s: on_trip ? (trip.next_stop?.delay_s ?? null) : null, next_stop: on_trip ? trip.next_stop : null,
    };
  }
}

const round = (degrees) => Math.round(degrees * 1e6) / 1e6;

function status_of(run, state) {
  if (state === 'finished') return 'at_terminus';
  if (state === 'waiting') return 'waiting';
  if (run.trick < 0.05) return 'off_route';
  if (run.trick < 0.1) return 'no_trip';
  if (run.trick < 0.15) return 'stale';
  return run.trick < 0.17 ? 'standing' : 'under_way';
}

function next_stop_of(stops) {
  const next = stops.find((stop) => !stop.observed && !stop.skipped);
  if (!next || next.arrival === null) return null;
  const { stop_sequence, stop_id, stop_name, arrival, delay_s, lower_90, upper_90 } = next;
  return { stop_sequence, stop_id, stop_name, arrival, delay_s, lower_90, upper_90 };
}
