// Whole roads in virtual time against a simulator of a few lines: it creates what is asked for, keeps what is
// written, and reports heights five times a second. Invariants watch every Tick.

#include "feed/recording.h"
#include "motion_fixture.h"

#include "liveries/liveries.h"
#include "platform/virtual_clock.h"
#include "support.h"

#include <cmath>
#include <filesystem>
#include <map>
#include <optional>
#include <random>

namespace {

// One aircraft as the simulator has it.
struct Object {
    PositionBlock block{};
    double cg = 11; // feet from the ground to the centre of gravity, standing
    std::uint32_t hexid = 0;
    std::int32_t bornTick = 0;
    bool told = false;
};

class Scenario : public test::MotionTest {
  protected:
    void SetUp() override {
        MotionTest::SetUp();
        objects.clear();
        events.clear();
        fillingUpdates.clear();
        for (const char* type : {"A319", "A320"}) {
            refData.allModels.insert(type);
            refData.largeModels.insert(type);
        }
        gf_indexLiveries({{"ZZZ", "A320", "Test A320", "", false}, {"ZZZ", "A319", "Test A319", "", false}});
        worst = {};
        watched.clear();
        engineLife = EngineProcess();
    }
    void TearDown() override {
        gf_clearLiveryStores();
        engineLife = EngineProcess();
        lf_resetReaders();
        MotionTest::TearDown();
    }

    double groundFt = 83;
    std::uint32_t nextId = 100;
    std::map<std::uint32_t, Object> objects;
    struct SentEvent {
        std::int32_t tick;
        QueuedEvent event;
    };
    std::vector<SentEvent> events;

    // ---- the simulator ----
    void takeWhatWasSent() {
        LockGuard hold(simLock);
        for (const PositionUpdate& u : sim.draining)
            if (auto it = objects.find(u.objectId); it != objects.end()) it->second.block = u.block;
        sim.draining.clear();
        for (const QueuedEvent& e : sim.events) events.push_back({now(), e});
        sim.events.clear();
        for (const CreationRecord& c : sim.creations) {
            Object& o = objects[nextId++];
            o.block.lat = c.lat;
            o.block.lon = c.lon;
            o.block.alt = c.alt;
            o.hexid = c.hexid;
            o.bornTick = now();
        }
        sim.creations.clear();
        for (const std::uint32_t id : sim.removals) {
            objects.erase(id);
            gf_postSimMessage({id, 0, 0, SimMessageKind::removed, 0, 0});
        }
        sim.removals.clear();
    }

    void answer() {
        constexpr std::int32_t creationTicks = 50;
        for (auto& [id, o] : objects) {
            const double agl = o.block.alt - groundFt;
            if (!o.told && now() - o.bornTick >= creationTicks) {
                o.told = true;
                gf_postSimMessage({id, o.hexid, 0, SimMessageKind::liveAppeared, agl, agl});
                gf_postSimMessage({id, 0, 0, SimMessageKind::staticCg, o.cg, 0.01});
            } else if (o.told && now() % 20 == 0 && agl <= 2500) {
                const bool onGround = agl <= o.cg + 1; // within a foot of standing on its wheels
                gf_postSimMessage({id, onGround, 0, SimMessageKind::heightReport, groundFt, agl});
            }
        }
    }

    // ---- invariants ----
    struct Seen {
        double lat, lon, alt, heading, pitch;
        bool onGround;
    };
    struct Worst {
        double altitudeStep = 0, move = 0, turn = 0, wheels = 0, pitchStep = 0; // feet, metres, degrees
    } worst;
    std::map<std::uint32_t, Seen> watched;
    void watch(const LiveAc& ac) {
        for (const double v : {ac.lat, ac.lon, ac.alt, ac.pitch, ac.bank, ac.heading, ac.vsFps, ac.tas})
            ASSERT_TRUE(std::isfinite(v)) << ac.callsign;
        ASSERT_GE(ac.heading, 0);
        ASSERT_LT(ac.heading, twoPi);
        ASSERT_LE(std::abs(ac.lon), 180);
        for (std::size_t i = 2; i < ac.stream.size(); ++i) // the front has the time that its segment got
            ASSERT_GE(lf_ticksBetween(ac.stream[i - 1].dueTick, ac.stream[i].dueTick), 0) << ac.callsign;
        const Seen here{ac.lat, ac.lon, ac.alt, ac.heading, ac.pitch, ac.onGround};
        if (const auto it = watched.find(ac.objectId); it != watched.end()) {
            const Seen& last = it->second;
            worst.altitudeStep = std::max(worst.altitudeStep, std::abs(ac.alt - last.alt));
            worst.move =
                std::max(worst.move, gf_distanceNm(last.lat, last.lon, ac.lat, ac.lon) * metersPerNm);
            worst.turn = std::max(worst.turn, std::abs(gf_headingDiff(last.heading, ac.heading)) * radToDeg);
            worst.pitchStep = std::max(worst.pitchStep, std::abs(ac.pitch - last.pitch) * radToDeg);
            if (last.onGround && ac.onGround)
                worst.wheels = std::max(worst.wheels, std::abs(ac.alt - groundFt - ac.staticCg));
        }
        watched[ac.objectId] = here;
    }

