import { getJson, segment } from '../api/client';
import type { NetworkGeoJson, PathFeature, Position, Route, Routes, StopFeature } from '../api/types';
import { Path } from '../map/path';
import { Store } from './store';

export interface StopPlace {
  stop_id: string;
  name: string;
  place: Position;
  routes: string[];
}

/** The timetable's shapes, stops and lines, ready for drawing and looking up. */
export class Network {
  readonly routes: Map<string, Route>;
  readonly stops = new Map<string, StopPlace>();
  readonly paths: PathFeature[] = [];
  private readonly by_pattern = new Map<string, PathFeature>();
  private readonly measured = new Map<PathFeature, Path | null>();

  constructor(readonly version: string, readonly geojson: NetworkGeoJson, routes: Routes) {
    this.routes = new Map(routes.routes.map((route) => [route.route_id, route]));
    for (const feature of geojson.features) {
      if (is_path(feature)) {
        this.paths.push(feature);
        for (const pattern of feature.properties.patterns) this.by_pattern.set(pattern, feature);
      } else {
        const { stop_id, name, routes: at } = feature.properties;
        this.stops.set(stop_id, { stop_id, name: name ?? stop_id, place: feature.geometry.coordinates, routes: at });
      }
    }
  }

  /** The path of a journey pattern; null when there is none that could be drawn. */
  path_of(pattern: string | null): Path | null {
    const feature = pattern === null ? undefined : this.by_pattern.get(pattern);
    if (!feature) return null;
    let path = this.measured.get(feature);
    if (path === undefined) {
      const points = feature.geometry.coordinates;
      path = points.length > 1 ? new Path(points) : null;
      this.measured.set(feature, path);
    }
    return path;
  }

  line_name(route_id: string | null): string {
    const route = route_id === null ? undefined : this.routes.get(route_id);
    return route?.short_name ?? route?.long_name ?? route_id ?? '';
  }
}

function is_path(feature: PathFeature | StopFeature): feature is PathFeature {
  return feature.properties.kind === 'path';
}

export const network = new Store<Network | null>(null);

/** Fetches the network of this version, unless it is there. */
export async function load_network(version: string): Promise<void> {
  if (network.get()?.version === version) return;
  const [geojson, routes] = await Promise.all([
    getJson<NetworkGeoJson>(`/api/v1/network?version=${segment(version)}`),
    getJson<Routes>('/api/v1/routes'),
  ]);
  network.set(new Network(version, geojson, routes));
}
