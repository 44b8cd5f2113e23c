import { status } from '../state/live';

const formats = new Map<string, Intl.DateTimeFormat>();

function format(locale: string, zone: string, options: Intl.DateTimeFormatOptions): Intl.DateTimeFormat {
  const key = `${locale} ${zone} ${JSON.stringify(options)}`;
  let made = formats.get(key);
  if (!made) formats.set(key, (made = new Intl.DateTimeFormat(locale, { timeZone: zone, ...options })));
  return made;
}

function zone(): string {
  return status.get()?.network?.time_zone ?? 'UTC';
}

/** Time of day where the vehicles run. */
export function time_of_day(unix_s: number, locale: string): string {
  return format(locale, zone(), { hour: '2-digit', minute: '2-digit', hourCycle: 'h23' }).format(unix_s * 1000);
}

export function time_with_seconds(unix_s: number, locale: string): string {
  return format(locale, zone(), { hour: '2-digit', minute: '2-digit', second: '2-digit', hourCycle: 'h23' })
    .format(unix_s * 1000);
}

export function long_date(unix_s: number, locale: string): string {
  return format(locale, zone(), { weekday: 'long', day: 'numeric', month: 'long' }).format(unix_s * 1000);
}

/** A day of service, YYYYMMDD. */
export function service_day(day: string, locale: string): string {
  const at = Date.UTC(Number(day.slice(0, 4)), Number(day.slice(4, 6)) - 1, Number(day.slice(6, 8)), 12);
  return format(locale, 'UTC', { weekday: 'short', day: 'numeric', month: 'short' }).format(at);
}

/** Whole minutes until then, as a rider counts them: those that are over are left out. */
export function minutes_until(unix_s: number, now_s: number): number {
  return Math.floor((unix_s - now_s) / 60);
}
