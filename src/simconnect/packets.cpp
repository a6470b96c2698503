// The published calls: each checks its arguments and writes its packet, field by field in the order of the
// arguments. Handles are numbers that are never given twice, so that a closed one is told from a later session.

#include "simconnect/session.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <map>
#include <utility>

using simconnect::PacketWriter;
using simconnect::Session;

namespace simconnect {

PacketWriter& PacketWriter::number(DWORD value) {
    for (int i = 0; i < 4; ++i) *at++ = static_cast<char>(value >> (8 * i));
    return *this;
}

PacketWriter& PacketWriter::real32(float value) { return number(std::bit_cast<std::uint32_t>(value)); }

PacketWriter& PacketWriter::real64(double value) {
    const auto raw = std::bit_cast<std::uint64_t>(value);
    return number(static_cast<DWORD>(raw)).number(static_cast<DWORD>(raw >> 32));
}

PacketWriter& PacketWriter::text(const char* value, std::size_t width) {
    if (value) std::memcpy(at, value, strnlen(value, width)); // the rest is zero already
    at += width;
    return *this;
}

PacketWriter& PacketWriter::bytes(const void* data, std::size_t size) {
    std::memcpy(at, data, size);
    at += size;
    return *this;
}

} // namespace simconnect

// Numbers of the functions and widths of the text fields on the wire.
namespace {
enum Function : DWORD {
    fnOpen = 0x01,
    fnMapClientEvent = 0x04,
    fnTransmitClientEvent = 0x05,
    fnAddToGroup = 0x07,
    fnGroupPriority = 0x09,
    fnAddToDefinition = 0x0C,
    fnRequestData = 0x0E,
    fnRequestDataByType = 0x0F,
    fnSetData = 0x10,
    fnSubscribe = 0x17,
    fnCreateNonAtc = 0x29,
    fnReleaseControl = 0x2B,
    fnRemoveObject = 0x2C,
    fnSetFlightPlan = 0x2D,
};
} // namespace
constexpr std::size_t nameWidth = 256, tailWidth = 12, pathWidth = 260;

static Lock sessionsLock;
static std::map<std::uintptr_t, std::shared_ptr<Session>> sessions GUARDED_BY(sessionsLock);
static std::uintptr_t lastHandle GUARDED_BY(sessionsLock) = 0;

static std::shared_ptr<Session> lf_session(HANDLE handle) {
    LockGuard hold(sessionsLock);
    const auto found = sessions.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == sessions.end() ? nullptr : found->second;
}

template <class Fill>
static HRESULT lf_send(HANDLE handle, Function function, std::size_t bodySize, Fill fill) {
    const auto session = lf_session(handle);
    return session ? session->send(function, bodySize, fill) : E_FAIL;
}

// ---- the session itself --------------------------------------------------------------------------------------

HRESULT SimConnect_Open(HANDLE* phSimConnect, const char* szName, HWND, DWORD, HANDLE, DWORD ConfigIndex) {
    if (!phSimConnect) return E_FAIL;
    *phSimConnect = nullptr;
    auto transport = simconnect::openTransport(ConfigIndex);
    if (!transport) return E_FAIL;
    auto session = std::make_shared<Session>(std::move(transport));
    const HRESULT sent = session->send(fnOpen, nameWidth + 24, [&](PacketWriter& body) {
        body.text(szName, nameWidth).number(0).bytes("\0HK", 4);
        body.number(11).number(0).number(62651).number(
            3); // version and build that go with the protocol number
    });
    if (sent != S_OK) return E_FAIL;
    LockGuard hold(sessionsLock);
    sessions.emplace(++lastHandle, std::move(session));
    *phSimConnect = reinterpret_cast<HANDLE>(lastHandle);
    return S_OK;
}

HRESULT SimConnect_Close(HANDLE hSimConnect) {
    std::shared_ptr<Session> session; // its end, outside the lock, closes the stream
    {
        LockGuard hold(sessionsLock);
        const auto found = sessions.find(reinterpret_cast<std::uintptr_t>(hSimConnect));
        if (found == sessions.end()) return E_FAIL;
        session = std::move(found->second);
        sessions.erase(found);
    }
    session->flush();
    return S_OK;
}

HRESULT SimConnect_CallDispatch(HANDLE hSimConnect, DispatchProc pfcnDispatch, void* pContext) {
    const auto session = lf_session(hSimConnect); // kept alive, should the callback close the session
    return session && pfcnDispatch ? session->dispatch(pfcnDispatch, pContext) : E_FAIL;
}

HRESULT SimConnect_GetLastSentPacketID(HANDLE hSimConnect, DWORD* pdwSendID) {
    const auto session = lf_session(hSimConnect);
    if (!session || !pdwSendID) return E_FAIL;
    *pdwSendID = session->lastSentId();
    return S_OK;
}

// ---- definitions and events ----------------------------------------------------------------------------------

HRESULT SimConnect_AddToDataDefinition(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                       const char* DatumName, const char* UnitsName,
                                       SIMCONNECT_DATATYPE DatumType, float fEpsilon, DWORD DatumID) {
    if (!DatumName) return E_FAIL;
    return lf_send(hSimConnect, fnAddToDefinition, 2 * nameWidth + 16, [&](PacketWriter& body) {
        body.number(DefineID).text(DatumName, nameWidth).text(UnitsName, nameWidth);
        body.number(DatumType).real32(fEpsilon).number(DatumID);
    });
}

