import { useMemo, useState } from 'preact/hooks';
import type { Score, ScoreBucket, Scores } from '../api/types';
import { useWords, type Words } from '../i18n/texts';
import { useAsked } from '../ui/follow';
import { PanelHead } from './panel_head';
import { ScoreChart } from './score_chart';

const refresh_ms = 15_000;

function name_of(span_s: number, words: Words): string {
  if (span_s === 0) return words.say('since_start');
  if (span_s === 3600) return words.say('last_hour');
  if (span_s === 86400) return words.say('last_day');
  return words.say('last_hours', { n: words.number(Math.round(span_s / 3600)) });
}

/** Whether the agency predicts, so that its error is known in every bucket. */
function has_agency(buckets: ScoreBucket[]): boolean {
  return buckets.length > 0 && buckets.every((bucket) => bucket.agency !== null);
}

/** The mean over all arrivals of something that buckets state as a mean. */
function overall(buckets: ScoreBucket[], of: (bucket: ScoreBucket) => number): number {
  const n = buckets.reduce((sum, bucket) => sum + bucket.n, 0);
  return buckets.reduce((sum, bucket) => sum + bucket.n * of(bucket), 0) / Math.max(1, n);
}

/** How good the forecasts were, beside the timetable and the timetable plus the present delay. */
export function ScoresPanel() {
  const words = useWords();
  const { data } = useAsked<Scores>('/api/v1/scores', refresh_ms);
  const [span, setSpan] = useState<number | null>(null);
  const scores = data?.scores ?? [];
  const score = scores.find((one) => one.span_s === span) ?? scores[0];
  return (
    <>
      <PanelHead kind={words.say('scores_lead')} title={words.say('accuracy')}>
        <div class="segments" role="group" aria-label={words.say('accuracy')}>
          {scores.map((one) => (
            <button key={one.span_s} type="button" aria-pressed={one === score} onClick={() => setSpan(one.span_s)}>
              {name_of(one.span_s, words)}
            </button>
          ))}
        </div>
      </PanelHead>
      {!data && <p class="quiet pad" role="status">{words.say('loading')}</p>}
      {score && <ScoreView score={score} />}
    </>
  );
}

function ScoreView({ score }: { score: Score }) {
  const words = useWords();
  const buckets = useMemo(() => score.buckets.filter((bucket) => bucket.n > 0), [score]);
  const horizons = useMemo(() => buckets.map((bucket) => `${bucket.from_min}–${bucket.to_min}`), [buckets]);
  const errors = useMemo(() => [
    { label: words.say('timetable'), colour: '--chart-2', values: buckets.map((b) => b.timetable_mae_s), dashed: true },
    { label: words.say('timetable_delay'), colour: '--chart-3', values: buckets.map((b) => b.timetable_delay_mae_s) },
    ...(has_agency(buckets)
      ? [{ label: words.say('agency'), colour: '--chart-4', values: buckets.map((b) => b.agency!.mae_s), dashed: true }]
      : []),
    { label: words.say('forecast'), colour: '--chart-1', values: buckets.map((b) => b.mae_s) },
  ], [buckets, words]);
  const shares = useMemo(() => [
    { label: '90', colour: '--chart-4', values: buckets.map(() => 0.9), promise: true },
    { label: '68', colour: '--chart-1', values: buckets.map(() => 0.68), promise: true },
    { label: words.say('band_key_90'), colour: '--chart-4', values: buckets.map((b) => b.coverage_90) },
    { label: words.say('band_key_68'), colour: '--chart-1', values: buckets.map((b) => b.coverage_68) },
  ], [buckets, words]);
  if (buckets.length === 0) return <p class="quiet pad">{words.say('no_scores')}</p>;
  const mine = overall(buckets, (bucket) => bucket.mae_s);
  const other = overall(buckets, (bucket) => bucket.timetable_delay_mae_s);
  const gain = other > 0 ? Math.round((1 - mine / other) * 100) : 0;
  return (
    <>
      <dl class="figures">
        <div><dt>{words.say('mean_error')}</dt><dd>{words.say('seconds', { n: Math.round(mine) })}</dd></div>
        <div><dt>{words.say('coverage')} (90 %)</dt><dd>{words.percent(overall(buckets, (bucket) => bucket.coverage_90), 1)}</dd></div>
        <div><dt>{words.say('eta_score')}</dt><dd>{words.percent(score.eta_score / 100, 1)}</dd></div>
      </dl>
      {has_agency(buckets) && score.agency_eta_score !== null && (
        <dl class="figures" aria-label={words.say('agency')}>
          <div><dt>{words.say('agency')}: {words.say('mean_error')}</dt><dd>{words.say('seconds', { n: Math.round(overall(buckets, (bucket) => bucket.agency!.mae_s)) })}</dd></div>
          <div><dt>{words.say('agency')}: {words.say('eta_score')}</dt><dd>{words.percent(score.agency_eta_score / 100, 1)}</dd></div>
        </dl>
      )}
      <p class="quiet">
        {words.count('scored', score.arrivals)}
        {' · '}
        {words.say(gain >= 0 ? 'better' : 'worse', { n: Math.abs(gain) })}
      </p>
      <ScoreChart label={words.say('mean_error_by')} horizons={horizons} series={errors} from_zero
        format={(value) => words.say('seconds', { n: Math.round(value) })} />
      <ScoreChart label={words.say('coverage_by')} horizons={horizons} series={shares}
        format={(value) => words.percent(value)} height={160} />
      <details class="table-fold">
        <summary>{words.say('as_table')}</summary>
        <ScoreTable buckets={buckets} />
      </details>
    </>
  );
}

function ScoreTable({ buckets }: { buckets: ScoreBucket[] }) {
  const words = useWords();
  const seconds = (value: number) => words.number(Math.round(value));
  return (
    <div class="scroll-x" tabIndex={0} role="region" aria-label={words.say('as_table')}>
      <table>
        <thead>
          <tr>
            <th scope="col">{words.say('horizon')}</th>
            <th scope="col">{words.say('arrivals')}</th>
            <th scope="col">{words.say('forecast')}, s</th>
            {has_agency(buckets) && <th scope="col">{words.say('agency')}, s</th>}
            <th scope="col">{words.say('timetable_delay')}, s</th>
            <th scope="col">{words.say('timetable')}, s</th>
            <th scope="col">68 %</th>
            <th scope="col">90 %</th>
          </tr>
        </thead>
        <tbody>
          {buckets.map((bucket) => (
            <tr key={bucket.from_min}>
              <th scope="row">{bucket.from_min}–{bucket.to_min}</th>
              <td>{words.number(bucket.n)}</td>
              <td>{seconds(bucket.mae_s)}</td>
              {has_agency(buckets) && <td>{seconds(bucket.agency!.mae_s)}</td>}
              <td>{seconds(bucket.timetable_delay_mae_s)}</td>
              <td>{seconds(bucket.timetable_mae_s)}</td>
              <td>{words.percent(bucket.coverage_68, 1)}</td>
              <td>{words.percent(bucket.coverage_90, 1)}</td>
            </tr>
          ))}
        </tbody>
      </table>
    </div>
  );
}
