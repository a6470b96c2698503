// The decoder against real files: what an independent reader says of them, brought under this program's own rules, and,
// where there is one, the project that the file was compiled from.

#include "airportscan/bgl.h"
#include "app/geo.h"
#include "support.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

namespace fs = std::filesystem;

namespace {

struct Expected { // a stand without its letter
    double lat = 0, lon = 0, headingDeg = 0, radiusM = 0;
    bool ramp = false, cargo = false, heli = false;
};
using ExpectedStands = std::map<std::string, std::vector<Expected>>; // by id

std::string prefixOf(int code) {
    static const char* const named[] = {"", "r", "p", "np", "ep", "sep", "sp", "swp", "wp", "nwp", "g", ""};
    return code < 12 ? named[code] : std::string(1, static_cast<char>('A' + code - 12));
}

struct Kind {
    bool stand, ramp, cargo;
};

std::optional<Expected> expectedOf(const nlohmann::json& parking, Kind kind) {
    const Expected e{parking.at("lat"),      parking.at("lon"), parking.at("heading_deg"),
                     parking.at("radius_m"), kind.ramp,         kind.cargo};
    const bool none = e.lat >= 0 && e.lat <= 0.0009 && e.lon >= 0 && e.lon <= 0.05;
    if (!kind.stand || e.radiusM <= 1 || e.radiusM >= 200 || none) return std::nullopt;
    return e;
}

void addHelipads(const nlohmann::json& helipads, ExpectedStands& stands) {
    std::map<std::pair<double, double>, bool> seen;
    int number = 1;
    for (const auto& pad : helipads) {
        if (!seen.emplace(std::pair(pad.at("lat").get<double>(), pad.at("lon").get<double>()), true).second)
            continue;
        stands[fmt::format("helipad{}", number++)].push_back(
            {pad.at("lat"), pad.at("lon"), 0, pad.at("length_m").get<double>() / 2, false, false, true});
    }
}

// Of the independent reader's raw data.
ExpectedStands oracleStands(const nlohmann::json& airport) {
    ExpectedStands stands;
    addHelipads(airport.at("helipads"), stands);
    for (const auto& parking : airport.at("parkings")) {
        const int type = parking.at("type_code");
        const Kind kind{type != 0 && type != 12 && type != 13, (type >= 1 && type <= 7) || type == 14,
                        type == 5};
        const std::string id =
            fmt::format("{}{}", prefixOf(parking.at("name_code")), parking.at("number").get<int>());
        if (const auto e = expectedOf(parking, kind)) stands[id].push_back(*e);
    }
    return stands;
}

// Of the project's own text.
ExpectedStands sourceStands(const nlohmann::json& source) {
    static const std::map<std::string, std::string> names{
        {"NONE", ""},        {"PARKING", "r"},      {"N_PARKING", "p"},  {"NE_PARKING", "np"},
        {"E_PARKING", "ep"}, {"SE_PARKING", "sep"}, {"S_PARKING", "sp"}, {"SW_PARKING", "swp"},
        {"W_PARKING", "wp"}, {"NW_PARKING", "nwp"}, {"GATE", "g"},       {"DOCK", ""}};
    ExpectedStands stands;
    addHelipads(source.at("helipads"), stands);
    for (const auto& parking : source.at("parkings")) {
        const std::string type = parking.at("type"), name = parking.at("name");
        const Kind kind{type != "NONE" && type != "FUEL" && type != "VEHICLE", type.starts_with("RAMP"),
                        type == "RAMP_CARGO"};
        const std::string prefix =
            name.starts_with("GATE_") ? name.substr(std::string("GATE_").size()) : names.at(name);
        const std::string id = fmt::format("{}{}", prefix, parking.at("number").get<int>());
        if (const auto e = expectedOf(parking, kind)) stands[id].push_back(*e);
    }
    return stands;
}

bool fits(const Stand& stand, const Expected& e, double degrees) {
    const double heading = stand.heading * radToDeg;
    const double turn = std::remainder(heading - e.headingDeg, 360);
    return std::abs(stand.lat - e.lat) < degrees && std::abs(stand.lon - e.lon) < degrees &&
           (e.heli ? heading == 0 : heading > 0 && std::abs(turn) < 1e-4) &&
           std::abs(stand.radius * metersPerNm - e.radiusM) < 1e-4 && stand.ramp == e.ramp &&
           stand.cargo == e.cargo && stand.heli == e.heli;
}

// Each id with its family: the widest has the plain id, and the letters go by the width. Where widths are equal any
// order will do.
void expectSame(const std::vector<Stand>& stands, ExpectedStands expected, double degrees,
                const std::string& where) {
    std::map<std::string, const Stand*> byId;
    for (const Stand& stand : stands)
        EXPECT_TRUE(byId.emplace(stand.id, &stand).second) << where << " " << stand.id;
    std::size_t matched = 0;
    for (auto& [id, family] : expected) {
        family.resize(std::min<std::size_t>(family.size(), 7)); // there are no more letters
        std::stable_sort(family.begin(), family.end(),
                         [](const Expected& a, const Expected& b) { return a.radiusM > b.radiusM; });
        for (std::size_t i = 0; i < family.size(); ++i) {
            const std::string name = i == 0 ? id : id + static_cast<char>('a' + i - 1);
            const auto found = byId.find(name);
            ASSERT_TRUE(found != byId.end()) << where << " lacks " << name;
            const double radius = family[i].radiusM;
            const auto fit = std::find_if(family.begin(), family.end(), [&](const Expected& e) {
                return std::abs(e.radiusM - radius) < 1e-4 && fits(*found->second, e, degrees);
            });
            EXPECT_TRUE(fit != family.end()) << where << " " << name;
            matched += fit != family.end();
            if (fit != family.end()) fit->lat = 1000; // taken
        }
    }
    EXPECT_EQ(matched, stands.size()) << where;
}

int expectedAltitude(double metres) {
    const double feet = std::round(metres * 3.2808399);
    return metres < 0 || feet > 10000 ? 0 : static_cast<int>(feet);
}

std::vector<std::uint32_t> wordsOf(const fs::path& path) {
    BglFile file(path);
    WordBuffer buffer;
    const auto words = file.read(buffer);
    EXPECT_TRUE(words);
    return {words->begin(), words->end()};
}

// Gives an airport whose identifier is too short another one, in the bytes, so that its stands are read all the same.
void rename(std::vector<std::uint32_t>& words, const std::string& ident) {
    const auto packed = [](const std::string& text) {
        std::uint32_t v = 0;
        for (const char c : text) v = v * 38 + static_cast<std::uint32_t>(c <= '9' ? c - '0' + 2 : c - 53);
        return v;
    };
    for (std::size_t i = 0; i + 10 < words.size(); ++i)
        if ((words[i] & 0xFFFF) == 0x56 && words[i + 10] >> 5 == packed(ident))
            words[i + 10] = packed("TEST") << 5;
}

const BglRules noPublishers{true, [](AirportFile&, std::vector<std::string>&) { return AirportIdentity{}; }};

void compareAirport(const FoundAirport& found, const nlohmann::json& airport, const fs::path& path) {
    const std::string where = path.filename().string() + " " + airport.at("ident").get<std::string>();
    EXPECT_EQ(found.file.altitude, expectedAltitude(airport.at("altitude_m"))) << where;
    expectSame(found.file.stands, oracleStands(airport), 1e-9, where);
    const fs::path source = path.string() + ".source.json";
    if (fs::exists(source)) // the compiler packs a position into steps of 0.04 m
        expectSame(found.file.stands, sourceStands(nlohmann::json::parse(test::readFile(source))), 1e-6,
                   where + " source");
}

// Returns the number of airports that were compared.
std::size_t compareFile(const fs::path& path) {
    const auto oracle = nlohmann::json::parse(test::readFile(path.string() + ".oracle.json"));
    auto words = wordsOf(path);
    EXPECT_EQ(words.size(), fs::file_size(path) / 4);
    const BglFindings plain = gf_decodeBgl(words, path.string(), noPublishers);
    std::vector<nlohmann::json> airports; // that an MSFS file holds
    if (path.string().find("bgl-other") == std::string::npos)
        for (const auto& airport : oracle.at("airports")) airports.push_back(airport);
    EXPECT_EQ(BglFile(path).hasAirportSection(), !airports.empty() || oracle.at("num_airports") != 0 ||
                                                     path.string().find("bgl-other") != std::string::npos)
        << path;
    EXPECT_EQ(plain.failure, "") << path;
    std::vector<std::string> codes, expectedCodes;
    for (const auto& found : plain.airports) codes.push_back(found.file.code);
    for (const auto& airport : airports)
        if (airport.at("ident").get<std::string>().size() == 4) expectedCodes.push_back(airport.at("ident"));
    EXPECT_EQ(codes, expectedCodes) << path;
    for (const auto& airport : airports)
        if (airport.at("ident").get<std::string>().size() != 4) rename(words, airport.at("ident"));
    const BglFindings all = gf_decodeBgl(words, path.string(), noPublishers);
    EXPECT_EQ(all.airports.size(), airports.size()) << path;
    for (std::size_t i = 0; i < std::min(all.airports.size(), airports.size()); ++i)
        compareAirport(all.airports[i], airports[i], path);
    return airports.size();
}

} // namespace

TEST(BglCorpus, ReadsRealSceneriesAsAnIndependentReaderDoes) {
    const fs::path corpus = test::sharedFolder() / "corpus";
    if (!fs::exists(corpus / "bgl")) GTEST_SKIP() << "no corpus of real sceneries";
    std::size_t files = 0, compared = 0;
    for (const auto& entry : fs::recursive_directory_iterator(corpus)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".bgl" && extension != ".BGL") continue;
        ++files;
        compared += compareFile(entry.path());
    }
    EXPECT_EQ(files, 37u);
    EXPECT_EQ(compared, 27u);
}
