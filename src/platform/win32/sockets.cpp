// Sockets on Windows, by Winsock 2. Any thread; a socket belongs to one at a time. No state but each thread's last
// error, which outlives the closing of the socket that failed.

#include "platform/sockets.h"
#include "platform/win32/wide.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

#include <winsock2.h>
#include <ws2tcpip.h>

#include <mstcpip.h>
#include <mswsock.h>

namespace plat {

namespace {

// The feed comes in bursts of thousands of datagrams.
constexpr int udpReceiveBytes = 4 << 20;

thread_local int lastError = 0;

// Keeps the error of a call that has just failed.
int fail() { return lastError = WSAGetLastError(); }

SOCKET handleOf(Socket s) { return static_cast<SOCKET>(s); }

Socket socketOf(SOCKET handle) { return handle == INVALID_SOCKET ? noSocket : static_cast<Socket>(handle); }

int sizeOf(std::size_t size) { return static_cast<int>(std::min<std::size_t>(size, 1 << 30)); }

sockaddr_in addressOf(std::uint16_t port, bool loopback) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(loopback ? INADDR_LOOPBACK : INADDR_ANY);
    return address;
}

const sockaddr* plain(const sockaddr_in& address) { return reinterpret_cast<const sockaddr*>(&address); }

// A connection attempt that fails shows among the exceptions, not as writable.
int waitFor(Socket s, bool writable, int timeoutMs) {
    fd_set wanted, failed;
    FD_ZERO(&wanted);
    FD_SET(handleOf(s), &wanted);
    failed = wanted;
    constexpr int msPerSecond = 1000;
    timeval limit{timeoutMs / msPerSecond, timeoutMs % msPerSecond * 1000};
    const int ready = select(0, writable ? nullptr : &wanted, writable ? &wanted : nullptr, &failed,
                             timeoutMs < 0 ? nullptr : &limit);
    if (ready != SOCKET_ERROR) return ready > 0 ? 1 : 0;
    fail();
    return -1;
}

Transfer transferOf(int count) {
    Transfer result;
    result.count = count;
    if (count == SOCKET_ERROR) {
        result.count = -1;
        result.error = fail();
    }
    return result;
}

template <class T> bool setOption(Socket s, int level, int name, T value) {
    if (setsockopt(handleOf(s), level, name, reinterpret_cast<const char*>(&value), sizeof value) == 0)
        return true;
    fail();
    return false;
}

} // namespace

int startSockets() {
    WSADATA found;
    return lastError = WSAStartup(MAKEWORD(2, 2), &found);
}

void stopSockets() { WSACleanup(); }

int lastSocketError() { return lastError; }

// ---- UDP -------------------------------------------------------------------------------------------------------

Socket openUdp() {
    const Socket s = socketOf(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP));
    if (s == noSocket) {
        fail();
        return noSocket;
    }
    setOption(s, SOL_SOCKET, SO_RCVBUF, udpReceiveBytes);
    // Otherwise a datagram to a port where nobody listens makes a later call fail.
    BOOL report = FALSE;
    DWORD unused = 0;
    WSAIoctl(handleOf(s), SIO_UDP_CONNRESET, &report, sizeof report, nullptr, 0, &unused, nullptr, nullptr);
    return s;
}

bool bindUdp(Socket s, std::uint16_t port, bool loopbackOnly) {
    const sockaddr_in address = addressOf(port, loopbackOnly);
    if (bind(handleOf(s), plain(address), sizeof address) == 0) return true;
    fail();
    return false;
}

Transfer receiveDatagram(Socket s, std::span<char> buffer) {
    const int count = recvfrom(handleOf(s), buffer.data(), sizeOf(buffer.size()), 0, nullptr, nullptr);
    if (count != SOCKET_ERROR) return transferOf(count);
    const int error = WSAGetLastError();
    // The answer to something sent earlier, which nobody took, says nothing about this socket.
    if (error == connectionReset || error == WSAENETRESET) return {};
    if (error == messageTooLong) return {sizeOf(buffer.size()), 0, true};
    return transferOf(count);
}