    void oneTick() {
        lf_handleSimMessages();
        lf_updateLiveAircraft();
        lf_paceQueues();
        lf_fileFeedRecords();
        lf_serveSpawnRequest();
        for (const LiveAc& ac : engine.live)
            if (ac.st == SimState::active) watch(ac);
        takeWhatWasSent();
        answer();
        appLife.tickCount = lf_tickAfter(appLife.tickCount, 1);
    }

    // An active aircraft with an object of its own in the simulator.
    LiveAc& addReal(const std::string& type, const std::vector<StreamPoint>& points, double heading) {
        LiveAc& ac = add(type, points, heading);
        Object& o = objects[nextId];
        o.told = true;
        o.hexid = ac.hexid;
        ac.staticCg = o.cg;
        if (ac.onGround) ac.alt = groundFt + o.cg;
        o.block.alt = ac.alt;
        ac.agl = std::min(ac.alt - groundFt, 2500.0);
        lf_setObjectId(ac, nextId++);
        return ac;
    }

    std::vector<std::int32_t> eventTicks(std::uint32_t event, std::uint32_t data) const {
        std::vector<std::int32_t> ticks;
        for (const SentEvent& e : events)
            if (e.event.event == event && e.event.data == data) ticks.push_back(e.tick);
        return ticks;
    }
};

// What a landing looked like.
struct Touchdown {
    double lat = 0, lon = 0, sinkFpm = 0, pitch = 0;
    std::int32_t tick = 0;
};

} // namespace

// A three degree approach and a roll-out, a report every 3 s.
TEST_F(Scenario, LandsOnTheRunwayAndRollsOut) {
    setAirport(50, 8, groundFt);
    std::vector<StreamPoint> points;
    const double knots = 135, mps = knots * metersPerNm / 3600;
    constexpr double glide = 0.0524; // tangent of 3 degrees
    const double startNorth = -9000;
    double north = startNorth, speed = knots;
    for (double t = 0; t < 300; t += 3) {
        const bool down = north >= 0;
        StreamPoint p = at(t, north, 0, down ? 0 : groundFt - north * glide * 3.2808, speed);
        p.vs = down ? 0 : -mps * glide * 3.2808 * 60;
        p.stationary = !points.empty() && p.lat == points.back().lat;
        points.push_back(p);
        if (down) speed = std::max(speed - 12, 15.0);
        north += speed * metersPerNm / 3600 * 3;
        if (down && speed <= 15 && points.size() > 90) break;
    }
    LiveAc& ac = addReal("A320", points, 0);
    std::optional<Touchdown> touchdown;
    double lastAlt = ac.alt;
    for (int i = 0; i < 24000 && engine.live.size() == 1 && ac.st == SimState::active; ++i) {
        const bool before = ac.onGround;
        const double sink = (lastAlt - ac.alt) * 6000;
        lastAlt = ac.alt;
        oneTick();
        if (!before && ac.onGround) touchdown = Touchdown{ac.lat, ac.lon, sink, ac.pitch, now()};
        if (touchdown && now() > touchdown->tick + 6000) break;
    }
    ASSERT_TRUE(touchdown);
    const double metres = (touchdown->lat - 50) * 111132.95;
    EXPECT_GT(metres, -300);
    EXPECT_LT(metres, 1500);
    EXPECT_GE(touchdown->sinkFpm, 60);
    EXPECT_LE(touchdown->sinkFpm, 610);
    EXPECT_LT(touchdown->pitch, -2 * degToRad); // nose up
    EXPECT_LE(worst.altitudeStep, 20);
    EXPECT_LE(worst.wheels, 0.5);
    EXPECT_LE(worst.move, 1.1 * mps / 100 + 0.05);
    EXPECT_LE(worst.turn, 0.2);
    EXPECT_TRUE(ac.landed);
    EXPECT_NEAR(ac.pitch, ac.staticPitch, 1e-9);
    EXPECT_LT(ac.tas, 100);
    EXPECT_FALSE(eventTicks(evGear, 1).empty());
    ASSERT_EQ(eventTicks(evSpoilers, 16383).size(), 1u);
    EXPECT_FALSE(eventTicks(evSpoilers, 0).empty());
    RecordProperty("touchdown_m", static_cast<int>(metres));
    RecordProperty("sink_fpm", static_cast<int>(touchdown->sinkFpm));
}

