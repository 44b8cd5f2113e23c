import { lateness_class, shades } from './lateness';
import { beside, overlap, type Box } from './name_placer';
import type { FleetVehicle } from '../state/fleet';

export interface Mark {
  vehicle: FleetVehicle;
  x: number;
  y: number;
  /** On the screen, clockwise from up. */
  bearing_deg: number | null;
  /** The badge with its line, where there was room for one. */
  badge?: Box | undefined;
}

export interface PaintOptions {
  chosen: string | null;
  hovered: string | null;
  /** Vehicles of other lines are drawn faintly. */
  line: string | null;
  ring: string;
  accent: string;
  /** Where the chosen vehicle was last reported, when that is elsewhere. */
  reported: { x: number; y: number } | null;
  /** What no badge may cover. */
  names: Box[];
}

const font = '600 11.5px "Figtree Variable", system-ui, sans-serif';
const pill_height = 19;
const dot_radius = 6.5;
/** Bounds of the work for labels, however many vehicles there are. */
const most_labelled = 800;
const most_placed = 120;
const widths = new Map<string, number>();

/** Draws the vehicles: dots with a nose for the direction, and badges with the line where there is room. */
export class VehiclePainter {
  private sides = new Map<string, number>();

  constructor(private readonly context: CanvasRenderingContext2D) {}

  paint(marks: Mark[], options: PaintOptions): void {
    this.context.font = font;
    this.context.textAlign = 'center';
    this.context.textBaseline = 'middle';
    if (options.reported) this.paint_reported(options.reported, options);
    const rank = (mark: Mark) =>
      mark.vehicle.id === options.chosen ? 1e9
      : mark.vehicle.id === options.hovered ? 1e8
      : Math.abs(mark.vehicle.lateness_s ?? -1);
    const ranked = marks.map((mark) => ({ mark, rank: rank(mark) })).sort((a, b) => b.rank - a.rank).map(({ mark }) => mark);
    const labels = this.place_labels(ranked, options);
    for (const mark of ranked.reverse()) this.paint_mark(mark, labels.get(mark) ?? '', options);
  }

  /**
   * Which vehicles have room for a badge, on them or beside them: the chosen one first, then the most
   * off their times. A badge beside its vehicle stays on its side while it can.
   */
  private place_labels(ranked: Mark[], options: PaintOptions): Map<Mark, string> {
    const placed: Box[] = [];
    const labels = new Map<Mark, string>();
    const before = this.sides;
    this.sides = new Map();
    for (const mark of ranked.slice(0, most_labelled)) {
      const forced = mark.vehicle.id === options.chosen || mark.vehicle.id === options.hovered;
      if (!forced && (placed.length >= most_placed || mark.vehicle.status === 'stale')) continue;
      const label = label_of(mark.vehicle);
      const half_width = this.half_width_of(label);
      const on = { x: mark.x, y: mark.y, half_width, half_height: pill_height / 2 };
      const boxes = [on, ...beside(mark.x, mark.y, half_width, pill_height / 2, dot_radius + 3)];
      const free = (box: Box, gap: number) =>
        placed.every((other) => !overlap(box, other, 3)) && options.names.every((name) => !overlap(box, name, gap));
      const kept = before.get(mark.vehicle.id) ?? 0;
      // Back onto the vehicle only where there is room to spare, lest the badge jumps to and fro.
      const first = kept !== 0 && !free(on, 8) ? [kept] : [0];
      const at = [...first, ...boxes.keys()].find((side) => free(boxes[side]!, 1)) ?? (forced ? kept : undefined);
      if (at === undefined) continue;
      this.sides.set(mark.vehicle.id, at);
      mark.badge = boxes[at]!;
      placed.push(mark.badge);
      labels.set(mark, label);
    }
    return labels;
  }

  private half_width_of(label: string): number {
    return Math.max(pill_height / 2, this.width_of(label) / 2 + 7);
  }

