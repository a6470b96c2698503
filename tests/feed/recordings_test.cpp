// Real traffic through the reader: what it must survive, and about how much of it is kept.

#include "feed_fixture.h"

#include "feed/recording.h"

struct Recording {
    const char* file;
    double lat, lon, elevationFt; // the user's place, and the park airport
    double range;                 // nautical miles
    double leastKept, mostKept;   // share of the lines
    std::uint64_t lines;
};

static const Recording recordings[] = {
    // Nearly all is at the airport; vehicles, fixed transponders and aircraft without a known type go.
    {"lebl-2020-10-02-ground.rttfc.gz", 41.2971, 2.0785, 12, 60, 0.3, 0.5, 51141},
    // The region reaches far beyond the range; of the ground only one airport counts.
    {"us-northeast-2023-03-17.rttfc.gz", 40.64, -73.78, 13, 100, 0.2, 0.7, 58245},
    {"egll-2017-08-02-arrivals.rttfc.gz", 51.4707, -0.4599, 83, 400, 0.95, 1, 5233},
    // The ground reports of the departure are at another airport.
    {"baw3ak-2024-06-06-lfbo-egll.rttfc.gz", 51.4707, -0.4599, 83, 600, 0.8, 0.97, 6090},
};

TEST_F(FeedTest, ReadsRealRecordings) {
    const auto folderOfRecordings = test::sharedFolder() / "recordings";
    if (!std::filesystem::is_directory(folderOfRecordings))
        GTEST_SKIP() << "no recordings beside the checkout";
    for (const Recording& r : recordings) {
        SCOPED_TRACE(r.file);
        lf_resetReaders();
        trafficReader.userPosition.store({r.lat, r.lon});
        trafficReader.parkAirport.store({r.lat, r.lon, r.elevationFt, true});
        app.rangeNm = r.range;
        std::size_t taken = 0;
        double time = 0;
        for (const rig::TimedLine& line : rig::loadRecording(folderOfRecordings / r.file)) {
            ASSERT_GE(line.time, time);
            time = line.time;
            trafficReader.takeDatagram(line.line);
            taken += takeRecords().size();
        }
        std::uint64_t all = trafficReader.kept;
        std::string counts;
        for (std::size_t i = 0; i < trafficReader.dropped.size(); ++i) {
            all += trafficReader.dropped[i];
            if (trafficReader.dropped[i] != 0)
                counts += std::string(dropNames[i]) + " " + std::to_string(trafficReader.dropped[i]) + " ";
        }
        EXPECT_EQ(all, r.lines) << "every line is kept or counted";
        EXPECT_EQ(trafficReader.kept, taken);
        EXPECT_EQ(trafficReader.latestFeedTime, time);
        const double share = static_cast<double>(taken) / static_cast<double>(r.lines);
        EXPECT_TRUE(share >= r.leastKept && share <= r.mostKept) << share << " kept; " << counts;
        EXPECT_EQ(droppedFor(Drop::exception), 0u);
        EXPECT_EQ(droppedFor(Drop::queueFull), 0u);
    }
}
