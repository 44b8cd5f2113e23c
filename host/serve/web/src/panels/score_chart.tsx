import { useEffect, useRef } from 'preact/hooks';
import uPlot from 'uplot';
import { dark } from '../state/settings';
import { useStore } from '../state/store';

export interface Series {
  label: string;
  /** Name of a colour of the page, such as "--accent". */
  colour: string;
  values: (number | null)[];
  dashed?: boolean;
  /** A promise, drawn as a fine line without points. */
  promise?: boolean;
}

interface Props {
  label: string;
  horizons: string[];
  series: Series[];
  format: (value: number) => string;
  from_zero?: boolean;
  height?: number;
}

/** Values by horizon. The same values stand in a table beside it, for those who do not see it. */
export function ScoreChart({ label, horizons, series, format, from_zero, height = 180 }: Props) {
  const box = useRef<HTMLDivElement>(null);
  const is_dark = useStore(dark);
  useEffect(() => {
    const element = box.current!;
    const colour = (name: string) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
    const axis = {
      stroke: colour('--muted'), font: '500 11px "Figtree Variable", system-ui, sans-serif',
      ticks: { show: false }, gap: 6,
    };
    const options: uPlot.Options = {
      width: element.clientWidth, height,
      padding: [10, 12, 0, 0],
      legend: { show: false },
      cursor: { y: false, points: { size: 7 }, drag: { x: false, y: false } },
      scales: {
        x: { time: false, range: [-0.3, horizons.length - 0.7] },
        y: { range: (_, low, high) => [from_zero ? 0 : Math.max(0, low - 0.06), from_zero ? high * 1.12 : 1] },
      },
      axes: [
        { ...axis, grid: { show: false }, size: 30, splits: () => horizons.map((_, i) => i), values: (_, at) => at.map((i) => horizons[i] ?? '') },
        { ...axis, grid: { stroke: colour('--hairline'), width: 1 }, size: 46, values: (_, at) => at.map(format) },
      ],
      series: [
        {},
        ...series.map((one) => ({
          label: one.label, stroke: colour(one.colour), width: one.promise ? 1 : 2.25,
          dash: one.promise ? [2, 4] : one.dashed ? [6, 4] : [],
          points: { show: !one.promise, size: 6, fill: colour(one.colour), stroke: colour(one.colour) },
        })),
      ],
    };
    const plot = new uPlot(options, [horizons.map((_, i) => i), ...series.map((one) => one.values)], element);
    const resize = new ResizeObserver(() => plot.setSize({ width: element.clientWidth, height }));
    resize.observe(element);
    return () => {
      resize.disconnect();
      plot.destroy();
    };
  }, [horizons, series, is_dark, height]);
  return (
    <figure class="chart">
      <figcaption>{label}</figcaption>
      <div ref={box} aria-hidden="true" />
      <ul class="chart-key" aria-hidden="true">
        {series.filter((one) => !one.promise).map((one) => (
          <li key={one.label}><i style={{ borderTopColor: `var(${one.colour})`, borderTopStyle: one.dashed ? 'dashed' : 'solid' }} />{one.label}</li>
        ))}
      </ul>
    </figure>
  );
}
