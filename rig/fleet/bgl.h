#pragma once
// Compiled scenery, built from plain records: what an airport's BGL file holds as far as the program reads it, in the
// form in which the simulator's compiler writes it, and whatever else a test or a fleet wants of the bytes.

#include <cstdint>
#include <string>
#include <vector>

namespace rig {

struct BglPosition {
    int name = 1;       // 0 none, 1 parking, 10 gate, 12 gate A, ...
    int type = 8;       // 8 a small gate, 2 a small ramp, ...
    int number = 1;     // 0 to 4095
    float radius = 20;  // metres
    float heading = 90; // degrees
    double lat = 50, lon = 8;
    int airlineCodes = 0;
};

struct BglHelipad {
    double lat = 50, lon = 8;
    float size = 20; // metres, across
};

struct BglAirport {
    std::string ident = "EDTT"; // letters, numerals and blanks
    std::uint32_t altitudeMm = 100'000;
    std::vector<BglHelipad> helipads;
    std::vector<BglPosition> positions; // no record when there are none
    std::size_t otherParts = 2;         // in front of them, as runways are
    std::string behind;                 // records behind the parking record
};

struct BglSection {
    std::uint32_t type = 3;
    std::uint32_t sizeCode = 1;
    std::vector<std::string> subsections; // the records of each
};

std::uint32_t packIdent(const std::string& ident);
std::string bglWord(std::uint32_t value); // its four bytes
// With its head in front; the size is that of the whole unless another one is given.
std::string bglRecord(std::uint32_t id, const std::string& body);
std::string bglRecord(std::uint32_t id, const std::string& body, std::int32_t size);
std::string bglHelipad(const BglHelipad& helipad);
std::string bglParking(const std::vector<BglPosition>& positions);
std::string bglAirport(const BglAirport& airport);
// The tail is what other sections' data would be.
std::string bglFile(const std::vector<BglSection>& sections, const std::string& tail = "");

} // namespace rig
