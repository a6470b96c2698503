// What the program tells the simulator at the start of a session: the system events it wants, its data definitions,
// its client events and their group. Simulator thread.

#include "simlink/dispatch.h"

#include <iterator>

constexpr DWORD groupPriority = 1; // the highest; such a group cannot mask an event from the user's aircraft

struct SystemEvent {
    DWORD id;
    const char* name;
};
constexpr SystemEvent systemEvents[] = {{evSim, "Sim"},
                                        {evObjectAdded, "ObjectAdded"},
                                        {evObjectRemoved, "ObjectRemoved"},
                                        {evFlightLoaded, "FlightLoaded"},
                                        {evFrame, "Frame"}};

struct Datum {
    DWORD definition;
    const char *variable, *unit;
    SIMCONNECT_DATATYPE type = SIMCONNECT_DATATYPE_FLOAT64;
};
// The order within a definition is the order in its blocks.
constexpr Datum definitions[] = {
    {defTitle, "TITLE", nullptr, SIMCONNECT_DATATYPE_STRINGV},
    {defModel, "ATC MODEL", nullptr, SIMCONNECT_DATATYPE_STRING32},
    {defOnGround, "SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_INT64},
    {defPosition, "Plane Latitude", "degree"},
    {defPosition, "Plane Longitude", "degree"},
    {defPosition, "Plane Pitch degrees", "radians"},
    {defPosition, "Plane Bank degrees", "radians"},
    {defPosition, "Plane Heading degrees true", "radians"},
    {defPosition, "Plane Altitude", "feet"},
    {defPosition, "Vertical Speed", "feet per second"},
    {defPosition, "Airspeed True", "knots"},
    {defUser, "Plane Latitude", "degree"},
    {defUser, "Plane Longitude", "degree"},
    {defUser, "Plane Pitch degrees", "radians"},
    {defUser, "Plane Bank degrees", "radians"},
    {defUser, "Plane Heading degrees true", "radians"},
    {defUser, "Plane Altitude", "feet"},
    {defUser, "Plane Alt Above Ground", "feet"},
    {defUser, "Ground Velocity", "knots"},
    {defUser, "ZULU TIME", "Seconds", SIMCONNECT_DATATYPE_INT64},
    {defUser, "ZULU DAY OF YEAR", "Number", SIMCONNECT_DATATYPE_INT64},
    {defUser, "ZULU YEAR", "Number", SIMCONNECT_DATATYPE_INT64},
    {defUser, "LIGHT STATES", "Mask", SIMCONNECT_DATATYPE_INT64},
    {defStaticCg, "Static CG to Ground", "feet"},
    {defStaticCg, "Static Pitch", "radians"},
    {defLights, "Light On States", "Mask", SIMCONNECT_DATATYPE_INT64},
    {defInRange, "Plane Alt Above Ground", "feet"},
    {defInRange, "Ground Altitude", "feet"},
    {defInRange, "SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_INT64},
    {defInRange, "ATC ID", nullptr, SIMCONNECT_DATATYPE_STRING32},
    {defSpoilers, "SPOILERS HANDLE POSITION", "percent"},
    {defSpoilers, "GENERAL ENG THROTTLE LEVER POSITION:1", "percent"},
    {defSpoilers, "GENERAL ENG THROTTLE LEVER POSITION:2", "percent"},
};

constexpr const char* clientEvents[] = {
    // From evBeaconLights on, without a gap.
    "BEACON_LIGHTS_SET",
    "NAV_LIGHTS_SET",
    "TAXI_LIGHTS_SET",
    "STROBES_SET",
    "LANDING_LIGHTS_SET",
    "CABIN_LIGHTS_SET",
    "LOGO_LIGHTS_SET",
    "ALL_LIGHTS_TOGGLE",
    "FREEZE_LATITUDE_LONGITUDE_SET",
    "FREEZE_ALTITUDE_SET",
    "FREEZE_ATTITUDE_SET",
    "FLAPS_SET",
    "SPOILERS_SET",
    "GEAR_SET",
    "ENGINE_AUTO_START",
    "ENGINE_AUTO_SHUTDOWN",
    "THROTTLE_SET"};
static_assert(evBeaconLights + std::size(clientEvents) == evThrottle + 1);

// A send that fails here shows at the next dispatch: the connection has ended then.
void lf_setUpSession(HANDLE handle) {
    for (const SystemEvent& event : systemEvents)
        SimConnect_SubscribeToSystemEvent(handle, event.id, event.name);
    for (const Datum& datum : definitions)
        SimConnect_AddToDataDefinition(handle, datum.definition, datum.variable, datum.unit, datum.type);
    DWORD id = evBeaconLights;
    for (const char* name : clientEvents) SimConnect_MapClientEventToSimEvent(handle, id++, name);
    for (id = evBeaconLights; id <= evThrottle; ++id)
        if (id != evEngineStart) SimConnect_AddClientEventToNotificationGroup(handle, simEventGroup, id, 1);
    SimConnect_SetNotificationGroupPriority(handle, simEventGroup, groupPriority);
}
