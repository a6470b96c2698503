// Sockets on Linux, with errors told by their Winsock numbers. Any thread; a socket belongs to one at a time. No
// state but each thread's last error.

#include "platform/sockets.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace plat {

namespace {

constexpr int winsockTypeNotFound = 10109; // a port that is none
constexpr int winsockTimedOut = 10060;
constexpr int winsockRefused = 10061;

// The feed comes in bursts of thousands of datagrams; the system cuts the wish down to what it allows.
constexpr int udpReceiveBytes = 4 << 20;

thread_local int lastError = 0;

int winsockNumber(int error) {
    switch (error) {
    case 0: return 0;
    case EINTR: return 10004;
    case EBADF: return 10038; // a handle that is closed is no socket any more
    case EPERM:
    case EACCES: return 10013;
    case EFAULT: return 10014;
    case EINVAL: return 10022;
    case EMFILE:
    case ENFILE: return 10024;
    case EAGAIN: return wouldBlock;
    case EINPROGRESS: return 10036;
    case EALREADY: return 10037;
    case ENOTSOCK: return 10038;
    case EDESTADDRREQ: return 10039;
    case EMSGSIZE: return messageTooLong;
    case EPROTOTYPE: return 10041;
    case ENOPROTOOPT: return 10042;
    case EPROTONOSUPPORT: return 10043;
    case ESOCKTNOSUPPORT: return 10044;
    case EOPNOTSUPP: return 10045;
    case EPFNOSUPPORT: return 10046;
    case EAFNOSUPPORT: return 10047;
    case EADDRINUSE: return addressInUse;
    case EADDRNOTAVAIL: return 10049;
    case ENETDOWN: return 10050;
    case ENETUNREACH: return 10051;
    case ENETRESET: return 10052;
    case EPIPE: // a write to a connection that the other side has given up
    case ECONNABORTED: return 10053;
    case ECONNRESET: return connectionReset;
    case ENOMEM:
    case ENOBUFS: return 10055;
    case EISCONN: return 10056;
    case ENOTCONN: return 10057;
    case ESHUTDOWN: return 10058;
    case ETOOMANYREFS: return 10059;
    case ETIMEDOUT: return winsockTimedOut;
    case ECONNREFUSED: return winsockRefused;
    case ELOOP: return 10062;
    case ENAMETOOLONG: return 10063;
    case EHOSTDOWN: return 10064;
    case EHOSTUNREACH: return 10065;
    case ENOTEMPTY: return 10066;
    case EUSERS: return 10068;
    case EDQUOT: return 10069;
    case ESTALE: return 10070;
    case EREMOTE: return 10071;
    default: return error;
    }
}

int winsockNumberOfResolver(int error) {
    switch (error) {
    case EAI_NONAME: return 11001;
    case EAI_AGAIN: return 11002;
    case EAI_FAIL: return 11003;
    case EAI_SERVICE: return winsockTypeNotFound;
    case EAI_FAMILY: return 10047;
    case EAI_SYSTEM: return winsockNumber(errno);
    default: return 11004;
    }
}

// Keeps the error of a call that has just failed.
int fail() { return lastError = winsockNumber(errno); }

int handleOf(Socket s) { return static_cast<int>(s); }

sockaddr_in addressOf(std::uint16_t port, bool loopback) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(loopback ? INADDR_LOOPBACK : INADDR_ANY);
    return address;
}

const sockaddr* plain(const sockaddr_in& address) { return reinterpret_cast<const sockaddr*>(&address); }

int waitFor(Socket s, short what, int timeoutMs) {
    pollfd entry{handleOf(s), what, 0};
    const int ready = poll(&entry, 1, timeoutMs);
    if (ready < 0 && errno == EINTR) return 0; // as a time-out that came early; callers wait in a loop
    if (ready < 0) {
        fail();
        return -1;
    }
    if (ready > 0 && (entry.revents & POLLNVAL)) {
        errno = EBADF;
        fail();
        return -1;
    }
    return ready;
}

