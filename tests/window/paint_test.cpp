// What the window paints in each state, and what its messages do.

#include "window_fixture.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>
#include <tuple>

namespace {

// The colour that a pixel has after a repaint, texts left aside.
plat::Colour colourAt(int x, int y) {
    plat::Colour result = 0x123456;
    for (const Drawn& d : plat::headless::repaint()) {
        const bool inside = x >= d.place.left && x < d.place.right && y >= d.place.top && y < d.place.bottom;
        const bool onLine = d.place.top == d.place.bottom
                                ? y == d.place.top && x >= d.place.left && x < d.place.right
                                : x == d.place.left && y >= d.place.top && y < d.place.bottom;
        if (d.kind == 'f' ? inside : d.kind == 'l' && onLine) result = d.colour;
    }
    return result;
}

TEST_F(MainWindow, HasFiveBandsWithTheirLines) {
    ASSERT_TRUE(lf_createMainWindow());
    for (const auto& [x, y, colour] : std::vector<std::tuple<int, int, plat::Colour>>{
             {0, 0, black},    {879, 27, black},  {0, 28, white},   {300, 29, black},  {879, 111, black},
             {0, 112, blue},   {0, 113, white},   {879, 139, blue}, {879, 140, black}, {641, 168, black},
             {643, 168, blue}, {0, 196, black},   {0, 224, black},  {0, 252, black},   {0, 280, black},
             {879, 280, blue}, {879, 308, black}, {642, 139, blue}, {642, 141, black}, {642, 307, black},
             {642, 309, blue}, {0, 391, blue},    {0, 392, white},  {0, 393, black},   {879, 447, black},
             {0, 448, green},  {879, 475, green}, {425, 29, black}, {425, 111, black}}) {
        EXPECT_EQ(colourAt(x, y), colour) << x << ',' << y;
    }
    EXPECT_EQ(textsIn(Band::title),
              (std::vector<Text>{{3, 7, "Version 10.10.10", green}, {390, 7, "Velloray", green}}));
    EXPECT_TRUE(textsIn(Band::parking).empty()); // no airport is chosen
}

TEST_F(MainWindow, ARepaintRequestNamesItsBandAlone) {
    ASSERT_TRUE(lf_createMainWindow());
    plat::headless::repaint();
    std::vector<int> edges;
    for (const Band band : {Band::title, Band::status, Band::settings, Band::parking, Band::message}) {
        gf_repaint(band);
        for (const plat::Rect& r : plat::headless::takeInvalid())
            edges.insert(edges.end(), {r.left, r.right, r.top, r.bottom});
    }
    EXPECT_EQ(edges, (std::vector{0,   880, 0, 28,  0,   880, 28, 112, 0,   880,
                                  112, 392, 0, 880, 392, 448, 0,  880, 448, 476}));
}

TEST_F(MainWindow, ShowsEveryStateOfTheSimulator) {
    ASSERT_TRUE(lf_createMainWindow());
    gf_setDisplayText(DisplayText::simLabel, "MSFS 2024");
    struct Row {
        bool connected, running, known;
        const char *title, *stand;
        plat::Colour box;
        Text first;
        plat::Colour titleColour; // black without a second line
    };
    const std::vector<Row> rows = {
        {false, false, true, "", "", red, {5, 35, "MSFS 2020 mode", green}, black},
        {false, true, true, "A320", "B24", red, {5, 35, "MSFS 2020 mode", green}, black},
        {true, false, true, "", "", yellow, {5, 35, "MSFS 2024", yellow}, yellow},
        {true, true, true, "", "", yellow, {5, 35, "MSFS 2024", yellow}, yellow},
        {true, false, true, "A320", "", yellow, {5, 35, "MSFS 2024", yellow}, yellow},
        {true, true, true, "A320", "", green, {5, 35, "MSFS 2024", green}, green},
        {true, true, false, "A320", "", green, {5, 35, "MSFS 2024", green}, yellow},
        {true, true, true, "A320", "B24", green, {5, 35, "MSFS 2024, user stand B24", green}, green},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows.data());
        display.simConnected = row.connected;
        display.simRunning = row.running;
        simLife.userModelKnown = row.known;
        gf_setDisplayText(DisplayText::userTitle, row.title);
        gf_setDisplayText(DisplayText::userStand, row.stand);
        EXPECT_EQ(colourAt(400, 100), row.box);
        EXPECT_EQ(colourAt(424, 30), row.box);
        std::vector<Text> texts = textsIn(Band::status);
        EXPECT_EQ(std::erase_if(texts, [](const Text& t) { return t.text == "Sim" || t.text == "RT"; }), 2u);
        std::erase_if(texts, [](const Text& t) { return t.y == 91; });
        std::vector<Text> lines{row.first};
        if (row.connected) lines.push_back({5, 63, row.title, row.titleColour});
        EXPECT_EQ(texts, lines);
    }
    display.simConnected = MSFS_2020.value = false;
    EXPECT_THAT(textsIn(Band::status), testing::Contains(Text{5, 35, "MSFS 2024 mode", green}));
}

