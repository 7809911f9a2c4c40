#include "report_style.h"

namespace tour {

const char reportStyle[] = R"(:root {
  color-scheme: light dark;
  --paper: #ffffff; --card: #f4f6f9; --ink: #1b1f24; --soft: #57606a; --rule: #d5dae1;
  --link: #0b57b0; --grid: #e3e7ec; --axis: #6a737d; --band: #e6edf7;
  --c0: #1f5fa8; --c1: #c2334a; --c2: #2c7338; --c3: #7a4fb0;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #13161b; --card: #1c2128; --ink: #e4e8ee; --soft: #a3adba; --rule: #343c47;
    --link: #86b9f5; --grid: #2a313b; --axis: #8b95a3; --band: #212d40;
    --c0: #6fb0f5; --c1: #ff8593; --c2: #78cf8b; --c3: #c3a1f2;
  }
}
* { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; text-size-adjust: 100%; }
body {
  margin: 0 auto; padding: 1rem 1rem 4rem; max-width: 46rem; background: var(--paper);
  color: var(--ink); font: 1.0625rem/1.55 system-ui, "Segoe UI", "Noto Sans", sans-serif;
  overflow-wrap: break-word;
}
h1 { font-size: 2rem; line-height: 1.2; margin: 1.5rem 0 0.75rem; }
h2 { font-size: 1.375rem; line-height: 1.3; margin: 0 0 0.75rem; }
section { border-top: 1px solid var(--rule); margin-top: 2.5rem; padding-top: 1.5rem; }
p { margin: 0.6rem 0; }
a { color: var(--link); }
nav ol { columns: 2; column-gap: 2rem; padding-left: 2.1rem; margin: 1.25rem 0; }
nav li { break-inside: avoid; padding: 0.15rem 0; }
ul { padding-left: 1.4rem; margin: 0.6rem 0; }
.scroll { overflow-x: auto; margin: 1rem 0; }
table { border-collapse: collapse; font-size: 0.9375rem; font-variant-numeric: tabular-nums; }
caption { text-align: left; color: var(--soft); padding-bottom: 0.3rem; }
th, td { text-align: left; padding: 0.25rem 1.1rem 0.25rem 0; white-space: nowrap; }
th.number, td.number { text-align: right; }
thead th { border-bottom: 1px solid var(--axis); font-weight: 600; }
tbody td { border-bottom: 1px solid var(--rule); }
pre {
  overflow-x: auto; background: var(--card); padding: 0.75rem 1rem; border-radius: 0.4rem;
  font: 0.875rem/1.5 ui-monospace, "DejaVu Sans Mono", monospace;
}
figure { margin: 1.5rem 0; }
figcaption { color: var(--soft); font-size: 0.9375rem; line-height: 1.45; margin-top: 0.5rem; }
figcaption b { color: var(--ink); }
.tiles { display: grid; grid-template-columns: 1fr 1fr; gap: 1.25rem 1rem; align-items: start; }
.tile { min-width: 0; }
.title { margin: 0 0 0.25rem; font-size: 0.9375rem; font-weight: 600; }
.key { list-style: none; display: flex; flex-wrap: wrap; gap: 0.1rem 1.25rem; padding: 0;
  margin: 0.25rem 0 0.75rem; font-size: 0.9375rem; }
.swatch { width: 1.75rem; height: 0.75rem; margin-right: 0.45rem; }
svg.wide, svg.half { display: block; width: 100%; height: auto; }
svg text { fill: var(--ink); font-size: 13px; }
svg.half text { font-size: 12px; }
svg .left { text-anchor: end; dominant-baseline: central; fill: var(--soft); }
svg text.below { text-anchor: middle; dominant-baseline: hanging; fill: var(--soft); }
svg .name.x { text-anchor: end; }
svg.half text.first { text-anchor: start; } svg.half text.last { text-anchor: end; }
svg.half text.spare { display: none; }
svg text.mark { font-size: 11px; dominant-baseline: central; }
svg path { fill: none; }
.grid { stroke: var(--grid); }
.zero, .axis { stroke: var(--axis); }
path.mark { stroke: var(--axis); stroke-width: 0.8; stroke-dasharray: 3 4; }
.band { fill: var(--band); }
.curve { stroke-width: 1.5; stroke-linejoin: round; vector-effect: non-scaling-stroke; }
.dots { stroke-width: 3.2; stroke-linecap: round; } .points { stroke-width: 6; }
.bars { stroke-width: 1.5; vector-effect: non-scaling-stroke; }
.c0 { stroke: var(--c0); } .c1 { stroke: var(--c1); }
.c2 { stroke: var(--c2); } .c3 { stroke: var(--c3); }
.over { stroke: #ff4d6d; stroke-width: 2; } .over.below { stroke: #000; stroke-width: 4; opacity: 0.6; }
@media (max-width: 40rem) {
  nav ol { columns: 1; }
  .tiles { grid-template-columns: 1fr; gap: 2rem; }
  svg.wide text { font-size: 23px; }
  svg.wide text.mark, svg.wide text.spare { display: none; }
  svg.wide text.first { text-anchor: start; } svg.wide text.last { text-anchor: end; }
}
@media print {
  section, figure { break-inside: avoid; }
}
)";

} // namespace tour
