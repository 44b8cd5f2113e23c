import type { Source } from '../api/types';
import { useWords } from '../i18n/texts';
import { sources, status } from '../state/live';
import { useStore } from '../state/store';
import { PanelHead } from './panel_head';
import { Reasons } from './reasons';

const counts = [
  'positions', 'statements', 'fetches', 'failures', 'not_modified', 'duplicates', 'out_of_order', 'empty', 'time_jumps',
] as const;

/** Where the data come from, how fresh they are, and what was not used. */
export function SourcesPanel() {
  const words = useWords();
  const all = useStore(sources);
  const answered = useStore(status) !== null;
  return (
    <>
      <PanelHead kind={words.say('overview')} title={words.say('sources')} />
      {all.length === 0 && <p class="quiet pad">{words.say(answered ? 'no_sources' : 'loading')}</p>}
      {all.map((source) => <SourceCard key={source.name} source={source} />)}
    </>
  );
}

function SourceCard({ source }: { source: Source }) {
  const words = useWords();
  const age = (seconds: number | null) => (seconds === null ? '–' : words.ago(seconds));
  return (
    <section class={`card source health-${source.health}`} aria-label={source.name}>
      <header>
        <div>
          <h3>{source.name}</h3>
          <p class="quiet small">{source.kind}</p>
        </div>
        <span class="health"><i aria-hidden="true" />{words.say(`health_${source.health}`)}</span>
      </header>
      {source.detail && <p class="note">{source.detail}</p>}
      <dl class="ages">
        <div><dt>{words.say('age_success')}</dt><dd>{source.success_age_s === null ? words.say('never') : age(source.success_age_s)}</dd></div>
        <div><dt>{words.say('age_header')}</dt><dd>{age(source.header_age_s)}</dd></div>
        <div><dt>{words.say('age_entity')}</dt><dd>{age(source.entity_age_s)}</dd></div>
      </dl>
      <dl class="counts">
        {counts.filter((name) => name === 'fetches' || source[name] > 0).map((name) => (
          <div key={name}><dt>{words.say(`count_${name}`)}</dt><dd>{words.number(source[name])}</dd></div>
        ))}
      </dl>
      <Reasons reasons={source.rejections} />
    </section>
  );
}
