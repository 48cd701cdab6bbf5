// The look of the report: light and dark by the reader's setting, one column on a phone.
#ifndef VORN_ONU_REPORT_STYLE_H
#define VORN_ONU_REPORT_STYLE_H

namespace vorn_onu {

constexpr const char* kReportStyle = R"css(
:root { color-scheme: light dark;
  --ground:#f6f7f9; --card:#fff; --ink:#1c2430; --soft:#5d6b7e; --line:#dde3ea; --accent:#1a5fd0;
  --uni:#28704a; --uni-bg:#e7f4ec; --pon:#8a4fbf; --pon-bg:#f3ebfa; --bridge:#1759c0; --bridge-bg:#e8f0fd;
  --good:#1a7f4b; --bad:#c4314b; --bad-bg:#fdecef; --warn:#8a5a00; --warn-bg:#fff4dc; --code:#eef1f5; --shade:#8a96a640; }
@media (prefers-color-scheme: dark) { :root {
  --ground:#10151c; --card:#171e27; --ink:#e3e9f0; --soft:#93a1b3; --line:#2a3442; --accent:#6ea8ff;
  --uni:#6fd199; --uni-bg:#16291f; --pon:#c79bf0; --pon-bg:#271c33; --bridge:#7db2ff; --bridge-bg:#172740;
  --good:#56d08a; --bad:#ff7b90; --bad-bg:#341a20; --warn:#f0c264; --warn-bg:#332a14; --code:#202936; --shade:#00000090; } }
* { box-sizing:border-box }
body { margin:0; background:var(--ground); color:var(--ink); font:15px/1.5 system-ui,"Segoe UI",Roboto,"Helvetica Neue",sans-serif }
main { max-width:1120px; margin:0 auto; padding:24px 20px 64px }
header h1 { font-size:26px; line-height:1.25; margin:8px 0 4px }
header p { color:var(--soft); margin:0 0 12px; max-width:75ch }
h2 { font-size:18px; margin:36px 0 12px }
h3 { font-size:15px; margin:0 0 8px }
nav { display:flex; flex-wrap:wrap; gap:4px 18px; margin:18px 0 0; font-size:14px }
a { color:var(--accent); text-decoration:none } a:hover { text-decoration:underline }
.source { color:var(--soft); font-size:13px; font-family:ui-monospace,Consolas,monospace }
.facts { display:flex; flex-wrap:wrap; gap:10px; margin:18px 0 0; padding:0; list-style:none }
.facts li { background:var(--card); border:1px solid var(--line); border-radius:10px; padding:8px 14px; min-width:92px }
.facts b { display:block; font-size:20px; line-height:1.2 }
.facts span { color:var(--soft); font-size:13px }
.facts .good b { color:var(--good) } .facts .bad b { color:var(--bad) }
a:focus-visible, summary:focus-visible, .scroll:focus-visible { outline:2px solid var(--accent); outline-offset:2px; border-radius:4px }
section, ol.steps li { scroll-margin-top:12px }
.card { background:var(--card); border:1px solid var(--line); border-radius:12px; padding:16px; margin:0 0 14px }
.scroll { overflow-x:auto;
  background:linear-gradient(to right,var(--card) 30%,transparent) 0 0/40px 100% no-repeat local,
    linear-gradient(to left,var(--card) 30%,transparent) 100% 0/40px 100% no-repeat local,
    linear-gradient(to right,var(--shade),transparent) 0 0/14px 100% no-repeat scroll,
    linear-gradient(to left,var(--shade),transparent) 100% 0/14px 100% no-repeat scroll }
p.soft { margin:-6px 0 10px; font-size:14px } .card > p.soft { margin-top:0 } p.last { margin:0 } p.wide { display:none }
@media (max-width:990px) { p.wide { display:block } }
table { border-collapse:collapse; width:100%; font-size:14px }
th { text-align:left; font-weight:600; color:var(--soft); font-size:13px; padding:4px 14px 6px 0; white-space:nowrap }
td { padding:5px 14px 5px 0; border-top:1px solid var(--line); vertical-align:top; overflow-wrap:break-word }
td:last-child, th:last-child { padding-right:0 }
td:first-child { white-space:nowrap }
.way th { font-size:12px; letter-spacing:.04em; text-transform:uppercase; padding-top:12px; border-top:1px solid var(--line) }
.stacks { table-layout:fixed } .stacks th:nth-child(1) { width:18% } .defaults th:nth-child(1) { width:28% } .rules th:nth-child(1) { width:15% } .rules th:nth-child(3) { width:27% } .rules th:nth-child(4) { width:11% } .rules th:nth-child(5) { width:7% }
.audit th:nth-child(1) { width:20% } .audit td:first-child { white-space:normal } .audit code { white-space:normal; overflow-wrap:anywhere }
.hop th:nth-child(2) { width:44% } .hop th:nth-child(3) { width:14% }
code, .mono { font-family:ui-monospace,Consolas,monospace; font-size:13px }
code { background:var(--code); border-radius:5px; padding:1px 5px; white-space:nowrap; line-height:1.8 }
.soft { color:var(--soft) }
.chip { display:inline-block; border-radius:99px; padding:1px 9px; font-size:13px; white-space:nowrap }
td .chip { margin:0 4px 4px 0 }
.chip.uni { background:var(--uni-bg); color:var(--uni) } .chip.pon { background:var(--pon-bg); color:var(--pon) }
.chip.bridge { background:var(--bridge-bg); color:var(--bridge) }
.chain, .chain ul { list-style:none; margin:0; padding:0 } .chain { display:flex; flex-wrap:wrap; align-items:center; gap:8px 0; margin:0 0 10px }
.chain > li { display:flex; align-items:center }
.chain > li + li::before { content:""; width:18px; border-top:1.3px solid var(--soft); margin:0 4px }
.chain li li { padding:2px 0; display:flex; flex-wrap:wrap; align-items:center; column-gap:6px } .chain small { color:var(--soft); font-size:13px }
.chain i { width:12px; border-top:1.3px solid var(--soft); margin:0 -3px }
.legend { list-style:none; display:flex; flex-wrap:wrap; gap:4px 18px; margin:12px 0 0; padding:0; font-size:13px; color:var(--soft) }
.legend.words { margin:-4px 0 12px; font-size:14px }
.legend li::before { content:""; display:inline-block; width:12px; height:12px; border-radius:4px; margin-right:6px; vertical-align:-1px; border:1.3px solid currentColor }
.legend .uni::before { color:var(--uni); background:var(--uni-bg) } .legend .bridge::before { color:var(--bridge); background:var(--bridge-bg) }
.legend .pon::before { color:var(--pon); background:var(--pon-bg) } .legend .down::before { border-style:dashed }
.legend .short::before { width:20px; height:0; border-width:1.6px 0 0; border-style:dashed; border-radius:0; vertical-align:4px; color:var(--uni) }
.legend.words li::before { border:0; border-radius:99px; background:currentColor; width:9px; height:9px; vertical-align:1px }
.out { color:var(--good) } .drop { color:var(--warn) } .wrong { color:var(--bad) }
ul.plain { list-style:none; margin:0; padding:0 } ul.plain li { padding:2px 0; overflow-wrap:anywhere }
ol.steps { list-style:none; margin:0; padding:0 }
ol.steps li { display:grid; grid-template-columns:20px 34px 1fr; padding:5px 0; border-top:1px solid var(--line); font-size:14px }
ol.steps li:first-child { border-top:0 } ol.steps li:target { background:var(--warn-bg) }
ol.steps li.heading { display:block; font-weight:600; font-size:15px; padding:14px 0 5px } ol.steps li.heading:first-child { padding-top:0 } .heading h3 { margin:0 }
.number { color:var(--soft) } .name { font-weight:600 } .args, .answer, .effects { color:var(--soft) }
ol.steps div { min-width:0; overflow-wrap:anywhere }
.ok { color:var(--good) } .no { color:var(--bad) }
.fail { background:var(--bad-bg); border-radius:8px; padding:8px 12px; margin:6px 0; white-space:pre-wrap; overflow-wrap:anywhere }
.warn { background:var(--warn-bg); color:var(--warn); border-radius:10px; padding:10px 14px; margin:0 0 10px } .warn h3 { margin:0 }
.warn ul { margin:4px 0 0; padding-left:20px } .warn li { overflow-wrap:anywhere } .warn a { color:inherit; text-decoration:underline }
details.walk { padding:10px 16px; margin:0 0 8px } details.walk[open] > summary { margin-bottom:8px }
details.folded { padding:8px 16px; margin:0 0 6px } details.folded > summary { overflow-wrap:anywhere } details.folded[open] > summary { margin-bottom:10px }
summary { cursor:pointer } summary b { font-weight:600 } .folded > summary b { display:inline-block; min-width:48px } .folded > summary .soft { font-size:14px }
.verdict, .why { display:block; padding-left:16px; font-size:14px } .why { color:var(--soft) }
.tree { white-space:pre; font-family:ui-monospace,Consolas,monospace; color:var(--soft) }
svg { display:block; width:100%; height:auto } svg text { font:13px system-ui,"Segoe UI",Roboto,sans-serif; fill:var(--ink) }
svg .head { fill:var(--soft); font-size:12px } svg .small { font-size:12px; fill:var(--soft) }
svg .uni { fill:var(--uni-bg); stroke:var(--uni) } svg .pon { fill:var(--pon-bg); stroke:var(--pon) }
svg .flow { stroke:var(--uni); fill:none; stroke-width:1.6; stroke-dasharray:6 4 }
svg .bridge { fill:var(--bridge-bg); stroke:var(--bridge) } svg .wire { stroke:var(--soft); fill:none; stroke-width:1.3 }
svg .lane { fill:var(--ground) } svg .off { stroke-dasharray:4 3 }
@media (max-width:600px) { main { padding:14px 12px 48px } header h1 { font-size:21px } .card { padding:12px }
  td:first-child { white-space:normal } table { font-size:13px } td { padding-right:8px }
  .stacks, .stacks tbody, .stacks tr, .stacks td { display:block; width:auto } .stacks thead { position:absolute; clip-path:inset(50%) }
  .stacks tr { border-top:1px solid var(--line); padding:6px 0 } .stacks .way { border-top:0; padding:8px 0 0 } .stacks .way th { display:block; border:0; padding:0 }
  .stacks td { border:0; padding:1px 0 1px 116px; position:relative } .stacks td:first-child { padding-left:0; font-weight:600 }
  .stacks td + td::before { content:attr(data-label); position:absolute; left:0; color:var(--soft) } .defaults td:first-child::before { content:"else " } .stacks .empty { display:none }
  ol.steps li { grid-template-columns:18px 26px 1fr } }
@media print { body { background:#fff } .card { break-inside:avoid } }
)css";

}  // namespace vorn_onu

#endif
