/** A rectangle on the screen, by its middle. */
export interface Box {
  x: number;
  y: number;
  half_width: number;
  half_height: number;
}

export function overlap(a: Box, b: Box, gap = 0): boolean {
  return Math.abs(a.x - b.x) < a.half_width + b.half_width + gap && Math.abs(a.y - b.y) < a.half_height + b.half_height + gap;
}

export function contains(box: Box, x: number, y: number): boolean {
  return Math.abs(box.x - x) <= box.half_width && Math.abs(box.y - y) <= box.half_height;
}

const sides = [[1, 0], [-1, 0], [0, 1], [0, -1], [1, 1], [-1, 1], [1, -1], [-1, -1]] as const;

/** Where a box of this size stands beside a point, `away` from it: right, left, below, above, then the corners. */
export function beside(x: number, y: number, half_width: number, half_height: number, away: number): Box[] {
  return sides.map(([across, down]) => {
    const gap = across !== 0 && down !== 0 ? away * 0.7 : away;
    return { x: x + across * (gap + half_width), y: y + down * (gap + half_height), half_width, half_height };
  });
}

/** A stop on the screen, with its name in lines. */
export interface StopName {
  id: string;
  x: number;
  y: number;
  lines: string[];
  width: number;
}

export interface PlacedName extends Box {
  id: string;
  lines: string[];
}

/** A long name in two lines, broken at the space nearest to its middle. */
export function lines_of(name: string, most_letters = 16): string[] {
  if (name.length <= most_letters) return [name];
  const middle = name.length / 2;
  const spaces = [...name.matchAll(/ /g)].map((space) => space.index);
  const at = spaces.sort((a, b) => Math.abs(a - middle) - Math.abs(b - middle))[0];
  return at === undefined ? [name] : [name.slice(0, at), name.slice(at + 1)];
}

/**
 * Gives names of stops a side of their stop each, so that none covers another or another stop. One
 * without room is left out. A name keeps its side from one call to the next while it can.
 */
export class NamePlacer {
  private sides = new Map<string, number>();

  place(stops: StopName[], line_height: number, away: number, most: number): PlacedName[] {
    const placed: PlacedName[] = [];
    const before = this.sides;
    this.sides = new Map();
    for (const stop of stops) {
      if (placed.length >= most) break;
      const boxes = beside(stop.x, stop.y, stop.width / 2, (line_height * stop.lines.length) / 2, away);
      const kept = before.get(stop.id);
      const order = [...(kept === undefined ? [] : [kept]), ...boxes.keys()];
      const side = order.find((at) => is_free(boxes[at]!, stop, stops, placed));
      if (side === undefined) continue;
      this.sides.set(stop.id, side);
      placed.push({ ...boxes[side]!, id: stop.id, lines: stop.lines });
    }
    return placed;
  }
}

function is_free(box: Box, own: StopName, stops: StopName[], placed: PlacedName[]): boolean {
  const covers = (stop: StopName) =>
    stop !== own && Math.abs(stop.x - box.x) < box.half_width + 3 && Math.abs(stop.y - box.y) < box.half_height + 2;
  return placed.every((other) => !overlap(box, other, 3)) && !stops.some(covers);
}
