#pragma once
// What comes from and goes to RealTraffic: the traffic lines and the weather over UDP, each with a reader thread,
// and the control link over TCP, driven by the worker.

#include "platform/lock.h"
#include "platform/shared_values.h"
#include "platform/sockets.h"

#include <array>
#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <string_view>
#include <vector>

constexpr std::uint16_t trafficPort = 49005, qnhPort = 49004; // UDP
constexpr std::int32_t feedDelayTicks = 3000;                 // an aircraft flies 30 s behind the feed
constexpr std::size_t feedQueueLimit = 20000;   // records; beyond it a record is counted and lost
constexpr std::uint32_t firstLiveHexid = 10001; // smaller numbers belong to static aircraft

// One timed point of a position stream.
struct StreamPoint {
    double lat = 0, lon = 0;        // degrees
    double bank = 0;                // radians, the feed's roll with its sign reversed
    double heading = 0;             // true, radians; 2π for a reported 0
    double alt = 0;                 // feet; 0 on the ground
    double speed = 0;               // ground speed, knots
    double track = 0;               // degrees
    double vs = 0;                  // feet per minute
    double tas = 0;                 // knots
    std::int32_t dueTick = 0;       // tick at which the aircraft is to be at this point
    bool bankValid = false;         // the feed gave a roll
    bool headingValid = false;      // the feed gave a true heading
    bool airborne = false;          // alt is above 0 after the ground correction
    bool stationary = false;        // the aircraft does not move between the point before and this one
    bool trueHeadingSource = false; // this point's report carried a true heading
};

// The strings that name an aircraft. firstCallsign is a copy of callsign made when the record is created or the
// callsign changes; coupledCallsign the other flight of the turn-round, empty until found.
struct AcIdentity {
    std::string airline; // ICAO airline code; "PVT" for a private aircraft
    std::string acType;  // ICAO type designator
    std::string origin, destination;
    std::string callsign, firstCallsign, coupledCallsign;
    std::string regcode; // registration, such as G-BAFM
    bool coupledSearched = false;
};

// One tested report of the feed.
struct TrafficRecord : AcIdentity {
    StreamPoint point;
    double timestamp = 0; // seconds since 1970
    std::uint32_t hexid = 0;
};

// Why a line was dropped, for the counters.
enum class Drop {
    vehicle,
    fields,
    timestamp,
    position,
    range,
    registration,
    type,
    heading,
    hexid,
    speed,
    altitude,
    callsign,
    anonymous,
    groundElsewhere,
    track,
    verticalSpeed,
    roll,
    airspeed,
    notEnabled,
    queueFull,
    exception,
    count
};
extern const std::array<const char*, static_cast<std::size_t>(Drop::count)> dropNames; // "vehicle", ...

// The current park airport as the reader needs it.
struct ParkAirportView {
    double lat = 0, lon = 0; // degrees
    double elevation = 0;    // feet
    bool known = false;
};

class UdpReader {
  public:
    static constexpr int bufferSize = 16384; // a datagram that fills it is ignored

    virtual ~UdpReader() = default;
    void start(std::uint16_t port); // socket library, socket, bind; throws std::runtime_error
    void run();       // receives until stopFlag, or until the run has changed; throws std::runtime_error
    void closePort(); // and gives the socket library back; a closed one is left alone
    void takeDatagram(std::string_view datagram); // what run() does with one; also driven by hand
    virtual void onDatagram() = 0;
    virtual void onStopped() = 0;

    std::string_view data;                // the datagram last received; reader thread
    Flag stopFlag;                        // worker sets, reader tests
    Relaxed<std::uint32_t> datagramCount; // good or bad; read by the reader watch
    std::uint32_t watchedCount = 0;       // worker: the count at the last watch
    Flag finished{true};                  // the thread function has returned (or was never started)
    std::string lastDatagram;             // reader thread: for the duplicate test
    std::uint32_t ofRun = 0;              // reader thread: the run that it was started by
    plat::Socket socket = plat::noSocket; // reader thread

