import type { Position } from '../api/types';

const metres_per_degree = 111_195;

export interface OnPath {
  offset_m: number;
  distance_m: number;
}

/** A line on the ground with distances along it. */
export class Path {
  private readonly along: number[] = [0];
  private readonly lon_scale: number;

  /** Precondition: at least two points. */
  constructor(readonly points: Position[]) {
    const middle = points[Math.floor(points.length / 2)]!;
    this.lon_scale = Math.cos((middle[1] * Math.PI) / 180);
    for (let i = 1; i < points.length; ++i) {
      const [x, y] = this.metres(points[i - 1]!, points[i]!);
      this.along.push(this.along[i - 1]! + Math.hypot(x, y));
    }
  }

  get length_m(): number {
    return this.along.at(-1)!;
  }

  /** The place at this distance, and the direction there in degrees from north. */
  at(offset_m: number): { place: Position; bearing_deg: number } {
    const offset = Math.min(Math.max(offset_m, 0), this.length_m);
    const i = this.segment_at(offset);
    const from = this.points[i]!;
    const to = this.points[i + 1]!;
    const length = this.along[i + 1]! - this.along[i]!;
    const share = length > 0 ? (offset - this.along[i]!) / length : 0;
    const [x, y] = this.metres(from, to);
    return {
      place: [from[0] + (to[0] - from[0]) * share, from[1] + (to[1] - from[1]) * share],
      bearing_deg: ((Math.atan2(x, y) * 180) / Math.PI + 360) % 360,
    };
  }

  /** The points from one distance to another, both ends included. */
  between(from_m: number, to_m: number): Position[] {
    const inner = this.points.filter((_, i) => this.along[i]! > from_m && this.along[i]! < to_m);
    return [this.at(from_m).place, ...inner, this.at(to_m).place];
  }

  /** The nearest place on the path; of a path that comes by twice, the one near `hint_m`. */
  nearest(place: Position, hint_m: number | null): OnPath {
    let best: OnPath = { offset_m: 0, distance_m: Infinity };
    let best_cost = Infinity;
    for (let i = 0; i + 1 < this.points.length; ++i) {
      const [x, y] = this.metres(this.points[i]!, this.points[i + 1]!);
      const [px, py] = this.metres(this.points[i]!, place);
      const square = x * x + y * y;
      const share = square > 0 ? Math.min(1, Math.max(0, (px * x + py * y) / square)) : 0;
      const distance_m = Math.hypot(px - x * share, py - y * share);
      const offset_m = this.along[i]! + Math.sqrt(square) * share;
      const cost = distance_m + (hint_m === null ? 0 : Math.abs(offset_m - hint_m) / 20);
      if (cost < best_cost) {
        best_cost = cost;
        best = { offset_m, distance_m };
      }
    }
    return best;
  }

  private metres(from: Position, to: Position): [number, number] {
    return [
      (to[0] - from[0]) * metres_per_degree * this.lon_scale,
      (to[1] - from[1]) * metres_per_degree,
    ];
  }

  private segment_at(offset: number): number {
    let low = 0;
    let high = this.along.length - 2;
    while (low < high) {
      const middle = (low + high + 1) >> 1;
      if (this.along[middle]! <= offset) low = middle;
      else high = middle - 1;
    }
    return low;
  }
}
