// A process that is killed while it saves a learned file.

#include "../airports_fixture.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

class Kill : public AirportsTest {};

TEST_F(Kill, InTheMiddleOfASaveLeavesAWholeFile) {
    putStock("EDTT", baseFile(stand("A", 0, 20)));
    AirportFile file;
    file.code = "EDTT";
    file.airportName = "Testfield";
    file.publisher = "stock";
    Stand stand;
    stand.id = "A";
    StandOption option;
    option.reg = "GBAFM";
    option.index = option.real = 1;
    stand.options.assign(4000, option);
    for (std::size_t i = 0; i < stand.options.size(); ++i)
        stand.options[i].day = static_cast<std::int32_t>(i);
    file.stands.push_back(stand);
    const auto path = folders.learnedStock / "EDTT.xml";
    ASSERT_TRUE(gf_writeAirportFile(file, path, 0));

    int interrupted = 0;
    for (int round = 0; round < 12; ++round) {
        const pid_t child = fork();
        if (child == 0)
            for (;;) gf_writeAirportFile(file, path, 0); // until it is killed
        plat::setClock(nullptr);
        plat::sleepMs(20 + 7 * round);
        plat::setClock(&clock);
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        for (const auto& entry : std::filesystem::directory_iterator(folders.learnedStock))
            if (entry.path() != path && std::filesystem::remove(entry.path())) ++interrupted;
        const AirportReading reading = read("EDTT");
        ASSERT_EQ(reading.learnedWhole, path) << texts(reading);
        ASSERT_EQ(reading.file.stands.at(0).options.size(), 4000u);
    }
    RecordProperty("saves_cut_short", interrupted);
}

} // namespace test
