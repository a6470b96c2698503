// From the buffer to the simulator: whether and when an aircraft may appear, the state it starts in, and the queues
// that pace what the simulator gets. Worker.

#include "engine/motion.h"
#include "engine/parking.h"
#include "engine/trace.h"

#include "app/log.h"
#include "app/parameters.h"

#include <cmath>
#include <fmt/format.h>

static std::string lf_noLiveryKey(const AcBase& ac) { return fmt::format("{} {}", ac.acType, ac.regcode); }

void lf_giveUp(LiveAc& ac, NotSpawned why) {
    ac.eraseNow = true;
    ++engineCounters.notSpawned[static_cast<int>(why)];
    lf_trace(ac.hexid, "does not appear: {}", notSpawnedNames[static_cast<int>(why)]);
}

// It may appear at a later point of its stream.
static void lf_dropPoint(LiveAc& ac, const char* why) {
    lf_trace(ac.hexid, "waits for its next point: {}", why);
    ac.stream.popFront();
}

// ---- may it appear -----------------------------------------------------------------------------------------------

static bool lf_isMixed(const PointStream& stream) {
    for (std::size_t i = 1; i < stream.size(); ++i)
        if (stream[i].airborne != stream[0].airborne) return true;
    return false;
}

static bool lf_unsafeUserOnGround(const LiveAc& ac, const StreamPoint& front, double distanceNm) {
    constexpr double slow = 8; // knots
    constexpr double keepOff = 500 / metersPerNm,
                     near = 150 / metersPerNm; // after a first refusal, and always
    if (ac.avoidUser) {
        if (engine.user.groundSpeed > slow) return true;
        if (front.airborne) return false;
        if (front.speed > slow || distanceNm < keepOff) return true;
    }
    return !front.airborne && COLLISION_USER_GND.value && distanceNm < near;
}

static bool lf_unsafeUserInAir(LiveAc& ac, const StreamPoint& front, double distanceNm) {
    const UserBlock& user = engine.user;
    if (!COLLISION_USER_AIR) return false;
    if (front.airborne) { // nobody appears right before the user's nose
        const double course = gf_bearing(user.lat, user.lon, front.lat, front.lon);
        const bool inTheWay = distanceNm <= 6 && std::abs(front.alt - user.alt) < 3000 &&
                              lf_feetBeside(distanceNm, ac.targetHeading - course) <= 4000;
        if (inTheWay) ac.avoidUser = true;
        return inTheWay;
    }
    if (ac.avoidUser) return true;
    // Nobody appears on the runway that the user is landing on. A record that has had no object lies at 0, 0.
    const double toAc = gf_distanceNm(user.lat, user.lon, ac.lat, ac.lon);
    const double angle = gf_bearing(user.lat, user.lon, ac.lat, ac.lon) - user.heading;
    ac.avoidUser = toAc <= 1.5 && user.agl < 1000 && lf_feetBeside(toAc, angle) <= 500;
    return ac.avoidUser;
}

static bool lf_unsafeForUser(LiveAc& ac, const StreamPoint& front) {
    const double distanceNm = gf_distanceNm(engine.user.lat, engine.user.lon, front.lat, front.lon);
    return sim.userOnGround ? lf_unsafeUserOnGround(ac, front, distanceNm)
                            : lf_unsafeUserInAir(ac, front, distanceNm);
}

// The nearest MAX_LIVE aircraft win: one that is farther away makes room.
static bool lf_limitAllows(const StreamPoint& front) {
    const std::int32_t limit = MAX_LIVE.value;
    if (limit < 0) return true;
    const std::size_t count = lf_countActive() + engine.spawnRequests.size() + engine.creationQueue.size();
    if (count < static_cast<std::size_t>(limit)) return true;
    constexpr double margin = 0.1; // nautical miles, so that two do not take turns
    return lf_removeFarthest(gf_distanceNm(engine.user.lat, engine.user.lon, front.lat, front.lon) + margin);
}

// What the registration says of the aircraft goes over what the feed said.
static void lf_takeRegistration(LiveAc& ac) {
    if (ac.regcode.empty()) return;
    if (const auto real = gf_lookupRegcode(ac.regcode)) {
        ac.airline = real->opr.empty() ? real->airl : real->opr;
        if (!real->type.empty()) ac.acType = real->type;
        ac.cargo = real->cargo;
    }
    if (!lf_validCallsign(ac.callsign)) ac.callsign = ac.firstCallsign = ac.regcode;
}

