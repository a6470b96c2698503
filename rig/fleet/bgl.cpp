// Building of BGL files: words and records, put together by the layout that the program reads.

#include "fleet/bgl.h"

#include <bit>
#include <cmath>
#include <limits>

namespace rig {

static std::uint32_t packLat(double degrees) {
    return static_cast<std::uint32_t>(std::llround((90 - degrees) * (1 << 29) / 180));
}

static std::uint32_t packLon(double degrees) {
    return static_cast<std::uint32_t>(std::llround((degrees + 180) * 3 * (1 << 28) / 360));
}

std::uint32_t packIdent(const std::string& ident) {
    std::uint32_t packed = 0;
    for (const char c : ident) {
        std::uint32_t digit = 0; // a blank
        if (c >= '0' && c <= '9') digit = static_cast<std::uint32_t>(c - '0') + 2;
        if (c >= 'A' && c <= 'Z') digit = static_cast<std::uint32_t>(c - 'A') + 12;
        packed = packed * 38 + digit;
    }
    return packed << 5;
}

std::string bglWord(std::uint32_t value) {
    std::string bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
}

static std::string realWord(float value) { return bglWord(std::bit_cast<std::uint32_t>(value)); }

std::string bglRecord(std::uint32_t id, const std::string& body, std::int32_t size) {
    return bglWord(id).substr(0, 2) + bglWord(static_cast<std::uint32_t>(size)) + body;
}

std::string bglRecord(std::uint32_t id, const std::string& body) {
    return bglRecord(id, body, static_cast<std::int32_t>(body.size() + 6));
}

std::string bglHelipad(const BglHelipad& helipad) {
    const std::string surface(2, '\x11');
    return bglRecord(0x26, surface + bglWord(0x01020304) + bglWord(packLon(helipad.lon)) +
                               bglWord(packLat(helipad.lat)) + bglWord(100'000) + realWord(helipad.size) +
                               realWord(helipad.size) + realWord(0));
}

std::string bglParking(const std::vector<BglPosition>& positions) {
    std::string body = bglWord(static_cast<std::uint32_t>(positions.size())).substr(0, 2);
    for (const BglPosition& p : positions) {
        const std::uint32_t pushBackBothSides = 3u << 6; // not looked at
        body += bglWord(static_cast<std::uint32_t>(p.name) | pushBackBothSides |
                        static_cast<std::uint32_t>(p.type) << 8 | static_cast<std::uint32_t>(p.number) << 12 |
                        static_cast<std::uint32_t>(p.airlineCodes) << 24);
        body += realWord(p.radius) + realWord(p.heading);
        for (int i = 0; i < 4; ++i) body += realWord(5.5F); // the tug's distances
        body += bglWord(packLon(p.lon)) + bglWord(packLat(p.lat));
        body += std::string(20, '\x5A'); // suffix letter and others
        for (int i = 0; i < p.airlineCodes; ++i) body += "DLH" + std::string(1, '\0');
    }
    return bglRecord(0xE7, body);
}

std::string bglAirport(const BglAirport& airport) {
    constexpr std::size_t fixedBytes = 68, altitudeAt = 20, identAt = 40;
    std::string body(fixedBytes - 6, '\x07');
    body.replace(altitudeAt - 6, 4, bglWord(airport.altitudeMm));
    body.replace(identAt - 6, 4, bglWord(packIdent(airport.ident) | 0x1F)); // the low bits are another field
    for (std::size_t i = 0; i < airport.otherParts; ++i)
        body += bglRecord(0xCE, std::string(38, '\x26')); // a runway
    for (const BglHelipad& helipad : airport.helipads) body += bglHelipad(helipad);
    if (!airport.positions.empty()) body += bglParking(airport.positions);
    return bglRecord(0x56, body + airport.behind);
}

std::string bglFile(const std::vector<BglSection>& sections, const std::string& tail) {
    constexpr std::size_t headBytes = 56, sectionBytes = 20, entryBytes = 16;
    std::size_t tableAt = headBytes + sections.size() * sectionBytes, entries = 0;
    for (const BglSection& section : sections) entries += section.subsections.size();
    std::size_t recordsAt = tableAt + entries * entryBytes;
    const auto word = [](std::size_t value) { return bglWord(static_cast<std::uint32_t>(value)); };
    std::string head = bglWord(0x19920201) + word(headBytes) + std::string(12, '\0') + word(sections.size());
    head.resize(headBytes, '\0');
    std::string tables, records;
    for (const BglSection& section : sections) {
        head += bglWord(section.type) + bglWord(section.sizeCode) + word(section.subsections.size()) +
                word(tableAt) + word(section.subsections.size() * entryBytes);
        for (const std::string& subsection : section.subsections) {
            tables += bglWord(0x00083000) + word(1) + word(recordsAt) + word(subsection.size());
            records += subsection;
            recordsAt += subsection.size();
        }
        tableAt += section.subsections.size() * entryBytes;
    }
    return head + tables + records + tail;
}

} // namespace rig
