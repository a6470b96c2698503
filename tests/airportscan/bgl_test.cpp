// The decoder on files built for the purpose: each rule at its edge, and bytes that mean harm.

#include "airportscan/bgl.h"
#include "app/geo.h"
#include "fleet/bgl.h"
#include "support.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>

using namespace rig;

namespace {

std::vector<std::uint32_t> wordsOf(const std::string& bytes) {
    std::vector<std::uint32_t> words(bytes.size() / 4);
    std::memcpy(words.data(), bytes.data(), words.size() * 4);
    return words;
}

const auto unknown = [](AirportFile&, std::vector<std::string>&) { return AirportIdentity{}; };

BglFindings decode(const std::string& bytes, bool is2020 = true) {
    return gf_decodeBgl(wordsOf(bytes), "x.bgl", {is2020, unknown});
}

std::string fileOf(const std::string& records) { return bglFile({{3, 1, {records}}}); }

BglFindings decodeAirport(const BglAirport& airport) { return decode(fileOf(bglAirport(airport))); }

// "id radius heading flags" of each stand.
std::string stands(const BglFindings& findings) {
    std::string text;
    for (const auto& found : findings.airports)
        for (const Stand& s : found.file.stands)
            text += fmt::format("{} {:.1f} {:.0f}{}{}{}|", s.id, s.radius * metersPerNm, s.heading * radToDeg,
                                s.ramp ? " ramp" : "", s.cargo ? " cargo" : "", s.heli ? " heli" : "");
    return text;
}

std::string codes(const BglFindings& findings) {
    std::string text;
    for (const auto& found : findings.airports) text += found.file.code + " ";
    return text;
}

std::string lines(const BglFindings& findings) {
    std::string text;
    for (const std::string& line : findings.lines)
        if (line.find("parkpos while archived") == line.npos) text += line + "|";
    return text;
}

BglPosition position(int number, float radius = 20, int name = 10) {
    BglPosition p;
    p.number = number;
    p.radius = radius;
    p.name = name;
    p.lon = 8 + number * 0.001;
    return p;
}

} // namespace

TEST(Bgl, IdentifiersOfFourCharactersAreAirports) {
    const auto ident = [](std::uint32_t word) {
        bool valid = false;
        const std::string text = lf_decodeIdentifierOrRegionCode(word, valid);
        return text + (valid ? "" : "!");
    };
    EXPECT_EQ(ident(packIdent("EDDF") | 0x1F), "EDDF") << "the low five bits are not looked at";
    EXPECT_EQ(ident(packIdent("K12Z")), "K12Z");
    EXPECT_EQ(ident(packIdent("E  F")), "E  F") << "a blank counts as a character";
    EXPECT_EQ(ident(packIdent("YBF")), "YBF!");
    EXPECT_EQ(ident(packIdent("EDDFX")), "EDDFX!");
    EXPECT_EQ(ident(37u << 5), "!");
    EXPECT_EQ(ident(38u << 5), "6 !") << "digit 1 is no character of its own, but moved like the letters";
    EXPECT_EQ(ident(0xFFFFFFFF).size(), 7u) << "the longest there is";

    BglAirport three, five, four;
    three.ident = "YBF";
    five.ident = "EDDFX";
    const auto found = decode(fileOf(bglAirport(three) + bglAirport(five) + bglAirport(four)));
    EXPECT_EQ(codes(found), "EDTT ") << "the others are passed over";
}

TEST(Bgl, AltitudesAreFeetUpToTenThousand) {
    const auto altitude = [](int mm) {
        BglAirport airport;
        airport.altitudeMm = static_cast<std::uint32_t>(mm);
        return decodeAirport(airport).airports.at(0).file.altitude;
    };
    EXPECT_EQ(altitude(152), 0) << "0.4987 ft";
    EXPECT_EQ(altitude(153), 1) << "0.502 ft";
    EXPECT_EQ(altitude(3'048'100), 10000);
    EXPECT_EQ(altitude(3'048'160), 0) << "10001 ft";
    EXPECT_EQ(altitude(-3000), 0) << "below the sea";
}

