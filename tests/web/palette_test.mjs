// The colours of lateness can be told apart with every kind of colour vision. Simulation of the
// dichromacies: G. M. Machado, M. M. Oliveira, L. A. F. Fernandes, A Physiologically-based Model for
// Simulation of Color Vision Deficiency, 2009, at full severity. Distance: CIE 1976 L*a*b*.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

const source = readFileSync(new URL('../../host/serve/web/src/map/lateness.ts', import.meta.url), 'utf8');
const styles = readFileSync(new URL('../../host/serve/web/src/styles/tokens.css', import.meta.url), 'utf8');
const shades = [...source.matchAll(/(\w+): \{ fill: '(#\w{6})', ink: '(#\w{6})' \}/g)]
  .map(([, name, fill, ink]) => ({ name, fill, ink }));

const visions = {
  all: [1, 0, 0, 0, 1, 0, 0, 0, 1],
  protanopia: [0.152286, 1.052583, -0.204868, 0.114503, 0.786281, 0.099216, -0.003882, -0.048116, 1.051998],
  deuteranopia: [0.367322, 0.860646, -0.227968, 0.280085, 0.672501, 0.047413, -0.01182, 0.04294, 0.968881],
  tritanopia: [1.255528, -0.076749, -0.178779, -0.078411, 0.930809, 0.147602, 0.004733, 0.691367, 0.3039],
};

const linear = (hex) => [1, 3, 5].map((at) => parseInt(hex.slice(at, at + 2), 16) / 255)
  .map((v) => (v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4));
const times = (m, [a, b, c]) => [0, 3, 6].map((row) => m[row] * a + m[row + 1] * b + m[row + 2] * c);
const luminance = (rgb) => 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];

function lab(rgb) {
  const xyz = times([0.4124, 0.3576, 0.1805, 0.2126, 0.7152, 0.0722, 0.0193, 0.1192, 0.9505], rgb.map((v) => Math.min(1, Math.max(0, v))));
  const [x, y, z] = [xyz[0] / 0.9505, xyz[1], xyz[2] / 1.089].map((t) => (t > 0.008856 ? Math.cbrt(t) : 7.787 * t + 16 / 116));
  return [116 * y - 16, 500 * (x - y), 200 * (y - z)];
}

const distance = (a, b) => Math.hypot(...a.map((v, i) => v - b[i]));

function contrast(a, b) {
  const [low, high] = [luminance(linear(a)), luminance(linear(b))].sort((x, y) => x - y);
  return (high + 0.05) / (low + 0.05);
}

for (const [vision, matrix] of Object.entries(visions)) {
  test(`colours of lateness are far apart: ${vision}`, () => {
    assert.equal(shades.length, 6);
    for (const [i, a] of shades.entries()) {
      for (const b of shades.slice(i + 1)) {
        const apart = distance(...[a, b].map(({ fill }) => lab(times(matrix, linear(fill)))));
        assert.ok(apart > 25, `${a.name} and ${b.name}: ${apart.toFixed(1)}`);
      }
    }
  });
}

test('what stands on a colour can be read', () => {
  for (const { name, fill, ink } of shades) {
    assert.ok(contrast(fill, ink) >= 3, `${name}: ${contrast(fill, ink).toFixed(2)}`);
  }
});

test('the legend has the colours of the map', () => {
  for (const { name, fill } of shades) assert.match(styles, new RegExp(`--late-${name}: ${fill};`));
});
