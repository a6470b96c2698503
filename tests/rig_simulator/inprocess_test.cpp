// The program's own client library against the stand-in within one process: one road from open to removal.

#include "simconnect/transport.h"
#include "simulator/inprocess.h"
#include "wire_client.h"

#include <gtest/gtest.h>
#include <map>

using namespace test;

namespace {

struct Received {
    std::map<DWORD, int> kinds;
    DWORD assigned = 0, exceptionSendId = 0, exception = 0;
    double latitude = 0;
};

void CALLBACK onMessage(SIMCONNECT_RECV* message, DWORD, void* context) {
    Received& got = *static_cast<Received*>(context);
    ++got.kinds[message->dwID];
    if (message->dwID == SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID)
        got.assigned = static_cast<SIMCONNECT_RECV_ASSIGNED_OBJECT_ID*>(message)->dwObjectID;
    if (message->dwID == SIMCONNECT_RECV_ID_EXCEPTION) {
        got.exception = static_cast<SIMCONNECT_RECV_EXCEPTION*>(message)->dwException;
        got.exceptionSendId = static_cast<SIMCONNECT_RECV_EXCEPTION*>(message)->dwSendID;
    }
    if (message->dwID == SIMCONNECT_RECV_ID_SIMOBJECT_DATA)
        std::memcpy(&got.latitude, &static_cast<SIMCONNECT_RECV_SIMOBJECT_DATA*>(message)->dwData,
                    sizeof got.latitude);
}

} // namespace

TEST(InProcess, CarriesTheClientLibraryFromOpenToTheEndOfTheSimulator) {
    for (const bool split : {false, true}) {
        rig::SimHub hub(plainWorld());
        hub.faults.split = split;
        simconnect::setOpener([&hub](DWORD) { return rig::connectInProcess(hub); });
        HANDLE handle = nullptr;
        ASSERT_EQ(SimConnect_Open(&handle, "In process", nullptr, 0, nullptr, 0), S_OK);
        Received got;
        const auto frame = [&] {
            hub.frame(0.1);
            return SimConnect_CallDispatch(handle, onMessage, &got);
        };
        SimConnect_SubscribeToSystemEvent(handle, 201, "Sim");
        SimConnect_SubscribeToSystemEvent(handle, 204, "Frame");
        SimConnect_AddToDataDefinition(handle, 1, "Plane Latitude", "degree");
        SIMCONNECT_DATA_INITPOSITION place{50.5, 8, 3000, 0, 0, 90, 0, 200};
        SimConnect_AICreateNonATCAircraft(handle, "A320", "LIB1", place, 104);
        EXPECT_EQ(frame(), S_OK);
        EXPECT_EQ(got.kinds[SIMCONNECT_RECV_ID_OPEN], 1);
        EXPECT_EQ(got.kinds[SIMCONNECT_RECV_ID_EVENT], 1);
        EXPECT_EQ(got.kinds[SIMCONNECT_RECV_ID_EVENT_FRAME], 1);
        ASSERT_GT(got.assigned, rig::userObjectId);

        double latitude = 51.25;
        SimConnect_AIReleaseControl(handle, got.assigned, 103);
        SimConnect_MapClientEventToSimEvent(handle, 214, "FREEZE_LATITUDE_LONGITUDE_SET");
        SimConnect_TransmitClientEvent(handle, got.assigned, 214, 1, 301, 0);
        SimConnect_SetDataOnSimObject(handle, 1, got.assigned, 0, 0, sizeof latitude, &latitude);
        SimConnect_RequestDataOnSimObject(handle, 2, 1, got.assigned, SIMCONNECT_PERIOD_ONCE);
        SimConnect_AICreateNonATCAircraft(handle, "No Such Aircraft", "LIB2", place, 104);
        DWORD sendId = 0;
        SimConnect_GetLastSentPacketID(handle, &sendId);
        EXPECT_EQ(frame(), S_OK);
        EXPECT_EQ(got.latitude, 51.25);
        EXPECT_EQ(got.exception, 22u);
        EXPECT_EQ(got.exceptionSendId, sendId);

        hub.quit();
        EXPECT_NE(frame(), S_OK) << "the stream has ended";
        EXPECT_EQ(got.kinds[SIMCONNECT_RECV_ID_QUIT], 1);
        EXPECT_EQ(SimConnect_Close(handle), S_OK);
        EXPECT_NE(SimConnect_Open(&handle, "In process", nullptr, 0, nullptr, 0), S_OK);
        simconnect::setOpener(nullptr);
    }
}
