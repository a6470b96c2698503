#pragma once
// A simulator's end of the stream in memory: a test says which bytes arrive, and reads back the packets that the
// client library sent. Also a builder for messages and packets, field by field.

#include "simconnect/transport.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace test {

class Bytes {
  public:
    std::string text;
    Bytes& u32(std::uint32_t value) { return raw(&value, sizeof value); }
    Bytes& i64(std::int64_t value) { return raw(&value, sizeof value); }
    Bytes& f32(float value) { return raw(&value, sizeof value); }
    Bytes& f64(double value) { return raw(&value, sizeof value); }
    Bytes& str(const std::string& value, std::size_t width) {
        text += value;
        text.append(width - value.size(), '\0');
        return *this;
    }
    Bytes& hex(const char* digits) { // blanks between the bytes
        unsigned value = 0;
        for (int used = 0; std::sscanf(digits, "%x%n", &value, &used) == 1; digits += used)
            text += static_cast<char>(value);
        return *this;
    }
    // The whole as a message: with its head in front.
    std::string message(std::uint32_t id) const {
        return Bytes().u32(static_cast<std::uint32_t>(text.size() + 12)).u32(5).u32(id).text + text;
    }
    std::string packet(std::uint32_t function, std::uint32_t sendId) const {
        return Bytes()
                   .u32(static_cast<std::uint32_t>(text.size() + 16))
                   .u32(5)
                   .u32(0xF0000000 | function)
                   .u32(sendId)
                   .text +
               text;
    }

  private:
    Bytes& raw(const void* data, std::size_t size) {
        text.append(static_cast<const char*>(data), size);
        return *this;
    }
};

struct SentPacket {
    std::uint32_t function = 0, sendId = 0;
    std::string body;
    std::uint32_t u32(std::size_t offset) const { // counted from the first byte of the packet
        std::uint32_t value = 0;
        if (offset + 4 <= body.size() + 16) std::memcpy(&value, body.data() + offset - 16, 4);
        return value;
    }
    std::string text(std::size_t offset) const { return body.substr(offset - 16).c_str(); }
};

// What the test and the transport share.
class ScriptedStream {
  public:
    std::size_t bytesPerRead = 1 << 20;
    std::atomic<int> sends{0}; // calls of Transport::send

    void arrive(const std::string& bytes) {
        const std::lock_guard hold(lock);
        arriving += bytes;
    }
    void end() { // after what has arrived
        const std::lock_guard hold(lock);
        ended = true;
    }
    void refuseSends() {
        const std::lock_guard hold(lock);
        refusing = true;
    }
    std::string takeSent() {
        const std::lock_guard hold(lock);
        return std::exchange(sent, {});
    }
    std::vector<SentPacket> takePackets() {
        std::vector<SentPacket> result;
        const std::string bytes = takeSent();
        for (std::size_t at = 0; at + 16 <= bytes.size();) {
            std::uint32_t head[4];
            std::memcpy(head, bytes.data() + at, sizeof head);
            if (head[0] < 16) break;
            result.push_back({head[2] & 0x0FFFFFFF, head[3], bytes.substr(at + 16, head[0] - 16)});
            at += head[0];
        }
        return result;
    }
    std::atomic<bool> open{false}; // a session has it

    // As an opener for the client library.
    static simconnect::Opener opener(const std::shared_ptr<ScriptedStream>& stream) {
        return [stream](DWORD) {
            stream->open = true;
            return std::make_unique<Transport>(stream);
        };
    }

  private:
    struct Transport : simconnect::Transport {
        explicit Transport(std::shared_ptr<ScriptedStream> shared) : stream(std::move(shared)) {}
        ~Transport() override { stream->open = false; }
        Transport(const Transport&) = delete;
        Transport& operator=(const Transport&) = delete;
        bool send(std::span<const char> bytes) override {
            const std::lock_guard hold(stream->lock);
            if (stream->refusing) return false;
            ++stream->sends;
            stream->sent.append(bytes.data(), bytes.size());
            return true;
        }
        int receive(std::span<char> buffer) override {
            const std::lock_guard hold(stream->lock);
            const std::size_t count =
                std::min({buffer.size(), stream->arriving.size() - stream->taken, stream->bytesPerRead});
            if (count == 0) return stream->ended ? -1 : 0;
            std::memcpy(buffer.data(), stream->arriving.data() + stream->taken, count);
            stream->taken += count;
            return static_cast<int>(count);
        }
        std::shared_ptr<ScriptedStream> stream;
    };

    std::mutex lock;
    std::string arriving, sent;
    std::size_t taken = 0;
    bool ended = false, refusing = false;
};

} // namespace test
