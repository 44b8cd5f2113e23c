// The answers of the service, as its own description (/api/v1/openapi.json) states them.
// Times are Unix seconds, durations seconds, distances metres.

export type VehicleStatus =
  | 'under_way' | 'waiting' | 'at_terminus' | 'standing' | 'off_route' | 'detoured' | 'no_trip'
  | 'unknown_trip' | 'not_in_service' | 'stale' | 'doubled';

export type TripState = 'not_begun' | 'waiting' | 'under_way' | 'overdue' | 'finished' | 'canceled';
export type Basis = 'history' | 'timetable';
export type Health = 'starting' | 'good' | 'stale' | 'failing' | 'finished';

export interface Stop {
  stop_id: string;
  name: string | null;
  lat: number;
  lon: number;
  routes: string[];
}

export interface Stops { stops: Stop[]; total: number }

export interface Route {
  route_id: string;
  short_name: string | null;
  long_name: string | null;
  type: number;
  color: string | null;
  patterns: string[];
}

export interface Routes { routes: Route[] }

/** What every row that names a trip says of it. */
export interface TripHead {
  trip: string;
  trip_id: string;
  start_date: string;
  start_time: string | null;
  route_id: string | null;
  line: string | null;
  color: string | null;
  direction_id: number | null;
  headsign: string | null;
  pattern: string;
  vehicle_id: string | null;
  /** Of a trip that was found by the vehicle's course. */
  trip_confidence: number | null;
  state: TripState;
  basis: Basis;
  earlier_trips: number;
  confidence: number;
}

/** Times at one stop, with their bounds. */
export interface StopTimes {
  scheduled_arrival: number;
  scheduled_departure: number;
  skipped: boolean;
  arrival: number;
  departure: number;
  delay_s: number;
  lower_68: number;
  upper_68: number;
  lower_90: number;
  upper_90: number;
  leave_by: number;
}

/** A call that is not made, because the trip is canceled or skips the stop: nothing is expected. */
export type NotMade = { [Name in keyof StopTimes]: Name extends 'scheduled_arrival' | 'scheduled_departure' | 'skipped' ? StopTimes[Name] : null };

/** Of a call, or a row of a board, those that are made. */
export type Made<Call> = Call & StopTimes;

export function is_made<Call extends StopTimes | NotMade>(call: Call): call is Made<Call> {
  return call.arrival !== null;
}

export type Arrival = TripHead & (StopTimes | NotMade) & {
  stop_sequence: number;
  stops_before: number;
  first_stop: boolean;
  last_stop: boolean;
};

export interface Arrivals { now: number; stop: Stop; arrivals: Arrival[] }

export interface NextStop {
  stop_sequence: number;
  stop_id: string;
  stop_name: string | null;
  arrival: number;
  delay_s: number;
  lower_90: number;
  upper_90: number;
}

export interface Vehicle {
  vehicle_id: string;
  status: VehicleStatus;
  /** Why it is so, where there is more to say. */
  reason: string | null;
  since: number;
  last_report: number;
  last_received: number;
  lat: number | null;
  lon: number | null;
  bearing_deg: number | null;
  speed_mps: number | null;
  trip: string | null;
  reported_trip_id: string | null;
  /** Of a trip that was assigned by the vehicle's course. */
  trip_confidence: number | null;
  route_id: string | null;
  line: string | null;
  color: string | null;
  direction_id: number | null;
  headsign: string | null;
  pattern: string | null;
  offset_m: number | null;
  lateness_s: number | null;
  next_stop: NextStop | null;
}

export interface Vehicles { now: number; vehicles: Vehicle[] }

export type TripStop = (StopTimes | NotMade) & {
  stop_sequence: number;
  stop_id: string;
  stop_name: string | null;
  lat: number;
  lon: number;
  offset_m: number;
  observed: boolean;
};

export interface Trip extends TripHead {
  made: number;
  position_time: number | null;
  offset_m: number;
  next_stop: NextStop | null;
  category: number;
  category_text: string | null;
  stops: TripStop[];
}

export interface TripDetail { now: number; trip: Trip }
export interface VehicleDetail { now: number; vehicle: Vehicle; forecast: Trip | null }

export interface WeighedTrip { trip: string; trip_id: string; start_date: string; weight: number; lent: boolean }

