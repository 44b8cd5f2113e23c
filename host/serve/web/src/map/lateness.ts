// Classes of lateness and their colours, which people with any kind of colour vision can tell apart
// (tests/web/palette_test.mjs). Labels repeat in words and figures what a colour says.

export type LatenessClass = 'early' | 'on_time' | 'late' | 'very_late' | 'lost' | 'unknown';

export interface Shade {
  fill: string;
  ink: string;
}

export const lateness_classes: LatenessClass[] = ['early', 'on_time', 'late', 'very_late', 'lost', 'unknown'];

export const shades: Record<LatenessClass, Shade> = {
  early: { fill: '#68a3f2', ink: '#06203f' },
  on_time: { fill: '#036451', ink: '#ffffff' },
  late: { fill: '#f0af23', ink: '#2b1d00' },
  very_late: { fill: '#ca3310', ink: '#ffffff' },
  lost: { fill: '#912f90', ink: '#ffffff' },
  unknown: { fill: '#abafb5', ink: '#1c242b' },
};

/** From this many seconds of lateness on a class begins. */
export const class_limits_s = { on_time: -60, late: 180, very_late: 360, lost: 900 } as const;

export function lateness_class(lateness_s: number | null): LatenessClass {
  if (lateness_s === null) return 'unknown';
  if (lateness_s < class_limits_s.on_time) return 'early';
  if (lateness_s < class_limits_s.late) return 'on_time';
  if (lateness_s < class_limits_s.very_late) return 'late';
  return lateness_s < class_limits_s.lost ? 'very_late' : 'lost';
}
