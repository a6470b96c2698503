// One file of every kind that a scan reports or passes over, with the account of what comes of it. They lie in the
// user's package and, where the place matters, in folders of their own below it.

#include "fleet/parts.h"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>

namespace fs = std::filesystem;

namespace rig {

namespace {

using R = ScanReport;

// What the texts below need of the tables; each stands in them as its name in capitals behind a dollar sign.
struct Words {
    std::string large, light, airline, other, // models and airlines
        reg, regType, regAirline,             // of an aircraft that flies no cargo
        noModel, noAirline, wrong, right; // unknown codes; a model code that is mended, and what it becomes
    std::size_t round = 0;
};

std::string filled(std::string text, const Words& w) {
    const std::pair<const char*, std::string> words[] = {
        {"$LARGE", w.large}, {"$LIGHT", w.light},     {"$AIRLINE", w.airline},
        {"$OTHER", w.other}, {"$REGTYPE", w.regType}, {"$REGAIRLINE", w.regAirline},
        {"$REG", w.reg},     {"$NOMODEL", w.noModel}, {"$NOAIRLINE", w.noAirline},
        {"$WRONG", w.wrong}, {"$RIGHT", w.right},     {"$N", std::to_string(w.round)}};
    for (const auto& [name, value] : words)
        for (auto at = text.find(name); at != text.npos; at = text.find(name, at + value.size()))
            text.replace(at, std::string_view(name).size(), value);
    return text;
}

template <class Rows, class Test> const auto& firstOf(const Rows& rows, Test test) {
    const auto found = std::find_if(rows.begin(), rows.end(), test);
    if (found == rows.end()) throw std::runtime_error("the tables are too small for broken files");
    return *found;
}

std::string unknownCode(std::size_t length, const std::set<std::string>& known) {
    std::string code(length, 'Q');
    for (char last = 'Q'; known.count(code) > 0; ++last) {
        if (last > 'Z') throw std::runtime_error("no free code for broken files");
        code.back() = last;
    }
    return code;
}

Words wordsOf(const RefTables& tables) {
    Words w;
    const auto ofSize = [&](const char* size) {
        return firstOf(tables.types, [&](const TypeRow& row) { return row.size == size; }).designator;
    };
    w.large = ofSize("large");
    w.light = ofSize("light");
    std::set<std::string> models, airlines;
    for (const auto& row : tables.types) models.insert(row.designator);
    for (const auto& row : tables.airlines) airlines.insert(row.code);
    const auto& registration = firstOf(tables.registrations, [&](const RegistrationRow& row) {
        return !row.cargo && !row.airl.empty() && row.opr.empty() && models.count(row.type) > 0 &&
               row.type != w.large;
    });
    w.reg = registration.reg;
    w.regType = registration.type;
    w.regAirline = registration.airl;
    const auto usual = [&](const std::string& code) {
        return code != "ZZZ" && code != "PVT" && code != "RFO";
    };
    w.airline = firstOf(tables.airlines, [&](const AirlineRow& row) { return usual(row.code); }).code;
    w.other = firstOf(tables.airlines, [&](const AirlineRow& row) {
                  return usual(row.code) && row.code != w.airline && row.code != w.regAirline;
              }).code;
    std::set<std::string> taken = models;
    for (const auto& [wrong, right] : tables.fixes) taken.insert(wrong);
    w.noModel = unknownCode(4, taken);
    w.noAirline = unknownCode(3, airlines);
    const auto& fix = firstOf(tables.fixes, [&](const auto& row) {
        return row.first.size() <= 4 && models.count(row.first) == 0 && models.count(row.second) > 0 &&
               std::none_of(row.first.begin(), row.first.end(), ::islower);
    });
    w.wrong = fix.first;
    w.right = fix.second;
    return w;
}

struct Kind {
    const char* name; // of its folder
    const char* text;
    std::size_t sections, liveries;
    std::initializer_list<R> reports;
};

const Kind kinds[] = {
    {"unknown airline, light",
     "[GENERAL]\nicao_type_designator=$LIGHT\n[FLTSIM.0]\ntitle=Broken $N ua1\nicao_airline=\"$NOAIRLINE\"\n",
     1,
     1,
     {R::invalidAirline}},
    {"unknown airline, large",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N ua2\nicao_airline=\"$NOAIRLINE\"\n",
     1,
     0,
     {R::invalidAirline, R::incompleteSection}},
    {"unknown registration",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N ur\natc_id=\"ZZ-QQQ\"\n",
     1,
     0,
     {R::incompleteSection}},
    {"airline by registration",
     "[GENERAL]\nicao_type_designator=$REGTYPE\n[FLTSIM.0]\ntitle=Broken $N ar\natc_id=\"$REG\"\n",
     1,
     1,
     {}},
    {"brought in line",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N co\nicao_airline=$OTHER\n"
     "atc_id=$REG; of another\natc_parking_types=CARGO\n",
     1,
     1,
     {R::conversions, R::conversions, R::conversions}},
    {"unknown model",
     "[GENERAL]\nicao_type_designator=$NOMODEL\n[FLTSIM.0]\ntitle=Broken $N um0\n[FLTSIM.1]\ntitle=Broken $N "
     "um1\n",
     2,
     0,
     {R::invalidModel}},
    {"mended model",
     "[GENERAL]\nicao_type_designator=$WRONG\n[FLTSIM.0]\ntitle=Broken $N mm\nicao_airline=$AIRLINE\n",
     1,
     1,
     {R::fixes}},
    {"gap",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N g0\nicao_airline=$AIRLINE\n"
     "[FLTSIM.1]\ntitle=Broken $N g1\nicao_airline=$AIRLINE\n[FLTSIM.3]\ntitle=Broken $N g3\n",
     3,
     0,
     {R::invalidFile}},
    {"begins at one",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.1]\ntitle=Broken $N b1\nicao_airline=$AIRLINE\n",
     1,
     0,
     {R::invalidFile}},
    {"number twice",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N nt0\n[fltsim.0]\ntitle=Broken $N "
     "nt1\n",
     2,
     0,
     {R::invalidFile}},
    {"no number",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N nn0\n[FLTSIM.] ; and then\n",
     2,
     0,
     {R::invalidFile}},
    {"huge number",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.99999999999]\ntitle=Broken $N hn\n",
     1,
     0,
     {}},
    {"no model", "[FLTSIM.0]\ntitle=Broken $N nm\nicao_airline=$AIRLINE\n", 1, 0, {R::invalidFile}},
    {"unknown container",
     "[VARIATION]\nbase_container=\"..\\Nobodys_Aircraft\"\n[FLTSIM.0]\ntitle=Broken $N uc\n",
     1,
     0,
     {R::invalidFile}},
    {"pmdg-aircraft-77w", "[FLTSIM.0]\ntitle=Broken $N pm\n", 1, 0, {}}, // its users know why
    {"second keys",
     "[GENERAL]\nicao_type_designator=$LIGHT\n"
     "[FLTSIM.0]\ntitle=Broken $N t1\ntitle=Broken $N t2\n"
     "[FLTSIM.1]\ntitle=Broken $N t3\nicao_airline=$AIRLINE\nicao_airline=$AIRLINE\n"
     "[FLTSIM.2]\ntitle=Broken $N t4\natc_parking_types=RAMP\natc_parking_types=RAMP\n"
     "[FLTSIM.3]\ntitle=Broken $N t5\natc_id=D-EABCD\natc_id=D-EABCD\n",
     4,
     0,
     {R::incompleteSection, R::incompleteSection, R::incompleteSection, R::incompleteSection}},
    {"no title",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N nt2\nicao_airline=$AIRLINE\n"
     "[FLTSIM.1]\ntitle=\"\"\nicao_airline=$AIRLINE\n[FLTSIM.2]\ntitle=Broken $N nt3\nicao_airline=$AIRLINE",
     3,
     2,
     {R::incompleteSection}},
    {"title twice",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N tt\nicao_airline=$AIRLINE\n"
     "[FLTSIM.1]\ntitle=Broken $N tt\nicao_airline=$OTHER\n",
     2,
     1,
     {R::incompleteSection}},
    {"no airline",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N na\n",
     1,
     0,
     {R::incompleteSection}},
    {"no section", "[GENERAL]\nicao_type_designator=$LARGE\n", 0, 0, {R::emptyFile}},
    {"nothing in it", "", 0, 0, {R::emptyFile, R::invalidFile}},
    {"left out on purpose",
     "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N PMDG 737\nicao_airline=$AIRLINE\n"
     "[FLTSIM.1]\ntitle=Broken $N FenixA320\nicao_airline=$AIRLINE\n"
     "[FLTSIM.2]\ntitle=Broken $N-STUB\nicao_airline=$AIRLINE\n[FLTSIM.3]\ntitle=Broken $N "
     "rf\nicao_airline=RFO\n",
     4,
     0,
     {}},
    {"bad registrations", // each is set aside, and the aircraft is private
     "[GENERAL]\nicao_type_designator=$LIGHT\n[FLTSIM.0]\ntitle=Broken $N br0\natc_id=D-E*AB\n"
     "[FLTSIM.1]\ntitle=Broken $N br1\natc_id=D-ABCDEFGHIJKL\n[FLTSIM.2]\ntitle=Broken $N "
     "br2\natc_id=,D-EABC\n"
     "[FLTSIM.3]\ntitle=Broken $N br3\natc_id=\" ,D-EABC\"\n",
     4,
     4,
     {}},
    {"one registration for two",
     "[GENERAL]\nicao_type_designator=$LIGHT\n[FLTSIM.0]\ntitle=Broken $N rt0\natc_id=D-E$NXX\n"
     "[FLTSIM.1]\ntitle=Broken $N rt1\natc_id=D-E$NXX\n",
     2,
     2,
     {}},
};

