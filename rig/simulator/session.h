#pragma once
// The simulator's side of the protocol: clients with their definitions, events and requests, above one world. No
// sockets, no clock, no threads: bytes come in, frame() does all the work in a fixed order, bytes go out. One thread
// at a time; the server holds a lock around it, the replay drives it in virtual time.

#include "simulator/variables.h"
#include "simulator/world.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

enum class Edition { msfs2020, msfs2024 };

// A packet from a client, valid during the call.
struct Packet {
    std::uint32_t protocol = 0, function = 0, sendId = 0; // function without its high nibble
    std::uint32_t size = 0;                               // of the whole packet
    std::span<const char> body;                           // behind the 16 bytes of header
};

struct Faults {
    bool silent = false;      // nothing leaves any more, the connections stay
    bool dropAnswers = false; // data answers and assigned ids are left out
    bool split = false;       // transports hand the stream over in single bytes
    double late = 0;          // seconds that all output waits
};

class SimHub {
  public:
    explicit SimHub(const WorldSettings& settings = {}, Edition edition = Edition::msfs2020);

    World world;
    Faults faults;

    int addClient();                                       // its number, never used again
    void receive(int client, std::span<const char> bytes); // kept until the next frame
    std::string takeOutput(int client);                    // bytes for the client since the last call
    bool isOpen(int client) const; // false: take the rest of the output, then close the stream
    void dropClient(int client);   // the stream has ended; its objects go with the next frame

    // One frame: take in the packets, move the world, tell creations and removals, answer data requests, Frame.
    // seconds > 0 is its length.
    void frame(double seconds);

    // Called for each packet of an open client before it is carried out, within frame().
    std::function<void(int client, const Packet&)> onPacket;

    // What a person or a script tells the simulator.
    void setPaused(bool on);
    void setRunning(bool on);
    void flightLoaded(const std::string& file);
    bool userEvent(const std::string& name, std::uint32_t data); // the user's own doing; false: unknown name
    void quit();             // QUIT to all, then the streams end; ended() from then on
    void closeConnections(); // hard, without QUIT
    bool ended() const { return hasEnded; }

    // What the clients did and what came of it, a line each with the time; the oldest lines go at journalLimit.
    std::deque<std::string> journal;
    std::uint64_t journalCount = 0; // lines ever written
    bool journalOn = true;
    void note(const std::string& line); // adds the time

    int openClients() const;
    std::uint64_t positionsReceived = 0; // SetData packets carried out

  private:
    struct Request { // RequestDataOnSimObject
        std::uint32_t definition = 0, object = 0, period = 0, interval = 0;
        std::uint32_t left = 0;       // answers still to come; 0: without end
        bool onlyChanged = false;     // leave out answers that equal the last one
        double dueSecond = 0;         // world.simSeconds of the next answer, for the period of a second
        std::uint32_t waitFrames = 0; // for the frame periods
        std::string lastData;
    };
    struct TypeRequest {
        std::uint32_t request, definition, radius, type;
    };
    struct Delayed {
        double due; // world.elapsed
        std::string bytes;
    };
    struct Client {
        std::string name, input, output;
        std::deque<Delayed> delayed; // while faults.late
        bool opened = false, closed = false;
        std::map<std::uint32_t, Definition> definitions;
        std::map<std::uint32_t, int> systemEvents, simEvents; // client event id -> row of the name's table
        std::map<std::uint32_t, std::vector<std::uint32_t>> groups; // group id -> client event ids
        std::map<std::uint32_t, Request> requests;
        std::vector<TypeRequest> typeRequests;
        std::set<std::uint32_t> journaledRequests; // their repeats stay out of the journal
    };
    struct Call; // a packet with its reader; calls.cpp

    // session.cpp: streams and frames.
    void takePackets(int number, Client& client);
    void tellChanges();
    void answerRequests(Client& client);
    void answerType(Client& client, const TypeRequest& request);
    void answer(Client& client, std::uint32_t message, std::uint32_t request, std::uint32_t definitionId,
                const Definition& definition, const SimObject* object, std::uint32_t entry,
                std::uint32_t outOf, std::uint32_t flags);
    void sendFrameEvents(double seconds);
    void systemEvent(int event, std::uint32_t data);
    void systemEventTo(Client& client, int event, std::uint32_t data);
    void send(Client& client, std::uint32_t message, std::string_view body);
    void exception(Client& client, std::uint32_t number, std::uint32_t sendId, std::uint32_t index);
    void close(int number, Client& client);
    static std::string label(int number, const Client& client);

    // calls.cpp: what each call does.
    void execute(int number, Client& client, const Packet& packet);
    void callOpen(Call& call);
    void callMapEvent(Call& call);
    void callTransmitEvent(Call& call);
    void callAddToGroup(Call& call);
    void callGroupPriority(Call& call);
    void callAddDatum(Call& call);
    void callClearDefinition(Call& call);
    void callRequestData(Call& call);
    void callRequestType(Call& call);
    void callSetData(Call& call);
    void callSubscribe(Call& call);
    void callUnsubscribe(Call& call);
    void callCreate(Call& call);
    void callRelease(Call& call);
    void callRemove(Call& call);
    void callFlightPlan(Call& call);
    void tellUserEvent(int event, std::uint32_t data);

    Edition edition;
    std::map<int, Client> clients;
    int nextClient = 1;
    bool hasEnded = false;
    float frameRate = 0;      // frames per second, averaged
    double secondsBefore = 0; // world.simSeconds at the frame before
    std::string packed;       // data of an answer under construction
};

} // namespace rig
