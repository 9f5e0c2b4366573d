// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "plot_parts.h"
#include "report_html.h"

namespace inspect {
namespace {

constexpr const char* kLight = R"(:root{color-scheme:light dark;
--page:#ffffff;--panel:#f7f8f9;--ink:#1a222b;--ink-2:#4a5561;--ink-3:#66717d;--line:#d9dee3;
--accent:#2c5f94;--band:#dfe9f3;--in:#0d6a4c;--in-bg:#e3f3ec;--out:#a82a0a;--out-bg:#fde8e1;
--neither:#4a5561;--neither-bg:#eceff2;--stripe:#fafbfc}
)";
constexpr const char* kDark = R"(:root{
--page:#12161b;--panel:#1a2027;--ink:#e8ecf0;--ink-2:#b4bec8;--ink-3:#8b96a2;--line:#333c46;
--accent:#7db3ea;--band:#223347;--in:#6fd3ab;--in-bg:#12332a;--out:#ff9c7d;--out-bg:#43200f;
--neither:#b4bec8;--neither-bg:#262e37;--stripe:#161b21}
)";

constexpr const char* kPage = R"(*{box-sizing:border-box}
html{scroll-padding-top:3.4rem}
body{margin:0;background:var(--page);color:var(--ink);
font:15px/1.45 "Helvetica Neue",Helvetica,Arial,"Liberation Sans","DejaVu Sans",sans-serif}
header,main{max-width:1320px;margin:0 auto;padding:0 1.5rem}
header{padding-top:1.6rem}
h1{font-size:1.75rem;line-height:1.2;margin:0 0 .2rem;letter-spacing:-.01em}
h2{font-size:1.25rem;margin:2.4rem 0 .8rem;padding-top:.9rem;border-top:2px solid var(--ink)}
h3{font-size:1.02rem;margin:0 0 .3rem}
p{margin:.3rem 0 .7rem}
a{color:var(--accent);text-underline-offset:.15em}
.origin{color:var(--ink-2);overflow-wrap:anywhere}
.skip{position:absolute;left:-9999px;top:0;background:var(--page);padding:.6rem 1rem;z-index:3}
.skip:focus{left:.5rem}
:focus-visible{outline:3px solid var(--accent);outline-offset:2px}
nav ul{list-style:none;display:flex;flex-wrap:wrap;gap:.2rem 1.3rem;padding:.5rem 0;margin:.6rem 0 0;
border-top:1px solid var(--line);border-bottom:1px solid var(--line)}
.result{font-size:1.15rem;font-weight:600;padding:.7rem 1rem;border-left:6px solid;margin:.4rem 0 1rem}
.in.result{color:var(--in);background:var(--in-bg)}
.out.result{color:var(--out);background:var(--out-bg)}
.neither.result{color:var(--neither);background:var(--neither-bg)}
.tiles{display:flex;flex-wrap:wrap;gap:.8rem;margin:0 0 1rem}
.tile{flex:1 1 9rem;border:1px solid var(--line);border-top:4px solid var(--ink-3);padding:.6rem .9rem;
display:flex;flex-direction:column-reverse}
.tile.in{border-top-color:var(--in)}
.tile.out{border-top-color:var(--out)}
.tile dt{color:var(--ink-2)}
.tile dd{margin:0;font-size:1.9rem;line-height:1.15;font-variant-numeric:tabular-nums}
.todo{padding-left:1.2rem;columns:27rem auto;column-gap:2rem}
td a{white-space:nowrap}
.facts{display:grid;grid-template-columns:repeat(auto-fill,minmax(15rem,1fr));gap:.7rem 1.5rem;margin:0}
.facts dt{color:var(--ink-2);font-size:.86rem}
.facts dd{margin:0;font-variant-numeric:tabular-nums;overflow-wrap:anywhere}
.facts.small{grid-template-columns:repeat(auto-fill,minmax(10rem,1fr));gap:.5rem 1.2rem;
font-size:.9rem;align-content:start}
.plots .facts{grid-column:1/-1}
.plots figure:nth-child(3)+.facts{grid-column:auto}
.views{display:grid;grid-template-columns:minmax(0,1fr);gap:1.2rem}
figure{margin:0}
figcaption{color:var(--ink-2);font-size:.86rem;margin-top:.3rem}
svg{display:block;width:100%;height:auto}
.views svg{max-width:1180px;min-width:46rem}
.plots{display:grid;grid-template-columns:repeat(auto-fill,minmax(min(100%,21rem),1fr));gap:1rem 1.4rem;
margin:.6rem 0}
.plots svg{max-width:520px}
.scroll{overflow-x:auto;margin-bottom:.8rem}
table{border-collapse:collapse;width:100%;font-size:.87rem}
caption{text-align:left;color:var(--ink-2);padding:.2rem 0 .5rem}
th,td{text-align:left;vertical-align:top;padding:.32rem .55rem;border-bottom:1px solid var(--line)}
thead th{vertical-align:bottom;border-bottom:2px solid var(--ink-2);font-weight:600}
tbody th{font-weight:600;white-space:nowrap}
td{font-variant-numeric:tabular-nums}
.n{text-align:right;white-space:nowrap}
thead .n{white-space:normal}
.unit{color:var(--ink-2);font-weight:400}
.none{color:var(--ink-3)}
.l{display:block}
.l data{display:inline-block;min-width:4.3em}
.fit{font-size:.94em;color:var(--ink-2);white-space:nowrap}
tr.group th,tr.group td{background:var(--panel);border-bottom:1px solid var(--line);padding-top:.5rem}
tr.group td{color:var(--ink-2)}
.features tbody th{position:sticky;left:0;background:var(--page)}
.features tr.group th{background:var(--panel)}
tbody tr:hover td,tbody tr:hover th{background:var(--stripe)}
.verdict{white-space:nowrap;font-weight:600;font-size:.94em;padding:.05rem .4rem;border-radius:3px}
.verdict.in{color:var(--in);background:var(--in-bg)}
.verdict.out{color:var(--out);background:var(--out-bg)}
.verdict.neither{color:var(--neither);background:var(--neither-bg);font-weight:400}
.quantities th,.quantities td{padding-left:.4rem;padding-right:.4rem}
.use{min-width:6.6rem}
.share{display:inline-block;height:.6em;margin-right:.45em;background:var(--in)}
.share.out{background:var(--out)}
article{padding:1rem 0 .6rem;border-top:1px solid var(--line)}
article:first-of-type{border-top:0;padding-top:0}
h3 .verdict{margin-left:.5rem;font-size:.85rem}
.how{color:var(--ink-2);font-size:.9rem}
details{margin:.2rem 0 .6rem}
summary{cursor:pointer;color:var(--accent);width:max-content;max-width:100%}
@media (min-width:78rem){
article{display:grid;grid-template-columns:minmax(0,1fr) 28.5rem;gap:0 2rem;align-items:start}
article>h3,article>.how,article>.wide{grid-column:1/-1}
}
)";

