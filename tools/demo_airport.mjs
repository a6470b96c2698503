// Lays out the demonstration airport and writes its tables to rig/airports; docs/rig.md describes them. The layout is
// approximate: runways, taxiways and stands lie where those of the real airport would make sense, not where each one is.
// Everything is laid out in metres on a grid whose y axis runs along the runways, so that a change is a change of a
// few numbers here. Needs node alone.
//
//   node tools/demo_airport.mjs [FOLDER] [PICTURE.SVG]      (FOLDER: rig/airports)

import { mkdirSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const [folder = join(here, "..", "rig", "airports"), picture] = process.argv.slice(2);

const airport = { icao: "KIAD", name: "Washington Dulles (approximate)", lat: 38.9445, lon: -77.4558, elevFt: 312, date: "2026-11-25" };
const origin = { lat: 38.9445, lon: -77.44787 }; // of the grid: half way between the two runways
const bearing = 0.55;                            // degrees true, of the y axis
const metersPerDegree = 111120;                  // one minute of arc is a nautical mile

const rad = Math.PI / 180;
function place(x, y) {
    const east = x * Math.cos(bearing * rad) + y * Math.sin(bearing * rad);
    const north = y * Math.cos(bearing * rad) - x * Math.sin(bearing * rad);
    return { lat: origin.lat + north / metersPerDegree, lon: origin.lon + east / (metersPerDegree * Math.cos(origin.lat * rad)) };
}
const trueHeading = (grid) => (grid + bearing + 360) % 360;

// ---- runways: two parallel ones, from south (y0) to north (y1) -------------------------------------------------------
const runways = [
    { x: -1021, y0: -745, y1: 2760, north: "01C", south: "19C", width: 45, inward: 1 },
    { x: 1013, y0: -2290, y1: 1215, north: "01R", south: "19L", width: 45, inward: -1 },
];
const nearOffset = 190, farOffset = 288; // of the two parallel taxiways from the centre line
const holdOffset = 95;                   // of the holding points

// ---- taxiways and lanes: straight, along an axis, one way each -------------------------------------------------------
// Beside each runway the near taxiway leads north and the far one south; lanes between the aprons lead east or west.
const lines = [
    { name: "Y", x: -831, from: -745, to: 2760 },
    { name: "Z", x: -733, from: 2700, to: -745 },
    { name: "K", x: 823, from: -2290, to: 1215 },
    { name: "J", x: 725, from: 1155, to: -2290 },
    { name: "S1", y: -430, from: 823, to: -831 },
    { name: "S2", y: -520, from: -831, to: 823 },
    { name: "L0", y: 592, from: 823, to: -831, lane: true },
    { name: "L1", y: 510, from: -831, to: 823, lane: true },
    { name: "L2", y: 220, from: -831, to: 823, lane: true },
    { name: "L3", y: 140, from: 823, to: -831, lane: true },
    { name: "L4", y: -140, from: 823, to: -831, lane: true },
    { name: "L5", y: -222, from: -831, to: 823, lane: true },
    // the cargo apron
    { name: "F1", y: 1040, from: -733, to: -640 },
    { name: "F2", x: -640, from: 1040, to: 1740, lane: true },
    { name: "F3", y: 1740, from: -640, to: -831 },
    // general aviation: the one row in by the western lane and out by the eastern one, the other by the eastern one alone
    { name: "G1", y: 1850, from: -733, to: -560 },
    { name: "G2", x: -640, from: 1850, to: 2410, lane: true },
    { name: "G3", x: -560, from: 1850, to: 2440, lane: true },
    { name: "G4", y: 2440, from: -560, to: -831 },
    // ways across between near and far taxiway
    ...[[2700, 1], [1930, 1], [1380, 1], [930, 1]].map(([y], i) => ({ name: `W${i + 1}`, y, from: -831, to: -733 })),
    { name: "W5", y: -545, from: -733, to: -831 },
    { name: "W6", y: -745, from: -733, to: -831 },
    { name: "E1", y: 1155, from: 823, to: 725 },
    ...[-650, -1050, -1650, -2090, -2290].map((y, i) => ({ name: `E${i + 2}`, y, from: 725, to: 823 })),
];

// ---- runway entries and exits ------------------------------------------------------------------------------------------
const entries = [ // from the near taxiway to the centre line; y of the way
    { runway: "19C", y: 2760 }, { runway: "19C", y: 2560 }, { runway: "01C", y: -745 }, { runway: "01C", y: -545 },
    { runway: "19L", y: 1215 }, { runway: "19L", y: 1015 }, { runway: "01R", y: -2290 }, { runway: "01R", y: -2090 },
];
const lineUp = 40; // from the end of the runway to the centre line point of an entry there
// Rapid exits leave at 30 degrees, northbound ones for the near taxiway, southbound ones across it for the far one.
const exitDistances = { north: [980, 1250, 1700, 2250], south: [1000, 1300, 1700, 2300] }; // from the threshold
const exitTangent = Math.tan(30 * rad);
const endExits = [
    { runway: "01C", y: 2700 }, { runway: "19C", y: -690 }, { runway: "01R", y: 1155 }, { runway: "19L", y: -2230 },
];

// ---- stands --------------------------------------------------------------------------------------------------------------
// A row along a lane: `face` is the edge of the building, the noses stop `noseGap` before it; `heading` on the grid.
const noseGap = 7, gap = 4; // metres: nose to building, between two circles
const stands = [];
let serial = {};
const nextId = (prefix) => `${prefix}${(serial[prefix] = (serial[prefix] ?? 0) + 1)}`;

// radii from `start` on in the direction `step` (1 or -1); a radius of the form [r, r1] is a wide stand with two narrow
// ones, left and right, of which only the wide one or the narrow ones can be in use.
function row({ prefix, lane, face, heading, start, step, radii, kind = "gate", leave = "push", spacing = gap }) {
    const along = (place) => (lanes[lane].y === undefined ? { y: place } : { x: place });
    let edge = start;
    for (const entry of radii) {
        const [radius, narrow] = Array.isArray(entry) ? entry : [entry];
        const half = narrow ? Math.max(radius, narrow * 2 + gap / 2) : radius;
        const center = edge + step * half;
        edge = center + step * (half + spacing);
        const across = face - Math.sign(heading === 0 || heading === 90 ? 1 : -1) * (noseGap + radius);
        const spot = lanes[lane].y === undefined ? { x: across, y: center } : { x: center, y: across };
        const id = nextId(prefix);
        stands.push({ id, ...spot, heading, radius, kind, lane, leave });
        if (!narrow) continue;
        for (const [letter, side] of [["L", -1], ["R", 1]]) {
            // left and right as the pilot sees them
            const right = { x: Math.cos(heading * rad), y: -Math.sin(heading * rad) };
            const offset = side * (narrow + gap / 2), ahead = radius - narrow;
            const nose = { x: Math.sin(heading * rad), y: Math.cos(heading * rad) };
            stands.push({ id: id + letter, x: spot.x + right.x * offset + nose.x * ahead, y: spot.y + right.y * offset + nose.y * ahead, heading, radius: narrow, kind, lane, leave });
        }
    }
}
const lanes = Object.fromEntries(lines.map((line) => [line.name, line]));
const many = (count, radius) => Array(count).fill(radius);
const small = 7.5, prop = 10, commuter = 14.5, jet = 16, narrow = 18, middle = 20, big = 26, wide = 33, widest = 40;

// Between lane and stand there is room for the lane's traffic: the circle keeps about 42 metres.
row({ prefix: "Z", lane: "L0", face: 677, heading: 0, start: -170, step: 1, radii: many(3, narrow) });
row({ prefix: "Z", lane: "L0", face: 677, heading: 0, start: 50, step: 1, radii: many(3, narrow) });
row({ prefix: "A", lane: "L1", face: 381, heading: 180, start: 75, step: 1, radii: [...many(5, wide), widest] });
row({ prefix: "A", lane: "L2", face: 345, heading: 0, start: 75, step: 1, radii: [[wide, narrow], [wide, narrow], wide, wide] });
row({ prefix: "B", lane: "L1", face: 409, heading: 180, start: -90, step: -1, radii: [...many(6, narrow), big, big] });
row({ prefix: "B", lane: "L2", face: 305, heading: 0, start: -85, step: -1, radii: [...many(8, commuter), narrow, narrow] });
row({ prefix: "C", lane: "L3", face: 49, heading: 180, start: 90, step: 1, radii: many(8, middle) });
row({ prefix: "C", lane: "L4", face: -39, heading: 0, start: 85, step: 1, radii: [...many(5, big), narrow, narrow] });
row({ prefix: "D", lane: "L3", face: 55, heading: 180, start: -90, step: -1, radii: many(7, narrow) });
row({ prefix: "D", lane: "L4", face: -61, heading: 0, start: -85, step: -1, radii: many(8, commuter) });
row({ prefix: "R", lane: "L5", face: -337, heading: 180, start: -330, step: 1, radii: [wide, wide] });
row({ prefix: "R", lane: "L5", face: -307, heading: 180, start: -180, step: 1, radii: many(3, narrow) });
row({ prefix: "R", lane: "L5", face: -307, heading: 180, start: 60, step: 1, radii: many(3, narrow) });
row({ prefix: "CARGO ", lane: "F2", face: -511, heading: 90, start: 1125, step: 1, kind: "cargo", radii: [widest, wide, wide, wide] });
row({ prefix: "CARGO ", lane: "F2", face: -539, heading: 90, start: 1434, step: 1, kind: "cargo", radii: [big, big] });
row({ prefix: "CARGO ", lane: "F2", face: -511, heading: 90, start: 1546, step: 1, kind: "cargo", radii: [wide, widest] });
row({ prefix: "GA ", lane: "G2", face: -577, heading: 90, start: 1874, step: 1, kind: "ga", leave: "through", radii: [...many(8, jet), ...many(4, prop), ...many(2, small)] });
row({ prefix: "HELI ", lane: "G2", face: -581, heading: 90, start: 2325, step: 1, kind: "heli", leave: "through", radii: [12, 12] });
// further out: beside the terminal, at the ends of the concourses, on the southern apron, and for visitors
row({ prefix: "H", lane: "L0", face: 677, heading: 0, start: 210, step: 1, radii: many(10, narrow) });
row({ prefix: "H", lane: "L0", face: 677, heading: 0, start: -210, step: -1, radii: many(10, narrow) });
row({ prefix: "A", lane: "L1", face: 381, heading: 180, start: 513, step: 1, radii: many(3, narrow) });
row({ prefix: "A", lane: "L2", face: 345, heading: 0, start: 379, step: 1, radii: [wide, wide, narrow, narrow] });
row({ prefix: "B", lane: "L1", face: 409, heading: 180, start: -446, step: -1, radii: many(4, narrow) });
row({ prefix: "B", lane: "L2", face: 305, heading: 0, start: -433, step: -1, radii: many(4, narrow) });
row({ prefix: "C", lane: "L3", face: 49, heading: 180, start: 446, step: 1, radii: many(4, middle) });
row({ prefix: "C", lane: "L4", face: -39, heading: 0, start: 449, step: 1, radii: many(4, narrow) });
row({ prefix: "D", lane: "L3", face: 55, heading: 180, start: -374, step: -1, radii: many(6, narrow) });
row({ prefix: "D", lane: "L4", face: -61, heading: 0, start: -353, step: -1, radii: many(7, commuter) });
row({ prefix: "R", lane: "L5", face: -307, heading: 180, start: -345, step: -1, radii: many(7, narrow) });
row({ prefix: "R", lane: "L5", face: -307, heading: 180, start: 195, step: 1, radii: many(9, narrow) });
row({ prefix: "GA ", lane: "G3", face: -496, heading: 90, start: 1930, step: 1, kind: "ga", radii: many(8, jet) });
for (const stand of stands) if (stand.leave === "through") stand.x = -600; // half way between the two lanes

// ---- the graph ---------------------------------------------------------------------------------------------------------------
const nodes = [], edges = [];
const near = (a, b) => Math.abs(a - b) < 0.01;
function node(x, y, kind = "taxi", runway = "") {
    const there = nodes.find((n) => near(n.x, x) && near(n.y, y));
    if (there) return there;
    nodes.push({ x, y, kind, runway });
    return nodes.at(-1);
}
const edge = (a, b, kind, taxiway, runway = "") => edges.push({ a, b, kind, taxiway, runway });

for (const line of lines) {
    line.dir = Math.sign(line.to - line.from);
    line.stops = new Set();
    line.at = (place) => (line.x === undefined ? node(place, line.y) : node(line.x, place));
    line.has = (place) => (place - line.from) * line.dir >= -0.01 && (line.to - place) * line.dir >= -0.01;
    line.add = (place) => line.stops.add(place);
    line.add(line.from);
    line.add(line.to);
}
for (const a of lines) for (const b of lines) // crossings
    if (a.x !== undefined && b.y !== undefined && a.has(b.y) && b.has(a.x)) {
        a.add(b.y);
        b.add(a.x);
    }
const runwayOf = (name) => runways.find((r) => r.north === name || r.south === name);
const lineAt = (x) => lines.find((line) => line.x === x);
for (const { runway, y } of entries) lineAt(runwayOf(runway).x + runwayOf(runway).inward * nearOffset).add(y);
for (const { runway, y } of endExits) lineAt(runwayOf(runway).x + runwayOf(runway).inward * nearOffset).add(y);
for (const r of runways) {
    r.exits = [
        ...exitDistances.north.map((d) => ({ name: r.north, y: r.y0 + d, offset: nearOffset, sign: 1 })),
        ...exitDistances.south.map((d) => ({ name: r.south, y: r.y1 - d, offset: farOffset, sign: -1 })),
    ];
    for (const exit of r.exits) {
        exit.line = lineAt(r.x + r.inward * exit.offset);
        exit.joins = Math.round(exit.y + exit.sign * exit.offset / exitTangent);
        exit.line.add(exit.joins);
    }
}
for (const stand of stands) { // where the way to a stand leaves the lane, and where it comes back
    const line = lanes[stand.lane];
    stand.along = Math.round((line.x === undefined ? stand.x : stand.y) * 10) / 10;
    line.add(stand.along);
    if (stand.leave === "through") lanes.G3.add(stand.along);
}
for (const stand of stands) { // a push back ends upstream on the lane, the nose with the traffic
    if (stand.leave !== "push") continue;
    const line = lanes[stand.lane], least = 2 * stand.radius + 2;
    const upstream = (place) => (stand.along - place) * line.dir;
    const choice = [...line.stops].filter((p) => upstream(p) >= least).sort((p, q) => upstream(p) - upstream(q))[0];
    stand.pushTo = upstream(choice) <= least + 25 ? choice : stand.along - line.dir * least;
    line.add(stand.pushTo);
}
for (const line of lines) {
    const stops = [...line.stops].sort((p, q) => (p - q) * line.dir);
    stops.forEach((place, i) => {
        const there = line.at(place);
        there.id ??= `${line.name}.${i + 1}`;
        if (i > 0) edge(line.at(stops[i - 1]), there, line.lane ? "lane" : "taxiway", line.name);
    });
}
for (const { runway, y } of entries) {
    const r = runwayOf(runway), north = r.north === runway;
    const atEnd = north ? Math.max(y, r.y0 + lineUp) : Math.min(y, r.y1 - lineUp);
    const taxi = node(r.x + r.inward * nearOffset, y);
    const hold = node(r.x + r.inward * holdOffset, y, "hold", runway), onRunway = node(r.x, atEnd, "runway", `${r.north} ${r.south}`);
    hold.id = `${runway}-hold${y === atEnd ? 2 : 1}`;
    onRunway.id = `${runway}-lineup${y === atEnd ? 2 : 1}`;
    edge(taxi, hold, "taxiway", hold.id);
    edge(hold, onRunway, "entry", hold.id, runway);
}
for (const r of runways) {
    for (const exit of r.exits) {
        const from = node(r.x, exit.y, "runway", `${r.north} ${r.south}`);
        from.id ??= `${exit.name}-exit${exit.sign > 0 ? exit.y - r.y0 : r.y1 - exit.y}`;
        edge(from, exit.line.x === undefined ? node(exit.joins, exit.line.y) : node(exit.line.x, exit.joins), "exit", from.id, exit.name);
    }
}
for (const { runway, y } of endExits) {
    const r = runwayOf(runway), from = node(r.x, y, "runway", `${r.north} ${r.south}`);
    from.id ??= `${runway}-end`;
    edge(from, node(r.x + r.inward * nearOffset, y), "exit", from.id, runway);
}
for (const stand of stands) {
    const line = lanes[stand.lane];
    stand.node = line.at(stand.along);
    stand.to = stand.leave === "push" ? line.at(stand.pushTo) : lanes.G3.at(stand.along);
}

// ---- checks ------------------------------------------------------------------------------------------------------------------
const problems = [];
const distance = (a, b) => Math.hypot(a.x - b.x, a.y - b.y);
function toSegment(p, a, b) {
    const dx = b.x - a.x, dy = b.y - a.y;
    const t = Math.max(0, Math.min(1, ((p.x - a.x) * dx + (p.y - a.y) * dy) / (dx * dx + dy * dy)));
    return Math.hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}
const family = (id) => id.replace(/[LR]$/, "");
for (const [i, a] of stands.entries()) for (const b of stands.slice(i + 1))
    if (distance(a, b) < a.radius + b.radius && family(a.id) !== family(b.id)) problems.push(`${a.id} overlaps ${b.id}`);
let least = Infinity;
for (const { a, b, taxiway } of edges) for (const stand of stands) {
    const room = toSegment(stand, a, b) - stand.radius - (taxiway.startsWith("G") ? jet : wide);
    least = Math.min(least, room);
    if (room < 0) problems.push(`${taxiway} is ${room.toFixed(1)} m too near to ${stand.id}`);
}
function reached(start, links) {
    const seen = new Set([start]), open = [start];
    while (open.length) for (const next of links.get(open.pop()) ?? []) if (!seen.has(next)) { seen.add(next); open.push(next); }
    return seen;
}
const forward = new Map();
const link = (a, b) => forward.set(a, [...(forward.get(a) ?? []), b]);
for (const { a, b } of edges) link(a, b);
for (const n of nodes) if (!n.id) problems.push(`a node without a name at ${n.x}, ${n.y}`);
for (const exit of edges.filter((e) => e.kind === "exit")) {
    const seen = reached(exit.a, forward);
    for (const stand of stands) if (!seen.has(stand.node)) problems.push(`no way from ${exit.a.id} to ${stand.id}`);
}
for (const stand of stands) {
    const seen = reached(stand.to, forward);
    for (const n of nodes) if (n.kind === "hold" && !seen.has(n)) problems.push(`no way from ${stand.id} to ${n.id}`);
}
if (new Set(stands.map((s) => s.id)).size !== stands.length) problems.push("a stand id twice");
if (new Set(nodes.map((n) => n.id)).size !== nodes.length) problems.push("a node id twice");

// ---- the tables ----------------------------------------------------------------------------------------------------------------
const coordinate = (value) => value.toFixed(6);
const spot = ({ x, y }) => { const p = place(x, y); return `${coordinate(p.lat)},${coordinate(p.lon)}`; };
const table = (name, header, rows) => writeFileSync(join(folder, name), [header, ...rows].join("\n") + "\n");
mkdirSync(folder, { recursive: true });
table("index.csv", "icao,name,lat,lon,elev_ft,source_date", [`${airport.icao},${airport.name},${airport.lat},${airport.lon},${airport.elevFt},${airport.date}`]);
table(`${airport.icao}.csv`, "id,lat,lon,heading,radius_m,kind,node,leave,to",
    stands.map((s) => `${s.id},${spot(s)},${trueHeading(s.heading).toFixed(1)},${s.radius},${s.kind},${s.node.id},${s.leave},${s.to.id}`));
table(`${airport.icao}.runways.csv`, "name,lat,lon,heading,length_m,width_m", runways.flatMap((r) => [
    `${r.north},${spot({ x: r.x, y: r.y0 })},${trueHeading(0).toFixed(2)},${r.y1 - r.y0},${r.width}`,
    `${r.south},${spot({ x: r.x, y: r.y1 })},${trueHeading(180).toFixed(2)},${r.y1 - r.y0},${r.width}`]));
table(`${airport.icao}.nodes.csv`, "id,lat,lon,kind,runway", nodes.map((n) => `${n.id},${spot(n)},${n.kind},${n.runway}`));
table(`${airport.icao}.edges.csv`, "from,to,kind,taxiway,runway",
    edges.map((e) => `${e.a.id},${e.b.id},${e.kind},${e.taxiway},${e.runway}`));

// ---- the picture: one unit is a metre --------------------------------------------------------------------------------------------
if (picture) {
    const out = [];
    const at = ({ x, y }) => `${x.toFixed(1)} ${(-y).toFixed(1)}`;
    for (const r of runways) out.push(`<path d="M${r.x} ${-r.y0}V${-r.y1}" stroke="#888" stroke-width="${r.width}"/>`);
    for (const box of [[-200, 677, 400, 95], [-610, 305, 550, 104], [60, 345, 580, 36], [-620, -61, 560, 116], [60, -39, 560, 88]])
        out.push(`<rect x="${box[0]}" y="${-box[1] - box[3]}" width="${box[2]}" height="${box[3]}" fill="#ccd" stroke="none"/>`);
    const colors = { taxiway: "#06c", lane: "#080", exit: "#c60", entry: "#c0c" };
    for (const { a, b, kind } of edges) {
        const m = { x: (a.x + b.x) / 2, y: (a.y + b.y) / 2 }, d = distance(a, b), u = { x: (b.x - a.x) / d, y: (b.y - a.y) / d };
        out.push(`<path d="M${at(a)}L${at(b)}" stroke="${colors[kind]}" stroke-width="3"/>`);
        if (d > 15) out.push(`<path d="M${at({ x: m.x - 6 * u.x - 5 * u.y, y: m.y - 6 * u.y + 5 * u.x })}L${at(m)}L${at({ x: m.x - 6 * u.x + 5 * u.y, y: m.y - 6 * u.y - 5 * u.x })}" stroke="${colors[kind]}" stroke-width="2"/>`);
    }
    for (const s of stands) {
        const nose = { x: s.x + s.radius * Math.sin(s.heading * rad), y: s.y + s.radius * Math.cos(s.heading * rad) };
        out.push(`<path d="M${at(s.node)}L${at(s)}" stroke="#bbb" stroke-width="1"/><path d="M${at(s)}L${at(s.to)}" stroke="#fa0" stroke-width="1" stroke-dasharray="4 4"/>`);
        out.push(`<circle cx="${s.x}" cy="${-s.y}" r="${s.radius}" stroke="#c00" stroke-width="1.5"/><path d="M${at(s)}L${at(nose)}" stroke="#c00" stroke-width="3"/>`);
        out.push(`<text x="${s.x}" y="${-s.y + 4}" font-size="10" fill="#000" stroke="none" text-anchor="middle">${s.id}</text>`);
    }
    for (const n of nodes) out.push(`<circle cx="${n.x.toFixed(1)}" cy="${(-n.y).toFixed(1)}" r="${n.kind === "taxi" ? 3 : 6}" fill="${n.kind === "taxi" ? "#06c" : "#c0c"}" stroke="none"/>`);
    writeFileSync(picture, `<svg xmlns="http://www.w3.org/2000/svg" viewBox="-1150 -2850 2300 5250" width="2300" height="5250" fill="none" font-family="sans-serif"><rect x="-1150" y="-2850" width="2300" height="5250" fill="#fff"/>${out.join("\n")}</svg>\n`);
}

console.log(`${stands.length} stands, ${nodes.length} nodes, ${edges.length} edges; the least room beside a stand is ${least.toFixed(1)} m`);
for (const problem of problems) console.error(problem);
process.exit(problems.length ? 1 : 0);
