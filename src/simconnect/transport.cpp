// The choice of the stream that a session gets: by the opener that was set, else as SimConnect.cfg says. The streams
// themselves stand in transport_tcp.cpp and transport_pipe.cpp. Any thread.

#include "simconnect/session.h"

#include <algorithm>
#include <utility>

namespace simconnect {

static Lock choiceLock;
static Opener chosenOpener GUARDED_BY(choiceLock);
static std::function<bool()> chosenCancelled GUARDED_BY(choiceLock);
static std::atomic<unsigned long long> writes{0};

unsigned long long sendCalls() { return writes; }

void countSendCall() { ++writes; }

void setOpener(Opener opener) {
    LockGuard hold(choiceLock);
    chosenOpener = std::move(opener);
}

void setCancelled(std::function<bool()> cancelled) {
    LockGuard hold(choiceLock);
    chosenCancelled = std::move(cancelled);
}

bool connectCancelled() {
    std::function<bool()> ask;
    {
        LockGuard hold(choiceLock);
        ask = chosenCancelled;
    }
    return ask && ask();
}

static bool lf_isNumber(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::unique_ptr<Transport> openTransport(DWORD index) {
    Opener opener;
    {
        LockGuard hold(choiceLock);
        opener = chosenOpener;
    }
    if (opener) return opener(index);
    const auto endpoint = findEndpoint(index);
    if (!endpoint) return nullptr;
    switch (endpoint->protocol) {
    case Protocol::local: return connectLocal();
    case Protocol::pipe: return connectPipe(*endpoint);
    case Protocol::ipv4:
    case Protocol::ipv6: return connectTcp(*endpoint, connectMs);
    case Protocol::automatic: // a number can only be a port, anything else only a pipe
        return lf_isNumber(endpoint->port) ? connectTcp(*endpoint, connectMs) : connectPipe(*endpoint);
    }
    return nullptr;
}

} // namespace simconnect
