#pragma once
// TCP and UDP over IPv4 and IPv6. Errors are told with the Winsock numbers on every system, so that a log reads
// the same. No call raises SIGPIPE. A socket handle belongs to one thread at a time.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace plat {

using Socket = std::int64_t;
constexpr Socket noSocket = -1;

constexpr int wouldBlock = 10035; // Winsock numbers that callers test for
constexpr int addressInUse = 10048;
constexpr int connectionReset = 10054;
constexpr int messageTooLong = 10040;

int startSockets(); // 0, or the error; calls are counted
void stopSockets();
int lastSocketError(); // of the calling thread, as a Winsock number

// One result of a transfer: count >= 0, or -1 with error set.
struct Transfer {
    int count = 0;
    int error = 0;        // Winsock number when count is -1
    bool overrun = false; // the datagram was larger than the buffer
};

// UDP -----------------------------------------------------------------------------------------------------------
Socket openUdp(); // noSocket on failure
bool bindUdp(Socket s, std::uint16_t port, bool loopbackOnly);
Transfer receiveDatagram(Socket s, std::span<char> buffer);
bool sendDatagram(Socket s, std::uint16_t port, std::span<const char> data); // to 127.0.0.1

// TCP -----------------------------------------------------------------------------------------------------------
struct ListenResult { // step: "" for success, else the step that failed
    Socket socket = noSocket;
    const char* step = ""; // "resolve", "socket", "mode", "option", "bind", "listen"
    int error = 0;
};
ListenResult listenTcp(const std::string& port,
                       bool loopbackOnly); // passive address for the port, SO_REUSEADDR, blocking
std::uint16_t localPort(Socket s);         // the port that a socket bound to 0 was given
Socket acceptTcp(Socket listener); // noSocket on failure; waits unless waitReadable said that one is there
Socket connectTcp(const std::string& host, std::uint16_t port, int timeoutMs); // noSocket on failure
bool setNoDelay(Socket s);
bool setNonBlocking(Socket s, bool on);
Transfer sendBytes(Socket s, std::span<const char> data); // may be short on a non-blocking socket
Transfer receiveBytes(Socket s, std::span<char> buffer);  // count 0: the other side has closed

// Both ----------------------------------------------------------------------------------------------------------
// 1 readable (or an error waits), 0 time-out, -1 failure.
int waitReadable(Socket s, int timeoutMs);
int waitWritable(Socket s, int timeoutMs);
void closeSocket(Socket& s); // sets it to noSocket; a closed one is left alone

} // namespace plat