HRESULT SimConnect_SubscribeToSystemEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                          const char* SystemEventName) {
    if (!SystemEventName) return E_FAIL;
    return lf_send(hSimConnect, fnSubscribe, nameWidth + 4,
                   [&](PacketWriter& body) { body.number(EventID).text(SystemEventName, nameWidth); });
}

HRESULT SimConnect_MapClientEventToSimEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                            const char* EventName) {
    return lf_send(hSimConnect, fnMapClientEvent, nameWidth + 4,
                   [&](PacketWriter& body) { body.number(EventID).text(EventName, nameWidth); });
}

HRESULT SimConnect_AddClientEventToNotificationGroup(HANDLE hSimConnect,
                                                     SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                     SIMCONNECT_CLIENT_EVENT_ID EventID, DWORD bMaskable) {
    return lf_send(hSimConnect, fnAddToGroup, 12,
                   [&](PacketWriter& body) { body.number(GroupID).number(EventID).number(bMaskable); });
}

HRESULT SimConnect_SetNotificationGroupPriority(HANDLE hSimConnect, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                DWORD uPriority) {
    return lf_send(hSimConnect, fnGroupPriority, 8,
                   [&](PacketWriter& body) { body.number(GroupID).number(uPriority); });
}

HRESULT SimConnect_TransmitClientEvent(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                       SIMCONNECT_CLIENT_EVENT_ID EventID, DWORD dwData,
                                       SIMCONNECT_NOTIFICATION_GROUP_ID GroupID, DWORD Flags) {
    return lf_send(hSimConnect, fnTransmitClientEvent, 20, [&](PacketWriter& body) {
        body.number(ObjectID).number(EventID).number(dwData).number(GroupID).number(Flags);
    });
}

// ---- data ----------------------------------------------------------------------------------------------------

HRESULT SimConnect_RequestDataOnSimObject(HANDLE hSimConnect, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                          SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                          SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_PERIOD Period,
                                          DWORD Flags, DWORD origin, DWORD interval, DWORD limit) {
    return lf_send(hSimConnect, fnRequestData, 32, [&](PacketWriter& body) {
        body.number(RequestID).number(DefineID).number(ObjectID).number(Period);
        body.number(Flags).number(origin).number(interval).number(limit);
    });
}

HRESULT SimConnect_RequestDataOnSimObjectType(HANDLE hSimConnect, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                              SIMCONNECT_DATA_DEFINITION_ID DefineID, DWORD dwRadiusMeters,
                                              SIMCONNECT_SIMOBJECT_TYPE type) {
    return lf_send(hSimConnect, fnRequestDataByType, 16, [&](PacketWriter& body) {
        body.number(RequestID).number(DefineID).number(dwRadiusMeters).number(type);
    });
}

HRESULT SimConnect_SetDataOnSimObject(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                      SIMCONNECT_OBJECT_ID ObjectID, DWORD Flags, DWORD ArrayCount,
                                      DWORD cbUnitSize, void* pDataSet) {
    const std::uint64_t dataSize =
        std::uint64_t{std::max<DWORD>(ArrayCount, 1)} * cbUnitSize; // 0 counts as 1
    if (!pDataSet || dataSize == 0 || dataSize > simconnect::largestMessage - 64) return E_FAIL;
    return lf_send(hSimConnect, fnSetData, 20 + static_cast<std::size_t>(dataSize), [&](PacketWriter& body) {
        body.number(DefineID).number(ObjectID).number(Flags).number(ArrayCount).number(cbUnitSize);
        body.bytes(pDataSet, static_cast<std::size_t>(dataSize));
    });
}

// ---- AI objects ----------------------------------------------------------------------------------------------

HRESULT SimConnect_AICreateNonATCAircraft(HANDLE hSimConnect, const char* szContainerTitle,
                                          const char* szTailNumber, SIMCONNECT_DATA_INITPOSITION InitPos,
                                          SIMCONNECT_DATA_REQUEST_ID RequestID) {
    if (!szContainerTitle) return E_FAIL;
    return lf_send(hSimConnect, fnCreateNonAtc, nameWidth + tailWidth + 60, [&](PacketWriter& body) {
        body.text(szContainerTitle, nameWidth).text(szTailNumber, tailWidth);
        body.real64(InitPos.Latitude).real64(InitPos.Longitude).real64(InitPos.Altitude);
        body.real64(InitPos.Pitch).real64(InitPos.Bank).real64(InitPos.Heading);
        body.number(InitPos.OnGround).number(InitPos.Airspeed).number(RequestID);
    });
}

HRESULT SimConnect_AIReleaseControl(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                    SIMCONNECT_DATA_REQUEST_ID RequestID) {
    return lf_send(hSimConnect, fnReleaseControl, 8,
                   [&](PacketWriter& body) { body.number(ObjectID).number(RequestID); });
}

HRESULT SimConnect_AIRemoveObject(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                  SIMCONNECT_DATA_REQUEST_ID RequestID) {
    return lf_send(hSimConnect, fnRemoveObject, 8,
                   [&](PacketWriter& body) { body.number(ObjectID).number(RequestID); });
}

HRESULT SimConnect_AISetAircraftFlightPlan(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                           const char* szFlightPlanPath,
                                           SIMCONNECT_DATA_REQUEST_ID RequestID) {
    if (!szFlightPlanPath) return E_FAIL;
    return lf_send(hSimConnect, fnSetFlightPlan, pathWidth + 8, [&](PacketWriter& body) {
        body.number(ObjectID).text(szFlightPlanPath, pathWidth).number(RequestID);
    });
}