Transfer transferOf(ssize_t count) {
    Transfer result;
    result.count = static_cast<int>(count);
    if (count < 0) {
        result.count = -1;
        result.error = fail();
    }
    return result;
}

} // namespace

int startSockets() { return 0; }
void stopSockets() {}

int lastSocketError() { return lastError; }

// ---- UDP -------------------------------------------------------------------------------------------------------

Socket openUdp() {
    const int handle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (handle < 0) {
        fail();
        return noSocket;
    }
    setsockopt(handle, SOL_SOCKET, SO_RCVBUF, &udpReceiveBytes, sizeof udpReceiveBytes);
    return handle;
}

bool bindUdp(Socket s, std::uint16_t port, bool loopbackOnly) {
    const sockaddr_in address = addressOf(port, loopbackOnly);
    if (bind(handleOf(s), plain(address), sizeof address) == 0) return true;
    fail();
    return false;
}

Transfer receiveDatagram(Socket s, std::span<char> buffer) {
    iovec place{buffer.data(), buffer.size()};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    ssize_t count = 0;
    do {
        count = recvmsg(handleOf(s), &message, 0);
    } while (count < 0 && errno == EINTR);
    // The answer to something sent earlier, to a port where nobody listens, says nothing about this socket.
    if (count < 0 && errno == ECONNREFUSED) return {};
    Transfer result = transferOf(count);
    result.overrun = count >= 0 && (message.msg_flags & MSG_TRUNC);
    return result;
}

bool sendDatagram(Socket s, std::uint16_t port, std::span<const char> data) {
    const sockaddr_in address = addressOf(port, true);
    const ssize_t sent =
        sendto(handleOf(s), data.data(), data.size(), MSG_NOSIGNAL, plain(address), sizeof address);
    if (sent == static_cast<ssize_t>(data.size())) return true;
    if (sent < 0) fail();
    return false;
}

// ---- TCP, the server's side ------------------------------------------------------------------------------------

ListenResult listenTcp(const std::string& port, bool loopbackOnly) {
    std::uint16_t number = 0;
    const char* const end = port.data() + port.size();
    const auto [stopped, error] = std::from_chars(port.data(), end, number);
    if (error != std::errc() || stopped != end) {
        lastError = winsockTypeNotFound;
        return {noSocket, "resolve", lastError};
    }
    const sockaddr_in address = addressOf(number, loopbackOnly);
    const int on = 1;

    Socket s = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    const auto failed = [&](const char* step) {
        const ListenResult result{noSocket, step, fail()};
        closeSocket(s);
        return result;
    };
    if (s == noSocket) return failed("socket");
    if (!setNonBlocking(s, false)) return failed("mode");
    if (setsockopt(handleOf(s), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) return failed("option");
    if (bind(handleOf(s), plain(address), sizeof address) != 0) return failed("bind");
    if (listen(handleOf(s), SOMAXCONN) != 0) return failed("listen");
    return {s, "", 0};
}

std::uint16_t localPort(Socket s) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (getsockname(handleOf(s), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        fail();
        return 0;
    }
    return ntohs(address.sin_port);
}

Socket acceptTcp(Socket listener) {
    int handle = -1;
    do {
        handle = accept4(handleOf(listener), nullptr, nullptr, SOCK_CLOEXEC);
    } while (handle < 0 && errno == EINTR);
    if (handle >= 0) return handle;
    fail();
    return noSocket;
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
    addrinfo* first = nullptr;
    int error = 0; // Winsock number
    Addresses(const std::string& host, std::uint16_t port, int flags) {
        addrinfo wanted{};
        wanted.ai_family = AF_UNSPEC;
        wanted.ai_socktype = SOCK_STREAM;
        wanted.ai_flags = flags | AI_NUMERICSERV;
        const int answer = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &first);
        if (answer != 0) error = winsockNumberOfResolver(answer);
    }
    ~Addresses() {
        if (first) freeaddrinfo(first);
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
        auto found = std::make_shared<Addresses>(host, port, 0);
        const std::lock_guard held(answer->lock);
        answer->addresses = std::move(found);
        answer->ready.notify_one();
    }).detach();
    std::unique_lock held(answer->lock);
    answer->ready.wait_until(held, deadline, [&] { return answer->addresses != nullptr; });
    return answer->addresses;
}

