// The real program as a process of its own, without a screen, between stand-ins on real sockets: from its start to
// its end. These tests wait for wall time, since that is what they test.

#include "support.h"

#include "app/version.h"
#include "feed/controlclient.h"
#include "feed/feed.h"
#include "fleet/bgl.h"
#include "platform/clock.h"
#include "platform/sockets.h"
#include "refdata/refdata.h"
#include "simulator/server.h"

#include <atomic>
#include <csignal>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <optional>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>

extern char** environ;

namespace {

namespace fs = std::filesystem;
constexpr const char* controlPort = "10799"; // not RealTraffic's own, so that a running program is left alone

// Waits until test() holds, at most that many seconds.
template <class Test> bool within(double seconds, Test test) {
    for (const auto end = plat::steadyNow() + static_cast<plat::SteadyNs>(seconds * 1e9);
         plat::steadyNow() < end;) {
        if (test()) return true;
        plat::sleepMs(20);
    }
    return test();
}

// A program folder and a home of its own, and at most one process in it.
class Program {
  public:
    Program() {
        scratch.enter();
        const auto liveries = test::installSimulator() / "Community" / "aig-aitraffic-oci";
        fs::create_directories(liveries);
        test::writeFile(liveries / "aircraft.cfg", "[GENERAL]\nicao_type_designator=A320\n[FLTSIM.0]\n"
                                                   "title=Test A320\nicao_airline=BAW\n");
        setenv("XDG_RUNTIME_DIR", scratch.path.c_str(), 1);
        fs::copy(rig::sourceFolder() / "install", ".", fs::copy_options::recursive);
        fs::create_directories("config/Velloray");
        test::writeFile(
            "config/Velloray/parameters.xml",
            fmt::format(
                "<parameters><parameter name=\"PORT_NUMBER\" value=\"{}\"/><parameter name=\"AUTO_RANGE\" "
                "value=\"false\"/></parameters>",
                controlPort));
    }
    ~Program() {
        if (pid > 0) kill(pid, SIGKILL), waitpid(pid, nullptr, 0);
    }
    void connectTo(std::uint16_t port) {
        test::writeFile("SimConnect.cfg",
                        fmt::format("[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort={}\n", port));
    }
    void installRealTraffic() {
        fs::create_directories("config/InsideSystems");
        test::writeFile("config/InsideSystems/RealTraffic.jar", "");
    }
    pid_t start() {
        char name[] = VELLORAY_HEADLESS_PROGRAM;
        char* const arguments[] = {name, nullptr};
        pid_t child = 0;
        EXPECT_EQ(0, posix_spawn(&child, name, nullptr, nullptr, arguments, environ));
        return child;
    }
    void run() { pid = start(); }
    void ask() { kill(pid, SIGTERM); }
    // The exit code, or -1 when it has not ended in that time.
    int ends(double seconds) {
        int status = 0;
        if (!within(seconds, [&] { return waitpid(pid, &status, WNOHANG) == pid; })) return -1;
        pid = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -2;
    }
    static bool logged(const std::string& text) {
        return test::readFile("Log.txt").find(text) != std::string::npos;
    }

    test::ScratchFolder scratch;
    pid_t pid = 0;
};

// The stand-in simulator with its frames on a thread.
class Simulator {
  public:
    Simulator()
        : hub(settings()), server(hub, 0, 30), frames([this] {
              while (!stop && server.step()) {}
          }) {}
    ~Simulator() { leave(); }
    void leave() { // at once, without a word
        stop = true;
        if (frames.joinable()) frames.join();
    }
    void tell(const std::string& verb) {
        LockGuard guard(server.hubLock);
        rig::tellSimulator(hub, verb);
    }
    std::size_t aircraft() { // besides the user's
        LockGuard guard(server.hubLock);
        return hub.world.objects.size() - 1;
    }
    std::optional<rig::SimObject> find(const std::string& tail) {
        LockGuard guard(server.hubLock);
        for (const auto& [id, object] : hub.world.objects)
            if (object.tailNumber == tail) return object;
        return {};
    }
    std::uint16_t port() const { return server.port(); }

