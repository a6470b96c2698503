#pragma once
// What the tests of the scan share: a small world of models and airlines, packages to scan, the findings as texts.

#include "liveries/scan.h"
#include "liveries_test.h"

#include <fmt/format.h>

class ScanTest : public LiveriesTest {
  protected:
    ScanTest() {
        gf_clearScanLists();
        scanThreads = 0;
        SUPPRESS_STUB.value = SUPPRESS_STUB.defaultValue;
        refData.allModels = {"A319", "A320", "A20N", "B738", "B772", "C172", "C25B", "F16", "A139"};
        refData.largeModels = {"A319", "A320", "A20N", "B738"};
        refData.heavyModels = {"B772"};
        refData.buzjetModels = {"C25B"};
        refData.highPerfModels = {"F16"};
        refData.rotorModels = {"A139"};
        refData.icaoAirlines = {"BAW", "AFR", "FDX", "RYR", "TUI", "ZZZ"};
        refData.modelFixes = {{"A32N", "A20N"}};
        auto& known = refData.dbaseRegcodes;
        known.insert("G-EUUA", "BAW", "A320", "", false);
        known.insert("N123AB", "FDX", "B772", "AFR", true);
        known.insert("G-BAFM", "PVT", "C172", "", false);
        known.insert("G-NULL", "", "", "", false);
        known.insert("G-OPER", "", "", "TUI", false);
        for (const char* reg : {"N9", "N12", "G-X", "LONGREG"}) known.insert(reg, "PVT", "C172", "", false);
    }
    ~ScanTest() override { gf_clearScanLists(); }

    // Text that names paths or was read from a file, as it is on every system.
    static std::string plain(std::string text) {
        std::erase(text, '\r');
        std::replace(text.begin(), text.end(), '\\', '/');
        return text;
    }
    static std::string plain(const std::filesystem::path& path) { return plain(plat::pathText(path)); }
    static bool logged(const std::string& text) {
        return plain(test::readFile("Log.txt")).find(text) != std::string::npos;
    }

    // A file of a package, with its folders.
    static void write(const std::filesystem::path& path, const std::string& text) {
        std::filesystem::create_directories(path.parent_path());
        test::writeFile(path, text);
    }

    static std::string cfg(const std::string& title, const std::string& more = "") {
        return "[GENERAL]\nicao_type_designator=A320\n[FLTSIM.0]\ntitle=" + title + "\nicao_airline=BAW\n" +
               more;
    }
    static std::string titles(const std::vector<Livery>& liveries) {
        std::string result;
        for (const auto& livery : liveries) result += livery.title + " ";
        return result;
    }

    static std::vector<Livery> search(const std::filesystem::path& folder = "fleet",
                                      std::int32_t priority = 1) {
        std::vector<Livery> liveries;
        gf_searchFolder(priority, folder, liveries);
        return liveries;
    }

    // "airline model title registration", with " cargo" where it is.
    static std::string text(const Livery& livery) {
        return fmt::format("{} {} {} {}{}", livery.airl, livery.type, livery.title, livery.atcid,
                           livery.cargo ? " cargo" : "");
    }
    static std::string texts(const std::vector<Livery>& liveries) {
        std::string result;
        for (const auto& livery : liveries) result += text(livery) + "|";
        return result;
    }

    static std::vector<std::string>& lines(ScanReport report) {
        return scanReports.lines[static_cast<std::size_t>(report)];
    }
    // Of all reports, each line with the number of its report in front, in their order.
    static std::string reports() {
        std::string result;
        for (std::size_t i = 0; i < scanReportCount; ++i)
            for (const auto& line : scanReports.lines[i]) result += fmt::format("{}: {}|", i, line);
        return plain(result);
    }
};
