#pragma once
// An airport with a few stands, a simulator in the same process and the real cycle, in virtual time: feed lines go in,
// the objects of the simulator's world are looked at. Places are metres north and east of the field.

#include "life_fixture.h"

#include "app/maincycle.h"
#include "engine/parking.h"
#include "engine/trace.h"
#include "feed/feed.h"
#include "simconnect/transport.h"
#include "simulator/inprocess.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

constexpr double fieldLat = 50, fieldLon = 8, fieldFt = 13;
constexpr double metersPerLatDegree = 60 * metersPerNm; // on the sphere that the distances are worked out on

inline LatLon fieldPlace(double north, double east) {
    return {fieldLat + north / metersPerLatDegree,
            fieldLon + east / (metersPerLatDegree * std::cos(fieldLat * degToRad))};
}

// One aircraft's true track: from each place to the next with a steady change of speed.
struct Way {
    double north = 0, east = 0; // metres
    double knots = 0;           // there
    double altFt = 0;
    double waitS = 0; // and stands there
};

class Ground : public Life {
  protected:
    rig::SimHub hub;
    double seconds = 0; // since the start
    std::multimap<double, std::string> lines;
    static inline std::vector<std::pair<std::uint32_t, std::string>> heard;

    explicit Ground(const LatLon& user = fieldPlace(3000, 3000)) : hub(world(user)) { // out of the way
        MSFS_2020.value = true;
        LEARN_SOFT.value = false;
        lf_resetReaders();
        appLife.realTrafficLocal = false;
        simconnect::setOpener([this](DWORD) { return rig::connectInProcess(hub); });
        EXPECT_TRUE(lf_openSession());
        gf_requestOnGround();
        gf_setRange(40);
        ParkAirport park;
        park.code = "TEST";
        park.lat = fieldLat;
        park.lon = fieldLon;
        park.elevation = fieldFt;
        park.loaded = true;
        gf_publishParkAirport(park);
        trafficReader.userPosition.store({user.lat, user.lon});
        refData.wingspanByModel["A320"] = refData.wingspanByModel["B738"] = 17 / metersPerNm;
        refData.wingspanByModel["B744"] = 32 / metersPerNm;
        refData.wingspanByModel["R44"] = 5 / metersPerNm;
        refData.wingspanByModel["C172"] = 5.5 / metersPerNm;
        heard.clear();
        engineTrace = [](std::uint32_t hexid, std::string_view what) { heard.emplace_back(hexid, what); };
        run(3);
        engine.user = gf_requestUserAircraft();
        gf_enableTraffic(true);
    }
    ~Ground() override {
        engineTrace = nullptr;
        lf_closeSession();
        simconnect::setOpener(nullptr);
        lf_resetReaders();
        gf_enableTraffic(false);
        trafficReader.userPosition.store({});
        trafficReader.parkAirport.store({});
        simLife.userRadiusNm = 0.0;
    }
    static rig::WorldSettings world(const LatLon& user) {
        rig::WorldSettings s;
        s.userLat = user.lat;
        s.userLon = user.lon;
        s.groundFt = fieldFt;
        s.userAlt = fieldFt;
        return s;
    }

    // ---- the airport ----
    static Stand& stand(const std::string& id, double north, double east, double headingDeg, double radius) {
        Stand s;
        const LatLon place = fieldPlace(north, east);
        s.id = id;
        s.lat = place.lat;
        s.lon = place.lon;
        s.heading = headingDeg * degToRad;
        s.radius = radius / metersPerNm;
        std::vector<Stand>& stands = airports.file.stands;
        constexpr std::size_t most = 32; // the references that tests hold stay good up to here
        EXPECT_LT(stands.size(), most);
        stands.reserve(most);
        s.seq = static_cast<std::int32_t>(stands.size()) + 1;
        for (Stand& other : stands) {
            if (s.radius + other.radius <= gf_distanceNm(s.lat, s.lon, other.lat, other.lon) * 1.1) continue;
            s.adjacent.push_back(other.seq);
            other.adjacent.push_back(s.seq);
        }
        stands.push_back(s);
        return stands.back();
    }

    // ---- the feed ----
    void line(double atS, std::uint32_t hexid, const std::string& callsign, double north, double east,
              double altFt, double trackDeg, double knots, double vs = 0, const std::string& type = "A320",
              const std::string& reg = "") {
        const LatLon place = fieldPlace(north, east);
        lines.emplace(
            atS,
            fmt::format("RTTFC,{},{:.7f},{:.7f},{:.0f},{:.0f},{},{:.2f},{:.1f},{},{},{},FRA,BCN,{:.1f},X,"
                        "LH1,adsb_icao,5100,-1,-1,-1,-1,-1,-1,-1,-1,none,A3,-1,-1,-1,-1,-1,-1,-1,-1,-1,"
                        "-1,-1,-1,-1,-1",
                        hexid, place.lat, place.lon, altFt, vs, altFt > 0 ? 0 : 1, trackDeg, knots, callsign,
                        type, reg.empty() ? "null" : reg, 1.7e9 + atS));
    }
    // Reports each two seconds along the ways from `startS` on; the time of the last one. Each stop is reported.
    double feed(std::uint32_t hexid, const std::string& callsign, const std::vector<Way>& ways, double startS,
                const std::string& type = "A320", const std::string& reg = "") {
        constexpr double every = 2, mps = metersPerNm / 3600;
        double t = 0, due = 0, track = 0;
        for (std::size_t i = 0; i < ways.size(); ++i) {
            const Way& a = ways[i];
            for (const double until = t + a.waitS; due <= until; due += every)
                line(startS + due, hexid, callsign, a.north, a.east, a.altFt, track,
                     a.waitS > 0 ? 0 : a.knots, 0, type, reg);
            t += a.waitS;
            if (i + 1 == ways.size()) break;
            const Way& b = ways[i + 1];
            const double meters = std::hypot(b.north - a.north, b.east - a.east);
            const double whole = meters / (std::max(a.knots + b.knots, 1.0) / 2 * mps);
            track = std::fmod(std::atan2(b.east - a.east, b.north - a.north) * radToDeg + 360, 360);
            for (; due < t + whole; due += every) {
                const double u = (due - t) / whole,
                             mean = (a.knots + (a.knots + (b.knots - a.knots) * u)) / 2;
                const double part = meters > 0 ? mean * mps * (due - t) / meters : 0;
                line(startS + due, hexid, callsign, a.north + (b.north - a.north) * part,
                     a.east + (b.east - a.east) * part, a.altFt + (b.altFt - a.altFt) * part, track,
                     a.knots + (b.knots - a.knots) * u, (b.altFt - a.altFt) / whole * 60, type, reg);
            }
            t += whole;
        }
        return startS + t;
    }

