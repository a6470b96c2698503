// The walk through a BGL file, from its sections down to the single parking position. Every index is tested where it is
// used, every step of a walk leads forward, no record is walked twice, no airport lies in another one, and all airports
// together have no more parts than the file has room for, so that the work and the memory stay in proportion to the file
// whatever is in it.

#include "airportscan/bgl.h"

#include "airportscan/bglformat.h"
#include "app/geo.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <iterator>
#include <map>
#include <numbers>
#include <set>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <utility>

static constexpr std::string_view alert = "===> ";

namespace {

struct RecordHead {
    std::uint32_t id = 0;
    std::int32_t bytes = 0;                          // with the head itself; untrusted
    std::int32_t words() const { return bytes / 4; } // truncated toward zero
};

// The words of a file, or the first part of them.
class Words {
  public:
    explicit Words(std::span<const std::uint32_t> all) : words(all) {}
    std::size_t size() const { return words.size(); }
    std::uint32_t at(std::size_t i) const {
        if (i >= words.size()) throw std::out_of_range("a record runs beyond the end of the file");
        return words[i];
    }
    float real(std::size_t i) const { return std::bit_cast<float>(at(i)); }
    RecordHead head(std::size_t i) const {
        constexpr unsigned half = 16; // bits
        const std::uint32_t low = at(i), high = at(i + 1);
        return {low & 0xFFFF, static_cast<std::int32_t>(low >> half | high << half)};
    }
    bool holdsHead(std::size_t i) const { return i + 1 < words.size(); }

  private:
    std::span<const std::uint32_t> words;
};

} // namespace

// ---- what a record's fields mean ---------------------------------------------------------------------------------

std::string lf_decodeIdentifierOrRegionCode(std::uint32_t word, bool& valid) {
    constexpr std::uint32_t base = 38, textShift = 5; // the bits below are another field
    constexpr std::uint32_t firstNumeral = 2, lastNumeral = 11;
    constexpr std::size_t airportCodeLength = 4;
    constexpr int letterOffset = 53; // digit 12 is A
    const auto character = [](std::uint32_t digit) {
        if (digit == 0) return ' ';
        if (digit >= firstNumeral && digit <= lastNumeral)
            return static_cast<char>('0' + static_cast<int>(digit - firstNumeral));
        return static_cast<char>(letterOffset + static_cast<int>(digit));
    };
    std::string text;
    std::uint32_t rest = word >> textShift;
    if (rest >= base) {
        for (; rest >= base; rest /= base) text += character(rest % base);
        text += character(rest);
        std::reverse(text.begin(), text.end());
    }
    valid = text.size() == airportCodeLength;
    return text;
}

static LatLon lf_unpack(std::uint32_t lat, std::uint32_t lon) {
    constexpr double latUnits = 1 << 29, lonUnits = 3.0 * (1 << 28); // of a half and of a whole circle
    return {90 - lat * 180.0 / latUnits, lon * 360.0 / lonUnits - 180};
}

static bool lf_isOnEarth(LatLon p) {
    return p.lat >= -90 && p.lat <= 90 && p.lon >= -180 && p.lon <= 180 && !gf_isNoPosition(p.lat, p.lon);
}

static std::string lf_positionText(LatLon p) { return fmt::format("{:.6f},{:.6f}", p.lat, p.lon); }

static std::int32_t lf_altitudeFt(std::uint32_t millimetres) {
    constexpr double feetPerMetre = 3.2808399, highest = 10'000; // what lies below the sea is a huge number
    const double feet = std::round(millimetres * feetPerMetre / 1000);
    return feet > highest ? 0 : static_cast<std::int32_t>(feet);
}

// The number follows; "" for a position whose number is all its name.
static std::string lf_namePrefix(std::uint32_t code) {
    static constexpr std::array<const char*, 12> prefixes{"",   "r",   "p",  "np",  "ep", "sep",
                                                          "sp", "swp", "wp", "nwp", "g",  ""};
    constexpr int letterOffset = 53; // code 12 is A
    if (code < prefixes.size()) return prefixes[code];
    return std::string(1, static_cast<char>(letterOffset + static_cast<int>(code)));
}

