import { keep, kept_language } from '../state/settings';
import { Store, useStore } from '../state/store';
import { de } from './de';
import { en, type Texts } from './en';
import { es } from './es';
import { fr } from './fr';

export const languages = { en, de, fr, es } as const;
export type Language = keyof typeof languages;

function known(tag: string | null | undefined): Language | null {
  const primary = tag?.slice(0, 2).toLowerCase();
  return primary !== undefined && primary in languages ? (primary as Language) : null;
}

function language_at_start(): Language {
  return known(kept_language) ?? navigator.languages.map(known).find((found) => found !== null) ?? 'en';
}

/** Chosen with the switch, else the browser's first one that the page has. */
export const language = new Store<Language>(language_at_start());

const note_language = () => (document.documentElement.lang = language.get());
language.subscribe(() => {
  keep('language', language.get());
  note_language();
});
note_language();

type Values = Record<string, string | number>;
type Plural = { one: string; other: string };
type PlainKey = { [K in keyof Texts]: Texts[K] extends string ? K : never }[keyof Texts];
type PluralKey = { [K in keyof Texts]: Texts[K] extends Plural ? K : never }[keyof Texts];

function fill(text: string, values?: Values): string {
  return values ? text.replace(/\{(\w+)\}/g, (whole, name: string) => String(values[name] ?? whole)) : text;
}

/** The browser's region of this language, for the form of numbers and times: "en-IE" for "en". */
function locale_of(chosen: Language): string {
  return navigator.languages.find((tag) => tag.toLowerCase().startsWith(chosen)) ?? chosen;
}

export class Words {
  readonly locale: string;
  private readonly plurals: Intl.PluralRules;
  private readonly numbers: Intl.NumberFormat;

  constructor(readonly language: Language) {
    this.locale = locale_of(language);
    this.plurals = new Intl.PluralRules(language);
    this.numbers = new Intl.NumberFormat(this.locale);
  }

  say(key: PlainKey, values?: Values): string {
    return fill(languages[this.language][key], values);
  }

  /** The form for `n` things; {n} in it stands for the number. */
  count(key: PluralKey, n: number): string {
    const forms: Plural = languages[this.language][key];
    return fill(this.plurals.select(n) === 'one' ? forms.one : forms.other, { n: this.number(n) });
  }

  number(n: number): string {
    return this.numbers.format(n);
  }

  percent(share: number, digits = 0): string {
    return new Intl.NumberFormat(this.locale, { style: 'percent', maximumFractionDigits: digits }).format(share);
  }

  /** How long ago, in the largest fitting unit. */
  ago(seconds: number): string {
    const s = Math.max(0, Math.round(seconds));
    if (s < 100) return this.say('seconds_ago', { n: s });
    if (s < 5400) return this.say('minutes_ago', { n: Math.round(s / 60) });
    return this.say('hours_ago', { n: this.number(Math.round(s / 3600)) });
  }

  lateness(seconds: number | null): string {
    if (seconds === null) return this.say('unknown');
    const minutes = Math.round(Math.abs(seconds) / 60);
    if (minutes === 0) return this.say('on_time');
    return this.say(seconds > 0 ? 'minutes_late' : 'minutes_early', { n: minutes });
  }
}

export function useWords(): Words {
  const chosen = useStore(language);
  return words_of(chosen);
}

const made = new Map<Language, Words>();

function words_of(chosen: Language): Words {
  let words = made.get(chosen);
  if (!words) made.set(chosen, (words = new Words(chosen)));
  return words;
}