  private paint_mark(mark: Mark, label: string, options: PaintOptions): void {
    const c = this.context;
    const { vehicle } = mark;
    const chosen = vehicle.id === options.chosen;
    const shade = shades[lateness_class(vehicle.lateness_s)];
    const faint = vehicle.status === 'stale' || (options.line !== null && vehicle.route_id !== options.line && !chosen);
    c.globalAlpha = faint ? 0.4 : 1;
    const badge = label ? mark.badge : undefined;
    const is_on = badge !== undefined && badge.x === mark.x && badge.y === mark.y;
    const half_width = is_on ? badge.half_width : dot_radius;
    const half_height = is_on ? badge.half_height : dot_radius;
    if (chosen) {
      c.fillStyle = options.accent;
      c.globalAlpha = 0.25;
      this.round(mark.x, mark.y, half_width + 8, half_height + 8);
      c.fill();
      c.globalAlpha = 1;
    }
    if (mark.bearing_deg !== null) this.nose(mark, half_width, half_height, shade.fill, options.ring);
    this.disc(mark.x, mark.y, half_width, half_height, shade.fill, options.ring);
    if (badge) {
      if (!is_on) this.disc(badge.x, badge.y, badge.half_width, badge.half_height, shade.fill, options.ring);
      c.fillStyle = shade.ink;
      c.fillText(label, badge.x, badge.y + 0.5);
    }
    c.globalAlpha = 1;
  }

  private disc(x: number, y: number, half_width: number, half_height: number, fill: string, ring: string): void {
    const c = this.context;
    this.round(x, y, half_width, half_height);
    c.fillStyle = fill;
    c.strokeStyle = ring;
    c.lineWidth = 2;
    c.stroke();
    c.fill();
  }

  private nose(mark: Mark, half_width: number, half_height: number, fill: string, ring: string): void {
    const c = this.context;
    const angle = (mark.bearing_deg! * Math.PI) / 180;
    const [dx, dy] = [Math.sin(angle), -Math.cos(angle)];
    // From the middle to the edge of the pill in that direction.
    const reach = Math.min(half_width / Math.max(1e-6, Math.abs(dx)), half_height / Math.max(1e-6, Math.abs(dy)));
    const tip = reach + 7.5;
    const base = reach - 2;
    c.beginPath();
    c.moveTo(mark.x + dx * tip, mark.y + dy * tip);
    c.lineTo(mark.x + dx * base - dy * 5.5, mark.y + dy * base + dx * 5.5);
    c.lineTo(mark.x + dx * base + dy * 5.5, mark.y + dy * base - dx * 5.5);
    c.closePath();
    c.lineJoin = 'round';
    c.lineWidth = 2;
    c.strokeStyle = ring;
    c.stroke();
    c.fillStyle = fill;
    c.fill();
  }

  private paint_reported(at: { x: number; y: number }, options: PaintOptions): void {
    const c = this.context;
    c.setLineDash([3, 3]);
    c.strokeStyle = options.accent;
    c.lineWidth = 1.5;
    c.beginPath();
    c.arc(at.x, at.y, 8, 0, 2 * Math.PI);
    c.stroke();
    c.setLineDash([]);
  }

  private round(x: number, y: number, half_width: number, half_height: number): void {
    this.context.beginPath();
    this.context.roundRect(x - half_width, y - half_height, 2 * half_width, 2 * half_height, half_height);
  }

  private width_of(text: string): number {
    let width = widths.get(text);
    if (width === undefined) {
      width = this.context.measureText(text).width;
      widths.set(text, width);
    }
    return width;
  }
}

const marks_of_status: Partial<Record<FleetVehicle['status'], string>> = {
  standing: '‖', off_route: '↯', detoured: '↷', no_trip: '?', unknown_trip: '?', not_in_service: '–', doubled: '2',
};

/** The line, and the minutes where the vehicle is off its times. */
function label_of(vehicle: FleetVehicle): string {
  const line = vehicle.line.length > 8 ? `${vehicle.line.slice(0, 7)}…` : vehicle.line;
  const odd = marks_of_status[vehicle.status];
  if (odd) return `${line} ${odd}`.trim();
  const kind = lateness_class(vehicle.lateness_s);
  if (kind === 'on_time' || kind === 'unknown') return line || '·';
  const minutes = Math.round(vehicle.lateness_s! / 60);
  return `${line} ${minutes > 0 ? '+' : '−'}${Math.abs(minutes)}`.trim();
}
