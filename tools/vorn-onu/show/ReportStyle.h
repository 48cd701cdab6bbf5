// The look of the report: light and dark by the reader's setting, one column on a phone.
#ifndef VORN_ONU_REPORT_STYLE_H
#define VORN_ONU_REPORT_STYLE_H

namespace vorn_onu {

constexpr const char* kReportStyle = R"css(
:root { color-scheme: light dark;
  --ground:#f6f7f9; --card:#fff; --ink:#1c2430; --soft:#5d6b7e; --line:#dde3ea; --accent:#1f6feb;
  --uni:#2f7d4f; --uni-bg:#e7f4ec; --pon:#8a4fbf; --pon-bg:#f3ebfa; --bridge:#1f6feb; --bridge-bg:#e8f0fd;
  --good:#1a7f4b; --bad:#c4314b; --bad-bg:#fdecef; --warn:#8a5a00; --warn-bg:#fff4dc; --code:#eef1f5; }
@media (prefers-color-scheme: dark) { :root {
  --ground:#10151c; --card:#171e27; --ink:#e3e9f0; --soft:#93a1b3; --line:#2a3442; --accent:#6ea8ff;
  --uni:#6fd199; --uni-bg:#16291f; --pon:#c79bf0; --pon-bg:#271c33; --bridge:#7db2ff; --bridge-bg:#172740;
  --good:#56d08a; --bad:#ff7b90; --bad-bg:#341a20; --warn:#f0c264; --warn-bg:#332a14; --code:#202936; } }
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
.card { background:var(--card); border:1px solid var(--line); border-radius:12px; padding:16px; margin:0 0 14px }
.scroll { overflow-x:auto }
p.soft { margin:-6px 0 10px; font-size:14px }
table { border-collapse:collapse; width:100%; font-size:14px }
th { text-align:left; font-weight:600; color:var(--soft); font-size:13px; padding:4px 14px 6px 0; white-space:nowrap }
td { padding:5px 14px 5px 0; border-top:1px solid var(--line); vertical-align:top }
td:last-child, th:last-child { padding-right:0 }
td:first-child { white-space:nowrap }
.way td { color:var(--soft); font-size:12px; font-weight:600; letter-spacing:.04em; text-transform:uppercase; padding-top:10px }
code, .mono { font-family:ui-monospace,Consolas,monospace; font-size:13px }
code { background:var(--code); border-radius:5px; padding:1px 5px; white-space:nowrap; line-height:1.8 }
.soft { color:var(--soft) }
.chip { display:inline-block; border-radius:99px; padding:1px 9px; font-size:12.5px; margin:0 4px 4px 0; white-space:nowrap }
.chip.uni { background:var(--uni-bg); color:var(--uni) } .chip.pon { background:var(--pon-bg); color:var(--pon) }
.chip.bridge { background:var(--bridge-bg); color:var(--bridge) }
.chain { margin:0 0 6px } .chain .chip + .chip { margin-left:14px; position:relative }
.chain .chip + .chip::before { content:""; position:absolute; left:-17px; top:50%; width:16px; border-top:1.3px solid var(--soft) }
ul.plain { list-style:none; margin:0; padding:0 } ul.plain li { padding:2px 0; overflow-wrap:anywhere }
ol.steps { list-style:none; margin:0; padding:0 }
ol.steps li { display:grid; grid-template-columns:20px 34px 1fr; padding:5px 0; border-top:1px solid var(--line); font-size:14px }
ol.steps li:first-child { border-top:0 }
ol.steps li.heading { display:block; font-weight:600; font-size:15px; padding:14px 0 5px } ol.steps li.heading:first-child { padding-top:0 }
.number { color:var(--soft) } .name { font-weight:600 } .args, .answer, .effects { color:var(--soft) }
ol.steps div { min-width:0; overflow-wrap:anywhere }
.ok { color:var(--good) } .no { color:var(--bad) }
.fail { background:var(--bad-bg); border-radius:8px; padding:8px 12px; margin:6px 0; white-space:pre-wrap; overflow-wrap:anywhere }
.warn { background:var(--warn-bg); color:var(--warn); border-radius:10px; padding:10px 14px; margin:0 0 10px }
.warn ul { margin:4px 0 0; padding-left:20px } .warn li { overflow-wrap:anywhere }
details.walk { padding:10px 16px; margin:0 0 8px } details.walk[open] > summary { margin-bottom:8px }
summary { cursor:pointer } summary b { font-weight:600 }
.verdict, .why { display:block; padding-left:16px; font-size:14px } .why { color:var(--soft) }
.verdict.out { color:var(--good) } .verdict.drop { color:var(--warn) } .verdict.wrong { color:var(--bad) }
.in { display:inline-block; width:14px }
.rules, .hop { table-layout:fixed } .rules td, .hop td { overflow-wrap:anywhere }
.rules th:nth-child(1), .hop th:nth-child(1) { width:17% } .rules th:nth-child(3) { width:27% }
.rules th:nth-child(4) { width:12% } .hop th:nth-child(3) { width:14% } .hop th:nth-child(4) { width:24% }
svg { display:block; width:100%; height:auto } svg text { font:13px system-ui,"Segoe UI",Roboto,sans-serif; fill:var(--ink) }
svg .head { fill:var(--soft); font-size:12px } svg .small { font-size:12px; fill:var(--soft) }
svg .uni { fill:var(--uni-bg); stroke:var(--uni) } svg .pon { fill:var(--pon-bg); stroke:var(--pon) }
svg .bridge { fill:var(--bridge-bg); stroke:var(--bridge) } svg .wire { stroke:var(--soft); fill:none; stroke-width:1.3 }
svg .lane { fill:var(--ground) } svg .off { stroke-dasharray:4 3 }
@media (max-width:600px) { main { padding:14px 12px 48px } header h1 { font-size:21px } .card { padding:12px }
  td:first-child { white-space:normal } table { font-size:13px } td { padding-right:8px }
  .rules, .hop { table-layout:auto } .rules td, .hop td { overflow-wrap:normal } ol.steps li { grid-template-columns:18px 26px 1fr } }
@media print { body { background:#fff } .card { break-inside:avoid } }
)css";

}  // namespace vorn_onu

#endif
