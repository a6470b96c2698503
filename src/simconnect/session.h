#pragma once
// The inside of the client library: one session is one stream to the simulator, with what waits to be sent and what
// has been read. Only src/simconnect/ includes this.

#include "platform/lock.h"
#include "simconnect/SimConnect.h"
#include "simconnect/transport.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace simconnect {

constexpr std::size_t packetHeader = 16, messageHeader = 12;
constexpr std::size_t largestMessage = 1 << 20; // bytes, either way: anything beyond is a broken stream
constexpr std::size_t gatherBytes = 64 * 1024;  // gathered packets leave when this much is there
constexpr int connectMs = 1000;                 // the longest that connecting may take
constexpr int sendMs = 1000;                    // the longest that a send waits for a slow peer
constexpr DWORD protocolNumber = 5;             // both editions accept it, and a 2020 can then tell its name

// Writes the fields of a packet one behind the other. The place is zero-filled and large enough.
class PacketWriter {
  public:
    explicit PacketWriter(char* begin) : at(begin) {}
    PacketWriter& number(DWORD value);
    PacketWriter& real32(float value);
    PacketWriter& real64(double value);
    PacketWriter& text(const char* value, std::size_t width); // nullptr: all zeros; cut at the width
    PacketWriter& bytes(const void* data, std::size_t size);

  private:
    char* at;
};

class Session {
  public:
    explicit Session(std::unique_ptr<Transport> stream);

    // One packet: reserves it, lets fill write the body, and sends it or leaves it for the end of the callback.
    template <class Fill> HRESULT send(DWORD function, std::size_t bodySize, Fill fill) EXCLUDES(sendLock) {
        LockGuard hold(sendLock);
        if (broken) return E_FAIL;
        PacketWriter body = beginPacket(function, packetHeader + bodySize);
        fill(body);
        return endPacket();
    }
    DWORD lastSentId() EXCLUDES(sendLock);
    HRESULT dispatch(DispatchProc callback, void* context) EXCLUDES(sendLock);
    void flush() EXCLUDES(sendLock); // what is gathered, before a close

  private:
    PacketWriter beginPacket(DWORD function, std::size_t size) REQUIRES(sendLock);
    HRESULT endPacket() REQUIRES(sendLock);
    bool flushHeld() REQUIRES(sendLock);
    void gatherFor(std::thread::id thread) EXCLUDES(sendLock);
    void readArrived();
    bool handOver(DispatchProc callback, void* context); // false: the stream is broken
    void markBroken() EXCLUDES(sendLock);

    const std::unique_ptr<Transport> transport;
    Lock sendLock;
    std::vector<char> out GUARDED_BY(sendLock); // packets on their way
    std::thread::id gatherer GUARDED_BY(sendLock);
    DWORD nextSendId GUARDED_BY(sendLock) = 1;
    bool broken GUARDED_BY(sendLock) = false;

    std::atomic<bool> dispatching{false}; // whoever has raised it owns the rest
    std::vector<char> in;
    std::size_t inBegin = 0, inEnd = 0; // the bytes of in that are not handed over yet
    bool ended = false;
};

// Where SimConnect.cfg says that the simulator is; local: on this computer, where it is found without a file.
enum class Protocol { local, pipe, ipv4, ipv6, automatic };
struct Endpoint {
    Protocol protocol = Protocol::ipv4;
    std::string address, port;         // an empty address is this computer; the port may be a pipe's name
    std::size_t maxReceiveSize = 8192; // bytes; a larger message ends the session
    bool disableNagle = true;
};
// The section of an index out of the text of a SimConnect.cfg; nullopt when there is none.
std::optional<Endpoint> readConfig(std::string_view text, DWORD index);
// The same from the file in the program folder, else from the one in the user's home. Without any file, and for the
// index that ignores them, local.
std::optional<Endpoint> findEndpoint(DWORD index);

std::unique_ptr<Transport> openTransport(DWORD index); // by the opener in force
std::unique_ptr<Transport> connectTcp(const Endpoint& endpoint, int longestMs);
std::unique_ptr<Transport> connectPipe(const Endpoint& endpoint); // nullptr where the system has none
std::unique_ptr<Transport> connectLocal();                        // the same
bool connectCancelled();
void countSendCall(); // by each stream, for each write

} // namespace simconnect