// A connection attempt to a free port of this computer can meet itself, when the system picks that very port as
// the local end.
bool connectedToItself(int handle) {
    sockaddr_storage own{}, other{};
    socklen_t ownSize = sizeof own, otherSize = sizeof other;
    return getsockname(handle, reinterpret_cast<sockaddr*>(&own), &ownSize) == 0 &&
           getpeername(handle, reinterpret_cast<sockaddr*>(&other), &otherSize) == 0 &&
           ownSize == otherSize &&
           std::equal(reinterpret_cast<const char*>(&own), reinterpret_cast<const char*>(&own) + ownSize,
                      reinterpret_cast<const char*>(&other));
}

Socket connectOne(const addrinfo& to, int timeoutMs) {
    Socket s = socket(to.ai_family, to.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, to.ai_protocol);
    if (s == noSocket) {
        fail();
        return noSocket;
    }
    int error = connect(handleOf(s), to.ai_addr, to.ai_addrlen) == 0 ? 0 : errno;
    if (error == EINPROGRESS) {
        socklen_t size = sizeof error;
        if (waitWritable(s, timeoutMs) != 1) {
            error = ETIMEDOUT;
        } else if (getsockopt(handleOf(s), SOL_SOCKET, SO_ERROR, &error, &size) != 0) {
            error = errno;
        }
    }
    if (error == 0 && connectedToItself(handleOf(s))) error = ECONNREFUSED;
    if (error == 0 && setNonBlocking(s, false)) return s;
    if (error != 0) lastError = winsockNumber(error);
    closeSocket(s);
    return noSocket;
}

} // namespace

Socket connectTcp(const std::string& host, std::uint16_t port, int timeoutMs) {
    const Deadline deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    const std::shared_ptr<Addresses> addresses = resolve(host, port, deadline);
    if (!addresses || !addresses->first) {
        lastError = addresses ? addresses->error : winsockTimedOut;
        return noSocket;
    }
    int left = 0;
    for (const addrinfo* to = addresses->first; to; to = to->ai_next) ++left;
    for (const addrinfo* to = addresses->first; to; to = to->ai_next, --left)
        if (const Socket s = connectOne(*to, msLeft(deadline) / left); s != noSocket) return s;
    return noSocket;
}

bool setNoDelay(Socket s) {
    const int on = 1;
    if (setsockopt(handleOf(s), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0) return true;
    fail();
    return false;
}

bool setNonBlocking(Socket s, bool on) {
    const int flags = fcntl(handleOf(s), F_GETFL);
    if (flags >= 0 && fcntl(handleOf(s), F_SETFL, on ? flags | O_NONBLOCK : flags & ~O_NONBLOCK) == 0)
        return true;
    fail();
    return false;
}

Transfer sendBytes(Socket s, std::span<const char> data) {
    ssize_t count = 0;
    do {
        count = send(handleOf(s), data.data(), data.size(), MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    return transferOf(count);
}

Transfer receiveBytes(Socket s, std::span<char> buffer) {
    ssize_t count = 0;
    do {
        count = recv(handleOf(s), buffer.data(), buffer.size(), 0);
    } while (count < 0 && errno == EINTR);
    return transferOf(count);
}

// ---- both ------------------------------------------------------------------------------------------------------

int waitReadable(Socket s, int timeoutMs) { return waitFor(s, POLLIN, timeoutMs); }
int waitWritable(Socket s, int timeoutMs) { return waitFor(s, POLLOUT, timeoutMs); }

void closeSocket(Socket& s) {
    if (s != noSocket) close(handleOf(s));
    s = noSocket;
}

} // namespace plat