TEST_F(Scenario, TakesOffAndClimbsWithTheGearUpAtItsTick) {
    setAirport(50, 8, groundFt);
    std::vector<StreamPoint> points;
    double north = 0, speed = 0, alt = 0;
    for (double t = 0; t < 150; t += 3) {
        StreamPoint p = at(t, north, 0, alt, speed);
        p.vs = alt > 0 ? 1800 : 0;
        points.push_back(p);
        speed = std::min(speed + 12, 170.0);
        north += speed * metersPerNm / 3600 * 3;
        if (speed >= 150) alt = (alt > 0 ? alt : groundFt) + 90;
    }
    LiveAc& ac = addReal("A320", {points[0]}, 0);
    std::size_t next = 1;
    std::int32_t rotation = 0, liftoff = 0;
    for (int i = 0; i < 15000; ++i) { // each point comes 30 s before it is due
        while (next < points.size() && lf_ticksBetween(now(), points[next].dueTick) <= 3000)
            decodeExisting(ac, points[next++]);
        const double alt0 = ac.alt;
        oneTick();
        ASSERT_EQ(ac.st, SimState::active);
        if (ac.fs == FlightState::takeOff && rotation == 0) rotation = now() - 1;
        if (liftoff == 0 && rotation != 0 && ac.alt > alt0 && !ac.onGround) liftoff = now() - 1;
        if (next == points.size() && ac.stream.size() == 1) break;
    }
    ASSERT_NE(rotation, 0);
    ASSERT_NE(liftoff, 0);
    // Rotation begins at 200 and counts down once in the Tick that begins it.
    EXPECT_EQ(liftoff - rotation, 200);
    const auto gearUp = eventTicks(evGear, 0);
    ASSERT_FALSE(gearUp.empty());
    EXPECT_EQ(gearUp.front() - rotation, 499); // at -300
    EXPECT_EQ(ac.fs, FlightState::flying);
    EXPECT_GT(ac.alt, 1500);
    EXPECT_LE(worst.altitudeStep, 1.0);
    EXPECT_LE(worst.wheels, 0.01);
    EXPECT_LE(worst.move, 1.2);
    EXPECT_LE(worst.turn, 0.2);
}