TEST(Bgl, NamesTypesAndNumbersOfPositions) {
    BglAirport airport;
    for (const int name : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 37}) {
        airport.positions.push_back(position(name == 11 ? 4095 : 7, 20, name));
        airport.positions.back().airlineCodes = name % 4;
    }
    EXPECT_EQ(stands(decodeAirport(airport)),
              "7 20.0 90|r7 20.0 90|p7 20.0 90|np7 20.0 90|ep7 20.0 90|sep7 20.0 90|sp7 20.0 90|swp7 20.0 90|"
              "wp7 20.0 90|nwp7 20.0 90|g7 20.0 90|4095 20.0 90|A7 20.0 90|Z7 20.0 90|");

    BglAirport types;
    for (int type = 0; type < 16; ++type) {
        types.positions.push_back(position(type));
        types.positions.back().type = type;
    }
    std::string flags;
    const BglFindings findings = decodeAirport(types);
    for (const Stand& s : findings.airports.at(0).file.stands)
        flags += fmt::format("{}{}{} ", s.id, s.ramp ? "r" : "", s.cargo ? "c" : "");
    EXPECT_EQ(flags, "g1r g2r g3r g4r g5rc g6r g7r g8 g9 g10 g11 g14r g15 ");
}

TEST(Bgl, LeavesOutWhatCannotBeAStand) {
    BglAirport airport;
    const float none = std::numeric_limits<float>::quiet_NaN(), huge = std::numeric_limits<float>::infinity();
    int number = 0;
    for (const float radius : {1.0F, 1.1F, 199.9F, 200.0F, 0.0F, -5.0F, none, huge})
        airport.positions.push_back(position(++number, radius));
    BglPosition nowhere = position(20), offMap = position(21), fuel = position(22, 300);
    nowhere.lat = 0.0005;
    nowhere.lon = 0.02;
    offMap.lat = -91;
    fuel.type = 12;
    for (const auto& p : {nowhere, offMap, fuel, position(20)}) airport.positions.push_back(p);
    airport.positions.back().heading = 0;
    airport.positions.push_back(position(30));
    airport.positions.back().heading = none;
    const auto found = decodeAirport(airport);
    EXPECT_EQ(stands(found), "g2 1.1 90|g3 199.9 90|g20 20.0 360|g30 20.0 360|")
        << "what is left out takes no id; a heading of 0 is a full turn";
    std::string expected;
    for (const char* radius : {"1.0", "200.0", "0.0", "-5.0", "NAN", "INF", "300.0"}) {
        if (std::string(radius) == "300.0")
            expected += "lat/lon: 0.000500,0.020000, incorrect (skipped) |"
                        "lat/lon: -91.000000,8.021000, incorrect (skipped) |";
        expected += fmt::format("skipped position with radius {} meters, in x.bgl|", radius);
    }
    EXPECT_EQ(lines(found), expected);
}

TEST(Bgl, DoubledIdsGoByTheWidth) {
    BglAirport airport;
    for (const float radius : {30.0F, 40.0F, 20.0F}) airport.positions.push_back(position(5, radius));
    EXPECT_EQ(stands(decodeAirport(airport)), "g5a 30.0 90|g5 40.0 90|g5b 20.0 90|");

    airport.positions.clear();
    for (const float radius : {10.0F, 11.0F, 12.0F, 12.0F, 13.0F, 14.0F, 15.0F, 99.0F})
        airport.positions.push_back(position(5, radius));
    airport.positions.push_back(position(50, 5));
    const auto found = decodeAirport(airport);
    EXPECT_EQ(stands(found), "g5f 10.0 90|g5e 11.0 90|g5c 12.0 90|g5d 12.0 90|g5b 13.0 90|g5a 14.0 90|"
                             "g5 15.0 90|g50 5.0 90|")
        << "the eighth is dropped before the widths count; of equal ones the first comes first";
    EXPECT_EQ(lines(found), "===> Warning more then 6 the same ids g5, in x.bgl|");
}