struct PositionType {
    bool isStand = false, ramp = false, cargo = false;
};

static PositionType lf_positionType(std::uint32_t type) {
    switch (type) {
    case 0:  // none
    case 12: // fuel
    case 13: // vehicles
        return {};
    case 5: // ramp for cargo
        return {true, true, true};
    case 1:
    case 2:
    case 3:
    case 4:
    case 6:
    case 7:
    case 14: return {true, true, false};
    default: return {true, false, false}; // gates and docks
    }
}

// ---- one airport -------------------------------------------------------------------------------------------------

namespace {

class AirportReader {
  public:
    // The parts are those that may still be read of the whole file.
    AirportReader(const std::string& airport, const Words& all, std::size_t& parts,
                  std::vector<std::string>& log, const std::string& path)
        : code(airport), words(all), partsLeft(parts), lines(log), pathText(path) {}
    // All helipads up to the parking record, and that one; what follows it is not looked at.
    std::vector<Stand> readStands(std::size_t at, std::size_t end);

  private:
    void readParts(std::size_t at, std::size_t end);
    void lf_toHelipad(std::size_t at);
    void lf_toParkingPositions(std::size_t at);
    void addPosition(std::size_t at);
    void lf_fixDoubleIds();
    void countPart();
    bool hasRoom();