// The model is in the folder's name, the airline in the title.
const Kind ivaoKinds[] = {
    {"IVAO_$NOMODEL", "[fltsim.0]\ntitle=$NOMODEL $AIRLINE $N\ntexture=a\n", 1, 0, {R::invalidModel}},
    {"IVAO_$LARGE",
     "[fltsim.0]\ntitle=$LARGE $AIRLINE $N of the network\ntexture=a\natc_id=D-ABC,D-ABCD\n"
     "[fltsim.1]\ntitle=$LARGE $AIRLINE $N no texture\ntexture=none\n"
     "[fltsim.2]\ntitle=$LARGE $NOAIRLINE $N\ntexture=a\n"
     "[fltsim.3]\ntitle=Network $N by registration\ntexture=a\natc_id=$REG\n"
     "[fltsim.4]\ntitle=Network $N unknown registration\ntexture=a\natc_id=ZZ-QQQ\n"
     "[fltsim.5]\ntitle=Network $N nothing known\ntexture=a\n"
     "[fltsim.6]\ntitle=$LARGE $AIRLINE $N of the network\ntexture=a\n"
     "[fltsim.7]\ntexture=a\n",
     8,
     2,
     {R::conversions, R::incompleteSection, R::invalidAirline, R::incompleteSection, R::incompleteSection,
      R::incompleteSection, R::incompleteSection}},
};