// Everything on paper: no scrolling, nothing closed, nothing cut in two.
constexpr const char* kPrint = R"(@media print{
@page{size:A4 landscape;margin:11mm}
html{font-size:11.5px}
body{font-size:9pt;-webkit-print-color-adjust:exact;print-color-adjust:exact}
header,main{max-width:none;padding:0}
nav,.skip{display:none}
a{color:inherit;text-decoration:none}
h2,h3,caption,.how{break-after:avoid}
thead{display:table-header-group}
tr,figure,.tile,.result{break-inside:avoid}
.scroll{overflow:visible}
table{font-size:7.4pt}
th,td{padding:1.6pt 3pt}
.quantities{font-size:7pt}
.features tbody th{position:static}
.fit{min-width:0}
details::details-content{content-visibility:visible;display:block}
summary{display:none}
.plots{grid-template-columns:repeat(3,1fr);gap:8pt;break-inside:avoid}
.facts.small{font-size:7.6pt;gap:3pt 8pt}
.plots .facts{grid-template-columns:1fr 1fr;grid-column:auto}
.plots figure:nth-child(3)+.facts{grid-template-columns:repeat(8,auto);grid-column:1/-1}
article{display:grid;grid-template-columns:minmax(0,1fr) 80mm;gap:0 5mm;align-items:start;
break-inside:avoid;padding:3mm 0 1mm}
article>h3,article>.how,article>.wide{grid-column:1/-1}
.how{margin:0}
.views{display:block}
.views svg{max-height:90mm;min-width:0}
.plot text{font-size:14.5px}
#requirements,#details{break-before:page}
}
)";

}  // namespace

std::string pageStyle(const Svg& part) {
  return std::string(kLight) + kPage + plotRules() + part.rulesFor("part") +
         "@media screen and (prefers-color-scheme:dark){\n" + kDark + darkPlotRules() +
         part.darkRulesFor("part") + "}\n" + kPrint;
}

}  // namespace inspect
