interface Props {
  line: string | null;
  color: string | null;
}

/** Black or white, whichever stands out more on this colour. */
function ink_on(color: string): string {
  const [r, g, b] = [0, 2, 4].map((at) => parseInt(color.slice(at, at + 2), 16) / 255) as [number, number, number];
  const linear = (v: number) => (v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
  return 0.2126 * linear(r) + 0.7152 * linear(g) + 0.0722 * linear(b) > 0.22 ? '#10151a' : '#ffffff';
}

export function LineBadge({ line, color }: Props) {
  if (!line) return null;
  const valid = color !== null && /^[0-9a-f]{6}$/i.test(color);
  const style = valid ? { backgroundColor: `#${color}`, color: ink_on(color) } : undefined;
  return <span class="line-badge" style={style}>{line}</span>;
}