    const std::string& code;
    const Words& words;
    std::size_t& partsLeft;
    std::vector<std::string>& lines;
    const std::string& pathText;
    std::vector<Stand> stands;
    bool full = false;                            // there are more of them than are kept
    std::set<std::pair<double, double>> helipads; // of all that were there once
    std::size_t helipadNumber = 1;
    std::unordered_map<std::string, std::vector<std::size_t>> families; // stands by the id that they share
};

std::vector<Stand> AirportReader::readStands(std::size_t at, std::size_t end) {
    readParts(at, end);
    lf_fixDoubleIds();
    return std::move(stands);
}

void AirportReader::readParts(std::size_t at, std::size_t end) {
    while (at + 1 < end && !full) {
        const RecordHead head = words.head(at);
        if (head.id == bgl::helipadRecord && head.words() > static_cast<std::int32_t>(bgl::helipadSizeAt))
            lf_toHelipad(at);
        if (head.id == bgl::parkingRecord) return lf_toParkingPositions(at);
        if (head.words() < 1) { // it leads nowhere
            lines.push_back(fmt::format("{}record 0x{:04x} without a size ends airport {} in {}", alert,
                                        head.id, code, pathText));
            return;
        }
        at += static_cast<std::size_t>(head.words());
    }
}

// The positions of a parking record may lie behind the end of their airport, in what others claim to hold.
void AirportReader::countPart() {
    if (partsLeft == 0) throw std::out_of_range("the airports have more parts than the file has room for");
    --partsLeft;
}

bool AirportReader::hasRoom() {
    constexpr std::size_t most = 2000; // as the reader of airport files has it
    if (stands.size() < most) return true;
    lines.push_back(fmt::format("{}{} has more than {} stands, the rest is left out, in {}", alert, code,
                                most, pathText));
    full = true;
    return false;
}

void AirportReader::lf_toHelipad(std::size_t at) {
    countPart();
    const LatLon place = lf_unpack(words.at(at + bgl::helipadLatAt), words.at(at + bgl::helipadLonAt));
    const float size = words.real(at + bgl::helipadSizeAt);
    if (!lf_isOnEarth(place)) {
        lines.push_back("lat/lon helipad incorrect (skipped): " + lf_positionText(place));
        return;
    }
    if (!helipads.emplace(place.lat, place.lon).second) {
        lines.push_back(fmt::format("double helipad {} (skipped) {}", code, lf_positionText(place)));
        return;
    }
    if (!hasRoom()) return;
    Stand stand;
    stand.id = fmt::format("helipad{}", helipadNumber++);
    stand.lat = place.lat;
    stand.lon = place.lon;
    stand.radius = std::isfinite(size) ? size * 0.5 / metersPerNm : 0;
    stand.heli = true;
    stands.push_back(std::move(stand));
}

void AirportReader::lf_toParkingPositions(std::size_t at) {
    constexpr unsigned half = 16, airlineCodesShift = 24; // bits
    const std::uint32_t count = words.at(at + bgl::positionsAt - 1) >> half;
    at += bgl::positionsAt;
    for (std::uint32_t i = 0; i < count && !full; ++i) {
        addPosition(at);
        at += bgl::positionWords + (words.at(at) >> airlineCodesShift);
    }
}

void AirportReader::addPosition(std::size_t at) {
    constexpr float tooSmall = 1, tooLarge = 200; // metres; neither itself is a radius
    constexpr std::uint32_t nameMask = 0x3F, typeMask = 0xF, numberMask = 0xFFF;
    constexpr unsigned typeShift = 8, numberShift = 12;
    constexpr std::size_t most = 7; // of one id: the plain one, and with the letters a to f
    countPart();
    const std::uint32_t bits = words.at(at);
    const float radius = words.real(at + bgl::positionRadiusAt),
                degrees = words.real(at + bgl::positionHeadingAt);
    const LatLon place = lf_unpack(words.at(at + bgl::positionLatAt), words.at(at + bgl::positionLonAt));
    if (!(radius > tooSmall && radius < tooLarge)) {
        lines.push_back(fmt::format("skipped position with radius {:.1F} meters, in {}", radius, pathText));
        return;
    }
    const PositionType type = lf_positionType(bits >> typeShift & typeMask);
    if (!type.isStand) return;
    if (!lf_isOnEarth(place)) {
        lines.push_back(fmt::format("lat/lon: {}, incorrect (skipped) ", lf_positionText(place)));
        return;
    }
    std::string id = fmt::format("{}{}", lf_namePrefix(bits & nameMask), bits >> numberShift & numberMask);
    auto& family = families[id];
    if (family.size() == most) {
        lines.push_back(fmt::format("{}Warning more then 6 the same ids {}, in {}", alert, id, pathText));
        return;
    }
    if (!hasRoom()) return;
    family.push_back(stands.size());
    Stand stand;
    stand.id = std::move(id);
    stand.lat = place.lat;
    stand.lon = place.lon;
    stand.heading =
        degrees == 0 || !std::isfinite(degrees) ? 2 * std::numbers::pi : degrees * std::numbers::pi / 180;
    stand.radius = radius / metersPerNm;
    stand.ramp = type.ramp;
    stand.cargo = type.cargo;
    stands.push_back(std::move(stand));
}

// Stands of one id: the widest keeps it, the others get the letters a to f by their width. Of equal ones the first in
// the file comes first.
void AirportReader::lf_fixDoubleIds() {
    for (auto& [id, family] : families) {
        std::stable_sort(family.begin(), family.end(),
                         [&](std::size_t a, std::size_t b) { return stands[a].radius > stands[b].radius; });
        for (std::size_t i = 1; i < family.size(); ++i)
            stands[family[i]].id += static_cast<char>('a' + static_cast<int>(i - 1));
    }
}

} // namespace

// ---- the file ----------------------------------------------------------------------------------------------------

namespace {

class FileReader {
  public:
    FileReader(std::span<const std::uint32_t> all, const std::string& path, const BglRules& known,
               BglFindings& result)
        : words(all), pathText(path), rules(known), findings(result),
          partsLeft(all.size() / bgl::smallestPartWords), walked(all.size()) {}
    void lf_decodeBgl();

  private:
    void walkRecords(std::size_t at);
    bool claim(std::size_t start, std::size_t end);
    void lf_readAirportRecord(std::size_t at, const RecordHead& head, std::string code);

