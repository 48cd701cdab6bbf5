// What the page of a board that runs has beside the report: forms, switches, the line that tells what has been done.
#ifndef VORN_ONU_PAGE_STYLE_H
#define VORN_ONU_PAGE_STYLE_H

namespace vorn_onu::page {

constexpr const char* kPageStyle = R"css(
[hidden] { display:none !important }
body { padding-bottom:56px }
.skip { position:absolute; left:12px; top:-60px; background:var(--card); border:1px solid var(--line); border-radius:8px; padding:8px 14px; z-index:2 }
.skip:focus { top:8px }
.unseen { position:absolute; clip-path:inset(50%); width:1px; height:1px; overflow:hidden }
#connection { display:inline-flex; align-items:center; gap:8px; font-size:14px }
#connection::before { content:""; width:9px; height:9px; border-radius:99px; background:var(--soft) }
#connection.live::before { background:var(--good) } #connection.lost::before { background:var(--bad) } #connection.lost { color:var(--bad) }
.facts b { font-variant-numeric:tabular-nums }
#filtered:empty { display:none }
.filter { display:flex; flex-wrap:wrap; gap:4px 14px; align-items:flex-end; margin:16px 0 0; font-size:14px; color:var(--soft) } .filter input { width:280px }
fieldset { border:1px solid var(--line); border-radius:10px; padding:6px 12px 10px; margin:0; min-width:0 }
fieldset.bare { border:0; padding:0 } legend { font-size:13px; color:var(--soft); padding:0 4px }
.board { display:grid; grid-template-columns:repeat(2,minmax(0,1fr)); gap:0 14px; align-items:start }
.fields { display:flex; flex-wrap:wrap; gap:10px 14px; align-items:flex-end }
label { display:block; font-size:13px; color:var(--soft); min-width:0 } label span { display:block; margin-bottom:2px }
input, select, button { font:inherit; font-size:14px; color:var(--ink); background:var(--ground); border:1px solid var(--soft); border-radius:8px; padding:5px 9px; min-height:34px; max-width:100% }
input { width:150px } input[type=number] { width:104px } input::placeholder { color:var(--soft); opacity:1 }
#fault-form input[name=function] { width:230px }
button { cursor:pointer; background:var(--bridge-bg); border-color:var(--accent); color:var(--bridge) } button:hover:not(:disabled) { border-color:var(--ink) }
button:disabled, input:disabled, select:disabled { opacity:.55; cursor:not-allowed }
:is(input,select,button):focus-visible { outline:2px solid var(--accent); outline-offset:2px }
.buttons { display:flex; flex-wrap:wrap; gap:8px; margin-top:12px }
.switches { list-style:none; margin:0 0 14px; padding:0 } .switches:last-child { margin-bottom:0 }
.switches li { display:grid; grid-template-columns:minmax(72px,auto) 1fr auto; align-items:center; gap:10px; padding:3px 0; border-top:1px solid var(--line); font-size:14px }
.switches li:first-child { border-top:0 } .switches .what { min-width:0; overflow-wrap:anywhere } .switches button { min-width:82px; padding:2px 9px; min-height:30px }
.lamp { color:var(--soft); font-size:13px } .lamp::before { content:""; display:inline-block; width:9px; height:9px; border-radius:99px; border:1.4px solid var(--soft); margin-right:7px }
.lamp.on { color:var(--good) } .lamp.on::before { background:var(--good); border-color:var(--good) }
#outcome { position:fixed; left:0; right:0; bottom:0; margin:0; padding:9px 20px; background:var(--card); border-top:1px solid var(--line); font-size:14px; overflow-wrap:anywhere; max-height:30vh; overflow-y:auto }
#outcome:empty { display:none } #outcome.bad { color:var(--bad) } #outcome.good { color:var(--good) }
#way:focus-visible { outline:2px solid var(--accent); outline-offset:2px }
.mib, .rows { list-style:none; margin:0; padding:0; font-size:14px; overflow-wrap:anywhere } .mib .mib { margin-left:7px; padding-left:13px; border-left:1px solid var(--line) }
.mib li { padding:3px 0 } .mib b { font-weight:600 } .rows li { color:var(--soft); font-family:ui-monospace,Consolas,monospace; font-size:13px; padding:1px 0 }
.ends { margin:0 0 8px; font-size:14px } .fault { color:var(--warn) }
#part-picture .scroll { max-height:75vh; overflow-y:auto } .tall { max-height:25em; overflow-y:auto } .tall.most { max-height:75vh } .tall:focus-visible { outline:2px solid var(--accent); outline-offset:2px; border-radius:4px }
@media (min-width:601px) { .tall thead { position:sticky; top:0; background:var(--card) } }
.counts, .calls { font-variant-numeric:tabular-nums } .calls .mono { overflow-wrap:anywhere }
.counts th:nth-child(1) { width:19% } .calls th:nth-child(1) { width:72px } .calls th:nth-child(2) { width:78px } .calls th:nth-child(3) { width:27% } .calls th:last-child { width:120px }
@media (max-width:900px) { .board { display:block } }
@media (max-width:600px) { input, select, .filter label, .filter input { width:100% } label { flex:1 1 120px } input[type=number], #fault-form input[name=function] { width:100% } #fault-form label:first-child { flex-basis:100% }
  .stacks { position:relative } .stacks thead { left:0; max-width:100%; overflow:hidden } .fields > fieldset { flex:1 1 100% } #outcome { padding:9px 12px } }
@media (prefers-reduced-motion:no-preference) { html { scroll-behavior:smooth } }
)css";

}  // namespace vorn_onu::page

#endif
