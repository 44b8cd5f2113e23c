import type { Map as GlMap } from 'maplibre-gl';
import type { Network, StopPlace } from '../state/network';
import type { MapColours } from './map_style';
import { lines_of, NamePlacer, type PlacedName, type StopName } from './name_placer';

const least_zoom = 9.4;
/** Bounds of the work, however many stops there are. */
const most_tried = 600;
const most_placed = 160;

/** The names of the stops in view, on a canvas of their own: where they are is known to the badges. */
export class StopNames {
  private readonly canvas = document.createElement('canvas');
  private readonly placer = new NamePlacer();
  private readonly widths = new Map<string, number>();
  private names: PlacedName[] = [];
  private painted = '';

  constructor(private readonly map: GlMap) {
    this.canvas.className = 'names';
    this.canvas.setAttribute('aria-hidden', 'true');
    map.getCanvasContainer().append(this.canvas);
    // Until the typeface is there another stands in, with other widths.
    void document.fonts.ready.then(() => {
      this.widths.clear();
      this.painted = '';
      map.triggerRepaint();
    });
  }

  /** Paints them where what is in view has changed. Returns where they are. */
  paint(network: Network | null, colours: MapColours): PlacedName[] {
    const { clientWidth: width, clientHeight: height } = this.map.getContainer();
    const ratio = Math.min(2, window.devicePixelRatio || 1);
    const { lng, lat } = this.map.getCenter();
    const view = [network?.version, lng, lat, this.map.getZoom(), width, height, ratio, colours.label].join(' ');
    if (view === this.painted) return this.names;
    this.painted = view;
    this.canvas.width = Math.round(width * ratio);
    this.canvas.height = Math.round(height * ratio);
    const context = this.canvas.getContext('2d')!;
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    const zoom = this.map.getZoom();
    if (!network || zoom < least_zoom) return (this.names = []);
    const size = Math.round(2 * Math.min(14, Math.max(11, 11 + ((zoom - 10) * 3) / 5))) / 2;
    context.font = `500 ${size}px "Figtree Variable", system-ui, sans-serif`;
    this.names = this.placer.place(this.in_view(network, context, size), size * 1.2, size * 0.75 + 2, most_placed);
    this.draw(context, size * 1.2, colours);
    return this.names;
  }

  /** The stops on the screen, those of many lines first. */
  private in_view(network: Network, context: CanvasRenderingContext2D, size: number): StopName[] {
    const bounds = this.map.getBounds();
    const shown = [...network.stops.values()].filter((stop) => bounds.contains(stop.place));
    shown.sort((a, b) => b.routes.length - a.routes.length);
    return shown.slice(0, most_tried).map((stop) => this.measured(stop, context, size));
  }

  private measured(stop: StopPlace, context: CanvasRenderingContext2D, size: number): StopName {
    const { x, y } = this.map.project(stop.place);
    const lines = lines_of(stop.name);
    const key = `${size} ${stop.name}`;
    let width = this.widths.get(key);
    if (width === undefined) {
      width = Math.max(...lines.map((line) => context.measureText(line).width));
      if (this.widths.size > 20_000) this.widths.clear();
      this.widths.set(key, width);
    }
    return { id: stop.stop_id, x, y, lines, width };
  }

  private draw(context: CanvasRenderingContext2D, line_height: number, colours: MapColours): void {
    context.textAlign = 'center';
    context.textBaseline = 'middle';
    context.lineJoin = 'round';
    context.lineWidth = 3.2;
    context.strokeStyle = colours.halo;
    context.fillStyle = colours.label;
    for (const name of this.names) {
      name.lines.forEach((line, i) => {
        const y = name.y + (i - (name.lines.length - 1) / 2) * line_height;
        context.strokeText(line, name.x, y);
        context.fillText(line, name.x, y);
      });
    }
  }
}
