#include "evaluate/report_style.h"

namespace qiv {

const char* const report_style = R"css(
:root {
  color-scheme: light dark;
  --page: #f6f7f9; --card: #ffffff; --edge: #e2e6ec; --grid: #e8ebf0;
  --ink: #131a24; --soft: #4a5565; --faint: #667085;
  --c0: #0b63c4; --c1: #667085; --c2: #b45309; --c3: #0f7a52;
  --c4: #7c3aed; --c5: #be2b68; --c6: #7a5c3a; --c7: #0e7490;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #0e131a; --card: #161d27; --edge: #273140; --grid: #253040;
    --ink: #e9eef5; --soft: #b3bfce; --faint: #93a1b3;
    --c0: #6cb2ff; --c1: #9aa8ba; --c2: #f5a657; --c3: #5fd0a0;
    --c4: #b79cff; --c5: #ff8fb8; --c6: #cbb093; --c7: #5fd0e6;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0; background: var(--page); color: var(--ink);
  font: 16px/1.55 system-ui, "Segoe UI", Roboto, "Helvetica Neue", "DejaVu Sans", sans-serif;
  font-variant-numeric: tabular-nums;
}
main, header, footer { max-width: 1120px; margin: 0 auto; padding: 0 24px; }
header { padding-top: 48px; }
.eyebrow { color: var(--faint); margin: 0 0 4px; letter-spacing: .02em; }
h1 { font-size: 34px; line-height: 1.15; margin: 0 0 16px; letter-spacing: -.015em; }
.claim { font-size: 20px; line-height: 1.45; max-width: 54em; margin: 0; }
h2 { font-size: 21px; letter-spacing: -.01em; margin: 0 0 10px; }
h3 { font-size: 16px; margin: 0; }
p { margin: 0 0 12px; }
.about { color: var(--soft); max-width: 62em; margin: -4px 0 16px; }
section, .tile {
  background: var(--card); border: 1px solid var(--edge); border-radius: 14px;
}
section { padding: 24px 26px; margin: 20px 0; }
.tiles {
  display: grid; grid-template-columns: repeat(auto-fit, minmax(165px, 1fr)); gap: 14px;
  margin: 28px 0 0; padding: 0;
}
.tile { padding: 16px 18px; }
.tile dt { color: var(--soft); font-size: 14px; }
.tile dd { margin: 0; }
.tile .value { font-size: 29px; font-weight: 650; letter-spacing: -.02em; line-height: 1.3; }
.tile .value small { font-size: 16px; font-weight: 500; color: var(--soft); letter-spacing: 0; }
.tile .note { font-size: 13px; line-height: 1.4; color: var(--faint); }
figure { margin: 0; }
figcaption { margin-bottom: 8px; }
figcaption p { color: var(--soft); font-size: 14px; margin: 0; }
.pair { display: grid; grid-template-columns: repeat(auto-fit, minmax(420px, 1fr)); gap: 28px; }
.scroll { overflow-x: auto; margin-top: 14px; }
.scroll:focus-visible { outline: 2px solid var(--c0); outline-offset: 2px; }
.command { margin: 16px 0 0; }
table { border-collapse: collapse; font-size: 14px; width: 100%; }
caption { text-align: left; font-weight: 600; padding: 6px 0; }
th, td { padding: 5px 10px; text-align: right; white-space: nowrap; border-top: 1px solid var(--grid); }
thead th { color: var(--soft); font-weight: 500; border-top: 0; border-bottom: 1px solid var(--edge); }
th:first-child { text-align: left; padding-left: 0; font-weight: 500; }
th:last-child, td:last-child { padding-right: 0; }
tr.own th, tr.own td { font-weight: 650; color: var(--c0); }
tr.count th, tr.count td { color: var(--faint); }
details { margin-top: 12px; }
summary { cursor: pointer; color: var(--c0); font-size: 15px; padding: 4px 0; }
summary:focus-visible { outline: 2px solid var(--c0); outline-offset: 3px; border-radius: 4px; }
.facts { display: grid; grid-template-columns: minmax(150px, max-content) 1fr; gap: 5px 22px; margin: 0; font-size: 15px; }
.facts dt { color: var(--soft); }
.facts dd { margin: 0; overflow-wrap: anywhere; }
code { font: 13.5px/1.5 ui-monospace, "SF Mono", Menlo, "DejaVu Sans Mono", monospace; }
footer { color: var(--faint); font-size: 14px; padding-bottom: 48px; }
svg { display: block; width: 100%; height: auto; }
svg text { fill: var(--soft); font-size: 12.5px; }
svg .title { fill: var(--faint); }
svg .label { font-size: 13px; }
svg .label.strong { font-weight: 700; }
svg .end { text-anchor: end; }
svg .middle { text-anchor: middle; }
svg line { stroke: var(--grid); stroke-width: 1; }
svg .axis { stroke: var(--faint); }
svg .level { stroke: var(--faint); stroke-width: 1.5; stroke-dasharray: 2 4; }
svg .line { fill: none; stroke: currentColor; stroke-width: 2; stroke-linejoin: round; stroke-linecap: round; }
svg .line.strong { stroke-width: 3.5; }
svg .dot { fill: currentColor; stroke: var(--card); stroke-width: 1.5; }
svg .bar { fill: currentColor; }
svg .band { fill: currentColor; fill-opacity: .24; }
svg .band.wide { fill-opacity: .07; stroke: currentColor; stroke-opacity: .35; }
svg .moment { fill: var(--card); stroke: currentColor; stroke-width: 2.5; }
svg .timetable { color: var(--faint); stroke: var(--faint); stroke-dasharray: 5 4; stroke-width: 1.5; }
svg .observed { color: var(--ink); stroke: var(--ink); stroke-width: 2; }
svg .observed-dot { fill: var(--ink); }
.c0 { color: var(--c0); } .c1 { color: var(--c1); } .c2 { color: var(--c2); } .c3 { color: var(--c3); }
.c4 { color: var(--c4); } .c5 { color: var(--c5); } .c6 { color: var(--c6); } .c7 { color: var(--c7); }
svg text.c0, svg text.c1, svg text.c2, svg text.c3, svg text.c4, svg text.c5, svg text.c6, svg text.c7 { fill: currentColor; }
@media (max-width: 620px) {
  main, header, footer { padding: 0 12px; }
  header { padding-top: 24px; }
  section { padding: 18px 14px; border-radius: 10px; }
  .pair { grid-template-columns: 1fr; }
  .wide svg { min-width: 760px; }
  h1 { font-size: 27px; }
  .claim { font-size: 17px; }
}
@media print {
  body { background: none; }
  section, .tile { break-inside: avoid; border-color: #ccc; }
}
)css";

}  // namespace qiv