TEST(Bgl, HelipadsUpToTheParkingRecord) {
    BglAirport airport;
    const float none = std::numeric_limits<float>::quiet_NaN();
    airport.helipads = {{}, {0.0009, 0.05, 20}, {}, {50, 8.1, 15}, {50, 8.2, none}};
    airport.positions = {position(1)};
    airport.behind = bglHelipad({50, 8.3, 20}) + bglParking({position(2)});
    const auto found = decodeAirport(airport);
    EXPECT_EQ(stands(found), "helipad1 10.0 0 heli|helipad2 7.5 0 heli|helipad3 0.0 0 heli|g1 20.0 90|");
    EXPECT_EQ(lines(found), "lat/lon helipad incorrect (skipped): 0.000900,0.050000|"
                            "double helipad EDTT (skipped) 50.000000,8.000000|");
    EXPECT_NEAR(found.airports.at(0).file.stands.at(0).lat, 50, 1e-6);
}

TEST(Bgl, TheWalkThroughSectionsAndRecords) {
    BglAirport a, b, c;
    b.ident = "EDFF";
    c.ident = "EDNN";
    const std::string other = bglRecord(0x3B, std::string(30, '\0'));
    const auto both =
        bglFile({{0x13, 1, {other}}, {3, 1, {bglAirport(a), bglAirport(b)}}, {3, 1, {bglAirport(c)}}});
    EXPECT_EQ(codes(decode(both)), "EDTT EDFF EDNN ")
        << "the second subsection is met on the way, and the third airport once";
    EXPECT_EQ(codes(decode(bglFile({{3, 0x10001, {bglAirport(a)}}, {3, 1, {bglAirport(b)}}}))), "EDFF ")
        << "entries of 20 bytes are not read";
    EXPECT_EQ(codes(decode(bglFile({{3, 0x20001, {bglAirport(a)}}}))), "EDTT ");
    EXPECT_EQ(codes(decode(both + "abc")), "EDTT EDFF EDNN ") << "no multiple of four";

    std::string wrongHead = both;
    wrongHead[4] = 57;
    EXPECT_EQ(codes(decode(wrongHead)), "");
    EXPECT_EQ(codes(decode(both.substr(0, 59))), "") << "fewer than 15 words";
    EXPECT_EQ(decode(both.substr(0, 59)).failure, "");

    const std::string backward = bglRecord(0x99, std::string(26, '\0'), -64);
    EXPECT_EQ(codes(decode(fileOf(bglAirport(a) + backward + bglAirport(b)))), "EDTT ");
    const std::string odd = bglRecord(0x99, std::string(26, '\0'), 35);
    EXPECT_EQ(codes(decode(fileOf(odd + bglAirport(b)))), "EDFF ") << "sizes are cut to whole words";
}

TEST(Bgl, TheKindOf2024EndsTheFile) {
    BglAirport a, b;
    b.ident = "EDFF";
    const std::string file = fileOf(bglAirport(a) + bglRecord(0x113, std::string(58, '\0')) + bglAirport(b));
    EXPECT_EQ(codes(decode(file)), "EDTT EDFF ");
    EXPECT_FALSE(decode(file).notRecognised);
    const auto found = decode(file, false);
    EXPECT_EQ(codes(found), "EDTT ");
    EXPECT_TRUE(found.notRecognised);
}

