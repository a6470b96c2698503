// Which airport of which publisher a scenery brings, and whether the server holds a prepared file for it. Reads the
// reference data, the directory and manifests; what follows from the answers is done by the worker. Any thread.

#include "airportscan/airportscan.h"

#include "app/app.h"
#include "app/parameters.h"
#include "app/textfiles.h"
#include "liveries/refdata.h"
#include "platform/files.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

static constexpr std::size_t codeLength = 4;

// ---- links ---------------------------------------------------------------------------------------------------------

static AirportIdentity lf_linkAsSimaddon(const std::string& code, std::vector<std::string>& lines) {
    if (!refData.simaddonAirports20.contains(code)) {
        lines.push_back(code + " does not exist as simaddon");
        return {};
    }
    AirportIdentity identity{"archive/simaddon/" + code + ".xml"};
    lines.push_back(fmt::format("{} airport {} linked to {}", "simaddon", code, identity.link));
    return identity;
}

// The code with the number of stands behind it; nullptr when the archive has no such airport of that publisher.
static const std::string* lf_archived(const std::string& publisher, const std::string& code) {
    for (const PublisherAirports& entry : MSFS_2020 ? refData.thirdParties20 : refData.thirdParties24) {
        if (entry.publisher != publisher) continue;
        for (const std::string& text : entry.airports)
            if (text.starts_with(code)) return &text;
    }
    return nullptr;
}

static std::string lf_urlPart(const std::string& publisher) {
    std::string part;
    for (const char c : publisher) c == ' ' ? part += "%20" : part += c;
    return part;
}

static AirportIdentity lf_linkAsThirdparty(const std::string& publisher, const std::string& code,
                                           std::vector<std::string>& lines) {
    const std::string* archived = lf_archived(publisher, code);
    if (!archived) {
        lines.push_back(fmt::format("thirdparty {} {} does not exist", publisher, code));
        return {};
    }
    AirportIdentity identity{fmt::format("archive/thirdparty/{}/{}.xml", lf_urlPart(publisher), code)};
    if (!gf_parseInt(archived->substr(codeLength), identity.archivedStands))
        lines.push_back(fmt::format("{} {} {} {}", publisher, code, *archived, "invalid number"));
    lines.push_back(fmt::format("thirdparty airport {} linked to {}", code, identity.link));
    return identity;
}

AirportIdentity SceneryIdentity::lf_identifyAirport(AirportFile& airport, std::vector<std::string>& lines) {
    if (gf_stopping())
        throw std::runtime_error("stopped"); // a file may hold more airports than a stop waits for
    if (!known) {
        known.emplace();
        known->result = gf_identifyPublisher(pathText, known->lines);
    }
    lines.insert(lines.end(), known->lines.begin(), known->lines.end());
    airport.bglPath = pathText;
    airport.publisher = known->result.publisher;
    airport.manufacturer = known->result.manifest.manufacturer;
    airport.creator = known->result.manifest.creator;
    airport.title = known->result.manifest.title;
    if (airport.publisher == "unknown") return {};
    return airport.publisher == "simaddon" ? lf_linkAsSimaddon(airport.code, lines)
                                           : lf_linkAsThirdparty(airport.publisher, airport.code, lines);
}

// ---- airports that cannot be read ------------------------------------------------------------------------------------

static std::string lf_upperCase(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

static std::string lf_codeOfTitle(const std::string& title) {
    for (const Airport& airport : airportsLife.directory)
        if (!airport.code.empty() && title.starts_with(airport.code)) return airport.code;
    return {};
}

// Between two dashes, all in one case; of several the first in the directory, which is sorted.
static std::string lf_codeOfPath(const std::string& path) {
    std::string best;
    for (auto at = path.find('-'); at != path.npos;) {
        const auto next = path.find('-', at + 1);
        if (next == path.npos) break;
        const std::string part = path.substr(at + 1, next - at - 1), code = lf_upperCase(part);
        const bool oneCase = part == code || std::none_of(part.begin(), part.end(),
                                                          [](char c) { return c >= 'A' && c <= 'Z'; });
        if (oneCase && !code.empty() && (best.empty() || code < best) && gf_findAirport(code)) best = code;
        at = next;
    }
    return best;
}

void SceneryIdentity::lf_notRecognised(SceneryFindings& findings) {
    auto& lines = findings.lines;
    FoundAirport found;
    std::string& code = found.file.code;
    std::optional<ManifestInfo> manifest;
    lines.push_back("\n==> Not recognised airport " + pathText);
    const std::string stem = lf_upperCase(plat::pathText(plat::textPath(pathText).stem()));
    if (stem.size() == codeLength && gf_findAirport(stem)) {
        code = stem;
        lines.push_back(fmt::format("Not recognised airport has ICAO code \"{}\" as BGL stem", code));
    } else {
        manifest = lf_readManifest(pathText, lines);
        if (!manifest) return;
        if (code = lf_codeOfTitle(manifest->title); !code.empty())
            lines.push_back(fmt::format("Not recognised airport has ICAO \"{}\" in title \"{}\" of manifest",
                                        code, manifest->title));
        else if (code = lf_codeOfPath(pathText); !code.empty())
            lines.push_back(
                fmt::format("Not recognised airport has ICAO \"{}\" in BGL path \"{}\"", code, pathText));
        else {
            lines.push_back(
                fmt::format("==================> Not recognised airport lost ... \"{}\"", pathText));
            return;
        }
    }
    found.identity = lf_identifyAirport(found.file, lines);
    found.linesBefore = lines.size();
    const AirportFile& file = found.file;
    if (!found.identity.linked() && file.publisher != "simaddon") {
        const ManifestInfo info = manifest.value_or(known->result.manifest);
        findings.tblo =
            TbloEntry{code, fmt::format("{}\n{} by {}, title: {} crea: {} manu: {}", pathText, code,
                                        file.publisher, info.title, info.creator, info.manufacturer)};
    }
    findings.airports.push_back(std::move(found));
}
