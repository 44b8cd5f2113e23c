import type { StopTimes } from '../api/types';
import { useWords } from '../i18n/texts';
import { time_of_day } from './times';

/** What a column of bands has in common: what zero stands for, and seconds from and to. */
export interface BandScale {
  zero: 'scheduled_arrival' | 'arrival';
  from_s: number;
  to_s: number;
}

const least_span_s = 240;
const margin_s = 30;

/** A scale that all of these fit on, and zero too where it is not far from all of them. */
export function band_scale(stops: StopTimes[], zero: BandScale['zero']): BandScale {
  if (stops.length === 0) return { zero, from_s: -least_span_s / 2, to_s: least_span_s / 2 };
  const low = Math.min(...stops.map((stop) => stop.lower_90 - stop[zero]));
  const high = Math.max(...stops.map((stop) => stop.upper_90 - stop[zero]));
  const far_s = Math.max(least_span_s, (high - low) * 1.2);
  const from_s = (low > 0 && high <= far_s ? 0 : low) - margin_s;
  const to_s = (high < 0 && -low <= far_s ? 0 : high) + margin_s;
  const missing = Math.max(0, least_span_s - (to_s - from_s));
  return { zero, from_s: from_s - missing / 2, to_s: to_s + missing / 2 };
}

const has_zero = ({ from_s, to_s }: BandScale) => from_s <= 0 && to_s >= 0;

/** Marks at whole minutes, about five of them. */
export function band_ticks({ from_s, to_s }: BandScale): number[] {
  const minutes = (to_s - from_s) / 60;
  const step = [1, 2, 5, 10, 15, 30, 60, 120].find((size) => minutes / size <= 5.5) ?? 240;
  const first = Math.ceil(from_s / 60 / step) * step;
  const ticks = [];
  for (let minute = first; minute * 60 <= to_s; minute += step) ticks.push(minute);
  return ticks;
}

const percent = (scale: BandScale, seconds: number) =>
  ((Math.min(scale.to_s, Math.max(scale.from_s, seconds)) - scale.from_s) / (scale.to_s - scale.from_s)) * 100;

/** The forecast between its bounds: light 90 %, dark 68 %, a point for the forecast, a line at zero. */
export function Band({ stop, scale }: { stop: StopTimes; scale: BandScale }) {
  const words = useWords();
  const at = (unix_s: number) => percent(scale, unix_s - stop[scale.zero]);
  const time = (unix_s: number) => time_of_day(unix_s, words.locale);
  const span = (low: number, high: number) => ({ left: `${at(low)}%`, width: `${Math.max(1.5, at(high) - at(low))}%` });
  const label = words.say('band_label', {
    time: time(stop.arrival), a: time(stop.lower_68), b: time(stop.upper_68),
    c: time(stop.lower_90), d: time(stop.upper_90), s: time(stop.scheduled_arrival),
  });
  return (
    <span class="band" role="img" aria-label={label} title={label}>
      {has_zero(scale) && <i class="band-zero" style={{ left: `${percent(scale, 0)}%` }} />}
      <i class="band-90" style={span(stop.lower_90, stop.upper_90)} />
      <i class="band-68" style={span(stop.lower_68, stop.upper_68)} />
      <i class="band-point" style={{ left: `${at(stop.arrival)}%` }} />
    </span>
  );
}

export function BandAxis({ scale }: { scale: BandScale }) {
  const words = useWords();
  return (
    <span class="band-axis" aria-hidden="true" title={words.say(scale.zero === 'arrival' ? 'band_axis_forecast' : 'band_axis')}>
      {band_ticks(scale).map((minute) => (
        <i key={minute} style={{ left: `${percent(scale, minute * 60)}%` }}>
          {minute > 0 ? `+${minute}` : minute < 0 ? `−${-minute}` : '0'}
        </i>
      ))}
    </span>
  );
}

export function BandKey({ scale }: { scale: BandScale }) {
  const words = useWords();
  return (
    <p class="band-key" aria-hidden="true">
      <span><i class="key-68" />{words.say('band_key_68')}</span>
      <span><i class="key-90" />{words.say('band_key_90')}</span>
      {has_zero(scale) && (
        <span>
          <i class="key-zero" />
          {words.say(scale.zero === 'arrival' ? 'band_key_forecast' : 'band_key_timetable')}
        </span>
      )}
    </p>
  );
}
