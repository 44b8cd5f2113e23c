import { GeoJSONSource, Map as GlMap, ScaleControl, setWorkerUrl, type PaddingOptions } from 'maplibre-gl';
import type { Feature, FeatureCollection } from 'geojson';
import type { Position } from '../api/types';
import { fleet, type FleetVehicle } from '../state/fleet';
import type { Network } from '../state/network';
import { configured_base_map, map_colours, map_style } from './map_style';
import { contains, overlap, type PlacedName } from './name_placer';
import type { Path } from './path';
import { StopNames } from './stop_names';
import { VehiclePainter, type Mark } from './vehicle_painter';

const frame_ms = 33;
const touch_px = 18;

export interface Chosen {
  vehicle: string | null;
  line: string | null;
  /** The path to stress, and how far along it the vehicle is. */
  path: Path | null;
  passed_m: number;
  stops: string[];
}

export interface MapEvents {
  vehicle: (id: string) => void;
  stop: (id: string) => void;
  ground: () => void;
  moved: (box: [number, number, number, number]) => void;
}

/** The map: shapes and stops by MapLibre, the vehicles on a canvas of their own above it. */
export class NetworkMap {
  private readonly map: GlMap;
  private readonly overlay: HTMLCanvasElement;
  private readonly painter: VehiclePainter;
  private readonly stop_names: StopNames;
  private names: PlacedName[] = [];
  private network: Network | null = null;
  private chosen: Chosen = { vehicle: null, line: null, path: null, passed_m: 0, stops: [] };
  private hovered: string | null = null;
  private marks: Mark[] = [];
  private last_paint_ms = 0;
  private frame = 0;
  private loaded = false;
  private following: string | null = null;

  constructor(
    private readonly container: HTMLElement,
    private readonly events: MapEvents,
    private readonly now_s: () => number,
    private dark: boolean,
    private calm: boolean,
    label: string,
  ) {
    const worker = document.querySelector<HTMLMetaElement>('meta[name="qiv-worker"]')!.content;
    setWorkerUrl(new URL(worker, document.baseURI).href);
    this.map = new GlMap({
      container,
      style: map_style(this.colours, configured_base_map()),
      center: [0, 30], zoom: 1, maxZoom: 18,
      attributionControl: configured_base_map() ? { compact: true } : false,
      dragRotate: false, pitchWithRotate: false, touchPitch: false,
      renderWorldCopies: false,
      locale: { 'Map.Title': label },
      fadeDuration: 0,
    });
    this.map.touchZoomRotate.disableRotation();
    this.map.keyboard.disableRotation();
    this.map.addControl(new ScaleControl({ maxWidth: 110 }), 'bottom-right');
    this.stop_names = new StopNames(this.map);
    this.overlay = document.createElement('canvas');
    this.overlay.className = 'vehicles';
    this.overlay.setAttribute('aria-hidden', 'true');
    this.map.getCanvasContainer().append(this.overlay);
    this.painter = new VehiclePainter(this.overlay.getContext('2d')!);
    this.listen();
    this.frame = requestAnimationFrame(this.tick);
  }

  remove(): void {
    cancelAnimationFrame(this.frame);
    this.map.remove();
  }

  show_network(network: Network): void {
    const first = this.network === null;
    this.network = network;
    if (first) this.fit_network(false);
    this.fill();
  }

  show_dark(dark: boolean): void {
    if (dark === this.dark) return;
    this.dark = dark;
    this.loaded = false;
    this.map.setStyle(map_style(this.colours, configured_base_map()), { diff: false });
  }

  set_calm(calm: boolean): void {
    this.calm = calm;
  }

  choose(chosen: Chosen): void {
    this.chosen = chosen;
    this.fill_chosen();
  }

  /** Keeps this vehicle in view until the reader moves the map. */
  follow(vehicle: string | null): void {
    this.following = vehicle;
  }

