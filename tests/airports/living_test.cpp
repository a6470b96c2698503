// A day in which all that can happen to a park airport happens in an order of chance: the user flies by, lands, taxies,
// leaves, changes the destination and the settings, re-reads, flushes, while aircraft come and go in the feed and static
// work is under way. After each second stands, lists and the simulator's objects are to be consistent.

#include "airports_fixture.h"

#include "app/maincycle.h"
#include "engine/parking.h"
#include "feed/feed.h"
#include "liveries/liveries.h"
#include "platform/random.h"
#include "simconnect/transport.h"
#include "simulator/inprocess.h"

#include <map>
#include <random>
#include <set>

namespace test {

namespace {

constexpr int standCount = 30;

rig::WorldSettings worldAt() {
    rig::WorldSettings s;
    s.userLat = 50;
    s.userLon = 8.01;
    s.userAlt = s.groundFt = 364;
    return s;
}

} // namespace

class Living : public AirportsTest {
  protected:
    rig::SimHub hub{worldAt()};
    std::mt19937 chance;
    std::string did;                        // the last actions, for a failing test
    std::map<std::uint32_t, int> strangers; // objects that nobody has: seconds
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> doubles;
    int busyFor = 0, nextKey = 0;
    std::map<std::string, std::set<std::string>> learned; // airport: keys

    Living() {
        lf_resetEngine();
        engineLife = {};
        lf_presizeEngine();
        lf_presizeSimQueues();
        fillingUpdates.clear();
        std::vector<SimMessage> left;
        gf_takeSimMessages(left);
        lf_resetReaders();
        appLife.tickCount = 1000;
        appLife.realTrafficLocal = false;
        app.simRunning.set();
        refData.allModels = {"A320"};
        refData.largeModels = {"A320"};
        refData.icaoAirlines = {"DLH"};
        refData.wingspanByCategory.fill(0.01);
        refData.wingspanByModel["A320"] = 17 / metersPerNm;
        gf_indexLiveries({{"DLH", "A320", "A320 DLH", "", false}});
        MSFS_2020.value = true;
        LOG.value = false;
        simconnect::setOpener([this](DWORD) { return rig::connectInProcess(hub); });
        EXPECT_TRUE(lf_openSession());
        gf_requestOnGround();
        AUTO_RANGE.value = false; // the simulator is asked about all of it
        LATERAL_RANGE.value = 100;
        gf_setRange(100);
        app.savedRange = 100;
        hub.journalOn = false;
    }
    ~Living() override {
        lf_closeSession();
        simconnect::setOpener(nullptr);
        lf_resetReaders();
        gf_enableTraffic(false);
        trafficReader.userPosition.store({});
        trafficReader.parkAirport.store({});
        gf_clearLiveryStores();
        lf_resetEngine();
        appLife.tickCount = 0;
    }

    int below(int n) { return static_cast<int>(chance() % static_cast<unsigned>(n)); }