export interface Why {
  trip: string;
  reason: string | null;
  basis: Basis | null;
  category: number | null;
  category_text: string | null;
  trips: WeighedTrip[];
}

export interface ScoreBucket {
  from_min: number;
  to_min: number;
  n: number;
  mae_s: number;
  bias_s: number;
  coverage_68: number;
  coverage_90: number;
  timetable_mae_s: number;
  timetable_delay_mae_s: number;
  agency: AgencyScore | null;
}

/** How the agency's own predictions fare on the same arrivals. */
export interface AgencyScore {
  mae_s: number;
  bias_s: number;
  own_n: number;
  own_mae_s: number;
  forecast_mae_s: number;
}

export interface Score {
  span_s: number;
  arrivals: number;
  eta_score: number;
  agency_eta_score: number | null;
  buckets: ScoreBucket[];
}
export interface Scores { now: number; scores: Score[] }

export interface Reason { reason: string; count: number; first: string }

export interface Source {
  name: string;
  kind: string;
  health: Health;
  detail: string | null;
  last_success: number | null;
  last_failure: number | null;
  header_time: number | null;
  newest_entity_time: number | null;
  success_age_s: number | null;
  header_age_s: number | null;
  entity_age_s: number | null;
  fetches: number;
  failures: number;
  not_modified: number;
  duplicates: number;
  out_of_order: number;
  empty: number;
  time_jumps: number;
  positions: number;
  statements: number;
  rejections: Reason[];
}

export interface Sources { now: number; sources: Source[] }

export interface NetworkSummary {
  network_version: string;
  feed_version: string | null;
  time_zone: string;
  stops: number;
  routes: number;
  patterns: number;
  trips: number;
}

export interface Status {
  city: string;
  version: string;
  now: number;
  ready: boolean;
  not_ready: string | null;
  network: NetworkSummary | null;
  vehicles: { total: number; by: Record<VehicleStatus, number> };
  trips: { total: number; by: Record<TripState, number> };
  trip_updates: { age_s: number | null; trips: number; standing: boolean; detail: string | null };
}

export type Position = [number, number];

export interface PathFeature {
  type: 'Feature';
  geometry: { type: 'LineString'; coordinates: Position[] };
  properties: {
    kind: 'path';
    patterns: string[];
    route_id: string | null;
    line: string | null;
    color: string | null;
    route_type: number | null;
    direction_id: number | null;
  };
}

export interface StopFeature {
  type: 'Feature';
  geometry: { type: 'Point'; coordinates: Position };
  properties: { kind: 'stop'; stop_id: string; name: string | null; routes: string[] };
}

export interface NetworkGeoJson {
  type: 'FeatureCollection';
  bbox: number[];
  features: (PathFeature | StopFeature)[];
}

/** What the agency says of a trip of the timetable. */
export interface ChangedTrip {
  trip: string;
  trip_id: string;
  start_date: string;
  route_id: string | null;
  line: string | null;
  color: string | null;
  headsign: string | null;
  departure: number | null;
  canceled: boolean;
  /** A vehicle was seen under way on it all the same. */
  contradicted: boolean;
  skipped_stops: { stop_sequence: number; stop_id: string; stop_name: string | null }[];
  said_by: string;
  why: string;
}

/** A trip that the agency runs beside its timetable. */
export interface AddedTrip {
  trip_id: string;
  route_id: string | null;
  start_date: string | null;
  start_time: string | null;
  vehicle_id: string | null;
  stops: number;
  said_by: string;
}

export interface Informed { route_id: string | null; trip_id: string | null; stop_id: string | null }

export interface Alert { alert_id: string; effect: string; header: string | null; informed: Informed[] }

/** How the service differs from the timetable, as the agency says. */
export interface Changes {
  now: number;
  heard: boolean;
  trips: ChangedTrip[];
  added: AddedTrip[];
  alerts: Alert[];
  calls_without_data: number;
  not_used: Reason[];
}

/** A vehicle in an event: what moves, in short names. */
export interface VehicleMove {
  id: string;
  s: VehicleStatus;
  t: number;
  lat: number | null;
  lon: number | null;
  b: number | null;
  r: string | null;
  late: number | null;
}

export interface VehiclesEvent { now: number; full: boolean; vehicles: VehicleMove[]; gone: string[] }
export interface GoneEvent { now: number; topic: 'trip' | 'vehicle'; id: string }
