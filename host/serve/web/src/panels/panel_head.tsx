import type { ComponentChildren } from 'preact';
import { useWords } from '../i18n/texts';
import { select } from '../state/selection';
import { Icon } from '../ui/icons';

interface Props {
  /** What it is, in a word above the title. */
  kind: string;
  title: string;
  badge?: ComponentChildren;
  children?: ComponentChildren;
}

/** The head of whatever the panel shows. Its title takes the focus when the panel opens. */
export function PanelHead({ kind, title, badge, children }: Props) {
  const words = useWords();
  return (
    <header class="panel-head">
      <div class="panel-head-row">
        <p class="eyebrow">{kind}</p>
        <button type="button" class="icon-button" onClick={() => select(null)} aria-label={words.say('close')}>
          <Icon name="close" />
        </button>
      </div>
      <h2 tabIndex={-1} data-panel-title>
        {badge}
        <span>{title}</span>
      </h2>
      {children}
    </header>
  );
}