    // ---- the world ----
    void prepareAirports() {
        for (const char* code : {"EDTT", "EDNN"}) {
            std::string stands;
            const double east = std::string(code) == "EDTT" ? 0 : 20.0 / 60;
            for (int i = 0; i < standCount; ++i) {
                std::string options;
                for (int o = 0; o < 20; ++o)
                    options += fmt::format(
                        "<opt reg=\"{}{}-{}\" airl=\"DLH\" type=\"A320\" day=\"{}\" hh=\"{},{},{}\" "
                        "cs=\"DLH{}:DLH{}\"/>",
                        code, i, o % 15, below(7) + 1, below(48), below(48), below(48), below(90),
                        100 + below(90));
                stands +=
                    fmt::format("<parkpos id=\"S{}\" latitude=\"{:.7f}\" longitude=\"{:.7f}\" heading=\"90\" "
                                "radius=\"18\">{}</parkpos>",
                                i, 50 + 34 * i * degreesPerMetre, 8 + east, options);
            }
            putStock(code, baseFile(stands));
        }
        writeFile(folders.myParkAirports, "EDTT,S3\nEDNN\n");
        EXPECT_TRUE(lf_readMyParkAirports());
    }
    void placeInWorld(double lat, double lon, double aglFt) {
        hub.world.placeUser(lat, lon, 364 + aglFt, 0, aglFt == 0, 0);
        const LockGuard hold(simLock);
        sim.userPrevPosition = {}; // no jump
    }
    void report(std::uint32_t hexid, const std::string& callsign, const std::string& reg, double lat,
                double lon, double altFt) {
        trafficReader.takeDatagram(fmt::format(
            "RTTFC,{},{:.7f},{:.7f},{:.0f},0,{},90,{},{},A320,{},FRA,BCN,{:.1f},X,LH1,adsb_icao,5100,-1,-1,-"
            "1,-1,"
            "-1,-1,-1,-1,none,A3,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1",
            hexid, lat, lon, altFt, altFt > 0 ? 0 : 1, altFt > 0 ? 250 : 0, callsign, reg, 1.6e9 + seconds));
    }
    struct Guest { // an aircraft of the feed, on a stand or passing
        std::uint32_t hexid;
        std::string callsign, reg;
        double lat, lon, altFt;
        int until;
    };
    std::vector<Guest> guests;
    int seconds = 0, guestNumber = 0;

    void invite() { // under a flight or a registration that a stand knows, as often as not
        Guest g;
        g.hexid = firstLiveHexid + 1000 + static_cast<std::uint32_t>(guestNumber++);
        g.callsign = below(2) ? fmt::format("DLH{}", below(190)) : fmt::format("DLH{}", 2000 + guestNumber);
        if (below(8) == 0) g.callsign += "_";
        g.reg = below(3) == 0 ? fmt::format("EDTT{}-{}", below(standCount), below(15)) : "null";
        const bool stands = below(2) == 0;
        g.lat = 50 + 34 * below(standCount) * degreesPerMetre;
        g.lon = (below(2) ? 8 : 8 + 20.0 / 60) + (stands ? 0 : 0.05);
        g.altFt = stands ? 0 : 5000;
        g.until = seconds + 60 + below(1200);
        guests.push_back(g);
    }

    // ---- time ----
    void second() {
        for (Guest& g : guests)
            if (seconds % 4 == 0) {
                if (g.altFt > 0) g.lat += 0.004;
                report(g.hexid, g.callsign, g.reg, g.lat, g.lon, g.altFt);
            }
        std::erase_if(guests, [&](const Guest& g) { return g.until < seconds; });
        for (int i = 0; i < 100; ++i) {
            clock.advance(10'000'000);
            if (i % 20 == 0) {
                hub.frame(0.2);
                ASSERT_TRUE(lf_dispatchArrived());
            }
            ASSERT_TRUE(lf_cycleStep()) << gf_shownError();
        }
        if (below(3) > 0) lf_serveLoader(); // it takes its time
        ++seconds;
    }

