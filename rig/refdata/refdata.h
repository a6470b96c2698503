#pragma once
// The maker of the reference data: plain tables in, a download tree out; and liveries for load. The same
// tables always give the same files.

#include "liveries/liveries.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace rig {

struct TypeRow {
    std::string designator;
    std::string size; // "light", "buzjets", "large", "heavy", "highperf" or "rotor"
    std::string span; // metres, as the table writes it; empty when not known
};
struct AirlineRow {
    std::string code; // ICAO
    bool cargo = false;
};
struct RegistrationRow {
    std::string reg, airl, type, opr; // with its dash; airline, model and operator may be empty
    bool cargo = false;
};

struct RefTables {
    std::vector<TypeRow> types;
    std::vector<AirlineRow> airlines;
    std::vector<RegistrationRow> registrations;
    std::vector<std::pair<std::string, std::string>> fixes; // wrong, right
    std::vector<std::vector<std::string>> similar;
    std::vector<std::string> cargoTypes;
    std::vector<std::vector<std::string>> publishers; // the canonical name first
    std::vector<std::string> simaddons;               // airports
    std::size_t skipped = 0;                          // rows that do not fit, whatever the table
};

// The files of each table, plain or gzip; of a row that several have the first counts. Registers of aircraft may also come in
// the forms in which people publish them (docs/data-server.md). Throw std::runtime_error for a file or a column that is missing.
struct RefTableFiles {
    using Files = std::vector<std::filesystem::path>;
    Files types, airlines, registrations, fixes, similar, cargoTypes, publishers, simaddons;
};
RefTableFiles refTablesIn(const std::filesystem::path& folder); // by the usual names
RefTables readRefTables(const RefTableFiles& files);

// "G-XLE[A-C]" gives three registrations; a text without brackets gives itself. Throws std::runtime_error for
// a bracket that does not close or holds nothing.
std::vector<std::string> expandSeries(const std::string& pattern);

// Invented registrations with types and airlines of the tables, the same for the same seed.
void addSynthetic(RefTables& tables, std::size_t count, std::uint32_t seed);

std::string dbaseXml(const RefTables& tables); // the text of "temp2.xml"

struct ZipEntry {
    std::string name, content;
};
// With fixed times, so that the same entries give the same file. Throws std::runtime_error.
void writeZip(const std::filesystem::path& path, const std::vector<ZipEntry>& entries);

// Everything below the download base that a program needs to start without a network.
void writeDownloadTree(const RefTables& tables, const std::filesystem::path& folder);

// So many liveries, as an installation of that size has them: a generic one of most types, several of each airline's
// own types, four in ten with a registration. The same for the same tables and seed.
std::vector<Livery> inventLiveries(const RefTables& tables, std::size_t count, std::uint32_t seed);
// As a "LiveriesScanned.xml". Throws std::runtime_error.
void writeLiveries(const std::vector<Livery>& liveries, const std::filesystem::path& file);

} // namespace rig
