import { useWords } from '../i18n/texts';
import { lateness_class } from '../map/lateness';

/** How late, in words, beside the colour of its class. */
export function LatenessTag({ seconds }: { seconds: number | null }) {
  const words = useWords();
  return (
    <span class={`late-tag late-${lateness_class(seconds)}`}>
      <i aria-hidden="true" />
      {words.lateness(seconds)}
    </span>
  );
}