TEST(Bgl, WhatTheArchiveHasDecidesWhetherAFileIsMade) {
    BglAirport airport;
    airport.positions = {position(1), position(2)};
    const auto words = wordsOf(fileOf(bglAirport(airport)));
    const auto outcome = [&](bool is2020, const AirportIdentity& identity) {
        const auto found =
            gf_decodeBgl(words, "x.bgl", {is2020, [&](AirportFile& file, std::vector<std::string>&) {
                                              file.publisher = "somebody";
                                              return identity;
                                          }});
        const auto& one = found.airports.at(0);
        return fmt::format("{} {} {} {}", one.file.publisher, one.file.stands.size(), one.toGenerate,
                           found.lines.empty() ? "" : found.lines[0]);
    };
    EXPECT_EQ(outcome(true, {}), "somebody 2 true ===> EDTT has 2 parkpos while archived one has 0");
    EXPECT_EQ(outcome(true, {"archive/x.xml", 2}), "somebody 2 false ");
    EXPECT_EQ(outcome(true, {"archive/x.xml", 1}),
              "somebody 2 true ===> EDTT has 2 parkpos while archived one has 1");
    EXPECT_EQ(outcome(false, {"archive/x.xml", 1}), "somebody 0 false ") << "its stands are not read";
    EXPECT_EQ(outcome(false, {}), "somebody 2 true ===> EDTT has 2 parkpos while archived one has 0");
}