static void lf_checkIdentity(LiveAc& ac) {
    lf_takeRegistration(ac);
    if (!lf_validCallsign(ac.callsign)) return lf_giveUp(ac, NotSpawned::noCallsign);
    if (ac.airline.empty()) ac.airline = gf_airlineOfCallsign(ac.callsign, ac.regcode);
    if (ac.airline.empty()) ac.airline = "PVT";
    if (engine.noLivery.contains(lf_noLiveryKey(ac))) return lf_giveUp(ac, NotSpawned::noLivery);
    if (lf_realExists(ac.callsign)) return lf_giveUp(ac, NotSpawned::ghost);
    spawnLiveAc(ac);
}

// The report was in range half a minute ago; the user and the range may have moved since. An object that is created
// beyond the range never shows up in the answers, and nobody would be in charge of it.
static bool lf_outOfRange(const StreamPoint& front) {
    constexpr double margin = 1; // nautical miles, flown until the object is known
    const UserBlock& user = engine.user;
    return !gf_isNoPosition(user.lat, user.lon) &&
           gf_distanceNm(user.lat, user.lon, front.lat, front.lon) > app.rangeNm - margin;
}

// Ticks before its due tick at which the front point may spawn: creation takes its time, and a taxiing aircraft
// is to move at once.
static std::int32_t lf_spawnLead(const StreamPoint& front) {
    return !front.airborne && front.speed != 0 ? 300 : 100;
}

void lf_checkSpawn(LiveAc& ac) {
    constexpr std::size_t queueLimit = 11; // five seconds of creations
    if (ac.eraseNow) return;
    if (ac.stream.empty()) return lf_giveUp(ac, NotSpawned::emptyStream);
    const StreamPoint& front = ac.stream.front();
    if (lf_ticksBetween(lf_now(), front.dueTick) > lf_spawnLead(front)) return;
    if (ac.stream.size() == 1) return lf_giveUp(ac, NotSpawned::singlePoint); // no track yet
    if (lf_outOfRange(front)) return lf_dropPoint(ac, "out of range");
    if (lf_isGhostCallsign(ac.callsign) && engine.ghosts.contains(ac.callsign))
        return lf_giveUp(ac, NotSpawned::ghost);
    if (lf_isMixed(ac.stream)) return lf_dropPoint(ac, "partly in the air, partly on the ground");
    if (lf_unsafeForUser(ac, front)) return lf_dropPoint(ac, "too close to the user's aircraft");
    // Requests are on their way to the queue: a feed that starts with all its aircraft at once would otherwise fill it
    // with a minute of creations, and each would appear far behind its own track.
    const std::size_t waiting = engine.spawnRequests.size() + engine.creationQueue.size();
    if (waiting >= queueLimit && ac.fs == FlightState::birth)
        return lf_dropPoint(ac, "too many wait for their creation");
    if (!lf_limitAllows(front)) return lf_giveUp(ac, NotSpawned::liveLimit);
    const std::string blocked = BLOCK_CALLSIGN.value();
    if (!blocked.empty() && ac.callsign == blocked) return lf_giveUp(ac, NotSpawned::blocked);
    lf_checkIdentity(ac);
}

bool lf_validCallsign(std::string_view callsign) {
    constexpr std::size_t longest = 8;
    return !callsign.empty() && callsign != "@@@@@@@@" && callsign.size() <= longest;
}

// ---- its look and its state --------------------------------------------------------------------------------------

// The state on the ground: false when the aircraft has to wait for a later point.
static bool lf_startOnGround(LiveAc& ac) {
    constexpr double nearAirport = 5;           // nautical miles
    constexpr double rolledOut = 35, creep = 5; // metres, knots
    const StreamPoint& first = ac.stream[0];
    const StreamPoint& second = ac.stream[1];
    const StreamPoint& last = ac.stream.back();
    const ParkAirport& park = airports.park;
    bool search =
        park.loaded && park.known() && gf_distanceNm(first.lat, first.lon, park.lat, park.lon) <= nearAirport;
    if (search && !first.stationary)
        search = second.speed <= creep && lf_distanceNm(first, last) * metersPerNm <= rolledOut;
    if (!search) {
        setFlightState(ac, FlightState::taxi);
        return true;
    }
    const StreamPoint& place = first.stationary ? first : last;
    lf_freeStand(ac); // that of an earlier object
    lf_clearStand(ac);
    if (Stand* stand = lf_findStand(place.lat, place.lon, ac, standSearchMeters, true)) {
        lf_spawnAtStand(ac, *stand);
        return true;
    }
    if (second.stationary) { // it stands somewhere between the stands: wait until it moves
        lf_dropPoint(ac, "stands, but on no known stand");
        return false;
    }
    setFlightState(ac, FlightState::taxi);
    return true;
}

