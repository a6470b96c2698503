// A process that is killed while it saves a learned file, at each of its calls to the system and within each write, and
// one whose disk is full.

#include "../airports_fixture.h"

#include <csignal>
#include <functional>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

class Kill : public AirportsTest {
  protected:
    const std::filesystem::path path = folders.learnedStock / "EDTT.xml";
    std::string old;

    Kill() { // an airport at which something was learned before, and now something more
        bringUp(stand("A", 0, 20) + stand("B", 300, 20));
        learn("GOLD", 3000);
        save();
        old = readFile(path);
        step(true);
        step();
        EXPECT_TRUE(airports.park.loaded);
        learn("GNEW", 1);
    }
    static void learn(const std::string& key, int count) {
        StandOption option;
        option.airl = "BAW";
        option.type = "A320";
        option.real = 1;
        for (int i = 0; i < count; ++i) {
            option.index = static_cast<std::int32_t>(gf_standById("A")->options.size()) + 1;
            option.day = i % 7 + 1;
            option.reg = key + std::to_string(i);
            option.cs = "BAW" + std::to_string(i);
            option.hours = HalfHours(1ull << (i / 7 % 48));
            gf_standById("A")->options.push_back(option);
        }
        airports.updates += static_cast<std::uint32_t>(count);
    }
    static void save() {
        lf_giveUpParkAirport();
        lf_serveLoader();
    }
    // In a process of its own, that ends with the answer.
    static pid_t inChild(const std::function<int()>& work) {
        const pid_t child = fork();
        if (child == 0) _exit(work());
        return child;
    }
    // The file is the old or the new one; true: the new one. What lies beside it is removed, the old one put back.
    bool checkWhole(const std::string& when) {
        const std::string now = readFile(path);
        const bool isNew = now != old;
        if (isNew) {
            const AirportReading reading = read("EDTT");
            EXPECT_EQ(reading.learnedWhole, path) << when;
            for (const char* part : {"GNEW0", "GOLD0", "GOLD2999"})
                EXPECT_NE(now.find(part), now.npos) << when << " " << part;
            EXPECT_TRUE(now.ends_with("</parkpositions>\n")) << when;
        }
        for (const auto& entry : std::filesystem::directory_iterator(folders.learnedStock))
            std::filesystem::remove(entry.path());
        writeFile(path, old);
        return isNew;
    }
    void killAtEachCall() {
        bool ended = false, sawOld = false, sawNew = false;
        constexpr int most = 2000;
        int calls = 0;
        for (; !ended && calls < most; ++calls) {
            const pid_t child = inChild([] {
                if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) return 2;
                raise(SIGSTOP);
                save();
                return 0;
            });
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            if (WIFEXITED(status)) GTEST_SKIP() << "this system lets no process trace its own";
            for (int i = 0; i <= calls && !ended; ++i) {
                ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
                ASSERT_EQ(waitpid(child, &status, 0), child);
                ended = WIFEXITED(status);
            }
            if (!ended) {
                kill(child, SIGKILL);
                ASSERT_EQ(waitpid(child, &status, 0), child);
            }
            (checkWhole("killed at call " + std::to_string(calls)) ? sawNew : sawOld) = true;
            if (HasFailure()) return;
        }
        EXPECT_TRUE(ended && sawOld && sawNew) << calls << " calls";
    }
};

TEST_F(Kill, AtAnyCallOfASaveLeavesTheOldFileOrTheNewOne) { killAtEachCall(); }

TEST_F(Kill, SoItDoesWhenTheOldOneIsKeptAside) {
    airports.learnedWhole.clear(); // as if it could not be taken in whole
    killAtEachCall();
}

TEST_F(Kill, InTheMiddleOfAWriteLeavesTheOldFile) {
    for (const rlim_t bytes : {0u, 1u, 100u, 65536u, 100000u}) {
        const pid_t child = inChild([bytes] {
            std::signal(SIGXFSZ,
                        SIG_DFL); // a write beyond the limit ends the process, with a part of it done
            gf_closeLog();
            const rlimit limit{bytes, RLIM_INFINITY};
            setrlimit(RLIMIT_FSIZE, &limit);
            save();
            return 0;
        });
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status)) << bytes;
        EXPECT_FALSE(checkWhole(std::to_string(bytes) + " bytes"));
    }
}

TEST_F(Kill, AFullDiskIsAMessageAndWhatWasLearnedIsSavedWhenThereIsRoom) {
    const pid_t child = inChild([this] {
        std::signal(SIGXFSZ, SIG_IGN); // a write beyond the limit fails
        gf_closeLog();
        const rlimit full{1000, RLIM_INFINITY}, room{RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &full);
        save();
        if (gf_shownMessage().find(" did not succeed") == std::string::npos || readFile(path) != old)
            return 1;
        step(true);
        step(); // the airport is read again, with all that is known of it
        if (!airports.park.loaded) return 2;
        const auto& options = gf_standById("A")->options;
        if (options.empty() || options.back().reg != "GNEW0") return 3;
        learn("GLATER", 1);
        save();
        if (readFile(path) != old) return 4;
        lf_resetAirports(); // another run begins
        setrlimit(RLIMIT_FSIZE, &room);
        lf_endLoader();
        if (readFile(path).find("GLATER") == std::string::npos) return 5;
        return 0;
    });
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_TRUE(checkWhole("full disk"));
}

} // namespace test
