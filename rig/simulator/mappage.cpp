// The map page: one HTML text that draws world.json on a canvas twice a second. It loads nothing from elsewhere.

#include "simulator/page.h"

namespace rig {

const char* const mapPage = R"html(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><title>Simulator</title>
<style>
:root { color-scheme:dark; --ink:#dbe4ee; --dim:#7f90a3; --line:#24303d; --panel:#131a22; --accent:#ffb347; --air:#5ec8f2; --land:#8bd17c; --warn:#ff6b6b; }
* { box-sizing:border-box; }
html,body { margin:0; height:100%; background:#0d1218; color:var(--ink); font:13px/1.35 "Segoe UI","DejaVu Sans",Helvetica,Arial,sans-serif; overflow:hidden; }
body { display:flex; }
#map { flex:1 1 auto; position:relative; min-width:0; }
canvas { position:absolute; inset:0; width:100%; height:100%; cursor:grab; }
canvas.drag { cursor:grabbing; }
aside { flex:0 0 470px; background:var(--panel); border-left:1px solid var(--line); display:flex; flex-direction:column; }
header { padding:12px 14px 10px; border-bottom:1px solid var(--line); }
h1 { margin:0 0 2px; font-size:15px; font-weight:600; display:flex; align-items:center; gap:8px; }
#state { font-size:11px; padding:1px 8px; border-radius:9px; background:#1f3a2a; color:var(--land); font-weight:500; }
#state.off { background:#43292b; color:var(--warn); }
#clock { margin-left:auto; color:var(--dim); font-weight:400; font-size:12px; font-variant-numeric:tabular-nums; }
#user { color:var(--dim); font-size:12px; }
.chips { display:grid; grid-template-columns:repeat(6,1fr); gap:6px; margin-top:10px; }
.chip { background:#1a232d; border-radius:6px; padding:5px 0; text-align:center; }
.chip b { display:block; font-size:15px; font-weight:600; font-variant-numeric:tabular-nums; }
.chip span { color:var(--dim); font-size:10.5px; }
#list { overflow:auto; flex:1; }
table { border-collapse:collapse; width:100%; font-size:12px; font-variant-numeric:tabular-nums; }
th { position:sticky; top:0; background:var(--panel); color:var(--dim); font-weight:500; font-size:11px; text-align:left; padding:7px 6px 5px; box-shadow:inset 0 -1px var(--line); }
td { padding:3px 6px; border-bottom:1px solid #1a222b; white-space:nowrap; }
th:first-child,td:first-child { padding-left:14px; }
td.t { max-width:118px; overflow:hidden; text-overflow:ellipsis; color:var(--dim); }
td.n,th.n { text-align:right; }
tr { cursor:pointer; } tbody tr:hover { background:#1a232d; } tr.sel { background:#22303e; }
i.l { display:inline-block; width:8px; height:8px; border-radius:50%; margin-right:2px; background:#2a3643; }
.g { color:var(--land); } .a { color:var(--air); } .w { color:var(--warn); }
#hint { position:absolute; left:12px; top:10px; color:var(--dim); font-size:11.5px; pointer-events:none; background:#0d1218b0; padding:2px 6px; border-radius:4px; }
</style></head><body>
<div id="map"><canvas id="c"></canvas><div id="hint">drag to move, wheel to zoom, double click for all, g for the stands or all, click an aircraft to follow it</div></div>
<aside><header>
<h1>Simulator <span id="state">running</span><span id="clock"></span></h1><div id="user"></div>
<div class="chips" id="chips"></div></header>
<div id="list"><table><thead><tr><th>Tail</th><th>Title</th><th class="n">Altitude</th><th class="n">Speed</th><th>Lights</th><th>Gear</th><th class="n">Flaps</th><th>Frozen</th></tr></thead><tbody id="rows"></tbody></table></div>
</aside>
<script>
"use strict";
const c = document.getElementById("c"), g = c.getContext("2d"), $ = id => document.getElementById(id);
let ground = location.hash === "#ground";                  // shows the stands alone
let world = null, stands = [], tracks = new Map(), selected = 0, fitted = false, touched = false, fault = "";
const view = { lat: 0, lon: 0, ppn: 20 };                 // centre, pixels per nautical mile
const LIGHTS = [["nav","#58d68d"],["beacon","#ff5252"],["landing","#fff3b0"],["taxi","#ffd166"],["strobe","#ffffff"],["logo","#9fb8ff"],["cabin","#f6a5ff"]];
const cosLat = () => Math.max(0.05, Math.cos(view.lat * Math.PI / 180));
const wrap = d => ((d + 540) % 360) - 180;
const xy = (lat, lon) => [c.clientWidth / 2 + wrap(lon - view.lon) * 60 * cosLat() * view.ppn, c.clientHeight / 2 - (lat - view.lat) * 60 * view.ppn];
const num = n => Math.round(n).toLocaleString("en-US");
const esc = s => s.replace(/[&<>"]/g, m => ({ "&":"&amp;", "<":"&lt;", ">":"&gt;", '"':"&quot;" })[m]);
const free = o => !o.frozen.position || !o.frozen.altitude || !o.frozen.attitude;
const colour = o => o.id === 1 ? "#ffb347" : o.tail.endsWith("*") ? "#c9a0ff" : o.on_ground ? "#8bd17c" : `hsl(${196 + Math.min(1, o.height_ft / 38000) * 84} 82% 68%)`;
const nmBetween = (a, b) => Math.hypot((a.lat - b.lat) * 60, wrap(a.lon - b.lon) * 60 * Math.cos(a.lat * Math.PI / 180));

function fit() {
  if (!world) return;
  const all = ground && stands.length ? stands : [world.user, ...world.objects.filter(o => nmBetween(world.user, o) < 250)];
  const lats = all.map(o => o.lat), lons = all.map(o => wrap(o.lon - world.user.lon));
  const [s, n, w, e] = [Math.min(...lats), Math.max(...lats), Math.min(...lons), Math.max(...lons)];
  view.lat = (s + n) / 2; view.lon = world.user.lon + (w + e) / 2;
  const least = ground ? 0.5 : 4, high = Math.max(least, (n - s) * 60), wide = Math.max(least, (e - w) * 60 * cosLat());
  view.ppn = Math.min((c.clientHeight - 90) / high, (c.clientWidth - 170) / wide);
}

function plane(x, y, heading, size, fill, ring) {
  g.save(); g.translate(x, y); g.rotate(heading * Math.PI / 180); g.scale(size, size);
  g.beginPath();
  for (const [px, py] of [[0,-9],[1.3,-6.5],[1.4,-2.2],[8.5,2.8],[8.5,4.4],[1.4,2.2],[1.1,6],[3.6,8],[3.6,9.2],[0,8.2],[-3.6,9.2],[-3.6,8],[-1.1,6],[-1.4,2.2],[-8.5,4.4],[-8.5,2.8],[-1.4,-2.2],[-1.3,-6.5]]) g.lineTo(px, py);
  g.closePath(); g.fillStyle = fill; g.strokeStyle = "#0d1218"; g.lineWidth = 1.2; g.stroke(); g.fill();
  g.restore();
  if (ring) { g.beginPath(); g.arc(x, y, 13 * size, 0, 7); g.strokeStyle = ring; g.lineWidth = 1.5; g.stroke(); }
}

function grid() {
  const steps = [10, 5, 2, 1, 0.5, 0.25, 0.1, 0.05, 0.02, 0.01, 0.005, 0.002];
  const step = steps.find(s => s * 60 * view.ppn < 260) || steps[steps.length - 1];
  const digits = Math.max(0, Math.ceil(-Math.log10(step)) + (step === 0.25 ? 1 : 0));
  g.strokeStyle = "#18212b"; g.fillStyle = "#43525f"; g.lineWidth = 1; g.font = "10px sans-serif"; g.textAlign = "left";
  const dLat = c.clientHeight / 2 / view.ppn / 60, dLon = c.clientWidth / 2 / view.ppn / 60 / cosLat();
  for (let a = Math.ceil((view.lat - dLat) / step) * step; a <= view.lat + dLat; a += step) {
    const y = Math.round(xy(a, view.lon)[1]) + 0.5;
    g.beginPath(); g.moveTo(0, y); g.lineTo(c.clientWidth, y); g.stroke();
    g.fillText(Math.abs(a).toFixed(digits) + "\u00b0" + (a < 0 ? "S" : "N"), 6, y - 3);
  }
  for (let o = Math.ceil((view.lon - dLon) / step) * step; o <= view.lon + dLon; o += step) {
    const x = Math.round(xy(view.lat, o)[0]) + 0.5, shown = wrap(o);
    g.beginPath(); g.moveTo(x, 0); g.lineTo(x, c.clientHeight); g.stroke();
    g.fillText(Math.abs(shown).toFixed(digits) + "\u00b0" + (shown < 0 ? "W" : "E"), x + 4, c.clientHeight - 6);
  }
}

// Circles with a line where the nose points; the names of the free ones when there is room.
function drawStands() {
  const taken = new Set([world.user, ...world.objects].map(o => o.stand));
  g.lineWidth = 1; g.textAlign = "center";
  for (const s of stands) {
    const [x, y] = xy(s.lat, s.lon), r = s.radius_m / 1852 * view.ppn, a = s.heading_deg * Math.PI / 180;
    if (r < 1.2 || x < -r || y < -r || x > c.clientWidth + r || y > c.clientHeight + r) continue;
    const full = taken.has(s.id);
    g.beginPath(); g.arc(x, y, r, 0, 7);
    if (full) { g.fillStyle = "#8bd17c2e"; g.fill(); }
    g.strokeStyle = full ? "#8bd17c" : "#4a5a6a"; g.stroke();
    g.beginPath(); g.moveTo(x + r * 0.6 * Math.sin(a), y - r * 0.6 * Math.cos(a)); g.lineTo(x + r * Math.sin(a), y - r * Math.cos(a)); g.stroke();
    if (r > 9) { g.font = "9px sans-serif"; g.fillStyle = full ? "#8bd17c" : "#5d6e80"; g.fillText(s.id, x, full ? y + r + 9 : y + 3); }
  }
  g.textAlign = "left";
}

function scaleBar() {
  const lengths = [0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50, 100, 200];
  const nm = lengths.find(n => n * view.ppn >= 70) || 500, w = nm * view.ppn, x = c.clientWidth - w - 20, y = c.clientHeight - 26;
  g.strokeStyle = g.fillStyle = "#dbe4ee"; g.lineWidth = 1.5;
  g.beginPath(); g.moveTo(x, y - 5); g.lineTo(x, y); g.lineTo(x + w, y); g.lineTo(x + w, y - 5); g.stroke();
  g.font = "11px sans-serif"; g.textAlign = "center";
  g.fillText(nm >= 0.5 ? nm + " nm" : num(nm * 1852) + " m", x + w / 2, y - 7); g.textAlign = "left";
}

function labels(list) {
  const taken = [];
  const place = (x, y, w, h, far) => {
    const spots = [[14, -h / 2], [-14 - w, -h / 2], [-w / 2, 14], [-w / 2, -14 - h], [12, 8], [12, -10 - h]];
    if (far) for (const d of [50, 80, 120]) spots.push([d, -d / 2], [-d - w, -d / 2], [d, d / 2], [-d - w, d / 2]);
    for (const [dx, dy] of spots) {
      const r = [x + dx, y + dy, w, h];
      if (r[0] < 2 || r[1] < 2 || r[0] + w > c.clientWidth - 2 || r[1] + h > c.clientHeight - 2) continue;
      if (taken.every(t => r[0] > t[0] + t[2] || t[0] > r[0] + w || r[1] > t[1] + t[3] || t[1] > r[1] + h)) { taken.push(r); return r; }
    }
    return null;
  };
  for (const o of list) { const [x, y] = xy(o.lat, o.lon); taken.push([x - 6, y - 6, 12, 12]); }
  for (const o of list) {
    const [x, y] = xy(o.lat, o.lon);
    if (x < -50 || y < -50 || x > c.clientWidth + 50 || y > c.clientHeight + 50) continue;
    const name = o.id === 1 ? "YOU " + o.tail : o.tail || "#" + o.id;
    const what = (o.stand ? "on " + o.stand : o.on_ground ? "ground" : num(o.altitude_ft) + " ft") + "  " + num(o.ground_speed_kt) + " kt";
    const title = o.title.length > 26 ? o.title.slice(0, 25) + "\u2026" : o.title;
    for (const lines of [[name, what, title], [name, what], [name]]) {
      g.font = "600 11px sans-serif";
      let w = g.measureText(name).width; g.font = "10px sans-serif";
      for (const t of lines.slice(1)) w = Math.max(w, g.measureText(t).width);
      const chosen = o.id === 1 || o.id === selected;        // these get a label in any crowd, with a line to it
      const r = place(x, y, w, 12 * lines.length, chosen);
      if (!r) continue;
      if (Math.hypot(r[0] + w / 2 - x, r[1] + 6 * lines.length - y) > 14 + w / 2 + 12 * lines.length) {
        g.strokeStyle = colour(o); g.lineWidth = 1;
        g.beginPath(); g.moveTo(x, y); g.lineTo(r[0] > x ? r[0] - 3 : r[0] + w + 3, r[1] + 6 * lines.length); g.stroke();
      }
      lines.forEach((t, i) => {
        g.font = i ? "10px sans-serif" : "600 11px sans-serif";
        g.fillStyle = i === 0 ? colour(o) : i === 1 ? "#b6c4d2" : "#71828f";
        g.strokeStyle = "#0d1218"; g.lineWidth = 3; g.strokeText(t, r[0], r[1] + 10 + 12 * i); g.fillText(t, r[0], r[1] + 10 + 12 * i);
      });
      break;
    }
  }
}

function draw() {
  const s = window.devicePixelRatio || 1, w = c.clientWidth, h = c.clientHeight;
  if (c.width !== Math.round(w * s) || c.height !== Math.round(h * s)) { c.width = Math.round(w * s); c.height = Math.round(h * s); }
  g.setTransform(s, 0, 0, s, 0, 0); g.fillStyle = "#0d1218"; g.fillRect(0, 0, w, h);
  grid();
  if (!world) { g.fillStyle = "#7f90a3"; g.font = "14px sans-serif"; g.fillText(fault || "waiting for the simulator \u2026", 20, 50); return; }
  const follow = [world.user, ...world.objects].find(o => o.id === selected);
  if (follow && !touched) { view.lat = follow.lat; view.lon = follow.lon; }
  drawStands();
  const list = [world.user, ...world.objects];
  g.lineWidth = 1.4; g.lineJoin = "round";
  for (const o of list) {
    const way = tracks.get(o.id);
    if (!way || way.length < 2) continue;
    g.strokeStyle = colour(o); g.globalAlpha = o.id === selected ? 0.9 : 0.38;
    g.beginPath();
    for (const [lat, lon] of way) g.lineTo(...xy(lat, lon));
    g.lineTo(...xy(o.lat, o.lon)); g.stroke();
  }
  g.globalAlpha = 1;
  const size = Math.max(0.75, Math.min(1.5, 0.55 + view.ppn / 60));
  for (const o of [...world.objects, world.user]) {
    const [x, y] = xy(o.lat, o.lon);
    if (x < -20 || y < -20 || x > w + 20 || y > h + 20) continue;
    plane(x, y, o.heading_deg, o.id === 1 ? size * 1.25 : size, colour(o), o.id === selected ? "#ffffff" : o.id !== 1 && free(o) ? "#ff6b6b" : null);
  }
  labels([world.user, ...world.objects.filter(o => o.id === selected), ...world.objects.filter(o => o.id !== selected)]);
  scaleBar();
  if (fault) { g.fillStyle = "#ff6b6b"; g.font = "13px sans-serif"; g.fillText(fault, 20, 50); }
}

function panel() {
  const state = $("state"), u = world.user;
  state.textContent = world.paused ? "paused" : world.running ? "running" : "not running";
  state.className = world.paused || !world.running ? "off" : "";
  $("clock").textContent = new Date(world.utc * 1000).toISOString().slice(0, 19).replace("T", "  ") + " UTC";
  $("user").textContent = `${u.title}  \u00b7  ${u.lat.toFixed(4)}, ${u.lon.toFixed(4)}  \u00b7  ${u.on_ground ? "on the ground" : num(u.altitude_ft) + " ft"}  \u00b7  ${num(u.ground_speed_kt)} kt  \u00b7  ${num(u.heading_deg)}\u00b0`;
  const air = world.objects.filter(o => !o.on_ground).length;
  $("chips").innerHTML = [[air, "in the air"], [world.objects.length - air, "on ground"], [world.counts.created, "created"], [world.counts.removed, "removed"], [world.counts.refused, "refused"], [world.clients, "clients"]]
    .map(([n, t]) => `<div class="chip"><b>${num(n)}</b><span>${t}</span></div>`).join("");
  const frozen = o => free(o) ? `<span class="w">${["position","altitude","attitude"].map(p => o.frozen[p] ? p.slice(0, 3) : "\u2013").join(" ")}</span>` : "all";
  $("rows").innerHTML = [...world.objects].sort((a, b) => nmBetween(u, a) - nmBetween(u, b)).map(o =>
    `<tr data-id="${o.id}" class="${o.id === selected ? "sel" : ""}"><td><b style="color:${colour(o)}">${esc(o.tail || "#" + o.id)}</b></td><td class="t" title="${esc(o.title)}">${esc(o.title)}</td>` +
    `<td class="n">${o.on_ground ? `<span class="g">${o.stand ? "on " + esc(o.stand) : "ground"}</span>` : num(o.altitude_ft)}</td><td class="n">${num(o.ground_speed_kt)}</td>` +
    `<td>${LIGHTS.map(([n, k]) => `<i class="l" title="${n}"${o.lights[n] ? ` style="background:${k}"` : ""}></i>`).join("")}</td>` +
    `<td>${o.gear_down ? "down" : "up"}</td><td class="n">${num(o.flaps_pct)}%</td><td>${frozen(o)}</td></tr>`).join("");
}

async function refresh() {
  try {
    const next = await (await fetch("world.json")).json();
    if (!world) stands = await (await fetch("stands.json")).json();
    if (!world) for (const [id, way] of Object.entries(await (await fetch("tracks.json")).json())) tracks.set(Number(id), way);
    world = next; fault = "";
    const alive = new Set([1, ...world.objects.map(o => o.id)]);
    for (const id of tracks.keys()) if (!alive.has(id)) tracks.delete(id);
    for (const o of [world.user, ...world.objects]) {
      const way = tracks.get(o.id) || []; tracks.set(o.id, way);
      const last = way[way.length - 1];
      if (!last || Math.hypot(last[0] - o.lat, last[1] - o.lon) > 2e-5) way.push([o.lat, o.lon]);
      if (way.length > 600) way.shift();
    }
    if (!fitted || (!touched && !selected && world.objects.length && fitted < 20)) { fit(); fitted = world.objects.length ? fitted + 1 : 1; }
    panel();
  } catch (e) { fault = "no answer from the simulator"; $("state").textContent = "gone"; $("state").className = "off"; }
  draw();
}

let drag = null;
c.onpointerdown = e => { drag = { x: e.clientX, y: e.clientY, moved: false }; c.setPointerCapture(e.pointerId); };
c.onpointermove = e => {
  if (!drag) return;
  const dx = e.clientX - drag.x, dy = e.clientY - drag.y;
  if (!drag.moved && Math.hypot(dx, dy) < 4) return;
  drag.moved = touched = true; drag.x = e.clientX; drag.y = e.clientY; c.className = "drag";
  view.lat = Math.max(-89, Math.min(89, view.lat + dy / view.ppn / 60)); view.lon = wrap(view.lon - dx / view.ppn / 60 / cosLat()); draw();
};
c.onpointerup = e => {
  c.className = "";
  if (drag && !drag.moved && world) {
    const box = c.getBoundingClientRect(), px = e.clientX - box.left, py = e.clientY - box.top;
    const hit = [world.user, ...world.objects].map(o => [Math.hypot(...xy(o.lat, o.lon).map((v, i) => v - [px, py][i])), o.id]).sort((a, b) => a[0] - b[0])[0];
    selected = hit && hit[0] < 18 ? hit[1] : 0; touched = !selected; panel(); draw();
  }
  drag = null;
};
c.onwheel = e => {
  e.preventDefault(); touched = touched || !selected;
  const box = c.getBoundingClientRect(), px = e.clientX - box.left - c.clientWidth / 2, py = e.clientY - box.top - c.clientHeight / 2;
  const before = view.ppn; view.ppn = Math.max(0.4, Math.min(60000, view.ppn * Math.exp(-e.deltaY / 400)));
  if (touched) { view.lon += px / 60 / cosLat() * (1 / before - 1 / view.ppn); view.lat -= py / 60 * (1 / before - 1 / view.ppn); }
  draw();
};
c.ondblclick = () => { selected = 0; touched = false; fit(); draw(); };
$("rows").onclick = e => { const row = e.target.closest("tr"); if (row) { selected = Number(row.dataset.id); touched = false; panel(); draw(); } };
window.onkeydown = e => { if (e.key === "g") { ground = !ground; selected = 0; touched = false; fit(); draw(); } };
window.onresize = draw;
refresh(); setInterval(refresh, 500);
</script></body></html>
)html";

} // namespace rig
