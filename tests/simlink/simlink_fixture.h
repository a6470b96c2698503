#pragma once
// A session over a stream in memory, in virtual time: what arrives is given by the test, what was sent, posted and
// logged is read back.

#include "app/app.h"
#include "app/display.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/virtual_clock.h"
#include "scripted_stream.h"
#include "simlink/simlink.h"
#include "support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test {

enum Function : std::uint32_t { // as they stand on the wire
    fnOpen = 0x01,
    fnMap = 0x04,
    fnTransmit = 0x05,
    fnAddToGroup = 0x07,
    fnPriority = 0x09,
    fnDefine = 0x0C,
    fnRequest = 0x0E,
    fnRequestByType = 0x0F,
    fnSetData = 0x10,
    fnSubscribe = 0x17,
    fnCreate = 0x29,
    fnRelease = 0x2B,
    fnRemove = 0x2C,
    fnPlan = 0x2D,
};

class SimLink : public testing::Test {
  protected:
    void SetUp() override {
        reset();
        gf_buildFolders();
        gf_openLog();
        simconnect::setOpener(ScriptedStream::opener(stream));
        lf_presizeSimQueues();
    }
    void TearDown() override {
        gf_stopSimThread(true);
        lf_closeSession();
        gf_closeLog();
        simconnect::setOpener(nullptr);
        simconnect::setCancelled(nullptr);
        reset();
    }
    static void reset() {
        app = AppRun{};
        appLife = AppProcess{};
        display = Display{};
        sim = SimLinkRun{};
        lf_presizeSimQueues();
        gf_clearDisplayTexts();
        gf_clearError();
        gf_clearMessage();
        MSFS_2020.value = MSFS_2020.defaultValue;
    }

    void open() {
        ASSERT_TRUE(lf_openSession());
        stream->takePackets();
    }
    bool arrive(const std::string& bytes) {
        stream->arrive(bytes);
        return lf_dispatchArrived();
    }
    std::vector<SimMessage> messages() {
        std::vector<SimMessage> taken;
        gf_takeSimMessages(taken);
        return taken;
    }
    static std::string log() { return readFile(folders.log); }
    static std::size_t logged(const std::string& text) { // how often
        const std::string all = log();
        std::size_t count = 0;
        for (std::size_t at = all.find(text); at != all.npos; at = all.find(text, at + 1)) ++count;
        return count;
    }

    // Messages of the simulator.
    static std::string openMessage(const std::string& name) {
        Bytes message = Bytes().str(name, 256);
        for (const std::uint32_t part : {11, 0, 282174, 999, 11, 0, 62651, 3, 0, 0}) message.u32(part);
        return message.message(2);
    }
    static std::string event(std::uint32_t id, std::uint32_t data) {
        return Bytes().u32(0xFFFFFFFF).u32(id).u32(data).message(4);
    }
    static std::string added(std::uint32_t object, std::uint32_t type = 2) {
        return Bytes().u32(0xFFFFFFFF).u32(evObjectAdded).u32(object).u32(type).message(5);
    }
    static std::string removed(std::uint32_t object, std::uint32_t type = 2) {
        return Bytes().u32(0xFFFFFFFF).u32(evObjectRemoved).u32(object).u32(type).message(5);
    }
    static std::string frame(float rate = 30) {
        return Bytes().u32(0xFFFFFFFF).u32(evFrame).u32(0).f32(rate).f32(1).message(7);
    }
    static std::string exception(std::uint32_t number, std::uint32_t sendId, std::uint32_t index = 0) {
        return Bytes().u32(number).u32(sendId).u32(index).message(1);
    }
    static Bytes answerHead(std::uint32_t request, std::uint32_t object, std::uint32_t definition) {
        return Bytes().u32(request).u32(object).u32(definition).u32(0).u32(1).u32(1).u32(4);
    }
    static std::string inRange(std::uint32_t object, const std::string& tail, double agl = 0,
                               double ground = 364, bool onGround = true) {
        Bytes answer = answerHead(reqInRange, object, defInRange).f64(agl).f64(ground);
        return answer.i64(onGround).str(tail, 32).message(9);
    }
    static std::string userAt(double lat, double lon, std::uint32_t object = 1, double groundSpeed = 0) {
        Bytes answer = answerHead(reqUser, object, defUser);
        for (const double part : {lat, lon, 0.0, 0.0, 1.0, 364.0, 0.0, groundSpeed}) answer.f64(part);
        return answer.i64(3600).i64(59).i64(2024).i64(7).message(8);
    }
    static std::string onGround(bool on) {
        return answerHead(reqOnGround, 1, defOnGround).i64(on).message(8);
    }

    plat::ScopedVirtualClock clock;
    std::shared_ptr<ScriptedStream> stream = std::make_shared<ScriptedStream>();
};

} // namespace test