  private:
    bool socketsStarted = false;
    std::array<char, bufferSize> buffer;
};

extern Lock trafficLock; // the feed queue, whether reports are taken, and the callsigns seen

class TrafficReader : public UdpReader {
  public:
    void onDatagram() override;
    void onStopped() override;
    Drop processLine(); // of `fields`, and counts; Drop::count when a record was queued

    SeqLocked<std::array<double, 2>>
        userPosition;                       // latitude, longitude in degrees, as the worker last copied them
    SeqLocked<ParkAirportView> parkAirport; // airports publishes, reader reads
    Flag collectCallsigns;
    std::set<std::string> seenCallsigns GUARDED_BY(trafficLock); // while collectCallsigns is on
    Relaxed<double> latestFeedTime; // seconds since 1970 of the latest line; 0 until one has come
    Relaxed<std::uint64_t> kept;
    std::array<Relaxed<std::uint64_t>, static_cast<std::size_t>(Drop::count)> dropped;

    static constexpr std::size_t fieldCount = 29; // the last field that is read has the index 28

  private:
    Drop testLine();
    std::array<std::string_view, fieldCount> fields; // of the current line, views into the datagram
};

class QnhReader : public UdpReader {
  public:
    void onDatagram() override;
    void onStopped() override;

    Relaxed<std::int32_t> lastQnh{0};       // reader thread; forgotten by lf_resetReaders
    Relaxed<std::int32_t> currentQnh{1013}; // hectopascals
};

// owner: feed. The readers live as long as the process, each with one thread per run.
extern TrafficReader trafficReader;
extern QnhReader qnhReader;

// The queue of tested reports, and whether new ones are taken.
struct FeedQueue {
    std::deque<TrafficRecord> records;
    bool trafficEnabled = false;
};
extern FeedQueue feedQueue GUARDED_BY(trafficLock);

void gf_enableTraffic(bool on);
std::size_t gf_takeFeedRecords(std::vector<TrafficRecord>& out, std::size_t most); // appends; gives how many

void lf_trafficReader(std::uint32_t runNumber); // thread functions
void lf_qnhReader(std::uint32_t runNumber);
void lf_resetReaders(); // counters, stop flags, callsigns, feed time, QNH back to 1013; empties the feed queue
void gf_stopReaders();
bool gf_readersFinished();

// Control link ---------------------------------------------------------------------------------------------------
struct UserPosition {                        // the worker's copy of the user's aircraft, as the link sends it
    double lat = 0, lon = 0;                 // degrees
    double pitch = 0, bank = 0, heading = 0; // radians
    double alt = 0;                          // feet
    double groundSpeed = 0;                  // knots
};

struct ControlLink { // owner: feed; worker
    plat::Socket listenSocket = plat::noSocket, clientSocket = plat::noSocket;
    Flag clientConnected;
    Relaxed<bool> rtProfessional; // RealTraffic reported level 2
    bool socketsStarted = false;
    bool clientLost = false; // a send has failed, and lf_sendPosition has not told its caller yet
};
extern ControlLink controlLink;

void lf_openControlPort(const std::string& port); // throws std::runtime_error
bool waitForClient(bool hold = true);       // true when it has accepted one; hold: until one comes or a stop
bool sendDataPacket(std::string_view text); // false: the client has gone
std::string lf_receiveLine();
void lf_waitForRealTraffic();
void lf_readEdition(const std::string& text);
std::string gf_positionLine(const UserPosition& user); // "Qs121=..."
// True when RealTraffic has gone in this call: the caller then removes its aircraft and calls lf_realTrafficGone.
// While it is away, the call waits for it when it may hold the worker, and else looks whether it is there.
bool lf_sendPosition(const UserPosition& user, bool hold = true);
void lf_realTrafficGone();
void lf_sendSimTime(std::int64_t seconds);
void gf_closeControlLink();                  // "exit", both sockets, the socket library
std::string gf_winsockErrorText(int number); // "10048 Address already in use"