bool sendDatagram(Socket s, std::uint16_t port, std::span<const char> data) {
    const sockaddr_in address = addressOf(port, true);
    const int sent = sendto(handleOf(s), data.data(), sizeOf(data.size()), 0, plain(address), sizeof address);
    if (sent == SOCKET_ERROR) fail();
    return sent == sizeOf(data.size());
}

// ---- TCP, the server's side ------------------------------------------------------------------------------------

ListenResult listenTcp(const std::string& port, bool loopbackOnly) {
    std::uint16_t number = 0;
    const char* const end = port.data() + port.size();
    const auto [stopped, error] = std::from_chars(port.data(), end, number);
    if (error != std::errc() || stopped != end) {
        lastError = WSATYPE_NOT_FOUND;
        return {noSocket, "resolve", lastError};
    }
    const sockaddr_in address = addressOf(number, loopbackOnly);

    Socket s = socketOf(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    const auto failed = [&](const char* step) {
        const ListenResult result{noSocket, step, fail()};
        closeSocket(s);
        return result;
    };
    if (s == noSocket) return failed("socket");
    if (!setNonBlocking(s, false)) return failed("mode");
    if (!setOption(s, SOL_SOCKET, SO_REUSEADDR, BOOL{TRUE})) return failed("option");
    if (bind(handleOf(s), plain(address), sizeof address) != 0) return failed("bind");
    if (listen(handleOf(s), SOMAXCONN) != 0) return failed("listen");
    return {s, "", 0};
}

std::uint16_t localPort(Socket s) {
    sockaddr_in address{};
    int size = sizeof address;
    if (getsockname(handleOf(s), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        fail();
        return 0;
    }
    return ntohs(address.sin_port);
}

Socket acceptTcp(Socket listener) {
    Socket s = socketOf(accept(handleOf(listener), nullptr, nullptr));
    if (s == noSocket) {
        fail();
        return noSocket;
    }
    if (!setNonBlocking(s, false)) closeSocket(s); // it has the mode of the listener
    return s;
}

// ---- TCP, the client's side ------------------------------------------------------------------------------------

namespace {

using Deadline = std::chrono::steady_clock::time_point;

int msLeft(Deadline deadline) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

struct Addresses {
    ADDRINFOW* first = nullptr;
    int error = 0;
    Addresses(const std::string& host, std::uint16_t port, int flags) {
        ADDRINFOW wanted{};
        wanted.ai_family = AF_UNSPEC;
        wanted.ai_socktype = SOCK_STREAM;
        wanted.ai_protocol = IPPROTO_TCP;
        wanted.ai_flags = flags | AI_NUMERICSERV;
        error = GetAddrInfoW(win32::wideText(host).c_str(), std::to_wstring(port).c_str(), &wanted, &first);
    }
    ~Addresses() {
        if (first) FreeAddrInfoW(first);
    }
    Addresses(const Addresses&) = delete;
    Addresses& operator=(const Addresses&) = delete;
};

// A name may take the resolver longer than the caller has: it is asked on a thread that is left behind then.
std::shared_ptr<Addresses> resolve(const std::string& host, std::uint16_t port, Deadline deadline) {
    auto numeric = std::make_shared<Addresses>(host, port, AI_NUMERICHOST);
    if (numeric->first) return numeric;

    struct Answer {
        std::mutex lock;
        std::condition_variable ready;
        std::shared_ptr<Addresses> addresses;
    };
    const auto answer = std::make_shared<Answer>();
    std::thread([answer, host, port] {
        startSockets(); // of its own, since the caller may be through before it
        auto found = std::make_shared<Addresses>(host, port, 0);
        {
            const std::lock_guard held(answer->lock);
            answer->addresses = std::move(found);
            answer->ready.notify_one();
        }
        stopSockets();
    }).detach();
    std::unique_lock held(answer->lock);
    answer->ready.wait_until(held, deadline, [&] { return answer->addresses != nullptr; });
    return answer->addresses;
}

// A connection attempt to a free port of this computer can meet itself, when the system picks that very port as
// the local end.
bool connectedToItself(Socket s) {
    sockaddr_storage own{}, other{};
    int ownSize = sizeof own, otherSize = sizeof other;
    return getsockname(handleOf(s), reinterpret_cast<sockaddr*>(&own), &ownSize) == 0 &&
           getpeername(handleOf(s), reinterpret_cast<sockaddr*>(&other), &otherSize) == 0 &&
           ownSize == otherSize &&
           std::equal(reinterpret_cast<const char*>(&own), reinterpret_cast<const char*>(&own) + ownSize,
                      reinterpret_cast<const char*>(&other));
}

// The system takes a refusal for a lost packet and asks again, for two seconds. A caller that has less time wants to
// know at once; its whole attempt ends before a packet that was really lost would be sent anew.
void wantRefusalAtOnce(Socket s) {
    TCP_INITIAL_RTO_PARAMETERS once{TCP_INITIAL_RTO_UNSPECIFIED_RTT, TCP_INITIAL_RTO_NO_SYN_RETRANSMISSIONS};
    DWORD unused = 0;
    WSAIoctl(handleOf(s), SIO_TCP_INITIAL_RTO, &once, sizeof once, nullptr, 0, &unused, nullptr, nullptr);
}

Socket connectOne(const ADDRINFOW& to, int timeoutMs) {
    constexpr int firstRepetitionMs = 1000;
    Socket s = socketOf(socket(to.ai_family, to.ai_socktype, to.ai_protocol));
    if (s == noSocket || !setNonBlocking(s, true)) {
        if (s == noSocket) fail();
        closeSocket(s);
        return noSocket;
    }
    if (timeoutMs <= firstRepetitionMs) wantRefusalAtOnce(s);
    int error =
        connect(handleOf(s), to.ai_addr, static_cast<int>(to.ai_addrlen)) == 0 ? 0 : WSAGetLastError();
    if (error == wouldBlock) {
        int size = sizeof error;
        if (waitWritable(s, timeoutMs) != 1) {
            error = WSAETIMEDOUT;
        } else if (getsockopt(handleOf(s), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) !=
                   0) {
            error = WSAGetLastError();
        }
    }
    if (error == 0 && connectedToItself(s)) error = WSAECONNREFUSED;
    if (error == 0 && setNonBlocking(s, false)) return s;
    if (error != 0) lastError = error;
    closeSocket(s);
    return noSocket;
}

} // namespace

Socket connectTcp(const std::string& host, std::uint16_t port, int timeoutMs) {
    const Deadline deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    const std::shared_ptr<Addresses> addresses = resolve(host, port, deadline);
    if (!addresses || !addresses->first) {
        lastError = addresses ? addresses->error : WSAETIMEDOUT;
        return noSocket;
    }
    int left = 0;
    for (const ADDRINFOW* to = addresses->first; to; to = to->ai_next) ++left;
    for (const ADDRINFOW* to = addresses->first; to; to = to->ai_next, --left)
        if (const Socket s = connectOne(*to, msLeft(deadline) / left); s != noSocket) return s;
    return noSocket;
}

bool setNoDelay(Socket s) { return setOption(s, IPPROTO_TCP, TCP_NODELAY, BOOL{TRUE}); }

bool setNonBlocking(Socket s, bool on) {
    u_long mode = on ? 1 : 0;
    if (ioctlsocket(handleOf(s), static_cast<long>(FIONBIO), &mode) == 0) return true;
    fail();
    return false;
}

Transfer sendBytes(Socket s, std::span<const char> data) {
    return transferOf(send(handleOf(s), data.data(), sizeOf(data.size()), 0));
}

Transfer receiveBytes(Socket s, std::span<char> buffer) {
    return transferOf(recv(handleOf(s), buffer.data(), sizeOf(buffer.size()), 0));
}

// ---- both ------------------------------------------------------------------------------------------------------

int waitReadable(Socket s, int timeoutMs) { return waitFor(s, false, timeoutMs); }
int waitWritable(Socket s, int timeoutMs) { return waitFor(s, true, timeoutMs); }

void closeSocket(Socket& s) {
    if (s != noSocket) closesocket(handleOf(s));
    s = noSocket;
}

} // namespace plat
