#pragma once
// The calls, records and constants of the simulator's client interface that this program uses, under their
// published names. A build against the vendor's library takes that library's header instead.

#include <cstdint>

#if defined(_WIN32)
#include <windows.h>
#undef near // words of another age's compilers, which the program uses as names
#undef far
#else
using HANDLE = void*;
using HRESULT = std::int32_t;
using DWORD = std::uint32_t;
using HWND = void*;
constexpr HRESULT S_OK = 0;
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
#define CALLBACK
#endif

using SIMCONNECT_OBJECT_ID = DWORD;
using SIMCONNECT_DATA_REQUEST_ID = DWORD;
using SIMCONNECT_DATA_DEFINITION_ID = DWORD;
using SIMCONNECT_CLIENT_EVENT_ID = DWORD;
using SIMCONNECT_NOTIFICATION_GROUP_ID = DWORD;

constexpr DWORD SIMCONNECT_UNUSED = 0xFFFFFFFF;
constexpr SIMCONNECT_OBJECT_ID SIMCONNECT_OBJECT_ID_USER = 0;

enum SIMCONNECT_RECV_ID : DWORD {
    SIMCONNECT_RECV_ID_EXCEPTION = 1,
    SIMCONNECT_RECV_ID_OPEN = 2,
    SIMCONNECT_RECV_ID_QUIT = 3,
    SIMCONNECT_RECV_ID_EVENT = 4,
    SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE = 5,
    SIMCONNECT_RECV_ID_EVENT_FILENAME = 6,
    SIMCONNECT_RECV_ID_EVENT_FRAME = 7,
    SIMCONNECT_RECV_ID_SIMOBJECT_DATA = 8,
    SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE = 9,
    SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID = 12,
};
enum SIMCONNECT_DATATYPE : DWORD {
    SIMCONNECT_DATATYPE_INT32 = 1,
    SIMCONNECT_DATATYPE_INT64 = 2,
    SIMCONNECT_DATATYPE_FLOAT32 = 3,
    SIMCONNECT_DATATYPE_FLOAT64 = 4,
    SIMCONNECT_DATATYPE_STRING32 = 6,
    SIMCONNECT_DATATYPE_STRING256 = 9,
    SIMCONNECT_DATATYPE_STRINGV = 11,
};
enum SIMCONNECT_PERIOD : DWORD {
    SIMCONNECT_PERIOD_NEVER = 0,
    SIMCONNECT_PERIOD_ONCE = 1,
    SIMCONNECT_PERIOD_VISUAL_FRAME = 2,
    SIMCONNECT_PERIOD_SIM_FRAME = 3,
    SIMCONNECT_PERIOD_SECOND = 4,
};
enum SIMCONNECT_SIMOBJECT_TYPE : DWORD {
    SIMCONNECT_SIMOBJECT_TYPE_USER = 0,
    SIMCONNECT_SIMOBJECT_TYPE_ALL = 1,
    SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT = 2,
};

// All records are packed: a double may stand at any offset.
#pragma pack(push, 1)
struct SIMCONNECT_RECV {
    DWORD dwSize, dwVersion, dwID;
};
struct SIMCONNECT_RECV_EXCEPTION : SIMCONNECT_RECV {
    DWORD dwException, dwSendID, dwIndex;
};
struct SIMCONNECT_RECV_OPEN : SIMCONNECT_RECV {
    char szApplicationName[256];
    DWORD dwApplicationVersionMajor, dwApplicationVersionMinor, dwApplicationBuildMajor,
        dwApplicationBuildMinor;
    DWORD dwSimConnectVersionMajor, dwSimConnectVersionMinor, dwSimConnectBuildMajor, dwSimConnectBuildMinor;
    DWORD dwReserved1, dwReserved2;
};
struct SIMCONNECT_RECV_QUIT : SIMCONNECT_RECV {};
struct SIMCONNECT_RECV_EVENT : SIMCONNECT_RECV {
    DWORD uGroupID, uEventID, dwData;
};
struct SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE : SIMCONNECT_RECV_EVENT {
    DWORD eObjType;
};
struct SIMCONNECT_RECV_EVENT_FILENAME : SIMCONNECT_RECV_EVENT {
    char szFileName[260];
    DWORD dwFlags;
};
struct SIMCONNECT_RECV_EVENT_FRAME : SIMCONNECT_RECV_EVENT {
    float fFrameRate, fSimSpeed;
};
struct SIMCONNECT_RECV_SIMOBJECT_DATA : SIMCONNECT_RECV {
    DWORD dwRequestID, dwObjectID, dwDefineID, dwFlags, dwentrynumber, dwoutof, dwDefineCount;
    DWORD dwData; // the data begins here
};
struct SIMCONNECT_RECV_SIMOBJECT_DATA_BYTYPE : SIMCONNECT_RECV_SIMOBJECT_DATA {};
struct SIMCONNECT_RECV_ASSIGNED_OBJECT_ID : SIMCONNECT_RECV {
    DWORD dwRequestID, dwObjectID;
};
struct SIMCONNECT_DATA_INITPOSITION {
    double Latitude, Longitude, Altitude; // degrees, feet
    double Pitch, Bank, Heading;          // degrees
    DWORD OnGround, Airspeed;             // knots
};
#pragma pack(pop)

