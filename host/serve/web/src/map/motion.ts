import type { Position } from '../api/types';
import type { Path } from './path';

const easing_s = 0.7;
const jump_m = 2_500;
const hold_back_m = 400;

/** Where a vehicle was reported, and where it is expected next. */
export interface Course {
  place: Position;
  bearing_deg: number | null;
  /** The path that it follows, with its place there; null: only the place is known. */
  on: { path: Path; offset_m: number } | null;
  reported_s: number;
  /** Its next stop on the path, with the forecast time of arrival there. */
  next: { offset_m: number; arrival_s: number } | null;
}

export interface Shown {
  place: Position;
  bearing_deg: number | null;
}

/**
 * Moves a vehicle between its reports: along its path, to be at its next stop when the forecast says
 * so, and never beyond that stop before a report says so. A new report is approached, not jumped to.
 */
export class Motion {
  private course: Course;
  private offset_m: number | null = null;
  private place: Position;

  constructor(course: Course) {
    this.course = course;
    this.place = course.place;
  }

  report(course: Course): void {
    if (this.course.on?.path !== course.on?.path) this.offset_m = null;
    this.course = course;
  }

  /** The place to show now. `elapsed_s`: real time since the last call; Infinity: no easing. */
  advance(now_s: number, elapsed_s: number): Shown {
    const share = 1 - Math.exp(-elapsed_s / easing_s);
    if (!this.course.on) return this.glide(share);
    const wanted = this.expected_offset(now_s);
    if (this.offset_m === null || Math.abs(wanted - this.offset_m) > jump_m) this.offset_m = wanted;
    const difference = wanted - this.offset_m;
    const backward = difference < 0 && difference > -hold_back_m && elapsed_s !== Infinity;
    if (!backward) this.offset_m += difference * share;
    const shown = this.course.on.path.at(this.offset_m);
    this.place = shown.place;
    return shown;
  }

  /** The reported place, without what is expected since. */
  reported(): Shown {
    const on = this.course.on;
    return on ? on.path.at(on.offset_m) : { place: this.course.place, bearing_deg: this.course.bearing_deg };
  }

  private expected_offset(now_s: number): number {
    const { on, next, reported_s } = this.course;
    const from = on!.offset_m;
    if (!next || next.offset_m <= from) return from;
    const whole_s = Math.max(1, next.arrival_s - reported_s);
    const share = Math.min(1, Math.max(0, (now_s - reported_s) / whole_s));
    return from + (next.offset_m - from) * share;
  }

  private glide(share: number): Shown {
    const [lon, lat] = this.course.place;
    this.place = [this.place[0] + (lon - this.place[0]) * share, this.place[1] + (lat - this.place[1]) * share];
    return { place: this.place, bearing_deg: this.course.bearing_deg };
  }
}
