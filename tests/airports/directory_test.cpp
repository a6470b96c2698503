// The directory of airports: reading, looking up, and which airport an aircraft on the ground stands at.

#include "airports_fixture.h"

#include "app/errors.h"
#include "comma_locale.h"

using testing::HasSubstr;
using testing::Not;

namespace test {

class Directory : public AirportsTest {
  protected:
    static void unread() {
        airportsLife.directory.clear();
        airportsLife.directoryRead = false;
    }
    static void writeDirectory(const std::string& elements) {
        writeFile(folders.airportsXml, "<?xml version=\"1.0\"?><airports>" + elements + "</airports>");
    }
    static std::string failure() {
        unread();
        try {
            gf_readAirports();
        } catch (const orvo::UserErrorException& e) {
            return e.what();
        }
        return "none";
    }
};

TEST_F(Directory, IsReadOnceAndLookedUpByItsExactCode) {
    const CommaLocale commas;
    unread();
    writeDirectory(
        "<airport code=\"ZZAA\" iata=\"\" lat=\"1.5\" lon=\"-2.25\" alt=\"10.5\"/><other code=\"X\"/>"
        "<airport code=\"AAAA\" lat=\"3\" lon=\"4\" alt=\"-7\" iata=\"AMS\"/>");
    EXPECT_TRUE(gf_readAirports());
    EXPECT_THAT(logText(), HasSubstr(native("2 airports read from \"input/airports_msfs.xml\"")));
    std::filesystem::remove(folders.airportsXml);
    EXPECT_TRUE(gf_readAirports()) << "a second call does no work";

    const auto found = gf_findAirport("ZZAA");
    ASSERT_TRUE(found);
    EXPECT_DOUBLE_EQ(found->lat, 1.5);
    EXPECT_DOUBLE_EQ(found->lon, -2.25);
    EXPECT_DOUBLE_EQ(found->elevation, 10.5);
    EXPECT_FALSE(gf_findAirport("zzaa") || gf_findAirport("") || gf_findAirport("ZZZZ"));
    EXPECT_EQ(gf_airportLabel(*found), "ZZAA");
    EXPECT_EQ(gf_airportLabel(*gf_findAirport("AAAA")), "AAAA (AMS)");
    EXPECT_EQ(gf_airportLabel({}), "?");
}

TEST_F(Directory, TellsWhyItCannotBeRead) {
    EXPECT_THAT(failure(),
                HasSubstr("88: " + native("input/airports_msfs.xml") + " not loaded File was not found"));
    writeFile(folders.airportsXml, "<airports><airport");
    EXPECT_THAT(failure(), HasSubstr("88: " + native("input/airports_msfs.xml") + " not loaded "));
    writeFile(folders.airportsXml, "<fields/>");
    EXPECT_EQ(failure(), "88: " + native("input/airports_msfs.xml") + " not found");
    for (const char* bad :
         {"<airport code=\"A\" lat=\"1\" lon=\"1\"/>", "<airport alt=\"x\" lat=\"1\" lon=\"1\"/>",
          "<airport alt=\"1\" lat=\"\" lon=\"1\"/>", "<airport alt=\"1\" lat=\"1\" lon=\"nan\"/>"}) {
        writeDirectory(bad);
        EXPECT_EQ(failure(), "88: invalid stod argument") << bad;
    }
    writeDirectory("<airport alt=\"1\" lat=\"1e999\" lon=\"1\"/>");
    EXPECT_EQ(failure(), "88: stod argument out of range");
    writeDirectory("");
    EXPECT_EQ(failure(), "none");
    EXPECT_FALSE(gf_readAirports()) << "it is read, and empty";
}

TEST_F(Directory, NamesKeepTheFirstOfACode) {
    EXPECT_FALSE(gf_readAirportNames());
    EXPECT_THAT(logText(), HasSubstr(native("0 airport names read from \"input/airports_msfs_names.xml\"")));
    writeFile(folders.airportNamesXml,
              "<AirportNames><airport ICAO=\"EDTT\" name=\"One\"/><airport ICAO=\"EDTT\" "
              "name=\"Two\"/><airport name=\"None\"/></AirportNames>");
    EXPECT_TRUE(gf_readAirportNames());
    EXPECT_EQ(gf_airportName("EDTT"), "One");
    EXPECT_EQ(gf_airportName(""), "None");
    EXPECT_FALSE(gf_airportName("EDNN"));
}

class Closest : public Directory {
  protected:
    // Airports so many miles north of 50 N 8 E, in the order of their codes A, B, C.
    static void airportsAt(const std::vector<double>& miles) {
        airportsLife.directory.clear();
        for (std::size_t i = 0; i < miles.size(); ++i)
            airportsLife.directory.push_back(
                {std::string(1, static_cast<char>('A' + i)), "", 50 + miles[i] / 60, 8, 0});
    }
    static std::string closest() {
        const auto found = gf_findClosestAirport(50, 8);
        return found ? found->code : "none";
    }
};

TEST_F(Closest, ReachesFiveMilesAndTakesTheNeighbourThatWasDisplacedLast) {
    airportsAt({4.9999999, 8});
    EXPECT_EQ(closest(), "A");
    airportsAt({5.01});
    EXPECT_EQ(closest(), "none");
    airportsAt({3, 2, 2.5});
    EXPECT_EQ(closest(), "B");
    EXPECT_THAT(logText(), HasSubstr("Airport B is closest, neighbour is A\n"));
    airportsAt({2, -2});
    EXPECT_EQ(closest(), "A") << "of two as far the smaller code";
}

TEST_F(Closest, LetsTheNearestStandDecideBetweenNeighbours) {
    airportsAt({3, 2});
    putStock("A", baseFile(stand("GATE 1", 900, 20) + stand("GATE 2", 500, 20)));
    EXPECT_EQ(closest(), "A") << "the other has no file";
    EXPECT_THAT(logText(),
                HasSubstr("Airport B is closest, but stand GATE 2 at neighbouring airport A is closest at "
                          "500 meters ...\n"));
    EXPECT_FALSE(std::filesystem::exists("airport.xml"));

    lf_forgetMissingFiles();
    writeFile(folders.myThirdparty / "B.xml", baseFile(stand("X", 500, 20)));
    EXPECT_EQ(closest(), "B") << "only a stand that is nearer counts";
    writeFile(folders.myThirdparty / "B.xml", "<parkpositions><parkpos id=\"X\"");
    EXPECT_EQ(closest(), "A") << "a file that cannot be read has no stand";
    writeFile(folders.myThirdparty / "B.xml",
              "<parkpositions><parkpos id=\"X\" latitude=\"1e300\"/></parkpositions>");
    EXPECT_EQ(closest(), "A");
}

} // namespace test