    // ---- what the user does ----
    void act() {
        const int what = below(16);
        did = fmt::format("{} {}", what, did).substr(0, 60);
        switch (what) {
        case 0: return placeInWorld(50 + 34 * below(standCount) * degreesPerMetre, 8, 0);
        case 1: return placeInWorld(50, 8 + 20.0 / 60, 0);
        case 2: return placeInWorld(50.02, 8.02, 0); // on no stand
        case 3: return placeInWorld(50.05, 8 + below(20) / 60.0, 1000 + below(20000));
        case 4: return placeInWorld(51.2, 8, 9000);
        case 5: return placeInWorld(50.005, 8, 1500);
        case 6:
            return gf_setAndSave(DESTINATION, below(3)   ? ""
                                              : below(2) ? "EDTT"
                                                         : "EDNN"),
                   app.destinationRequest.set();
        case 7: {
            if (below(2))
                writeFile(folders.myParkAirports, fmt::format("EDTT,S{}\nEDNN\n", below(standCount)));
            return app.reReadRequest.set();
        }
        case 8: return app.flushRequest.set();
        case 9: INITIAL_LOAD_ONLY.value = below(4) == 0; return;
        case 10: parking_percentage.value = below(101); break;
        case 11: MAX_FIT.value = below(48); break;
        case 12: WEEK.value = below(2); break;
        case 13: CUSTOM_MAX_PARK.value = below(3) ? -1 : below(30); break;
        case 14: PARK_SOFT.value = below(2); break;
        default: return invite();
        }
        if (!airports.park.loaded) return; // as the window does it
        app.parametersChanged = true;
        if (!INITIAL_LOAD_ONLY) app.reparkRequest.set();
    }
    void learn() {
        if (!airports.park.loaded) return;
        Stand& stand = *gf_standBySeq(static_cast<std::uint32_t>(below(standCount) + 1));
        LiveAc ac;
        ac.airline = "DLH";
        ac.acType = "A320";
        const std::string key = fmt::format("L{}", nextKey++);
        ASSERT_NE(lf_newStandOption(stand, ac, true, app.weekSlot.load(), key, ""), 0);
        airports.updates += 1;
        learned[airports.park.code].insert(key);
    }

    // ---- what must hold ----
    void check() {
        checkAirport();
        checkStatics();
        checkObjects();
    }
    void checkAirport() {
        const auto& stands = airports.file.stands;
        EXPECT_EQ(stands.empty(), !airports.park.loaded);
        EXPECT_FALSE(airports.pending && (airports.park.loaded || !airports.park.known()));
        EXPECT_EQ(trafficReader.parkAirport.load().known, airports.park.loaded);
        if (!airports.park.loaded) {
            EXPECT_TRUE(airports.staticQueue.empty());
            EXPECT_EQ(airports.maxParked, 0);
            EXPECT_TRUE(airports.reservedStand.empty());
            EXPECT_FALSE(app.reparkFirstPhase && !app.reparkRequest);
        }
        if (trafficReader.collectCallsigns) {
            EXPECT_TRUE(airports.pending || app.reparkFirstPhase);
        }
        std::set<std::string> codes;
        for (const ParkAirportEntry& entry : airports.parkAirports)
            EXPECT_TRUE(codes.insert(entry.code).second);
        for (const Stand& stand : stands) {
            const auto holds = [&](const LiveAc& ac) {
                return ac.standId == static_cast<std::uint32_t>(stand.seq);
            };
            if (stand.occupied) {
                EXPECT_TRUE(std::any_of(engine.live.begin(), engine.live.end(), holds)) << stand.id;
            }
            for (const StandOption& option : stand.options)
                EXPECT_EQ(option.index, &option - stand.options.data() + 1) << stand.id;
        }
        // Static work ends: the parking step after the last candidate, 32 seconds later at the latest.
        busyFor =
            display.staticWork && airports.staticQueue.empty() && !app.reparkFirstPhase ? busyFor + 1 : 0;
        EXPECT_LE(busyFor, 48);
    }
    void checkStatics() {
        std::set<std::int32_t> queued;
        for (const StaticCandidate& candidate : airports.staticQueue) {
            EXPECT_TRUE(queued.insert(candidate.standSeq).second);
            EXPECT_NE(gf_standBySeq(static_cast<std::uint32_t>(candidate.standSeq)), nullptr);
        }
        std::set<std::uint32_t> serials, standIds;
        std::set<std::string> names, regs;
        for (const ParkedAc& ac : engine.parked) {
            EXPECT_LT(ac.hexid, firstLiveHexid);
            EXPECT_TRUE(serials.insert(ac.hexid).second);
            EXPECT_EQ(ac.st == SimState::adding2sim, ac.objectId == 0) << ac.callsign;
            EXPECT_TRUE(ac.st == SimState::adding2sim || ac.st == SimState::active ||
                        ac.st == SimState::removingFromSim);
            const bool goes = ac.st == SimState::removingFromSim || ac.removeWhenSpawned || ac.eraseFromQueue;
            if (goes) continue;
            EXPECT_TRUE(airports.park.loaded) << ac.callsign << " outlives its airport";
            EXPECT_TRUE(standIds.insert(ac.standId).second) << "two on stand " << ac.standId;
            EXPECT_TRUE(names.insert(ac.callsign).second) << ac.callsign;
            EXPECT_TRUE(ac.regcode.empty() || regs.insert(ac.regcode).second) << ac.regcode;
            EXPECT_TRUE(lf_standOf(ac)) << ac.callsign;
        }
        for (const CreationRecord& record : engine.staticCreationQueue)
            EXPECT_TRUE(serials.contains(record.hexid));
    }
    void checkObjects() {
        constexpr int patience = 12; // seconds: creation, the wait after it, and the queue of removals
        std::map<std::uint32_t, int> now;
        for (const auto& entry : hub.world.objects) {
            const std::uint32_t id = entry.first;
            const rig::SimObject& object = entry.second;
            if (!object.tailNumber.ends_with('*')) continue;
            const auto known = std::find_if(engine.parked.begin(), engine.parked.end(),
                                            [&](const ParkedAc& ac) { return ac.objectId == id; });
            if (known == engine.parked.end() || known->st == SimState::removingFromSim)
                now[id] = strangers[id] + 1;
            if (now.contains(id)) {
                EXPECT_LE(now[id], patience + standCount / 10) << object.tailNumber;
            }
        }
        strangers = std::move(now);
        for (const ParkedAc& ac : engine.parked)
            if (ac.st == SimState::active) {
                EXPECT_TRUE(hub.world.find(ac.objectId)) << ac.callsign;
            }
        // Nobody twice: a pair is parted in 5 seconds, and one for each arrival that waits before it.
        std::map<std::pair<std::uint32_t, std::uint32_t>, int> pairs;
        const int most = 5 + static_cast<int>(engine.newArrivals.size());
        for (const LiveAc& live : engine.live)
            for (const ParkedAc& parked : engine.parked)
                if (live.objectId != 0 && parked.objectId != 0 && live.st == SimState::active &&
                    parked.st == SimState::active && lf_isImage(live, parked)) {
                    const std::pair key{live.hexid, parked.hexid};
                    pairs[key] = doubles[key] + 1;
                    EXPECT_LE(pairs[key], most) << live.callsign << " and " << parked.callsign;
                }
        doubles = std::move(pairs);
    }

