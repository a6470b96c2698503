// The weather datagrams.

#include "feed_fixture.h"

#include "platform/headless/window_headless.h"

TEST_F(FeedTest, TakesTheQnhOutOfTheWeather) {
    const std::int32_t unchanged = 999;
    const struct {
        const char* datagram;
        std::int32_t expected;
        const char* log; // "" for none
    } rows[] = {
        {R"({"QNH":1005})", 1005, ""},
        {R"({"QNH":"1005"})", 1005, ""},
        {R"({"QNH":2992})", 1013, ""},
        {R"({"QNH":3012})", 1020, ""},
        {R"({"QNH":1080})", 1080, ""},
        {R"({"QNH":930})", 930, ""},
        {R"({"ICAO":"EDDF","QNH":1004.5,"WX":[1,2]})", 1005, ""},
        {R"({"QNH":1080.4})", 1080, ""},
        {R"({"QNH":929})", unchanged, R"(? Strange QNH 929 found in {"QNH":929})"},
        {R"({"QNH":1081})", unchanged, R"(? Strange QNH 366 found in {"QNH":1081})"},
        {R"({"QNH":1e300})", unchanged, R"(? Strange QNH 1000000000000000 found in {"QNH":1e300})"},
        {R"({"QNH":-5})", unchanged, R"(? Strange QNH -5 found in {"QNH":-5})"},
        {R"({"QNH":null})", unchanged, R"(no QNH {"QNH":null})"},
        {R"({"QNH":""})", unchanged, R"(no QNH {"QNH":""})"},
        {R"({"QNH":[]})", unchanged, R"(no QNH {"QNH":[]})"},
        {R"({"TEMP":3})", unchanged, R"(no QNH {"TEMP":3})"},
        {R"([1013])", unchanged, "no QNH [1013]"},
        {R"({"QNH":true})", 1013, R"(no QNH {"QNH":true})"},
        {R"({"QNH":"high"})", 1013, "===> QNH string invalid arg: high"},
        {R"({"QNH":"99999999999"})", 1013, "===> QNH string out of range: 99999999999"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.datagram);
        qnhReader.lastQnh = 0;
        qnhReader.currentQnh = unchanged;
        qnhReader.takeDatagram(row.datagram);
        EXPECT_EQ(qnhReader.currentQnh, row.expected);
        EXPECT_TRUE(*row.log == 0 || logged(row.log)) << logText();
    }
    qnhReader.currentQnh = unchanged;
    qnhReader.takeDatagram("{\"QNH\":");
    EXPECT_EQ(qnhReader.currentQnh, unchanged);
    EXPECT_EQ(timesLogged(", in QnhReader::onDatagram\n"), 1) << logText();
}

TEST_F(FeedTest, PutsAQnhInForceOnceAndAgainAfterAReset) {
    const std::string datagram = R"({"QNH":1000})";
    display.weatherMark = ReaderMark::silent;
    qnhReader.takeDatagram(datagram);
    EXPECT_EQ(display.qnh, 1000);
    EXPECT_EQ(display.weatherMark.load(), ReaderMark::live);
    display.qnh = 7;
    qnhReader.takeDatagram(datagram);
    EXPECT_EQ(display.qnh, 7) << "a repeat changes nothing";
    lf_resetReaders();
    EXPECT_EQ(display.qnh, 1013);
    EXPECT_EQ(qnhReader.currentQnh, 1013);
    qnhReader.takeDatagram(datagram);
    EXPECT_EQ(qnhReader.currentQnh, 1000);
    for (int i = 0; i < 2; ++i) { // the standard value always counts as news
        display.qnh = 7;
        qnhReader.takeDatagram(R"({"QNH":1013})");
        EXPECT_EQ(display.qnh, 1013);
    }
}