// False: not now, or never when the record is flagged.
static bool lf_startOfBirth(LiveAc& ac) {
    if (!gf_titleForLiveAc(ac)) {
        lf_giveUp(ac, NotSpawned::noLivery);
        if (!ac.regcode.empty()) engine.noLivery.insert(lf_noLiveryKey(ac));
        return false;
    }
    if (!ac.stream.front().airborne) return lf_startOnGround(ac);
    setFlightState(ac, FlightState::flying);
    return true;
}

static double lf_startHeading(const LiveAc& ac) {
    if (ac.forcedHeadingSet) return ac.forcedHeading;
    if (ac.fs == FlightState::parked) return ac.standHeading;
    const StreamPoint& first = ac.stream.front();
    if (ac.stream.size() < 2 || ac.stream[1].stationary) return first.track * degToRad;
    return lf_bearing(first, ac.stream[1]);
}

static void lf_fillPosition(LiveAc& ac) {
    constexpr double restingPitch =
        0.6 * degToRad; // on the ground, until the simulator tells the model's own
    const StreamPoint& first = ac.stream.front();
    ac.lat = first.lat;
    ac.lon = first.lon;
    ac.alt = first.alt;
    ac.tas = first.tas;
    ac.vsFps = first.vs / 60;
    ac.pitch = first.airborne ? lf_pitchOfClimb(first.vs) : restingPitch;
    ac.bank = first.bankValid ? first.bank : 0;
    ac.heading = lf_startHeading(ac);
}

void spawnLiveAc(LiveAc& ac) {
    if (ac.stream.size() < 2) return gf_logLine(fmt::format("{} sz:{}", "spawnLiveAc", ac.stream.size()));
    StreamPoint& first = ac.stream[0];
    first.stationary = ac.stream[1].stationary;
    if (first.stationary) {
        first.speed = ac.stream[1].speed = 0;
        if (ac.stream.size() > 2 && ac.stream[2].stationary) ac.stream[2].speed = 0;
    }
    if (ac.fs == FlightState::birth && !lf_startOfBirth(ac)) return;
    if (ac.eraseNow) return;
    engine.newArrivals.push_back(ac.hexid);
    lf_fillPosition(ac);
    ac.st = SimState::adding2sim;
    ac.avoidUser = false;
    engine.spawnRequests.push_back(ac.hexid);
    ++engineCounters.spawned;
    lf_trace(ac.hexid, "appears as {} {} {} \"{}\"", gf_flightStateName(ac.fs), ac.callsign, ac.acType,
             ac.title);
    if (!lf_isGhostCallsign(ac.callsign)) lf_removeGhost(ac.callsign);
}

// ---- the queues --------------------------------------------------------------------------------------------------

static CreationRecord lf_creationOf(const LiveAc& ac) {
    CreationRecord record;
    record.lat = ac.lat;
    record.lon = ac.lon;
    record.alt = ac.alt;
    record.pitch = ac.pitch * radToDeg;
    record.bank = ac.bank * radToDeg;
    record.heading = ac.heading * radToDeg;
    record.tailNumber = ac.callsign;
    record.title = ac.title;
    record.hexid = ac.hexid;
    return record;
}

void lf_serveSpawnRequest() {
    if (engine.spawnRequests.empty()) return;
    const std::uint32_t hexid = engine.spawnRequests.back();
    engine.spawnRequests.pop_back();
    LiveAc* ac = lf_findByHexid(hexid);
    if (!ac || ac->st != SimState::adding2sim) return; // gone meanwhile
    if (ac->callsign.empty()) {                        // could never be told from others when it appears
        gf_logLine(fmt::format("{} {} objectid = 0?", "operator ()", hexid));
        ac->eraseNow = true;
        return;
    }
    engine.creationQueue.push_back(lf_creationOf(*ac));
}

// The simulator is given one removal in 100 ms and one creation in 500 ms at the most.
void lf_paceQueues() {
    constexpr std::int32_t removalTicks = 10, creationTicks = 50;
    if (lf_now() % removalTicks != 0) return;
    lf_compactParked();
    if (!engine.removalQueue.empty()) {
        gf_queueRemoval(engine.removalQueue.front());
        engine.removalQueue.pop_front();
    }
    if (lf_now() % creationTicks != 0) return;
    auto& queue = engine.creationQueue.empty() ? engine.staticCreationQueue : engine.creationQueue;
    const bool live = &queue == &engine.creationQueue;
    if (!queue.empty()) {
        gf_queueCreation(std::move(queue.front()));
        queue.pop_front();
    }
    if (!live) lf_placeNextStatic();
}