    void live(std::uint32_t seed, int forSeconds) {
        SCOPED_TRACE(fmt::format("seed {}", seed));
        chance.seed(seed);
        plat::seedRandom(seed);
        clock.setUtcSeconds(1'699'833'600 + below(7) * 86400);
        prepareAirports();
        lf_beginCycle();
        std::size_t most = 0, loads = 0;
        bool loadedBefore = false;
        while (seconds < forSeconds) {
            if (below(20) == 0) act();
            if (below(30) == 0) learn();
            second();
            check();
            most = std::max(most, engine.parked.size());
            loads += airports.park.loaded && !loadedBefore;
            loadedBefore = airports.park.loaded;
            if (HasFailure()) FAIL() << "at second " << seconds << ", the last actions first: " << did;
        }
        EXPECT_GT(most, 15u);
        EXPECT_GT(loads, 20u);
        lf_removeAllParked(); // as the closing does
        lf_endLoader();
        for (const auto& [code, keys] : learned) {
            const std::string text = readFile(folders.learnedStock / (code + ".xml"));
            for (const std::string& key : keys)
                EXPECT_NE(text.find("\"" + key + "\""), text.npos) << code << " " << key;
        }
    }
};

TEST_F(Living, ADayOfAllOrdersKeepsStandsListsAndObjectsTogether) { live(1, 86400); }
TEST_F(Living, AnotherOrder) { live(2, 20000); }
TEST_F(Living, AThirdOrder) { live(3, 20000); }

} // namespace test
