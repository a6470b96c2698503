// The log file, the message line and the error line.

#include "app_fixture.h"

#include <thread>

TEST_F(VirtualAppTest, ThreeStartsLeaveTheLogAndTwoOlderOnes) {
    gf_closeLog();
    for (const char* run : {"first", "second", "third", "fourth"}) {
        gf_openLog();
        gf_logRaw(run);
        clock.advance(3'000'000'000);
        gf_closeLog();
    }
    EXPECT_EQ(test::readFile("Log.txt"),
              "Fri Okt 27 05:06:16 2023 (utc) Velloray version 10.10.10 for MSFS 2020/2024\n"
              "fourth\nFri Okt 27 05:06:19 2023\n");
    EXPECT_NE(test::readFile("Log0.txt").find("third"), std::string::npos);
    EXPECT_NE(test::readFile("Log00.txt").find("second"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists("Log000.txt"));
    gf_logRaw("swallowed without a log");
    EXPECT_EQ(test::readFile("Log.txt").find("swallowed"), std::string::npos);
}

TEST_F(AppTest, ALogThatCannotBeWrittenSaysSo) {
    gf_closeLog();
    std::filesystem::remove("Log.txt");
    folders.log = "nowhere/Log.txt";
    EXPECT_THAT(gf_openLog, testing::ThrowsMessage<std::runtime_error>("Failed to write file " +
                                                                       plat::pathText(folders.log)));
    gf_buildFolders();
    gf_openLog();
    gf_logRaw("works again");
    EXPECT_TRUE(logged("works again"));
}

TEST_F(AppTest, RotatesOnlyWhatHasADot) {
    std::filesystem::create_directory("v1.2");
    test::writeFile("v1.2/plain", "x");
    gf_rotateFile("v1.2/plain"); // the dot of a folder is none
    EXPECT_TRUE(std::filesystem::exists("v1.2/plain"));
    test::writeFile("codes.old.xml", "new");
    gf_rotateFile("codes.old.xml");
    EXPECT_EQ(test::readFile("codes.old0.xml"), "new");
}

TEST_F(AppTest, AStopSilencesPlainLinesAlone) {
    for (Flag* flag : {&app.stopRequested, &app.userClosing, &appLife.windowClosed}) {
        flag->set();
        gf_logLine("plain");
        gf_logRaw("raw");
        gf_logAlert("alert");
        gf_showMessage("message", true);
        flag->clear();
    }
    EXPECT_EQ(timesLogged("plain"), 0);
    EXPECT_EQ(timesLogged("raw\n"), 3);
    EXPECT_EQ(timesLogged("\n===> alert\n"), 3);
    EXPECT_EQ(timesLogged("message"), 0);
    EXPECT_EQ(gf_shownMessage(), "message") << "it is shown all the same";
}

TEST_F(AppTest, AnErrorKeepsMessagesOffTheScreenAndOutOfTheLog) {
    gf_showMessage("before", true);
    gf_showError("broken");
    EXPECT_EQ(gf_shownMessage(), "");
    EXPECT_EQ(gf_shownError(), "broken");
    EXPECT_TRUE(logged("Error broken"));
    gf_showMessage("during", true);
    EXPECT_EQ(gf_shownMessage(), "");
    EXPECT_FALSE(logged("during"));
    gf_clearError();
    gf_showMessage("after", true);
    EXPECT_EQ(gf_shownMessage(), "after");
    EXPECT_TRUE(logged("after"));
    gf_clearMessage();
    EXPECT_EQ(gf_shownMessage(), "");
}

TEST_F(AppTest, LinesOfManyThreadsStayWhole) {
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t)
        writers.emplace_back([t] {
            const std::string line(50, static_cast<char>('a' + t));
            for (int i = 0; i < 50; ++i) {
                gf_logRaw(line);
                gf_showMessage(line, false);
                gf_showError("");
            }
        });
    for (auto& writer : writers) writer.join();
    for (int t = 0; t < 4; ++t)
        EXPECT_EQ(timesLogged("\n" + std::string(50, static_cast<char>('a' + t)) + "\n"), 50);
}
