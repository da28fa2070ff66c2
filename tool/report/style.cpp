// Colours are variables, and each text colour has a contrast of at least 4.5 to its background.
#include "tool/report/style.h"

namespace qex::tool {

const std::string_view kStyleSheet = R"(
:root { color-scheme: light dark; --ground: #ffffff; --panel: #f6f8fa; --text: #1b1f24; --quiet: #57606a;
  --rule: #d0d7de; --link: #0a58ca; --pass: #17692f; --fail: #b3261e; --skip: #7a4d00; --note: #1f5f8b;
  --pass-panel: #e6f4ea; --fail-panel: #fdecea; --skip-panel: #fff4dc; --note-panel: #e5f1f9; }
@media (prefers-color-scheme: dark) { :root { --ground: #10151b; --panel: #19202a; --text: #e6edf3;
  --quiet: #a2afbc; --rule: #39434f; --link: #7ab7ff; --pass: #5fd080; --fail: #ff938a; --skip: #e9b949;
  --note: #7cc4f0; --pass-panel: #12301d; --fail-panel: #3a1917; --skip-panel: #33270d; --note-panel: #12293a; } }
* { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; text-size-adjust: 100%; }
body { margin: 0 auto; padding: 24px 16px 48px; max-width: 1120px; background: var(--ground); color: var(--text);
  font: 15px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
h1, h2, h3, p, td, th, li, summary, .tree div { overflow-wrap: anywhere; }
h1 { margin: 0; font-size: 24px; line-height: 1.25; }
h2 { margin: 0 0 12px; font-size: 20px; line-height: 1.3; }
h3 { margin: 28px 0 10px; font-size: 16px; }
p { margin: 8px 0; }
a { color: var(--link); }
small { display: block; color: var(--quiet); font-size: 12px; font-weight: normal; line-height: 1.35; }
header p, footer, .by, .left-out, .none { color: var(--quiet); }
footer { margin-top: 48px; padding-top: 12px; border-top: 1px solid var(--rule); font-size: 13px; }
section { margin-top: 40px; padding-top: 24px; border-top: 3px solid var(--rule); }
section.contents { border-top: 0; margin-top: 8px; padding-top: 8px; }
.kind-of-file { display: inline-block; margin-left: 8px; padding: 0 8px; border: 1px solid var(--rule);
  border-radius: 4px; color: var(--quiet); font-size: 13px; font-weight: normal; vertical-align: 2px; }
.banner { padding: 12px 16px; border-left: 5px solid var(--note); border-radius: 4px; background: var(--note-panel); }
.banner p { margin: 4px 0 0; }
.banner strong { font-size: 16px; }
.banner.pass { border-color: var(--pass); background: var(--pass-panel); }
.banner.fail { border-color: var(--fail); background: var(--fail-panel); }
.banner.skip { border-color: var(--skip); background: var(--skip-panel); }
.banner.pass strong { color: var(--pass); }
.banner.fail strong { color: var(--fail); }
.banner.skip strong { color: var(--skip); }
.banner.note strong { color: var(--note); }
table { width: 100%; border-collapse: collapse; font-size: 14px; }
td, th { padding: 6px 12px 6px 0; border-bottom: 1px solid var(--rule); text-align: left; vertical-align: top;
  unicode-bidi: isolate; }
thead th { color: var(--quiet); font-size: 12px; font-weight: normal; }
td { overflow: hidden; }
.checks th[scope=row] { width: 36%; }
.checks td:first-child { width: 60px; }
.checks td span { unicode-bidi: isolate; }
.by { font-size: 12px; white-space: nowrap; }
.fields { table-layout: fixed; margin-bottom: 8px; }
.fields th { width: 30%; color: var(--quiet); font-weight: normal; }
.fields th[scope=rowgroup] { width: auto; padding-top: 18px; color: var(--text); font-weight: 600; }
.fields td { font-family: ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; font-size: 13px; }
.fields ul { margin: 0; padding-left: 16px; }
.files td:nth-child(2), .files td:nth-child(3) { white-space: nowrap; color: var(--quiet); }
.verdict { display: inline-block; min-width: 44px; padding: 1px 8px; border-radius: 4px; font-size: 12px;
  font-weight: 600; text-align: center; color: var(--note); background: var(--note-panel); }
.verdict.pass { color: var(--pass); background: var(--pass-panel); }
.verdict.fail { color: var(--fail); background: var(--fail-panel); }
.verdict.skip { color: var(--skip); background: var(--skip-panel); }
svg { display: block; max-width: 100%; font: 13px system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
svg text { fill: var(--text); direction: ltr; unicode-bidi: isolate; }
svg .kind, svg .tick { font-size: 11px; fill: var(--quiet); }
svg .kind { letter-spacing: .02em; }
svg .name, svg .label { font-weight: 600; }
svg .line { font-size: 12px; }
svg .finding { font-size: 12px; }
svg .finding.pass { fill: var(--pass); }
svg .finding.fail { fill: var(--fail); }
svg .finding.skip { fill: var(--skip); }
svg .middle { text-anchor: middle; }
svg .end { text-anchor: end; }
.box { fill: var(--panel); stroke: var(--quiet); }
.box.lacking { fill: var(--ground); stroke-dasharray: 5 4; }
.arrow path { fill: none; stroke: var(--skip); stroke-width: 2; }
.arrow .head { fill: var(--skip); stroke: none; }
.arrow.pass path { stroke: var(--pass); }
.arrow.pass .head { fill: var(--pass); stroke: none; }
.arrow.fail path { stroke: var(--fail); }
.arrow.fail .head { fill: var(--fail); stroke: none; }
.arrow.skip path:first-child { stroke-dasharray: 5 4; }
.times { overflow: hidden; margin-bottom: 12px; }
.times text { paint-order: stroke; stroke: var(--ground); stroke-width: 4px; stroke-linejoin: round; }
.axis { stroke: var(--quiet); }
.bar { stroke: var(--pass); stroke-width: 8; }
.bar.outside { stroke: var(--fail); }
.gentime { stroke: var(--link); stroke-width: 2; }
.now { stroke: var(--quiet); stroke-dasharray: 2 3; }
summary { cursor: pointer; }
.asn1 { margin-top: 28px; }
.asn1 > summary { font-size: 16px; font-weight: 600; }
.tree { margin-top: 8px; font: 12px/1.6 ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; }
.tree details { padding-left: 12px; border-left: 1px solid var(--rule); }
.tree details > div { padding-left: 14px; }
@media screen { section.file { content-visibility: auto; contain-intrinsic-size: auto 3000px; } }
@media (min-width: 900px) {
  .sides { display: grid; grid-template-columns: 352px minmax(0, 1fr); column-gap: 40px; }
}
@media (max-width: 560px) {
  .files thead { display: none; }
  .files td, .files tbody th { display: inline-block; border: 0; padding: 2px 8px 2px 0; }
  .files tbody th { display: block; padding-top: 10px; }
  .files tr { display: block; padding-bottom: 8px; border-bottom: 1px solid var(--rule); }
  .fields th { width: 38%; }
  .checks th[scope=row] { width: 34%; }
}
@media print {
  :root { color-scheme: light; --ground: #ffffff; --panel: #f6f8fa; --text: #000000; --quiet: #444b53;
    --rule: #b6bec7; --link: #0a58ca; --pass: #17692f; --fail: #b3261e; --skip: #7a4d00; --note: #1f5f8b;
    --pass-panel: #e6f4ea; --fail-panel: #fdecea; --skip-panel: #fff4dc; --note-panel: #e5f1f9; }
  body { max-width: none; padding: 0; font-size: 11pt; print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  a { color: inherit; }
  .sides { display: grid; grid-template-columns: 352px minmax(0, 1fr); column-gap: 24px; }
  section { border-top-width: 1px; }
  section + section.file { break-before: page; }
  tr, svg, .banner, .checks { break-inside: avoid; }
  h2, h3 { break-after: avoid; }
  .asn1:not([open]) { display: none; }
}
)";

}  // namespace qex::tool
