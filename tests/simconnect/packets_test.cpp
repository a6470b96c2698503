// Each call's packet, byte by byte, and the numbering and gathering of packets.

#include "open_session.h"
#include "simconnect/SimConnect.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using test::Bytes;
using test::ScriptedStream;

namespace {

class Packets : public OpenSession {};

SIMCONNECT_DATA_INITPOSITION lf_atFrankfurt() { return {50.0, 8.5, 364.0, 0.0, 0.0, 90.0, 1, 0}; }

std::string lf_initPosition() { // 50, 8.5, 364, 0, 0, 90, 1, 0
    return Bytes()
        .hex("00 00 00 00 00 00 49 40 00 00 00 00 00 00 21 40 00 00 00 00 00 c0 76 40 00 00 00 00 00 00 00 00"
             " 00 00 00 00 00 00 00 00 00 00 00 00 00 80 56 40 01 00 00 00 00 00 00 00")
        .text;
}

TEST_F(Packets, OpenIsThePacketOfProtocolFive) {
    std::string expected =
        Bytes().hex("28 01 00 00 05 00 00 00 01 00 00 f0 01 00 00 00").str("Velloray", 256).text;
    expected += Bytes().hex("00 00 00 00 00 48 4b 00 0b 00 00 00 00 00 00 00 bb f4 00 00 03 00 00 00").text;
    EXPECT_EQ(stream->takeSent(), expected);
}

TEST_F(Packets, EveryCallWritesItsArgumentsInOrder) {
    double block[8] = {50, 8.5, -0.05, 0, 1.5, 3000, -12, 250};
    const std::string title(300, 'T'), tail = "ABCDEFGHIJKLMN";
    stream->takeSent();
    std::uint32_t sendId = 2;
    const auto sent = [&](const char* name, std::uint32_t function, HRESULT result, const std::string& body) {
        DWORD last = 0;
        EXPECT_EQ(result, S_OK) << name;
        EXPECT_EQ(SimConnect_GetLastSentPacketID(handle, &last), S_OK);
        EXPECT_EQ(last, sendId) << name;
        EXPECT_EQ(stream->takeSent(), Bytes{body}.packet(function, sendId++)) << name;
    };
    sent("definition", 0x0C, SimConnect_AddToDataDefinition(handle, 402, "Plane Altitude", "feet"),
         Bytes().u32(402).str("Plane Altitude", 256).str("feet", 256).u32(4).f32(0).u32(0xFFFFFFFF).text);
    sent("text definition", 0x0C,
         SimConnect_AddToDataDefinition(handle, 407, "TITLE", nullptr, SIMCONNECT_DATATYPE_STRINGV, 0.5f, 7),
         Bytes().u32(407).str("TITLE", 256).str("", 256).u32(11).f32(0.5f).u32(7).text);
    sent("system event", 0x17, SimConnect_SubscribeToSystemEvent(handle, 201, "Sim"),
         Bytes().u32(201).str("Sim", 256).text);
    sent("client event", 0x04, SimConnect_MapClientEventToSimEvent(handle, 219, "GEAR_SET"),
         Bytes().u32(219).str("GEAR_SET", 256).text);
    sent("group", 0x07, SimConnect_AddClientEventToNotificationGroup(handle, 301, 206, 1),
         Bytes().u32(301).u32(206).u32(1).text);
    sent("priority", 0x09, SimConnect_SetNotificationGroupPriority(handle, 301, 1),
         Bytes().u32(301).u32(1).text);
    sent("request", 0x0E,
         SimConnect_RequestDataOnSimObject(handle, 108, 409, 0, SIMCONNECT_PERIOD_SECOND, 1, 2, 3, 4),
         Bytes().u32(108).u32(409).u32(0).u32(4).u32(1).u32(2).u32(3).u32(4).text);
    sent("request by type", 0x0F,
         SimConnect_RequestDataOnSimObjectType(handle, 101, 404, 74080, SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT),
         Bytes().u32(101).u32(404).u32(74080).u32(2).text);
    sent("data", 0x10, SimConnect_SetDataOnSimObject(handle, 402, 17, 0, 0, sizeof block, block),
         Bytes().u32(402).u32(17).u32(0).u32(0).u32(64).text +
             std::string(reinterpret_cast<const char*>(block), sizeof block));
    sent("event", 0x05, SimConnect_TransmitClientEvent(handle, 17, 217, 8191, 301, 0),
         Bytes().u32(17).u32(217).u32(8191).u32(301).u32(0).text);
    sent("creation cut to its fields", 0x29,
         SimConnect_AICreateNonATCAircraft(handle, title.c_str(), tail.c_str(), lf_atFrankfurt(), 104),
         title.substr(0, 256) + tail.substr(0, 12) + lf_initPosition() + Bytes().u32(104).text);
    sent("release", 0x2B, SimConnect_AIReleaseControl(handle, 17, 103), Bytes().u32(17).u32(103).text);
    sent("removal", 0x2C, SimConnect_AIRemoveObject(handle, 17, 105), Bytes().u32(17).u32(105).text);
    sent("plan", 0x2D, SimConnect_AISetAircraftFlightPlan(handle, 17, "orig_dest/17.pln", 110),
         Bytes().u32(17).str("orig_dest/17.pln", 260).u32(110).text);
}

TEST_F(Packets, PlainlyWrongArgumentsAreRefusedAndUseNoSendId) {
    double value = 0;
    EXPECT_EQ(SimConnect_SetDataOnSimObject(handle, 402, 17, 0, 0, 8, nullptr), E_FAIL);
    EXPECT_EQ(SimConnect_SetDataOnSimObject(handle, 402, 17, 0, 1, 0, &value), E_FAIL);
    EXPECT_EQ(SimConnect_SetDataOnSimObject(handle, 402, 17, 0, 0xFFFFFFFF, 0xFFFFFFFF, &value), E_FAIL);
    EXPECT_EQ(SimConnect_AICreateNonATCAircraft(handle, nullptr, "D", lf_atFrankfurt(), 104), E_FAIL);
    EXPECT_EQ(SimConnect_CallDispatch(handle, nullptr, nullptr), E_FAIL);
    EXPECT_EQ(SimConnect_GetLastSentPacketID(handle, nullptr), E_FAIL);
    EXPECT_EQ(SimConnect_Open(nullptr, "Velloray", nullptr, 0, nullptr, 0), E_FAIL);
    DWORD sendId = 0;
    SimConnect_GetLastSentPacketID(handle, &sendId);
    EXPECT_EQ(sendId, 1u);
}

TEST_F(Packets, ANullOrClosedHandleFailsAlsoWhenAnotherSessionHasOpened) {
    const HANDLE closed = handle;
    ASSERT_EQ(SimConnect_Close(handle), S_OK);
    EXPECT_FALSE(stream->open);
    ASSERT_EQ(SimConnect_Open(&handle, "Velloray", nullptr, 0, nullptr, 0), S_OK);
    for (const HANDLE bad : {HANDLE{nullptr}, closed}) {
        DWORD sendId = 0;
        EXPECT_EQ(SimConnect_AIRemoveObject(bad, 17, 105), E_FAIL);
        EXPECT_EQ(SimConnect_GetLastSentPacketID(bad, &sendId), E_FAIL);
        EXPECT_EQ(SimConnect_CallDispatch(
                      bad, [](SIMCONNECT_RECV*, DWORD, void*) {}, nullptr),
                  E_FAIL);
        EXPECT_EQ(SimConnect_Close(bad), E_FAIL);
    }
}

TEST_F(Packets, WhatACallbackSendsLeavesInOneWriteAndElsewhereAtOnce) {
    const int before = stream->sends;
    SimConnect_AIReleaseControl(handle, 17, 103);
    SimConnect_AIReleaseControl(handle, 17, 103);
    EXPECT_EQ(stream->sends, before + 2);
    stream->takeSent();

    struct Context {
        HANDLE handle;
        ScriptedStream* stream;
        int sendsInside = 0, packets = 0;
    } context{handle, stream.get()};
    const auto sendMany = [](SIMCONNECT_RECV*, DWORD, void* raw) {
        auto& c = *static_cast<Context*>(raw);
        const int start = c.stream->sends;
        for (int i = 0; i < c.packets; ++i)
            SimConnect_AIRemoveObject(c.handle, 100 + static_cast<DWORD>(i), 105);
        c.sendsInside = c.stream->sends - start;
    };
    struct Row {
        int packets, inside, atTheEnd; // 24 bytes each
    };
    for (const Row row : {Row{300, 0, 1}, Row{2731, 1, 0}, Row{2732, 1, 1}, Row{0, 0, 0}}) {
        context.packets = row.packets;
        const int start = stream->sends;
        stream->arrive(Bytes().message(3));
        ASSERT_EQ(SimConnect_CallDispatch(handle, sendMany, &context), S_OK);
        EXPECT_EQ(context.sendsInside, row.inside) << row.packets;
        EXPECT_EQ(stream->sends - start, row.inside + row.atTheEnd) << row.packets;
        const auto packets = stream->takePackets();
        ASSERT_EQ(packets.size(), static_cast<std::size_t>(row.packets));
        for (std::size_t i = 0; i < packets.size(); ++i) ASSERT_EQ(packets[i].u32(16), 100 + i);
    }
}

// A second thread's packet takes along what waits in front of it, so the ids rise on the wire.
TEST_F(Packets, AnotherThreadsPacketLeavesAtOnceAndInOrder) {
    stream->takeSent();
    stream->arrive(Bytes().message(3));
    struct Context {
        HANDLE handle;
        ScriptedStream* stream;
        std::size_t seen = 0;
    } context{handle, stream.get()};
    SimConnect_CallDispatch(
        handle,
        [](SIMCONNECT_RECV*, DWORD, void* raw) {
            auto& c = *static_cast<Context*>(raw);
            SimConnect_AIRemoveObject(c.handle, 1, 105);
            std::thread([&] { SimConnect_AIRemoveObject(c.handle, 2, 105); }).join();
            const auto packets = c.stream->takePackets();
            c.seen = packets.size();
            for (std::size_t i = 0; i < packets.size(); ++i) EXPECT_EQ(packets[i].sendId, 2 + i);
        },
        &context);
    EXPECT_EQ(context.seen, 2u);
}

TEST_F(Packets, ManyThreadsSendWholePacketsWithIdsThatRise) {
    stream->takeSent();
    std::vector<std::thread> threads;
    for (DWORD t = 0; t < 4; ++t)
        threads.emplace_back([this, t] {
            for (DWORD i = 0; i < 200; ++i) SimConnect_AIReleaseControl(handle, t, i);
        });
    std::atomic<bool> stop{false};
    std::thread dispatcher([&] {
        while (!stop) {
            stream->arrive(Bytes().message(3));
            SimConnect_CallDispatch(
                handle, [](SIMCONNECT_RECV*, DWORD, void* h) { SimConnect_AIRemoveObject(h, 9, 105); },
                handle);
        }
    });
    for (auto& thread : threads) thread.join();
    stop = true;
    dispatcher.join();
    const auto packets = stream->takePackets();
    std::size_t releases = 0;
    std::vector<DWORD> next(4, 0);
    for (std::size_t i = 0; i < packets.size(); ++i) {
        ASSERT_EQ(packets[i].sendId, 2 + i);
        if (packets[i].function != 0x2B) continue;
        ++releases;
        EXPECT_EQ(packets[i].u32(20), next.at(packets[i].u32(16))++); // each thread's own order
    }
    EXPECT_EQ(releases, 800u);
}

} // namespace
