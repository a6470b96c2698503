#pragma once
// What the files of this folder share: the plan of the liveries, the text of an aircraft.cfg, and the writing.

#include "fleet/fleet.h"

#include <random>
#include <set>
#include <string_view>
#include <vector>

namespace rig {

enum class Family { aig, fsltl, jf, user, ivao }; // an IVAO package lies in the user's one

class Chance {
  public:
    explicit Chance(std::uint32_t seed) : engine(seed) {}
    std::size_t below(std::size_t n) { return engine() % n; } // n > 0
    bool percent(unsigned share) { return engine() % 100 < share; }
    template <class List> const auto& of(const List& list) { return list[below(std::size(list))]; }
    template <class List> void shuffle(List& list) {
        for (std::size_t i = list.size(); i > 1; --i) std::swap(list[i - 1], list[below(i)]);
    }

  private:
    std::mt19937 engine;
};

struct PlannedLivery {
    std::string airline; // "ZZZ" for a generic one, "" for a private aircraft
    std::string type, title;
    std::string reg; // may be empty
    bool cargo = false;
    Family family = Family::aig;
};
// plan.cpp: so many liveries, each with a title of its own; few ones are a sample of all kinds.
std::vector<PlannedLivery> planLiveries(const RefTables& tables, std::size_t count, Chance& chance);

// cfg.cpp: the file of liveries of one family and type.
std::string cfgText(const std::vector<PlannedLivery>& liveries, Chance& chance);
// UTF-8 into UTF-16 with its mark, as it lies in a file.
std::string utf16Bytes(const std::string& utf8, bool bigEndian);

// Puts files into an installation and keeps the account of what a scan makes of them.
class FleetWriter {
  public:
    FleetWriter(std::filesystem::path packages, bool is2020);
    const std::filesystem::path& package(Family family) const; // below "Community"
    std::filesystem::path airplanes(Family family) const;      // where its aircraft folders lie
    // An aircraft.cfg in a folder of its own; a scan reaches it.
    void cfg(const std::filesystem::path& folder, const std::string& bytes, std::size_t sections,
             const char* name = "aircraft.cfg");
    static void file(const std::filesystem::path& path, const std::string& bytes); // any other

    FleetSummary summary;
    std::set<std::string> titles; // that a simulator with these packages can create

  private:
    std::array<std::filesystem::path, 5> packages; // by Family
};

// scenery.cpp: packages with an airport each, and files without one beside it.
struct SceneryPlace { // of an airport of the directory
    std::string code;
    double lat = 0, lon = 0; // degrees
    double elevationFt = 0;
};
std::vector<SceneryPlace> readSceneryPlaces(); // of the directory that ships with the program
class SceneryWriter {
  public:
    SceneryWriter(FleetWriter& out, const RefTables& tables, std::filesystem::path official,
                  std::size_t leastBytes, Chance& chance);
    void writePackages(std::size_t count);
    // scenerybroken.cpp: one of every defect that real files have, and of each that a reader of files must expect.
    void writeBroken(std::size_t round);

  private:
    struct Publisher {
        std::string package, name, manifest; // the folder's name; "" for no manifest
        bool deep = false;                   // the manifest lies below the package's top folder
    };
    Publisher publisherOf(std::size_t number, const SceneryPlace& place);
    void writeOfficial(std::size_t count);
    void airportFile(const std::filesystem::path& path, const SceneryPlace& place,
                     const std::string& publisher);
    void file(const std::filesystem::path& path, std::string bytes);
    void broken(const std::string& name, const std::string& bytes,
                const std::vector<std::pair<std::string, std::size_t>>& airports, bool read = true);

    FleetWriter& out;
    const RefTables& tables;
    const std::filesystem::path official; // of the simulator's own packages
    const std::size_t leastBytes;
    Chance& chance;
    std::vector<SceneryPlace> places;
    std::size_t nextPlace = 0;
    std::filesystem::path brokenFolder;
};

// broken.cpp: one of every kind of file that a scan reports or passes over.
void writeBroken(FleetWriter& out, const RefTables& tables, std::size_t round);

} // namespace rig