    // Reports at one place, each two seconds; the time after the last.
    double standing(std::uint32_t hexid, const std::string& callsign, double north, double east, double fromS,
                    double forS) {
        double t = fromS;
        for (; t < fromS + forS; t += 2) line(t, hexid, callsign, north, east, 0, 0, 0);
        return t;
    }

    // ---- what holds in each Tick ----
    struct Seen {
        double lat, lon, alt, heading;
        bool parked, onGround;
        double sinkFpm;
    };
    std::map<std::uint32_t, Seen> before;
    struct {
        double altFt = 0, meters = 0, turnDeg = 0;
        int movesWhileParked = 0;
    } worst; // in a Tick
    struct Touchdown {
        double lat = 0, lon = 0, sinkFpm = 0, pitch = 0;
    };
    std::optional<Touchdown> touchdown;

    virtual void watch() {
        for (const LiveAc& ac : engine.live) {
            if (ac.st != SimState::active) continue;
            for (const double v : {ac.lat, ac.lon, ac.alt, ac.pitch, ac.bank, ac.vsFps, ac.tas})
                ASSERT_TRUE(std::isfinite(v)) << story(ac.hexid);
            ASSERT_TRUE(ac.heading >= 0 && ac.heading < twoPi) << ac.heading;
            Seen now{ac.lat, ac.lon, ac.alt, ac.heading, ac.fs == FlightState::parked, ac.onGround, 0};
            if (const auto it = before.find(ac.objectId); it != before.end()) {
                const Seen& b = it->second;
                const double meters = gf_distanceNm(b.lat, b.lon, now.lat, now.lon) * metersPerNm;
                const double turn = std::abs(gf_headingDiff(b.heading, now.heading)) * radToDeg;
                worst.meters = std::max(worst.meters, meters);
                worst.turnDeg = std::max(worst.turnDeg, turn);
                worst.altFt = std::max(worst.altFt, std::abs(b.alt - now.alt));
                worst.movesWhileParked += b.parked && now.parked && (meters > 0 || turn > 0);
                now.sinkFpm = (b.alt - now.alt) * 6000;
                if (!b.onGround && now.onGround) touchdown = {now.lat, now.lon, b.sinkFpm, ac.pitch};
            }
            before[ac.objectId] = now;
        }
    }
    void TearDown() override {
        EXPECT_EQ(worst.movesWhileParked, 0);
        EXPECT_LE(worst.meters, 2.5); // 250 m/s
        EXPECT_LE(worst.turnDeg, 0.7);
        EXPECT_LE(worst.altFt, 20);
    }

    // ---- time ----
    void run(double forS) {
        for (const double until = seconds + forS - 0.005; seconds < until; seconds += 0.01) {
            clock.advance(10'000'000);
            if (appLife.tickCount % 2 == 0) {
                hub.frame(0.02);
                ASSERT_TRUE(lf_dispatchArrived());
            }
            while (!lines.empty() && lines.begin()->first <= seconds) {
                trafficReader.takeDatagram(lines.begin()->second);
                lines.erase(lines.begin());
            }
            ASSERT_TRUE(lf_cycleStep());
            watch();
        }
    }
    // Until something has happened, at most so long.
    template <class Happened> bool runUntil(double atMostS, Happened happened) {
        for (const double end = seconds + atMostS; seconds < end;) {
            if (happened()) return true;
            run(0.1);
        }
        return happened();
    }

    // ---- what is there ----
    rig::SimObject* object(const std::string& tailNumber) {
        for (auto& [id, o] : hub.world.objects)
            if (o.tailNumber == tailNumber) return &o;
        return nullptr;
    }
    static FlightState state(std::uint32_t hexid) {
        const LiveAc* ac = lf_findByHexid(hexid);
        return ac ? ac->fs : FlightState::birth;
    }
    static double metersFrom(const rig::SimObject& o, const Stand& s) {
        return gf_distanceNm(o.lat, o.lon, s.lat, s.lon) * metersPerNm;
    }
    static double degreesOff(const rig::SimObject& o, double headingDeg) {
        return std::abs(gf_headingDiff(headingDeg * degToRad, o.heading)) * radToDeg;
    }
    static bool wasTold(std::uint32_t hexid, std::string_view part) {
        return std::any_of(heard.begin(), heard.end(), [&](const auto& h) {
            return h.first == hexid && h.second.find(part) != std::string::npos;
        });
    }
    static std::string story(std::uint32_t hexid) { // for a failing test
        std::string text;
        for (const auto& [who, what] : heard)
            if (who == hexid) text += what + "\n";
        return text;
    }
};