  private:
    static rig::WorldSettings settings() {
        rig::WorldSettings s;
        s.titles = {"Test A320"};
        return s;
    }
    rig::SimHub hub;
    rig::SimServer server;
    std::atomic<bool> stop{false};
    std::thread frames;
};

// RealTraffic: the client of the control link, and lines of one aircraft that flies north near the user.
class RealTraffic {
  public:
    RealTraffic() : client(static_cast<std::uint16_t>(std::stoi(controlPort)), 1, [](const std::string&) {}) {
        plat::startSockets();
        udp = plat::openUdp();
        thread = std::thread([this] {
            while (!stop) step();
        });
    }
    ~RealTraffic() {
        stop = true;
        thread.join();
        plat::closeSocket(udp);
        plat::stopSockets();
    }
    std::atomic<bool> gone{false};    // drops the control link and stays away
    std::atomic<bool> sending{false}; // lines, one every two seconds
    std::atomic<int> positions{0};

  private:
    void step() {
        if (gone.exchange(false)) client.dropFor(3'000'000'000);
        client.step();
        positions = client.positions;
        if (sending && plat::steadyNow() >= nextLine) {
            nextLine = plat::steadyNow() + 2'000'000'000;
            sendLine();
        }
        plat::sleepMs(10);
    }
    void sendLine() {
        lat += 400.0 / 3600 / 60 * 2; // 400 knots for two seconds
        const std::string line = fmt::format("RTTFC,4200001,{:.5f},-73.50000,20000,0,0,0.0,400.0,BAW12A,A320,"
                                             "G-TEST,LHR,JFK,{}.0,X,null,adsb_icao,-1,-1,-1,-1,-1,"
                                             "-1,-1,-1,-1,none,A3,-1,-1,-1,-1,null,0.0,-1,-1,-1,-1,-1,1,-1,0",
                                             lat, plat::utcSeconds());
        plat::sendDatagram(udp, trafficPort, line);
    }
    rig::ControlClient client;
    plat::Socket udp = plat::noSocket;
    plat::SteadyNs nextLine = 0;
    double lat = 40.5;
    std::atomic<bool> stop{false};
    std::thread thread;
};

bool portsFree() { // another Velloray on this computer has the feed's ports
    plat::startSockets();
    plat::Socket s = plat::openUdp();
    const bool free = plat::bindUdp(s, trafficPort, true);
    plat::closeSocket(s);
    plat::stopSockets();
    return free;
}

} // namespace

TEST(Program, FliesAnAircraftFromItsLinesAndEndsWithTheSimulator) {
    if (!portsFree()) GTEST_SKIP() << "the feed's UDP port is in use on this computer";
    Program program;
    program.installRealTraffic();
    Simulator simulator;
    program.connectTo(simulator.port());
    program.run();
    RealTraffic traffic;
    ASSERT_TRUE(within(15, [] { return Program::logged("Traffic Reader connected"); }))
        << test::readFile("Log.txt");
    traffic.sending = true;
    ASSERT_TRUE(within(5, [&] { return traffic.positions > 0; }));

    // 30 seconds behind the feed, then the creation and its lights.
    ASSERT_TRUE(within(45, [&] { return simulator.find("BAW12A").has_value(); }))
        << test::readFile("Log.txt");
    ASSERT_TRUE(within(8, [&] { return simulator.find("BAW12A")->positionsSet > 100; }));
    const rig::SimObject before = *simulator.find("BAW12A");
    plat::sleepMs(1000);
    const rig::SimObject after = *simulator.find("BAW12A");
    EXPECT_TRUE(after.released && after.frozenPosition && after.frozenAltitude && after.frozenAttitude);
    EXPECT_EQ("Test A320", after.title);
    EXPECT_NEAR(400.0 / 3600 / 60, after.lat - before.lat,
                0.3 * 400 / 3600 / 60); // degrees in about a second
    EXPECT_NEAR(20000, after.alt, 50);

    traffic.sending = false;
    traffic.gone = true; // RealTraffic goes: its aircraft go too, the program stays and takes it back
    EXPECT_TRUE(within(8, [&] { return simulator.aircraft() == 0; }));
    EXPECT_TRUE(within(8, [] { return Program::logged("RealTraffic re-connected"); }));

    simulator.tell("quit");
    EXPECT_EQ(0, program.ends(15));
    EXPECT_TRUE(Program::logged("Exiting: SIM WAS CLOSED")) << test::readFile("Log.txt");
}

TEST(Program, WaitsForTheSimulatorAloneAndEndsWhenAsked) {
    Program program;
    rig::BglAirport airport; // of a scenery, which the start sequence scans
    airport.positions = {{}};
    const auto package = test::installSimulator() / "Community" / "mine";
    fs::create_directories(package);
    test::writeFile(package / "x.bgl", rig::bglFile({{3, 1, {rig::bglAirport(airport)}}}));
    program.run();
    ASSERT_TRUE(within(10, [] { return Program::logged("Waiting for MSFS 2020 ..."); }));
    EXPECT_TRUE(Program::logged("Airports scan successful"));
    EXPECT_TRUE(fs::exists(fs::path("airports") / "my_thirdparty" / (airport.ident + ".xml")));
    const std::string log = test::readFile("Log.txt");

    const pid_t second = program.start(); // a second one leaves without touching the log
    int status = 0;
    ASSERT_TRUE(within(5, [&] { return waitpid(second, &status, WNOHANG) == second; }));
    EXPECT_EQ(255, WEXITSTATUS(status));
    EXPECT_EQ(log, test::readFile("Log.txt"));

    program.ask();
    EXPECT_EQ(0, program.ends(5));
    EXPECT_TRUE(Program::logged("Exiting: USER CLOSED SIM"));
}

TEST(Program, StartsANewRunAfterAReaderFindsItsPortInUse) {
    if (!portsFree()) GTEST_SKIP() << "the feed's UDP port is in use on this computer";
    plat::startSockets();
    plat::Socket occupied = plat::openUdp();
    ASSERT_TRUE(plat::bindUdp(occupied, trafficPort, false));
    Program program;
    Simulator simulator;
    program.connectTo(simulator.port());
    program.run();
    EXPECT_TRUE(within(15, [] {
        return Program::logged("The Traffic Reader has stopped with error: bind to stream socket failed");
    })) << test::readFile("Log.txt");
    EXPECT_TRUE(within(8, [] { return Program::logged("Restarting after 15 seconds"); }));
    EXPECT_TRUE(Program::logged("Exiting: READER ERROR"));
    plat::closeSocket(occupied);
    plat::stopSockets();

    // The new run keeps what the process has read already, and takes its traffic.
    EXPECT_TRUE(within(30, [] { return Program::logged("Traffic Reader connected"); }))
        << test::readFile("Log.txt");
    EXPECT_TRUE(Program::logged("Processing scanned liveries skipped; already done in previous start-up"));
    program.ask();
    EXPECT_EQ(0, program.ends(5));
    EXPECT_TRUE(Program::logged("Exiting: USER CLOSED SIM"));
}

TEST(Program, FetchesANewerVersionOfItselfAndSaysHowToInstallIt) {
    Program program;
    test::writeFile("download/release/version.json", "99.0.0\n");
    rig::writeZip("download/release/setup_Velloray_d_v99.0.0.zip", {{"setup.exe", "an installer"}});
    program.run();
    const std::string text = fmt::format("New version 99.0.0 available, exit Velloray. Run as administrator: "
                                         "\"{}\"",
                                         plat::pathText(fs::absolute("install_new_version.exe")));
    ASSERT_TRUE(within(10, [&] { return Program::logged(text); })) << test::readFile("Log.txt");
    EXPECT_EQ("an installer", test::readFile("install_new_version.exe"));
    EXPECT_EQ(-1, program.ends(1)); // the text stays until the user closes the window
    program.ask();
    EXPECT_EQ(0, program.ends(5));
    EXPECT_FALSE(Program::logged("Processing")) << "nothing else was begun";

    fs::remove("download/release/setup_Velloray_d_v99.0.0.zip"); // not there: the old version does its work
    program.run();
    ASSERT_TRUE(within(10, [] { return Program::logged("Waiting for MSFS"); })) << test::readFile("Log.txt");
    EXPECT_TRUE(Program::logged("Downloading program installer file version 99.0.0 failed"));
    program.ask();
    EXPECT_EQ(0, program.ends(5));
}

TEST(Program, TellsWhatIsMissingAndWaitsForTheUser) {
    struct Case {
        const char* missing;
        const char* text;
    };
    for (const Case& c : {Case{"docs", "41: Velloray must be run from the Velloray folder!"},
                          Case{"download", "data base could not be read from on-line?"}}) {
        SCOPED_TRACE(c.missing);
        Program program;
        fs::remove_all(c.missing);
        program.run();
        ASSERT_TRUE(within(10, [&] { return Program::logged(c.text); })) << test::readFile("Log.txt");
        EXPECT_EQ(-1, program.ends(1)); // the text stays until the user closes the window
        program.ask();
        EXPECT_EQ(0, program.ends(5));
        EXPECT_TRUE(Program::logged("Exiting: SYSTEM ERROR"));
        EXPECT_TRUE(Program::logged("User closed Velloray"));
    }
}
