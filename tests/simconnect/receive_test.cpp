// The received stream: cut anywhere, glued together, broken, ended, and a callback that throws.

#include "open_session.h"
#include "simconnect/SimConnect.h"

#include <gtest/gtest.h>

#include <stdexcept>

using test::Bytes;
using test::ScriptedStream;

namespace {

struct Received {
    std::vector<std::string> messages;
    int throwAt = -1; // count of messages before the one that throws
    HRESULT nested = S_OK;
    HANDLE handle = nullptr;
};

void lf_collect(SIMCONNECT_RECV* message, DWORD size, void* context) {
    auto& received = *static_cast<Received*>(context);
    if (static_cast<int>(received.messages.size()) == received.throwAt) {
        received.throwAt = -1;
        throw std::runtime_error("handler");
    }
    received.messages.emplace_back(reinterpret_cast<const char*>(message), size);
    EXPECT_EQ(message->dwSize, size);
    if (received.handle) received.nested = SimConnect_CallDispatch(received.handle, lf_collect, context);
}

class Receive : public OpenSession {
  protected:
    HRESULT dispatch() { return SimConnect_CallDispatch(handle, lf_collect, &received); }

    Received received;
    const std::vector<std::string> four = {
        Bytes().hex("18 00 00 00 05 00 00 00 04 00 00 00 ff ff ff ff c9 00 00 00 01 00 00 00").text,
        Bytes().u32(28).u32(5).u32(5).u32(0xFFFFFFFF).u32(202).u32(17).u32(2).text,
        Bytes().u32(24).u32(5).u32(1).u32(22).u32(77).u32(0).text,
        Bytes().u32(32).u32(5).u32(7).u32(0xFFFFFFFF).u32(204).u32(0).f32(30).f32(1).text};
    const std::string glued = four[0] + four[1] + four[2] + four[3];
};

TEST_F(Receive, SingleBytesMakeTheSameMessagesAsSoonAsEachIsWhole) {
    std::vector<std::size_t> completeAt;
    for (std::size_t i = 0; i < glued.size(); ++i) {
        stream->arrive(glued.substr(i, 1));
        const std::size_t before = received.messages.size();
        ASSERT_EQ(dispatch(), S_OK);
        if (received.messages.size() > before) completeAt.push_back(i + 1);
    }
    EXPECT_EQ(received.messages, four);
    EXPECT_EQ(completeAt, (std::vector<std::size_t>{24, 52, 76, 108}));
}

TEST_F(Receive, SeveralBuffersFullComeInOneDispatchAlsoInSmallReads) {
    std::string flood;
    for (int i = 0; i < 5000; ++i) flood += glued; // half a megabyte
    for (const std::size_t piece : {std::size_t{1} << 20, std::size_t{1000}}) {
        stream->bytesPerRead = piece;
        received.messages.clear();
        stream->arrive(flood);
        EXPECT_EQ(dispatch(), S_OK);
        ASSERT_EQ(received.messages.size(), 20000u);
        for (std::size_t i = 0; i < received.messages.size(); ++i)
            ASSERT_EQ(received.messages[i], four[i % 4]);
    }
}

TEST_F(Receive, MessagesFromTwelveBytesToAMegabyteAreHandedOverAndAnotherSizeBreaksTheStream) {
    const std::string small = Bytes().message(3), large = Bytes().str("", (1 << 20) - 12).message(99);
    stream->arrive(small + large);
    EXPECT_EQ(dispatch(), S_OK);
    EXPECT_EQ(received.messages, (std::vector<std::string>{small, large}));
    for (const DWORD size : {0u, 11u, (1u << 20) + 1, 0xFFFFFFFFu}) {
        SimConnect_Close(handle);
        stream = std::make_shared<ScriptedStream>();
        SetUp();
        received.messages.clear();
        stream->arrive(four[0] + Bytes().u32(size).u32(5).u32(4).text + four[1]);
        EXPECT_EQ(dispatch(), E_FAIL) << size;
        EXPECT_EQ(received.messages, std::vector<std::string>{four[0]}) << size;
        EXPECT_EQ(SimConnect_AIRemoveObject(handle, 17, 105), E_FAIL) << size;
        EXPECT_EQ(dispatch(), E_FAIL) << size;
        EXPECT_EQ(received.messages.size(), 1u) << size;
    }
}

TEST_F(Receive, TheEndShowsAfterTheMessagesThatCameBefore) {
    stream->arrive(four[0] + Bytes().message(3) + four[1].substr(0, 10));
    stream->end();
    EXPECT_EQ(dispatch(), E_FAIL);
    EXPECT_EQ(received.messages, (std::vector<std::string>{four[0], Bytes().message(3)}));
    EXPECT_EQ(SimConnect_AIRemoveObject(handle, 17, 105), E_FAIL);
    EXPECT_EQ(dispatch(), E_FAIL);
    EXPECT_EQ(received.messages.size(), 2u);
}

TEST_F(Receive, AFailedSendEndsTheSessionButNotWhatHasArrived) {
    stream->refuseSends();
    EXPECT_EQ(SimConnect_AIRemoveObject(handle, 17, 105), E_FAIL);
    stream->arrive(four[0]);
    EXPECT_EQ(dispatch(), E_FAIL);
    EXPECT_EQ(received.messages, std::vector<std::string>{four[0]});
}

TEST_F(Receive, AThrowLosesItsOwnMessageAndNoOther) {
    stream->arrive(glued);
    received.throwAt = 1;
    EXPECT_THROW(dispatch(), std::runtime_error);
    EXPECT_EQ(received.messages, std::vector<std::string>{four[0]});
    EXPECT_EQ(dispatch(), S_OK);
    EXPECT_EQ(received.messages, (std::vector<std::string>{four[0], four[2], four[3]}));
    stream->takeSent();
    EXPECT_EQ(SimConnect_AIRemoveObject(handle, 17, 105), S_OK);
    EXPECT_EQ(stream->takePackets().size(), 1u); // nothing is gathered any more
}

TEST_F(Receive, ADispatchWithinTheCallbackIsRefused) {
    received.handle = handle;
    stream->arrive(glued);
    EXPECT_EQ(dispatch(), S_OK);
    EXPECT_EQ(received.nested, E_FAIL);
    EXPECT_EQ(received.messages, four);
}

TEST_F(Receive, TheCallbackMayCloseTheSession) {
    stream->arrive(glued);
    struct Context {
        HANDLE handle;
        HRESULT closed = E_FAIL;
    } context{handle};
    SimConnect_CallDispatch(
        handle,
        [](SIMCONNECT_RECV*, DWORD, void* raw) {
            auto& c = *static_cast<Context*>(raw);
            if (c.closed != S_OK) c.closed = SimConnect_Close(c.handle);
        },
        &context);
    EXPECT_EQ(context.closed, S_OK);
    EXPECT_FALSE(stream->open);
}

} // namespace
