import type { ExpressionSpecification, StyleSpecification } from 'maplibre-gl';

export interface MapColours {
  ground: string;
  track: string;
  stop_fill: string;
  stop_ring: string;
  label: string;
  halo: string;
  accent: string;
}

export const map_colours: Record<'light' | 'dark', MapColours> = {
  light: {
    ground: '#eceae4', track: '#56707a', stop_fill: '#ffffff', stop_ring: '#56707a',
    label: '#3c4853', halo: '#eceae4', accent: '#0d5c63',
  },
  dark: {
    ground: '#10151a', track: '#5f7a86', stop_fill: '#10151a', stop_ring: '#8fa6b0',
    label: '#aebac4', halo: '#10151a', accent: '#6fd3c7',
  },
};

export interface BaseMap {
  tiles: string;
  attribution: string;
}

/** The tile address from the configuration, which the service writes into index.html. */
export function configured_base_map(): BaseMap | null {
  const content = (name: string) =>
    document.querySelector<HTMLMetaElement>(`meta[name="${name}"]`)?.content ?? '';
  const tiles = content('qiv-tiles');
  return tiles && !tiles.startsWith('{{') ? { tiles, attribution: content('qiv-tiles-attribution') } : null;
}

const route_colour = (fallback: string): ExpressionSpecification => [
  'case', ['==', ['typeof', ['get', 'color']], 'string'], ['concat', '#', ['get', 'color']], fallback,
];

/** Everything that the map draws but names and vehicles. Nothing in it has an address, but for tiles. */
export function map_style(colours: MapColours, base: BaseMap | null): StyleSpecification {
  const empty = { type: 'geojson' as const, data: { type: 'FeatureCollection' as const, features: [] } };
  const width = (thin: number, thick: number): ExpressionSpecification =>
    ['interpolate', ['exponential', 1.4], ['zoom'], 8, thin, 16, thick];
  return {
    version: 8,
    sources: {
      paths: empty,
      stops: empty,
      chosen: empty,
      chosen_stops: empty,
      ...(base && {
        base: { type: 'raster' as const, tiles: [base.tiles], tileSize: 256, attribution: base.attribution },
      }),
    },
    layers: [
      { id: 'ground', type: 'background', paint: { 'background-color': colours.ground } },
      ...(base
        ? [{ id: 'base', type: 'raster' as const, source: 'base', paint: { 'raster-opacity': 0.55, 'raster-saturation': -0.6 } }]
        : []),
      {
        id: 'paths', type: 'line', source: 'paths',
        layout: { 'line-cap': 'round', 'line-join': 'round' },
        paint: { 'line-color': route_colour(colours.track), 'line-width': width(2, 7), 'line-opacity': 0.5 },
      },
      {
        id: 'chosen', type: 'line', source: 'chosen',
        layout: { 'line-cap': 'round', 'line-join': 'round' },
        paint: {
          'line-color': colours.accent, 'line-width': width(4, 10),
          'line-opacity': ['case', ['==', ['get', 'part'], 'passed'], 0.3, 0.9],
        },
      },
      {
        id: 'stops', type: 'circle', source: 'stops', minzoom: 8.5,
        paint: {
          'circle-radius': width(1.8, 7), 'circle-color': colours.stop_fill,
          'circle-stroke-color': colours.stop_ring, 'circle-stroke-width': width(1, 2.5),
        },
      },
      {
        id: 'chosen_stops', type: 'circle', source: 'chosen_stops',
        paint: {
          'circle-radius': width(3.2, 9), 'circle-color': colours.stop_fill,
          'circle-stroke-color': colours.accent, 'circle-stroke-width': width(1.8, 3.5),
        },
      },
    ],
  };
}
