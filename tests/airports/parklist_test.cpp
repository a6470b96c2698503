// The user's list of park airports, and the stand under the user that is written back to it.

#include "airports_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace test {

class ParkList : public AirportsTest {
  protected:
    static std::vector<std::string> entries() {
        std::vector<std::string> all;
        for (const ParkAirportEntry& entry : airports.parkAirports)
            all.push_back(entry.code + "," + entry.stand);
        return all;
    }
};

TEST_F(ParkList, IsReadFromTheFileAndTheFolder) {
    EXPECT_TRUE(lf_readMyParkAirports());
    EXPECT_THAT(logText(), HasSubstr(native("airports/my_park_airports.txt not found\n")));
    writeFile(folders.myParkAirports, "EDTT,Gate 1\r\n\nEDTT,B\nXXXX\nEDFF,a,b\n");
    writeFile(folders.myThirdparty / "EDNN.xml", "");
    writeFile(folders.myThirdparty / "EDNN.txt", "");
    writeFile(folders.myThirdparty / "ZZZZ.xml", "");
    std::filesystem::create_directory(folders.myThirdparty / "EDFF");
    EXPECT_FALSE(lf_readMyParkAirports());
    EXPECT_THAT(entries(), ElementsAre("EDTT,Gate 1", "EDNN,"));
    EXPECT_EQ(gf_shownMessage(), "airport XXXX is unknown");
    EXPECT_THAT(logText(), HasSubstr("my_park_airports.txt:EDTT,B double, skipped\n"));
    EXPECT_THAT(logText(), HasSubstr("my_park_airports.txt:EDFF,a,b wrong syntax, skipped\n"));
    EXPECT_THAT(logText(), HasSubstr("1 park airport read from \"my_park_airports.txt\"\n"
                                     "1 park airport added from my_thirdparty folder(-s)\n"));
    EXPECT_EQ(gf_firstParkAirportNm(50, 8), 0);
    std::filesystem::remove_all(folders.myThirdparty);
    try {
        lf_readMyParkAirports();
        ADD_FAILURE();
    } catch (const std::filesystem::filesystem_error& e) {
        EXPECT_THAT(e.what(), HasSubstr("directory_iterator::directory_iterator"));
    }
}

TEST_F(ParkList, WarnsOfMoreThanThreeThousand) {
    std::string lines;
    for (int i = 0; i <= 3000; ++i) {
        airportsLife.directory.push_back({fmt::format("X{:05}", i), "", 1, 1, 0});
        lines += airportsLife.directory.back().code + "\n";
        if (i < 2999) continue;
        writeFile(folders.myParkAirports, lines);
        gf_clearMessage();
        lf_readMyParkAirports();
        EXPECT_EQ(gf_shownMessage().empty(), i == 2999) << i;
    }
}

TEST_F(ParkList, WritesTheFirstEntryBack) {
    const auto remember = [](const std::string& stand) {
        airports.parkAirports = {{"EDTT", stand, 50, 8, 0}};
        lf_rememberParkStand();
        lf_serveLoader();
        return readFile(folders.myParkAirports);
    };
    EXPECT_EQ(remember(""), "EDTT\n");
    EXPECT_THAT(logText(), HasSubstr("my_park_airports.txt created with EDTT\n"));
    writeFile(folders.myParkAirports, "ZZZZ\r\nEDFF,1\nAAAA\nAAAA\n");
    EXPECT_EQ(remember("G 1"), "AAAA\nEDFF,1\nEDTT,G 1\nZZZZ\n");
    EXPECT_THAT(logText(), HasSubstr("my_park_airports.txt:EDTT,G 1 new entry\n"));
    EXPECT_EQ(remember("G 2"), "AAAA\nEDFF,1\nEDTT,G 2\nZZZZ\n");
    EXPECT_THAT(logText(), HasSubstr("my_park_airports.txt:EDTT,G 2 updated stand\n"));
    EXPECT_EQ(remember(""), "AAAA\nEDFF,1\nEDTT,\nZZZZ\n");
    writeFile(folders.myParkAirports, "");
    EXPECT_EQ(remember("G"), "EDTT,G\n");
}

TEST_F(ParkList, ADestinationIsTheFirst) {
    writeFile(folders.myParkAirports, "EDFF\nEDNN,5\n");
    lf_readMyParkAirports();
    lf_newDestination(*gf_findAirport("EDNN"));
    ASSERT_TRUE(app.destinationRequest.take()) << "of a thread to which the list does not belong";
    lf_serveDestination();
    EXPECT_THAT(entries(), ElementsAre("EDNN,5", "EDFF,"));
    EXPECT_EQ(DESTINATION.value(), "EDNN");
    EXPECT_FALSE(plat::isEnabled(RE_READ.control.controlId));
    lf_serveLoader();
    EXPECT_EQ(readFile(folders.myParkAirports), "EDFF\nEDNN,5\n") << "a known one leaves the file alone";
    lf_setDestination(*gf_findAirport("EDTT"));
    lf_serveLoader();
    EXPECT_THAT(entries(), ElementsAre("EDTT,", "EDNN,5", "EDFF,"));
    EXPECT_EQ(readFile(folders.myParkAirports), "EDFF\nEDNN,5\nEDTT\n");
}