    const Words words;
    const std::string& pathText;
    const BglRules& rules;
    BglFindings& findings;
    std::size_t partsLeft;    // helipads and positions
    std::vector<bool> walked; // by word: a record that starts there, and so all behind it, has been read
    std::map<std::size_t, std::size_t> claimed; // airports that have been read: where they start and end
};

// False when a part of it belongs to another airport.
bool FileReader::claim(std::size_t start, std::size_t end) {
    const auto next = claimed.lower_bound(start);
    if (next != claimed.end() && next->first < end) return false;
    if (next != claimed.begin() && std::prev(next)->second > start) return false;
    claimed.emplace(start, end);
    return true;
}

void FileReader::lf_readAirportRecord(std::size_t at, const RecordHead& head, std::string code) {
    const std::size_t end = at + static_cast<std::size_t>(head.words());
    constexpr std::size_t most = 100'000; // the world has fewer
    if (findings.airports.size() == most)
        throw std::length_error(fmt::format("it has more than {} airports", most));
    FoundAirport met;
    met.file.code = std::move(code);
    met.identity = rules.identify(met.file, findings.lines);
    met.linesBefore = findings.lines.size();
    findings.airports.push_back(std::move(met)); // it keeps its link when its stands cannot be read
    auto& [file, identity, toGenerate, linesBefore] = findings.airports.back();
    if (!rules.is2020 && identity.linked()) return;
    file.altitude = lf_altitudeFt(words.at(at + bgl::airportAltitudeAt));
    file.airportName = gf_airportName(file.code).value_or("");
    file.stands = AirportReader(file.code, words, partsLeft, findings.lines, pathText)
                      .readStands(at + bgl::airportPartsAt, end);
    const auto archived = static_cast<std::size_t>(std::max(identity.archivedStands, 0));
    const bool more = archived < file.stands.size();
    if (more)
        findings.lines.push_back(fmt::format("{}{} has {} parkpos while archived one has {}", alert,
                                             file.code, file.stands.size(), archived));
    toGenerate = !file.stands.empty() && (!identity.linked() || more);
    linesBefore = findings.lines.size();
}

// Behind the last record lies other data, which is walked as if it were records until a size leads out of the file.
void FileReader::walkRecords(std::size_t at) {
    while (words.holdsHead(at) && !walked[at]) {
        walked[at] = true;
        const RecordHead head = words.head(at);
        if (head.id == bgl::airportRecord2024 && !rules.is2020) {
            findings.notRecognised = true;
            return;
        }
        if (head.id == bgl::airportRecord && head.words() >= static_cast<std::int32_t>(bgl::airportPartsAt)) {
            bool valid = false;
            std::string code =
                lf_decodeIdentifierOrRegionCode(words.at(at + bgl::airportIdentifierAt), valid);
            if (valid && claim(at, at + static_cast<std::size_t>(head.words())))
                lf_readAirportRecord(at, head, std::move(code));
        }
        if (head.words() < 1) return;
        at += static_cast<std::size_t>(head.words());
    }
}

void FileReader::lf_decodeBgl() {
    if (words.size() <= bgl::headerWords || words.at(bgl::headerSizeAt) != bgl::headerBytes) return;
    const std::size_t count = words.at(bgl::sectionCountAt);
    for (std::size_t i = 0; i < count && !findings.notRecognised; ++i) {
        const std::size_t section = bgl::headerWords + i * bgl::sectionWords;
        if (words.at(section) != bgl::airportSection ||
            (words.at(section + bgl::sectionSizeCodeAt) & bgl::wideSubsections) != 0)
            continue;
        const std::size_t subsection = words.at(section + bgl::subsectionTableAt) / 4;
        walkRecords(words.at(subsection + bgl::recordsAt) / 4);
    }
}

} // namespace

BglFindings gf_decodeBgl(std::span<const std::uint32_t> words, const std::string& pathText,
                         const BglRules& rules) {
    BglFindings findings;
    try {
        FileReader(words, pathText, rules, findings).lf_decodeBgl();
    } catch (const std::exception& e) {
        findings.lines.push_back("Exception in lf_toParkingPositions: " + pathText);
        findings.failure = e.what();
    }
    return findings;
}
