#pragma once
// The layout of a BGL file as far as it is read, in 32-bit words from the start of what holds the field. The files are
// made of little-endian words, and every record starts on one.

#include <cstddef>
#include <cstdint>

namespace bgl {

// The file: a head, then a table of its sections.
constexpr std::size_t headerWords = 14, headerSizeAt = 1, sectionCountAt = 5;
constexpr std::uint32_t headerBytes = 56;
constexpr std::size_t sectionWords = 5, sectionSizeCodeAt = 1,
                      subsectionTableAt = 3; // the type is the first word
constexpr std::uint32_t airportSection = 3;
constexpr std::uint32_t wideSubsections =
    0x10000;                         // of the size code: entries of 20 bytes, which are not read
constexpr std::size_t recordsAt = 2; // of a subsection's entry: where its records are

// Records: a 16-bit id, then a signed 32-bit size in bytes, which so lies across two words.
constexpr std::uint32_t airportRecord = 0x0056;
constexpr std::uint32_t airportRecord2024 = 0x0113; // of a kind that this reader does not know
constexpr std::uint32_t helipadRecord = 0x0026;     // in an airport
constexpr std::uint32_t parkingRecord = 0x00E7;     // in an airport

constexpr std::size_t airportAltitudeAt = 5, airportIdentifierAt = 10, airportPartsAt = 17;
constexpr std::size_t helipadLonAt = 3, helipadLatAt = 4, helipadSizeAt = 7;
constexpr std::size_t positionsAt =
    2; // of the parking record; their count is the upper half of the word before
constexpr std::size_t positionRadiusAt = 1, positionHeadingAt = 2, positionLonAt = 7, positionLatAt = 8;
constexpr std::size_t positionWords = 14; // and one more for each airline code
constexpr std::size_t smallestPartWords = helipadSizeAt + 1;

} // namespace bgl