using DispatchProc = void(CALLBACK*)(SIMCONNECT_RECV* pData, DWORD cbData, void* pContext);

// S_OK when the packet was handed over, E_FAIL when the connection is gone or an argument is plainly wrong. What the
// simulator has against a call comes later, as an EXCEPTION message. Calls on one handle may come from several
// threads; the layer orders them. CallDispatch is for one caller at a time: a nested one, or one beside another's,
// gives E_FAIL, as it does when the stream has ended, after the messages that came before.
HRESULT SimConnect_Open(HANDLE* phSimConnect, const char* szName, HWND hWnd, DWORD UserEventWin32,
                        HANDLE hEventHandle, DWORD ConfigIndex);
HRESULT SimConnect_Close(HANDLE hSimConnect);
HRESULT SimConnect_CallDispatch(HANDLE hSimConnect, DispatchProc pfcnDispatch, void* pContext);
HRESULT SimConnect_GetLastSentPacketID(HANDLE hSimConnect, DWORD* pdwSendID);
HRESULT SimConnect_AddToDataDefinition(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                       const char* DatumName, const char* UnitsName,
                                       SIMCONNECT_DATATYPE DatumType = SIMCONNECT_DATATYPE_FLOAT64,
                                       float fEpsilon = 0, DWORD DatumID = SIMCONNECT_UNUSED);
HRESULT SimConnect_SubscribeToSystemEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                          const char* SystemEventName);
HRESULT SimConnect_MapClientEventToSimEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                            const char* EventName = "");
HRESULT SimConnect_AddClientEventToNotificationGroup(HANDLE hSimConnect,
                                                     SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                     SIMCONNECT_CLIENT_EVENT_ID EventID, DWORD bMaskable = 0);
HRESULT SimConnect_SetNotificationGroupPriority(HANDLE hSimConnect, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                DWORD uPriority);
HRESULT SimConnect_RequestDataOnSimObject(HANDLE hSimConnect, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                          SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                          SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_PERIOD Period,
                                          DWORD Flags = 0, DWORD origin = 0, DWORD interval = 0,
                                          DWORD limit = 0);
HRESULT SimConnect_RequestDataOnSimObjectType(HANDLE hSimConnect, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                              SIMCONNECT_DATA_DEFINITION_ID DefineID, DWORD dwRadiusMeters,
                                              SIMCONNECT_SIMOBJECT_TYPE type);
HRESULT SimConnect_SetDataOnSimObject(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                      SIMCONNECT_OBJECT_ID ObjectID, DWORD Flags, DWORD ArrayCount,
                                      DWORD cbUnitSize, void* pDataSet);
HRESULT SimConnect_TransmitClientEvent(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                       SIMCONNECT_CLIENT_EVENT_ID EventID, DWORD dwData,
                                       SIMCONNECT_NOTIFICATION_GROUP_ID GroupID, DWORD Flags);
HRESULT SimConnect_AICreateNonATCAircraft(HANDLE hSimConnect, const char* szContainerTitle,
                                          const char* szTailNumber, SIMCONNECT_DATA_INITPOSITION InitPos,
                                          SIMCONNECT_DATA_REQUEST_ID RequestID);
HRESULT SimConnect_AIReleaseControl(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                    SIMCONNECT_DATA_REQUEST_ID RequestID);
HRESULT SimConnect_AIRemoveObject(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                  SIMCONNECT_DATA_REQUEST_ID RequestID);
HRESULT SimConnect_AISetAircraftFlightPlan(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                           const char* szFlightPlanPath,
                                           SIMCONNECT_DATA_REQUEST_ID RequestID);