TEST_F(MainWindow, ShowsEveryStateOfTheFeed) {
    ASSERT_TRUE(lf_createMainWindow());
    gf_setDisplayText(DisplayText::feedText, "RT prof edition: 10.0");
    display.qnh = 987;
    display.liveCount = 12;
    constexpr ReaderMark live = ReaderMark::live, silent = ReaderMark::silent, off = ReaderMark::notStarted;
    const Text edition{458, 35, "RT prof edition: 10.0", green};
    const Text qnh{642, 63, "qnh:  987", green}, count{642, 91, "live:  12", green};
    const auto weather = [](plat::Colour c) { return Text{458, 63, "Weather", c}; };
    const auto traffic = [](plat::Colour c) { return Text{458, 91, "Traffic", c}; };
    struct Row {
        bool waiting, connected;
        ReaderMark traffic, weather;
        plat::Colour box;
        std::vector<Text> texts;
    };
    const std::vector<Row> rows = {
        {true, false, off, off, black, {}},
        {true, false, live, live, black, {}},
        {true, true, live, off, black, {edition, traffic(green), count}}, // its box alone waits
        {false, false, off, off, red, {}},
        {false, false, live, live, red, {}},
        {false, true, off, off, yellow, {edition}},
        {false, true, off, silent, yellow, {edition, weather(yellow), qnh}},
        {false, true, silent, live, yellow, {edition, weather(green), traffic(yellow), qnh, count}},
        {false, true, live, silent, green, {edition, weather(yellow), traffic(green), qnh, count}},
        {false, true, live, live, green, {edition, weather(green), traffic(green), qnh, count}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows.data());
        display.feedWaiting = row.waiting;
        display.feedConnected = row.connected;
        display.trafficMark = row.traffic;
        display.weatherMark = row.weather;
        EXPECT_EQ(colourAt(430, 100), row.box);
        EXPECT_EQ(colourAt(452, 30), row.box);
        std::vector<Text> texts = textsIn(Band::status);
        std::erase_if(texts, [](const Text& t) { return t.x < 458; });
        EXPECT_EQ(texts, row.texts);
    }
    display.qnh = 0;
    display.liveCount = 1234;
    EXPECT_THAT(textsIn(Band::status), testing::Contains(Text{642, 91, "live: 1234", green}));
    EXPECT_THAT(textsIn(Band::status), Not(testing::Contains(testing::Field(&Text::text, HasSubstr("qnh")))));
}

TEST_F(MainWindow, ShowsCountsOnceTheyAreKnown) {
    ASSERT_TRUE(lf_createMainWindow());
    const auto counts = [] {
        std::vector<Text> texts = textsIn(Band::status);
        std::erase_if(texts, [](const Text& t) { return t.y != 91; });
        return texts;
    };
    std::vector<Text> wanted = {{5, 91, "# liveries: ...", red},
                                {141, 91, "# simaddon: ...", yellow},
                                {278, 91, "# thirdp: ...", yellow}};
    EXPECT_EQ(counts(), wanted);
    display.liveryCount = 1;
    display.mySimaddonCount = 20345;
    display.myThirdpartyCount = 7;
    wanted = {{5, 91, "# liveries: 1", green},
              {141, 91, "# simaddon: 20345", green},
              {278, 91, "# thirdp: 7", green}};
    EXPECT_EQ(counts(), wanted);
}

