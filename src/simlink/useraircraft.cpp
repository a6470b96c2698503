// The user's own aircraft: the simulator tells a title and a model text, whose forms differ from aircraft to aircraft;
// here they become a model code and with it half a wing span. Simulator thread.

#include "app/display.h"
#include "app/errors.h"
#include "app/log.h"
#include "liveries/refdata.h"
#include "simlink/dispatch.h"

#include <fmt/format.h>

static constexpr std::size_t longestCode = 4; // of an ICAO model code

static void lf_setModelKnown(bool known) {
    simLife.userModelKnown = known;
    gf_repaint(Band::status);
}

// ---- the model text --------------------------------------------------------------------------------------------

static bool lf_isCode(std::string_view text) {
    return refData.wingspanByModel.count(text) > 0 || gf_isValidModel(text);
}

// A key into the simulator's texts, as in "TT:ATCCOM.AC_MODEL_C172.0.text": the code stands before the mark. Throws
// std::out_of_range when there is no room for one.
static std::string_view lf_modelOfKey(std::string_view key, std::size_t mark) {
    if (mark < longestCode) throw std::out_of_range("no model in front of the mark");
    for (std::size_t length = longestCode; length >= 2; --length)
        if (const auto code = key.substr(mark - length, length); lf_isCode(code)) return code;
    return key;
}

// One add-on tells the same model for its four variants.
static std::string_view lf_modelOf737(std::string_view title) {
    constexpr std::string_view variants[][2] = {
        {"DG 737-800", "B738"}, {"DG 737-700", "B737"}, {"DG 737-600", "B736"}, {"DG 737-900", "B739"}};
    for (const auto& [part, model] : variants)
        if (title.find(part) != title.npos) return model;
    return "737";
}

static std::string_view lf_normalised(std::string_view m) {
    constexpr std::string_view known[][2] = {
        {"A350-900", "A359"}, {"N738B", "B38M"}, {"777", "772"}, {"A330-200 (RR)", "A332"}};
    for (const auto& [text, model] : known)
        if (m == text) return model;
    if (const auto mark = m.find(".0.text"); mark != m.npos) return lf_modelOfKey(m, mark);
    if (constexpr std::string_view prefix = "$$:"; m.starts_with(prefix) && m.size() >= prefix.size() + 2)
        return m.substr(prefix.size());
    return m == "737" ? lf_modelOf737(sim.userTitle) : m;
}

static std::string_view lf_modelOfTitle(std::string_view title) {
    constexpr std::string_view known[][2] = {
        {"Aerosoft A319", "A319"}, {"Aerosoft A320", "A320"}, {"Aerosoft A321", "A321"}};
    for (const auto& [start, model] : known)
        if (title.starts_with(start)) return model;
    return {};
}

// ---- the size --------------------------------------------------------------------------------------------------

static void lf_onModel(std::string_view raw) {
    gf_logLine(fmt::format("model raw: {}", raw));
    std::string_view m = lf_normalised(raw);
    if (m.find("camerapod") != m.npos ||
        m.find("Crew Vessel") != m.npos) { // no aircraft, but it needs a size
        lf_setModelKnown(true);
        simLife.userRadiusNm = gf_halfWingspanNm("E190");
        return;
    }
    std::string line = fmt::format("SimConnect: User aircraft model: {}", m);
    double radius = m.size() > longestCode ? refData.maxHalfWingspan : gf_halfWingspanNm(m);
    bool known = radius != refData.maxHalfWingspan;
    if (!known) {
        if (const std::string_view deduced = lf_modelOfTitle(sim.userTitle); !deduced.empty()) {
            m = deduced;
            line = fmt::format("SimConnect: User aircraft model deduced from title: {}", m);
            const double found = gf_halfWingspanNm(m);
            known = found != 0;
            if (known) radius = found;
        }
    }
    simLife.userRadiusNm = radius;
    lf_setModelKnown(known);
    if (known)
        line += fmt::format(", half wing span: {:.1F} meter", radius * metersPerNm);
    else
        gf_showMessage("User aircraft wing span unknown, max is taken instead, please report in my Forum!",
                       true);
    gf_logLine(fmt::format("{}, category: {}", line, gf_categoryName(gf_modelCategory(m))));
}

static void lf_onEmptyModel() {
    gf_setDisplayText(DisplayText::userTitle, "Unknown (encrypted?) aircraft");
    gf_repaint(Band::status);
    gf_showMessage("171: No model info from your user aircraft received in SimConnect, CRJ7 is taken instead",
                   true);
    const double radius = gf_halfWingspanNm("CRJ7");
    simLife.userRadiusNm = radius != 0 ? radius : refData.maxHalfWingspan;
}

void lf_onUserModel(std::string_view model) {
    try {
        if (model.empty())
            lf_onEmptyModel();
        else
            lf_onModel(model);
    } catch (const orvo::UserErrorException&) {
        throw;
    } catch (...) {
        throw orvo::UserErrorException(73, "It looks like you have not selected an aircraft as user vehicle");
    }
}