TEST_F(ParkList, ADestinationStaysTheFirstWhenTheAirportOfDepartureIsRead) {
    lf_newDestination(*gf_findAirport("EDNN"));
    lf_serveDestination();
    bringUp(stand("A", 0, 20));
    EXPECT_THAT(entries(), ElementsAre("EDNN,", "EDTT,A"));
    EXPECT_EQ(airports.reservedStand, "A");
    lf_serveLoader();
    EXPECT_EQ(readFile(folders.myParkAirports), "EDNN\nEDTT,A\n");
    placeUser(100, 3000);
    engine.user.lon = 8 + 10.0 / 60 + 0.01; // a little nearer to it
    step();
    EXPECT_FALSE(airports.park.known()) << "it makes way for the destination";
    step();
    EXPECT_EQ(airports.park.code, "EDNN");
}

TEST_F(ParkList, TheStandUnderTheUserIsStored) {
    bringUp(stand("A", 0, 20) + stand("B", 300, 2));
    placeUser(240); // 60 m off
    gf_storeUserStand();
    placeUser(250); // and smaller than any aircraft
    EXPECT_EQ(gf_userStand()->id, "B");
    sim.userOnGround = false;
    EXPECT_EQ(gf_userStand(), nullptr);
    EXPECT_EQ(gf_standText(engine.user.lat, engine.user.lon), "");
    sim.userOnGround = true;
    lf_serveLoader();
    EXPECT_EQ(readFile(folders.myParkAirports), "EDTT,A\n");
    gf_storeUserStand();
    lf_serveLoader();
    EXPECT_EQ(readFile(folders.myParkAirports), "EDTT,B\n");
    EXPECT_EQ(airports.parkAirports.front().stand, "B");
}

TEST_F(ParkList, RereadingMovesTheReservedStand) {
    bringUp(stand("A", 0, 20) + stand("B", 300, 20));
    ASSERT_EQ(airports.reservedStand, "A");
    gf_standById("A")->reserved = true;
    writeFile(folders.myParkAirports, "EDFF\nEDTT,B\n");
    EXPECT_TRUE(lf_rereadParkAirports());
    EXPECT_EQ(gf_shownMessage(), "park airports and stands are okay") << "the user stands on one";
    placeUser(150);
    TrafficRecord record;
    record.hexid = firstLiveHexid + 1;
    LiveAc& ac = lf_appendLive(lf_makeLiveAc(record));
    ac.fs = FlightState::parked;
    ac.st = SimState::active;
    ac.standId = 2;
    lf_setObjectId(ac, 9);
    EXPECT_TRUE(lf_rereadParkAirports());
    EXPECT_EQ(gf_shownMessage(), "reserved stand changed from \"A\" to \"B\"");
    EXPECT_TRUE(airports.reservedStand == "B" && gf_standById("B")->reserved && !gf_standById("A")->reserved);
    EXPECT_THAT(engine.removalQueue, ElementsAre(9));
    EXPECT_EQ(gf_displayText(DisplayText::reservedStand), "B");
    EXPECT_TRUE(plat::isEnabled(RE_READ.control.controlId));
}

TEST_F(ParkList, ARereadingThatFailsKeepsTheDestinationFirst) {
    DESTINATION.set("EDNN");
    writeFile(folders.myParkAirports, "EDTT\nNONE\nEDNN,5\n");
    EXPECT_FALSE(lf_rereadParkAirports());
    EXPECT_EQ(gf_shownMessage(), "airport NONE is unknown");
    EXPECT_THAT(entries(), ElementsAre("EDNN,5", "EDTT,"));
    std::filesystem::remove_all(folders.myThirdparty);
    writeFile(folders.myParkAirports, "EDTT\nEDNN,6\n");
    EXPECT_FALSE(lf_rereadParkAirports()) << "the run goes on";
    EXPECT_THAT(gf_shownMessage(), HasSubstr("directory_iterator::directory_iterator"));
    EXPECT_THAT(entries(), ElementsAre("EDNN,6", "EDTT,"));
    EXPECT_TRUE(plat::isEnabled(RE_READ.control.controlId) && plat::isEnabled(DESTINATION.control.controlId));
}

} // namespace test
