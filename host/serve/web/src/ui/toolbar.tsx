import { languages, language, useWords, type Language } from '../i18n/texts';
import { clock, connection, ticks } from '../state/live';
import { theme, type Theme } from '../state/settings';
import { useStore } from '../state/store';
import { Icon, type IconName } from './icons';
import { time_with_seconds } from './times';

const next_theme: Record<Theme, Theme> = { auto: 'light', light: 'dark', dark: 'auto' };
const theme_icon: Record<Theme, IconName> = { auto: 'auto', light: 'sun', dark: 'moon' };

/** The service's clock with the state of the connection; language and appearance. */
export function Toolbar() {
  const words = useWords();
  useStore(ticks);
  const state = useStore(connection).kind;
  const chosen = useStore(theme);
  const state_text = words.say(state === 'down' ? 'offline' : state);
  return (
    <div class="toolbar">
      <p class={`clock is-${state}`} title={state_text}>
        <i aria-hidden="true" />
        <span class="clock-state">{state_text}</span>
        <time>{clock.known() ? time_with_seconds(clock.now_s(), words.locale) : '--:--:--'}</time>
      </p>
      <label class="language">
        <Icon name="globe" />
        <span class="unseen">{words.say('choose_language')}</span>
        <select value={words.language} onChange={(event) => language.set(event.currentTarget.value as Language)}>
          {Object.entries(languages).map(([code, texts]) => (
            <option key={code} value={code} lang={code} label={texts.language}>{code.toUpperCase()}</option>
          ))}
        </select>
      </label>
      <button type="button" class="icon-button theme" onClick={() => theme.set(next_theme[chosen])}
        aria-label={`${words.say('theme')}: ${words.say(`theme_${chosen}`)}`} title={words.say(`theme_${chosen}`)}>
        <Icon name={theme_icon[chosen]} />
      </button>
    </div>
  );
}