  set_padding(padding: PaddingOptions): void {
    this.map.setPadding(padding);
  }

  fit_network(animate = true): void {
    const box = this.network?.geojson.bbox;
    if (!box || box.length !== 4) return;
    this.map.fitBounds(box as [number, number, number, number], { padding: 36, duration: this.duration(animate), maxZoom: 14 });
  }

  fit_places(places: Position[]): void {
    if (places.length === 0) return;
    const lons = places.map((place) => place[0]);
    const lats = places.map((place) => place[1]);
    this.map.fitBounds(
      [Math.min(...lons), Math.min(...lats), Math.max(...lons), Math.max(...lats)],
      { padding: 48, maxZoom: 14, duration: this.duration(true) },
    );
  }

  center_on(place: Position, least_zoom = 12.2): void {
    this.map.easeTo({ center: place, zoom: Math.max(least_zoom, this.map.getZoom()), duration: this.duration(true) });
  }

  zoom_by(steps: number): void {
    this.map.easeTo({ zoom: this.map.getZoom() + steps, duration: this.duration(true) / 2 });
  }

  private get colours() {
    return map_colours[this.dark ? 'dark' : 'light'];
  }

  private duration(animate: boolean): number {
    return animate && !this.calm ? 700 : 0;
  }

  private listen(): void {
    this.map.on('style.load', () => {
      this.loaded = true;
      this.fill();
    });
    this.map.on('render', () => {
      this.names = this.stop_names.paint(this.network, this.colours);
      this.paint(0);
    });
    this.map.on('moveend', () => {
      const box = this.map.getBounds();
      this.events.moved([box.getWest(), box.getSouth(), box.getEast(), box.getNorth()]);
    });
    this.map.on('dragstart', () => (this.following = null));
    this.map.on('click', (event) => {
      const { x, y } = event.point;
      const vehicle = this.vehicle_at(x, y);
      if (vehicle) return this.events.vehicle(vehicle.id);
      const stop = this.stop_at(x, y);
      if (stop) this.events.stop(stop);
      else this.events.ground();
    });
    this.map.on('mousemove', (event) => {
      const { x, y } = event.point;
      this.hovered = this.vehicle_at(x, y)?.id ?? null;
      this.map.getCanvas().style.cursor = this.hovered || this.stop_at(x, y) ? 'pointer' : '';
    });
  }

  private vehicle_at(x: number, y: number): FleetVehicle | null {
    let best: Mark | null = null;
    let best_px = touch_px;
    for (const mark of this.marks) {
      if (mark.badge && contains(mark.badge, x, y)) return mark.vehicle;
      const distance = Math.hypot(mark.x - x, mark.y - y);
      if (distance < best_px) [best, best_px] = [mark, distance];
    }
    return best?.vehicle ?? null;
  }

  private stop_at(x: number, y: number): string | null {
    if (!this.loaded) return null;
    const reach = 9;
    const found = this.map.queryRenderedFeatures(
      [[x - reach, y - reach], [x + reach, y + reach]], { layers: ['stops', 'chosen_stops'] },
    );
    return (found[0]?.properties['stop_id'] as string | undefined) ?? this.names.find((name) => contains(name, x, y))?.id ?? null;
  }

  private source(name: string): GeoJSONSource | undefined {
    return this.loaded ? this.map.getSource<GeoJSONSource>(name) : undefined;
  }

  private fill(): void {
    if (!this.network) return;
    const features = this.network.geojson.features;
    const some = (kind: string) =>
      ({ type: 'FeatureCollection', features: features.filter((f) => f.properties.kind === kind) }) as FeatureCollection;
    this.source('paths')?.setData(some('path'));
    this.source('stops')?.setData(some('stop'));
    this.fill_chosen();
  }

