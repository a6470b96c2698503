// The text of the reference data file: the tables in the sections and the scrambling that the program reads.

#include "liveries/refdata.h"
#include "refdata/refdata.h"

#include <functional>

namespace rig {

constexpr std::size_t codesPerElement = 100; // keeps lines readable

static void appendEscaped(std::string& out, std::string_view text) {
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
}

static void appendAttribute(std::string& out, const char* name, std::string_view value) {
    out += ' ';
    out += name;
    out += "=\"";
    appendEscaped(out, value);
    out += '"';
}

static std::string joined(const std::vector<std::string>& parts, std::size_t from, std::size_t to) {
    std::string text;
    for (std::size_t i = from; i < to; ++i) text += (i > from ? "," : "") + parts[i];
    return text;
}

// <section><element attribute="a,b,c"/>...</section>
static void appendList(std::string& out, const char* section, const char* element, const char* attribute,
                       const std::vector<std::string>& codes) {
    out += std::string("<") + section + ">\n";
    for (std::size_t i = 0; i < codes.size(); i += codesPerElement) {
        out += std::string("<") + element;
        appendAttribute(out, attribute, joined(codes, i, std::min(i + codesPerElement, codes.size())));
        out += "/>\n";
    }
    out += std::string("</") + section + ">\n";
}

static std::vector<std::string> typesOf(const RefTables& tables, const std::string& size) {
    std::vector<std::string> codes;
    for (const auto& row : tables.types)
        if (size.empty() || row.size == size) codes.push_back(gf_encryptType(row.designator));
    return codes;
}

static std::vector<std::string> airlinesOf(const RefTables& tables, bool cargoOnly) {
    std::vector<std::string> codes;
    for (const auto& row : tables.airlines)
        if (!cargoOnly || row.cargo) codes.push_back(gf_encryptAirl(row.code));
    return codes;
}

static void appendTypes(std::string& out, const RefTables& tables) {
    appendList(out, "aircrafts", "aircraft", "types", typesOf(tables, ""));
    appendList(out, "high_performance", "hpf", "types", typesOf(tables, "highperf"));
    appendList(out, "heavy", "hvy", "types", typesOf(tables, "heavy"));
    appendList(out, "large", "lar", "types", typesOf(tables, "large"));
    appendList(out, "buzjet", "bzj", "types", typesOf(tables, "buzjets"));
    appendList(out, "rotorcraft", "rot", "types", typesOf(tables, "rotor"));
    std::vector<std::string> cargo;
    for (const auto& code : tables.cargoTypes) cargo.push_back(gf_encryptType(code));
    appendList(out, "cargo_types", "cargo_type", "types", cargo);
    out += "<similar_types>\n";
    for (auto group : tables.similar) {
        for (auto& code : group) code = gf_encryptType(code);
        out += "<similar";
        appendAttribute(out, "types", joined(group, 0, group.size()));
        out += "/>\n";
    }
    out += "</similar_types>\n<wingspans>\n";
    for (const auto& row : tables.types) {
        if (row.span.empty()) continue;
        out += "<wingspan";
        appendAttribute(out, "type", gf_encryptType(row.designator));
        appendAttribute(out, "meters", row.span);
        out += "/>\n";
    }
    out += "</wingspans>\n<fixes>\n";
    for (const auto& [wrong, right] : tables.fixes) {
        out += "<fx";
        appendAttribute(out, "wro", wrong);
        appendAttribute(out, "cor", right);
        out += "/>\n";
    }
    out += "</fixes>\n";
}

static void appendRegistrations(std::string& out, const RefTables& tables) {
    out += "<dbase>\n";
    for (const auto& row : tables.registrations) {
        out += "<db";
        appendAttribute(out, "reg", gf_encryptReg(row.reg));
        if (!row.airl.empty()) appendAttribute(out, "airl", gf_encryptAirl(row.airl));
        if (!row.type.empty()) appendAttribute(out, "type", gf_encryptType(row.type));
        if (!row.opr.empty()) appendAttribute(out, "opr", gf_encryptAirl(row.opr));
        if (row.cargo) appendAttribute(out, "cargo", "1");
        out += "/>\n";
    }
    out += "</dbase>\n";
}

std::string dbaseXml(const RefTables& tables) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    appendTypes(out, tables);
    appendList(out, "ICAO_airlines", "ICAO", "codes", airlinesOf(tables, false));
    appendList(out, "cargo_operators", "ICAO", "codes", airlinesOf(tables, true));
    out += "<publishers>\n";
    for (const auto& names : tables.publishers) {
        out += "<pub";
        appendAttribute(out, "names", joined(names, 0, names.size()));
        out += "/>\n";
    }
    out += "</publishers>\n";
    appendList(out, "simaddons20", "simaddon20", "arpts", tables.simaddons);
    out += "<thirdparties20/>\n<thirdparties24/>\n"; // no archive of airport files is served yet
    appendRegistrations(out, tables);
    return out;
}

} // namespace rig