TEST(Bgl, ACutFileKeepsWhatCameBefore) {
    BglAirport a, b;
    a.positions = {position(1)};
    b.ident = "EDFF";
    b.positions = {position(1), position(2)};
    const std::string file = fileOf(bglAirport(a) + bglAirport(b));
    constexpr std::size_t behindPlace = 20; // bytes of a position that are not looked at
    EXPECT_EQ(stands(decode(file.substr(0, file.size() - behindPlace))), "g1 20.0 90|g1 20.0 90|g2 20.0 90|");
    for (std::size_t cut = behindPlace + 1; cut < bglAirport(b).size() - 8; ++cut) {
        const auto words = wordsOf(file.substr(0, file.size() - cut));
        const auto found = gf_decodeBgl(words, "x.bgl", {true, [](AirportFile&, std::vector<std::string>&) {
                                                             return AirportIdentity{"archive/x.xml", 1};
                                                         }});
        EXPECT_EQ(stands(found), "g1 20.0 90|") << cut;
        const bool met = bglAirport(b).size() - cut >= 44; // its identifier is there
        ASSERT_EQ(codes(found), met ? "EDTT EDFF " : "EDTT ") << cut;
        EXPECT_FALSE(found.airports.back().toGenerate);
        EXPECT_TRUE(found.airports.back().identity.linked()) << "a link needs no stands";
        EXPECT_NE(found.failure, "") << cut;
        ASSERT_FALSE(found.lines.empty());
        EXPECT_EQ(found.lines.back(), "Exception in lf_toParkingPositions: x.bgl") << cut;
    }

    // More positions than the airport's own size has room for are read on, and others behind it all the same.
    std::string record = bglAirport(a);
    const std::size_t count = record.rfind(bglParking(a.positions)) + 6;
    record[count] = '\x02';
    const std::string more = bglParking({position(3)}).substr(8);
    EXPECT_EQ(stands(decode(fileOf(record + more))), "g1 20.0 90|g3 20.0 90|");
    record[count + 1] = '\x7F';
    const auto found = decode(fileOf(record + std::string(100'000, '\x40')));
    EXPECT_EQ(codes(found), "EDTT ");
    EXPECT_EQ(stands(found), "") << "they run out of the file";
    EXPECT_NE(found.failure, "");
}

// What would make a reader loop, or take time and memory out of proportion to the file.
TEST(Bgl, NothingHangsAndNothingGrowsWithoutBounds) {
    BglAirport a;
    a.behind = bglRecord(0x99, std::string(58, '\0'), 0);
    const auto stuck = decodeAirport(a);
    EXPECT_EQ(codes(stuck), "EDTT ");
    EXPECT_EQ(lines(stuck), "===> record 0x0099 without a size ends airport EDTT in x.bgl|");

    // Ten thousand sections that all name the same records.
    BglAirport b;
    for (int i = 0; i < 100; ++i) b.positions.push_back(position(i));
    std::string data = bglAirport(b);
    for (int i = 0; i < 50'000; ++i) data += bglRecord(0x99, std::string(10, '\0'));
    std::vector<BglSection> sections(10'000, BglSection{3, 1, {}});
    sections[0].subsections = {data};
    const auto found = decode(bglFile(sections));
    EXPECT_EQ(codes(found), "EDTT ");

    // Sections that each name an airport of their own, and all of them share their stands.
    std::string heads;
    for (int i = 0; i < 1000; ++i) heads += bglAirport({}).substr(0, 68).replace(2, 4, bglWord(1'000'000));
    std::vector<BglSection> sharing(1000, BglSection{3, 1, {std::string()}});
    sharing[0].subsections = {heads + std::string(1'000'000, '\0')};
    std::string shared = bglFile(sharing);
    const std::size_t tables = 56 + 1000 * 20, records = tables + 1000 * 16;
    for (std::size_t i = 0; i < 1000; ++i)
        shared.replace(tables + i * 16 + 8, 4, bglWord(static_cast<std::uint32_t>(records + (999 - i) * 68)));
    EXPECT_EQ(codes(decode(shared)), "EDTT ");

    // A thousand airports that each have the same five thousand positions behind them.
    BglAirport none;
    none.positions = {position(1)};
    std::string small = bglAirport(none).substr(0, 68) + bglParking(none.positions).substr(0, 8);
    small.replace(2, 4, bglWord(static_cast<std::uint32_t>(small.size())));
    small[74] = '\x88', small[75] = '\x13';
    std::string crowd;
    for (int i = 0; i < 1000; ++i) crowd += small;
    crowd += std::string(5000 * 56, '\0');
    const auto crowded = decode(fileOf(crowd));
    EXPECT_EQ(crowded.failure, "the airports have more parts than the file has room for");
    EXPECT_LE(crowded.lines.size(), crowd.size() / 32 + 10);

    BglAirport pads;
    for (int i = 0; i < 2100; ++i) pads.helipads.push_back({50 + i * 0.001, 8.1, 20});
    pads.positions = {position(1)};
    const auto many = decodeAirport(pads);
    EXPECT_EQ(many.airports.at(0).file.stands.size(), 2000u);
    EXPECT_EQ(lines(many), "===> EDTT has more than 2000 stands, the rest is left out, in x.bgl|");

    std::mt19937 random(1);
    const std::string sound = fileOf(bglAirport(b));
    for (int round = 0; round < 2000; ++round) {
        std::string bytes = sound;
        for (int i = 0; i < 4; ++i) bytes[random() % bytes.size()] = static_cast<char>(random());
        const auto any = decode(bytes);
        ASSERT_LE(any.airports.size(), 2u);
    }
}

TEST(Bgl, TheQuickTestLooksAtTheHeadAlone) {
    const test::ScratchFolder scratch;
    const auto passes = [&](const std::string& bytes) {
        test::writeFile(scratch.path / "x.bgl", bytes);
        return BglFile(scratch.path / "x.bgl").hasAirportSection();
    };
    const std::string file = bglFile({{0x13, 1, {"abcd"}}, {3, 1, {bglAirport({})}}});
    EXPECT_TRUE(passes(file));
    for (const std::string& none : {bglFile({{0x13, 1, {"abcd"}}}), bglFile({}, "abcd"), std::string(),
                                    file.substr(0, 14), file.substr(0, 55)})
        EXPECT_FALSE(passes(none)) << none.size();
    EXPECT_FALSE(passes(file.substr(0, 96))) << "nothing behind the table";
    EXPECT_TRUE(passes(file.substr(0, 97)));
    std::string many = file;
    many.replace(20, 4, bglWord(0xFFFFFFFF));
    EXPECT_FALSE(passes(many));
    EXPECT_FALSE(BglFile(scratch.path / "none.bgl").hasAirportSection());
    EXPECT_FALSE(BglFile(scratch.path).hasAirportSection()) << "a folder";
}
