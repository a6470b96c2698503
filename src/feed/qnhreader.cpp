// The QNH reader: takes the pressure at sea level out of the weather datagrams. Runs on the reader's own thread, or by
// hand on the thread of a replay.

#include "feed/feed.h"

#include "app/display.h"
#include "app/log.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>

QnhReader qnhReader;

constexpr std::int32_t standardQnh = 1013;           // hectopascals
constexpr double lowestQnh = 930, highestQnh = 1080; // hectopascals; what lies outside is no weather on earth
constexpr double hpaPerHundredthInHg = 0.33865307;
constexpr double wholeNumberLimit = 1e15; // a larger value is as strange as this one, and still an integer

// The value as a whole number, in the unit that it came in; false when there is none.
static bool lf_qnhValue(const nlohmann::json& value, std::string_view datagram, double& result) {
    if (value.is_null() || value.empty() ||
        (value.is_string() && value.get_ref<const std::string&>().empty())) {
        gf_logLine(fmt::format("no QNH {}", datagram));
        return false;
    }
    result = standardQnh;
    if (value.is_number()) {
        result = std::round(value.get<double>());
    } else if (value.is_string()) {
        const auto& text = value.get_ref<const std::string&>();
        try {
            result = std::stoi(text);
        } catch (const std::invalid_argument&) {
            gf_logAlert(fmt::format("QNH string invalid arg: {}", text));
        } catch (const std::out_of_range&) {
            gf_logAlert(fmt::format("QNH string out of range: {}", text));
        }
    } else {
        gf_logLine(fmt::format("no QNH {}", datagram));
    }
    return true;
}

void QnhReader::onDatagram() try {
    const auto document = nlohmann::json::parse(data);
    const auto member = document.find("QNH");
    double value = 0;
    if (!lf_qnhValue(member == document.end() ? nlohmann::json() : *member, data, value)) return;
    if (value > highestQnh) value = std::round(value * hpaPerHundredthInHg);
    if (!(value >= lowestQnh && value <= highestQnh)) {
        value = std::clamp(value, -wholeNumberLimit, wholeNumberLimit);
        gf_logLine(fmt::format("? Strange QNH {} found in {}", static_cast<std::int64_t>(value), data));
        return;
    }
    const auto qnh = static_cast<std::int32_t>(value);
    if (qnh == lastQnh && qnh != standardQnh) return;
    lastQnh = qnh;
    currentQnh = qnh;
    display.qnh = qnh;
    if (display.weatherMark == ReaderMark::silent) display.weatherMark = ReaderMark::live;
    gf_repaint(Band::status);
} catch (const std::exception& e) {
    gf_logLine(fmt::format("Exception {}, in {}", e.what(), "QnhReader::onDatagram"));
}

void QnhReader::onStopped() { gf_logRaw("QNH Reader has stopped"); }