const Kind soundKind{
    "sound",
    "[GENERAL]\nicao_type_designator=$LARGE\n[FLTSIM.0]\ntitle=Broken $N sound\nicao_airline=$AIRLINE\n",
    1,
    1,
    {}};

// The titles of all sections, as a simulator knows them, whatever else is wrong there.
void noteTitles(FleetWriter& out, const std::string& text) {
    constexpr std::string_view key = "\ntitle=";
    for (auto at = text.find(key); at != text.npos; at = text.find(key, at + 1)) {
        const auto begin = at + key.size();
        const std::string title = text.substr(begin, text.find('\n', begin) - begin);
        if (title != "\"\"") out.titles.insert(title);
    }
}

void put(FleetWriter& out, const fs::path& airplanes, const Kind& kind, const Words& words,
         const std::string& front = "") {
    const std::string text = front + filled(kind.text, words);
    out.cfg(airplanes / filled(kind.name, words), text, kind.sections);
    noteTitles(out, text);
    out.summary.liveries += kind.liveries;
    for (const R report : kind.reports) ++out.summary.reports[static_cast<std::size_t>(report)];
}

// What a walk must not read, go below or stumble over.
void writeObstacles(const fs::path& folder, const Words& words) {
    const std::string sound = filled(soundKind.text, words);
    FleetWriter::file(folder / "my airport" / "aircraft.cfg", sound);
    FleetWriter::file(folder / "a_CVT_" / "aircraft.cfg", sound);
    FleetWriter::file(folder / std::string(240, 'x') / "aircraft.cfg", sound);
    FleetWriter::file(folder / "old" / "aircraft.cfg.bak", sound);
    fs::create_directories(folder / "a folder" / "aircraft.cfg");
    std::error_code unsupported; // not every user may make links
    fs::create_directory_symlink(folder, folder / "round and round", unsupported);
    fs::create_symlink(folder / "gone.cfg", folder / "dangling" / "aircraft.cfg", unsupported);
}

} // namespace

void writeBroken(FleetWriter& out, const RefTables& tables, std::size_t round) {
    Words words = wordsOf(tables);
    words.round = round;
    const std::string name = fmt::format("broken {}", round);
    const fs::path folder = out.airplanes(Family::user) / name;
    for (const Kind& kind : kinds) put(out, folder, kind, words);
    put(out, folder, soundKind, words, ";" + std::string(1 << 20, '-') + "\n"); // a huge line
    // Half a character at the end: nothing can be read.
    out.cfg(folder / "odd bytes", utf16Bytes(filled(soundKind.text, words), false) + "x", 0);

    const fs::path network = out.package(Family::user) / name / "IVAO_MTL" / "SimObjects" / "Airplanes";
    for (const Kind& kind : ivaoKinds) {
        put(out, network, kind, words);
        fs::create_directories(network / filled(kind.name, words) / "texture.a");
    }
    writeObstacles(folder, words);
}

} // namespace rig