  private fill_chosen(): void {
    const { path, passed_m, stops, line } = this.chosen;
    const lines: Feature[] = [];
    const add = (coordinates: Position[], part: string) =>
      lines.push({ type: 'Feature', geometry: { type: 'LineString', coordinates }, properties: { part } });
    if (path) {
      if (passed_m > 1) add(path.between(0, passed_m), 'passed');
      add(path.between(passed_m, path.length_m), 'ahead');
    } else if (line !== null) {
      for (const feature of this.network?.paths ?? []) {
        if (feature.properties.route_id === line) add(feature.geometry.coordinates, 'ahead');
      }
    }
    this.source('chosen')?.setData({ type: 'FeatureCollection', features: lines });
    const points = stops.flatMap((id) => {
      const stop = this.network?.stops.get(id);
      return stop
        ? [{ type: 'Feature' as const, geometry: { type: 'Point' as const, coordinates: stop.place }, properties: { stop_id: id } }]
        : [];
    });
    this.source('chosen_stops')?.setData({ type: 'FeatureCollection', features: points });
  }

  private readonly tick = (at_ms: number) => {
    this.frame = requestAnimationFrame(this.tick);
    const elapsed_ms = at_ms - this.last_paint_ms;
    if (elapsed_ms < (this.calm ? 1000 : frame_ms)) return;
    this.last_paint_ms = at_ms;
    this.paint(elapsed_ms / 1000);
  };

  private paint(elapsed_s: number): void {
    const { clientWidth: width, clientHeight: height } = this.container;
    const ratio = Math.min(2, window.devicePixelRatio || 1);
    if (this.overlay.width !== Math.round(width * ratio) || this.overlay.height !== Math.round(height * ratio)) {
      this.overlay.width = Math.round(width * ratio);
      this.overlay.height = Math.round(height * ratio);
    }
    const context = this.overlay.getContext('2d')!;
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    context.clearRect(0, 0, width, height);
    if (!this.network) return;
    const now_s = this.now_s();
    const turn = this.map.getBearing();
    this.marks = [];
    let reported = null;
    for (const vehicle of fleet.vehicles.values()) {
      if (!vehicle.motion) continue;
      const shown = this.calm ? vehicle.motion.reported() : vehicle.motion.advance(now_s, elapsed_s);
      const { x, y } = this.map.project(shown.place);
      if (vehicle.id === this.chosen.vehicle) {
        this.overlay.dataset['chosen'] = `${Math.round(x)},${Math.round(y)}`;
        const at = this.map.project(vehicle.motion.reported().place);
        if (Math.hypot(at.x - x, at.y - y) > 14) reported = at;
        if (this.following === vehicle.id) this.keep_in_view(x, y, shown.place);
      }
      if (x < -40 || y < -40 || x > width + 40 || y > height + 40) continue;
      this.marks.push({ vehicle, x, y, bearing_deg: shown.bearing_deg === null ? null : shown.bearing_deg - turn });
    }
    this.overlay.dataset['drawn'] = String(this.marks.length);
    this.painter.paint(this.marks, {
      chosen: this.chosen.vehicle, hovered: this.hovered, line: this.chosen.line,
      ring: this.colours.stop_fill, accent: this.colours.accent, reported, names: this.names,
    });
    this.overlay.dataset['named'] = String(this.names.length);
    const badges = this.marks.flatMap((mark) => mark.badge ?? []);
    this.overlay.dataset['badges'] = String(badges.length);
    this.overlay.dataset['covered'] = String(this.names.filter((name) => badges.some((badge) => overlap(badge, name))).length);
  }

  private keep_in_view(x: number, y: number, place: Position): void {
    if (this.map.isMoving()) return;
    const { clientWidth: width, clientHeight: height } = this.container;
    const pad = this.map.getPadding();
    const margin = 70;
    const inside =
      x > (pad.left ?? 0) + margin && x < width - (pad.right ?? 0) - margin &&
      y > (pad.top ?? 0) + margin && y < height - (pad.bottom ?? 0) - margin;
    if (!inside) this.map.easeTo({ center: place, duration: this.duration(true) });
  }
}
