import type { NextStop, Position, Vehicle, VehicleMove, VehicleStatus } from '../api/types';
import { Motion, type Course } from '../map/motion';
import type { Network } from './network';
import { network } from './network';
import { Store } from './store';

const most_off_path_m = 250;
const on_trip: ReadonlySet<VehicleStatus> = new Set(['under_way', 'waiting', 'at_terminus', 'standing']);

/** One vehicle, as the last report and the last full answer describe it. */
export interface FleetVehicle {
  id: string;
  status: VehicleStatus;
  reported_s: number;
  place: Position | null;
  bearing_deg: number | null;
  route_id: string | null;
  lateness_s: number | null;
  /** Whether a full answer has told of it; what follows is from there, and may be a few seconds older. */
  detailed: boolean;
  line: string;
  headsign: string | null;
  pattern: string | null;
  trip: string | null;
  offset_m: number | null;
  next_stop: NextStop | null;
  motion: Motion | null;
}

/** All vehicles by identifier. Told of changes as a whole: `changes` counts them. */
export class Fleet {
  readonly vehicles = new Map<string, FleetVehicle>();
  readonly changes = new Store(0);

  /** A full answer replaces everything, but a vehicle that moves goes on moving. */
  take_all(vehicles: Vehicle[]): void {
    const present = new Set(vehicles.map((vehicle) => vehicle.vehicle_id));
    for (const id of this.vehicles.keys()) if (!present.has(id)) this.vehicles.delete(id);
    this.take_details(vehicles);
  }

  take_details(vehicles: Vehicle[]): void {
    for (const full of vehicles) {
      const known = this.vehicles.get(full.vehicle_id);
      const older = known !== undefined && known.reported_s > full.last_report;
      const details = {
        detailed: true,
        line: full.line ?? network.get()?.line_name(full.route_id) ?? '',
        headsign: full.headsign,
        pattern: full.pattern,
        trip: full.trip,
        offset_m: full.offset_m,
        next_stop: full.next_stop,
      };
      const place: Position | null = full.lon === null || full.lat === null ? null : [full.lon, full.lat];
      const report = {
        status: full.status,
        reported_s: full.last_report,
        place,
        bearing_deg: full.bearing_deg,
        route_id: full.route_id,
        lateness_s: full.lateness_s,
      };
      const vehicle: FleetVehicle = known ?? { id: full.vehicle_id, motion: null, ...report, ...details };
      Object.assign(vehicle, details, older ? {} : report);
      this.keep(vehicle);
    }
    this.tell();
  }

  take_moves(moves: VehicleMove[], gone: string[], full: boolean): void {
    if (full) {
      const present = new Set(moves.map((move) => move.id));
      for (const id of this.vehicles.keys()) if (!present.has(id)) this.vehicles.delete(id);
    }
    for (const id of gone) this.vehicles.delete(id);
    for (const move of moves) this.take_move(move);
    this.tell();
  }

  private take_move(move: VehicleMove): void {
    const report = {
      status: move.s,
      reported_s: move.t,
      place: move.lon === null || move.lat === null ? null : ([move.lon, move.lat] as Position),
      bearing_deg: move.b,
      route_id: move.r,
      lateness_s: move.late,
    };
    const known = this.vehicles.get(move.id);
    const vehicle: FleetVehicle = known ?? {
      id: move.id, motion: null, ...report,
      detailed: false, line: '', headsign: null, pattern: null, trip: null, offset_m: null, next_stop: null,
    };
    Object.assign(vehicle, report);
    if (!vehicle.line) vehicle.line = network.get()?.line_name(move.r) ?? '';
    this.keep(vehicle);
  }

  /** After the network has changed every place on a path is another. */
  replace_courses(): void {
    for (const vehicle of this.vehicles.values()) this.keep(vehicle);
    this.tell();
  }

  private keep(vehicle: FleetVehicle): void {
    this.vehicles.set(vehicle.id, vehicle);
    if (!vehicle.place) {
      vehicle.motion = null;
      return;
    }
    const course = course_of(vehicle, vehicle.place, network.get());
    if (vehicle.motion) vehicle.motion.report(course);
    else vehicle.motion = new Motion(course);
  }

  private tell(): void {
    this.changes.set(this.changes.get() + 1);
  }
}

function course_of(vehicle: FleetVehicle, place: Position, known: Network | null): Course {
  const course: Course = {
    place, bearing_deg: vehicle.bearing_deg, on: null, reported_s: vehicle.reported_s, next: null,
  };
  const path = on_trip.has(vehicle.status) ? known?.path_of(vehicle.pattern) : null;
  if (!path) return course;
  const at = path.nearest(place, vehicle.offset_m);
  if (at.distance_m > most_off_path_m) return course;
  course.on = { path, offset_m: at.offset_m };
  const next = vehicle.next_stop;
  const stop = next && known?.stops.get(next.stop_id);
  if (next && stop && vehicle.status === 'under_way') {
    const ahead = path.nearest(stop.place, Math.max(at.offset_m, vehicle.offset_m ?? 0));
    if (ahead.offset_m > at.offset_m) course.next = { offset_m: ahead.offset_m, arrival_s: next.arrival };
  }
  return course;
}

export const fleet = new Fleet();
