import type { Reason } from '../api/types';
import { useWords } from '../i18n/texts';

/** What was not used, and why: folded, for those who look after the feeds. */
export function Reasons({ reasons }: { reasons: Reason[] }) {
  const words = useWords();
  if (reasons.length === 0) return null;
  return (
    <details class="table-fold">
      <summary>{words.say('not_used')} · {words.number(reasons.reduce((sum, one) => sum + one.count, 0))}</summary>
      <ul class="reasons">
        {reasons.map((one) => (
          <li key={one.reason}><b>{words.number(one.count)}</b><span>{one.reason}<small>{one.first}</small></span></li>
        ))}
      </ul>
    </details>
  );
}
