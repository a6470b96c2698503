#pragma once
// A session of the client library that is open over a stream in memory, for as long as a test runs.

#include "scripted_stream.h"
#include "simconnect/SimConnect.h"

#include <gtest/gtest.h>

#include <memory>

class OpenSession : public testing::Test {
  protected:
    void SetUp() override {
        simconnect::setOpener(test::ScriptedStream::opener(stream));
        ASSERT_EQ(SimConnect_Open(&handle, "Velloray", nullptr, 0, nullptr, 0), S_OK);
    }
    void TearDown() override {
        SimConnect_Close(handle);
        simconnect::setOpener(nullptr);
    }

    std::shared_ptr<test::ScriptedStream> stream = std::make_shared<test::ScriptedStream>();
    HANDLE handle = nullptr;
};