// A real flight from its first report to the stand, by its own lines.
TEST_F(Scenario, FliesARecordedArrivalToTheGround) {
    const auto path = test::sharedFolder() / "recordings" / "baw3ak-2024-06-06-lfbo-egll.rttfc.gz";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no recording " << path.filename();
    groundFt = 83;
    ParkAirport egll;
    egll.code = "EGLL";
    egll.lat = 51.4706;
    egll.lon = -0.4619;
    egll.elevation = groundFt;
    egll.loaded = true;
    gf_publishParkAirport(egll);
    engine.user.lat = egll.lat;
    engine.user.lon = egll.lon;
    trafficReader.userPosition.store({egll.lat, egll.lon});
    gf_enableTraffic(true);
    COLLISION_USER_GND.value = false;

    const auto lines = rig::loadRecording(path);
    const double begin = 1717671000 - 300, end = 1717672300;
    LatLon firstGround;
    std::optional<Touchdown> touchdown;
    double lastAlt = 0;
    std::size_t next = 0;
    while (next < lines.size() && lines[next].time < begin) ++next;
    const std::int32_t start = now();
    constexpr std::uint32_t hexid = 4198297;
    bool landedBefore = false;
    for (std::int32_t i = 0; i < (end - begin + 120) * 100; ++i) {
        const double time = begin + (now() - start) / 100.0;
        for (; next < lines.size() && lines[next].time <= time && lines[next].time < end; ++next)
            if (lines[next].line.find(",4198297,") != std::string::npos)
                trafficReader.takeDatagram(lines[next].line);
        LiveAc* ac = lf_findByHexid(hexid);
        const double before = ac ? ac->alt : 0;
        oneTick();
        ac = lf_findByHexid(hexid);
        if (!ac || ac->st != SimState::active) continue;
        if (firstGround.lat == 0)
            for (std::size_t k = 0; k < ac->stream.size(); ++k)
                if (!ac->stream[k].airborne && firstGround.lat == 0)
                    firstGround = {ac->stream[k].lat, ac->stream[k].lon};
        if (!landedBefore && ac->onGround)
            touchdown = Touchdown{ac->lat, ac->lon, (lastAlt - before) * 6000, ac->pitch, now()};
        landedBefore = ac->onGround;
        lastAlt = before;
    }
    ASSERT_TRUE(touchdown);
    const double off = gf_distanceNm(firstGround.lat, firstGround.lon, touchdown->lat, touchdown->lon);
    RecordProperty("touchdown_m", static_cast<int>(off * metersPerNm));
    RecordProperty("sink_fpm", static_cast<int>(touchdown->sinkFpm));
    EXPECT_LT(off * metersPerNm, 1500);
    EXPECT_GE(touchdown->sinkFpm, 60);
    EXPECT_LE(touchdown->sinkFpm, 610);
    EXPECT_LE(worst.wheels, 0.5);
    EXPECT_LE(worst.altitudeStep, 20);
    EXPECT_LE(worst.move, 2.5); // 250 m/s
    EXPECT_LE(worst.turn, 0.25);
    const LiveAc* const ac = lf_findByHexid(hexid);
    ASSERT_NE(ac, nullptr); // still there, taxiing off the runway
    EXPECT_EQ(ac->fs, FlightState::taxi);
    EXPECT_FALSE(ac->landingRoll);
    EXPECT_LT(ac->tas, 40);
    gf_enableTraffic(false);
    gf_publishParkAirport(ParkAirport());
}

// Whatever the feed says: no NaN, no heading outside its range, no jump of the altitude, no exception.
TEST_F(Scenario, SurvivesRandomStreams) {
    setAirport(50, 8, groundFt);
    constexpr const char* types[] = {"A320", "B744", "C56X", "F16", "EC35", "C172"};
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        reset();
        setAirport(50, 8, groundFt);
        objects.clear();
        watched.clear();
        events.clear();
        worst = {};
        std::mt19937 random(seed);
        const auto pick = [&](double low, double high) {
            return low + (high - low) * static_cast<double>(random()) / 4294967296.0;
        };
        appLife.tickCount = seed % 4 == 0 ? 2147483647 - 3000 : 10000;
        double north = pick(-8000, 8000), east = pick(-8000, 8000), course = pick(0, twoPi);
        double alt = seed % 2 ? pick(100, 3000) : 0, speed = alt > 0 ? pick(60, 250) : pick(0, 40);
        LiveAc& ac = addReal(types[seed % 6], {at(0, north, east, alt, speed)}, course);
        for (int i = 0; i < 12000 && !engine.live.empty() && ac.st == SimState::active; ++i) {
            if (i % 100 == 0 && pick(0, 1) < 0.4) {
                const double step = pick(1, 12);
                course += pick(-1, 1) * (pick(0, 1) < 0.1 ? 3 : 0.3);
                speed = std::max(0.0, speed + pick(-25, 25));
                alt = pick(0, 1) < 0.3 ? 0 : std::max(0.0, alt + pick(-400, 400));
                north += std::cos(course) * speed * 0.5144 * step;
                east += std::sin(course) * speed * 0.5144 * step;
                StreamPoint p = at(30 + step, north, east, alt, speed);
                p.vs = pick(-3000, 3000);
                p.bankValid = p.headingValid = p.trueHeadingSource = pick(0, 1) < 0.3;
                p.bank = pick(-0.5, 0.5);
                p.heading = pick(0, 1) < 0.1 ? twoPi : pick(0, twoPi);
                if (pick(0, 1) < 0.15 && !ac.stream.empty())
                    p.lat = ac.stream.back().lat, p.lon = ac.stream.back().lon;
                decodeExisting(ac, p);
            }
            ASSERT_NO_THROW(oneTick());
            ASSERT_LE(worst.altitudeStep, 120) << i; // 400 feet in the shortest segment, and the ground
        }
        EXPECT_LE(worst.turn, 5);
    }
}