TEST_F(MainWindow, ATextThatAnotherThreadWritesIsPaintedWhole) {
    ASSERT_TRUE(lf_createMainWindow());
    display.simConnected = true;
    const std::string one(60, 'a'), other(300, 'b'); // one lies within the text, the other apart
    gf_setDisplayText(DisplayText::userTitle, one);
    gf_showMessage(one, false);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; !done; ++i) {
            gf_setDisplayText(DisplayText::userTitle, i % 2 == 0 ? other : one);
            gf_showMessage(i % 2 == 0 ? other : one, false);
        }
    });
    int whole = 0, torn = 0;
    for (int i = 0; i < 2000; ++i)
        for (const Drawn& d : plat::headless::repaint()) {
            if (d.kind != 't' || (d.place.top != 63 && d.place.top != 455) || d.place.left > 5) continue;
            ++(d.text == one || d.text == other ? whole : torn);
        }
    done = true;
    writer.join();
    EXPECT_EQ(whole, 4000);
    EXPECT_EQ(torn, 0);
}

TEST_F(MainWindow, AnErrorStandsInRedAndNoMessageReplacesIt) {
    ASSERT_TRUE(lf_createMainWindow());
    EXPECT_TRUE(textsIn(Band::message).empty());
    gf_showMessage("Waiting for the flight", false);
    EXPECT_EQ(textsIn(Band::message), (std::vector<Text>{{3, 455, "Waiting for the flight", yellow}}));
    EXPECT_EQ(colourAt(800, 460), green);
    plat::headless::takeInvalid();
    gf_showError("150: No install path detected");
    EXPECT_EQ(plat::headless::takeInvalid().size(), 1u);
    gf_showMessage("never seen", false);
    EXPECT_EQ(textsIn(Band::message), (std::vector<Text>{{3, 455, "150: No install path detected", yellow}}));
    EXPECT_EQ(colourAt(800, 460), red);
    gf_clearError();
    EXPECT_TRUE(textsIn(Band::message).empty());
    EXPECT_EQ(colourAt(800, 460), green);
}

TEST_F(MainWindow, ATextThatIsNoUtf8StaysUndrawnAndIsLogged) {
    ASSERT_TRUE(lf_createMainWindow());
    gf_showMessage("Z\xFCrich", false); // another encoding
    EXPECT_TRUE(textsIn(Band::message).empty());
    EXPECT_EQ(textsIn(Band::title).size(), 2u); // the others are drawn
    EXPECT_THAT(logText(),
                HasSubstr("lf_drawText conversion exception Invalid UTF-8 sequence found in input string., "
                          "error code: 1113\n"));
    gf_showMessage("Z\xC3\xBCrich", false);
    EXPECT_EQ(textsIn(Band::message), (std::vector<Text>{{3, 455, "Z\xC3\xBCrich", yellow}}));
}

TEST_F(MainWindow, OpensWhereItWasLeft) {
    std::filesystem::create_directories(folders.appData);
    gf_readParameters(); // makes the file
    gf_saveWindowPosition(1234, -56);
    const auto openAndLeaveAt = [](int leftX, int leftY) {
        gf_resetParametersToDefaults(); // as a new process
        int x = 0, y = 0;
        EXPECT_TRUE(lf_createMainWindow() && plat::windowPosition(x, y));
        plat::headless::setPosition(leftX, leftY);
        plat::postMessage(messageEndProcess);
        EXPECT_EQ(plat::runLoop(), 0);
        return std::vector{x, y};
    };
    EXPECT_EQ(openAndLeaveAt(-2000, 700), (std::vector{1234, -56}));
    EXPECT_EQ(openAndLeaveAt(-32000, 800), (std::vector{-2000, 700})); // minimized: no place of its own
    EXPECT_EQ(openAndLeaveAt(0, 0), (std::vector{-2000, 800}));
}

} // namespace
