// The stream of a session in both directions: packets are numbered, gathered and sent under one lock; received
// bytes are cut into messages and handed to the callback. Which bytes a call sends stands in packets.cpp. Any thread
// may send; one thread at a time dispatches.

#include "simconnect/session.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace simconnect {

constexpr DWORD functionMark = 0xF0000000;
constexpr std::size_t readPiece = 64 * 1024;
constexpr std::size_t readAtMost = 4 * largestMessage; // in one dispatch, so that a flood cannot hold it up

static std::size_t lf_sizeAt(const char* bytes) { // the little-endian size field, on any machine
    std::size_t size = 0;
    for (int i = 3; i >= 0; --i) size = size << 8 | static_cast<unsigned char>(bytes[i]);
    return size;
}

Session::Session(std::unique_ptr<Transport> stream) : transport(std::move(stream)) {
    out.reserve(gatherBytes + 4096);
    in.resize(2 * readPiece);
}

// ---- sending -------------------------------------------------------------------------------------------------

PacketWriter Session::beginPacket(DWORD function, std::size_t size) {
    const std::size_t begin = out.size();
    out.resize(begin + size); // zeros
    PacketWriter writer(out.data() + begin);
    writer.number(static_cast<DWORD>(size))
        .number(protocolNumber)
        .number(functionMark | function)
        .number(nextSendId);
    return writer;
}

HRESULT Session::endPacket() {
    ++nextSendId;
    if (gatherer == std::this_thread::get_id() && out.size() < gatherBytes) return S_OK;
    return flushHeld() ? S_OK : E_FAIL;
}

bool Session::flushHeld() {
    if (out.empty() || broken) return !broken;
    broken = !transport->send(out);
    out.clear();
    return !broken;
}

void Session::flush() {
    LockGuard hold(sendLock);
    flushHeld();
}

DWORD Session::lastSentId() {
    LockGuard hold(sendLock);
    return nextSendId - 1;
}

void Session::gatherFor(std::thread::id thread) {
    LockGuard hold(sendLock);
    gatherer = thread;
}

void Session::markBroken() {
    LockGuard hold(sendLock);
    broken = true;
}

// ---- receiving -----------------------------------------------------------------------------------------------

// A nested call, or one beside another thread's, is refused: the bytes belong to one caller at a time.
HRESULT Session::dispatch(DispatchProc callback, void* context) {
    if (dispatching.exchange(true)) return E_FAIL;
    struct Turn { // also when the callback throws
        Session& session;
        ~Turn() {
            session.gatherFor({});
            session.flush();
            session.dispatching = false;
        }
    } turn{*this};
    readArrived();
    gatherFor(std::this_thread::get_id());
    if (!handOver(callback, context)) ended = true;
    if (!ended) {
        LockGuard hold(sendLock);
        return broken ? E_FAIL : S_OK;
    }
    markBroken();
    return E_FAIL;
}

void Session::readArrived() {
    std::copy(in.begin() + static_cast<std::ptrdiff_t>(inBegin),
              in.begin() + static_cast<std::ptrdiff_t>(inEnd), in.begin());
    inEnd -= inBegin;
    inBegin = 0;
    for (std::size_t total = 0; !ended && total < readAtMost;) {
        if (in.size() - inEnd < readPiece) in.resize(in.size() + readPiece);
        const int count = transport->receive({in.data() + inEnd, in.size() - inEnd});
        if (count == 0) break;
        if (count < 0)
            ended = true;
        else
            inEnd += static_cast<std::size_t>(count), total += static_cast<std::size_t>(count);
    }
}

bool Session::handOver(DispatchProc callback, void* context) {
    const std::size_t limit = std::min(largestMessage, transport->maxReceiveSize());
    while (inEnd - inBegin >= sizeof(DWORD)) {
        char* const message = in.data() + inBegin;
        const std::size_t size = lf_sizeAt(message);
        if (size < messageHeader || size > limit) {
            inBegin = inEnd; // nothing behind it can be told apart
            return false;
        }
        if (inEnd - inBegin < size) break;
        inBegin += size; // before the call, which may throw
        callback(reinterpret_cast<SIMCONNECT_RECV*>(message), static_cast<DWORD>(size), context);
        flush();
    }
    return true;
}

} // namespace simconnect
