// The stream over a named pipe, which the simulator offers on the computer that it runs on; and what there is without
// a SimConnect.cfg: its own pipe, else the ports that older simulators leave in the registry. Windows alone.

#include "platform/clock.h"
#include "platform/text.h"
#include "simconnect/session.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <utility>

namespace simconnect {

constexpr const char* simulatorPipe = "Microsoft Flight Simulator\\SimConnect";
constexpr int busySliceMs = 100; // of a wait for a free instance, between two looks at the stop
constexpr std::int64_t nsPerMs = 1'000'000;

namespace {

class Handle {
  public:
    explicit Handle(HANDLE taken) : handle(taken) {}
    Handle(Handle&& other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
    ~Handle() {
        if (*this) CloseHandle(handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    Handle& operator=(Handle&&) = delete;
    explicit operator bool() const { return handle && handle != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle; }

  private:
    HANDLE handle;
};

Handle newEvent() { return Handle(CreateEventW(nullptr, TRUE, FALSE, nullptr)); }

// One thread sends and one receives. The handle is an overlapped one, so neither waits for the other.
class PipeTransport : public Transport {
  public:
    PipeTransport(Handle connected, Handle writeEvent, Handle readEvent, std::size_t limit)
        : pipe(std::move(connected)), written(std::move(writeEvent)), read(std::move(readEvent)),
          receiveLimit(limit) {}
    std::size_t maxReceiveSize() const override { return receiveLimit; }

    bool send(std::span<const char> bytes) override {
        const plat::SteadyNs until = plat::steadyNow() + sendMs * nsPerMs;
        while (!bytes.empty()) {
            countSendCall();
            OVERLAPPED write{};
            write.hEvent = written.get();
            if (!WriteFile(pipe.get(), bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, &write) &&
                GetLastError() != ERROR_IO_PENDING)
                return false;
            const std::int64_t left = std::max<std::int64_t>((until - plat::steadyNow()) / nsPerMs, 0);
            if (WaitForSingleObject(written.get(), static_cast<DWORD>(left)) != WAIT_OBJECT_0)
                CancelIoEx(pipe.get(), &write);
            DWORD count = 0; // this waits until the system has let go of the bytes
            if (!GetOverlappedResult(pipe.get(), &write, &count, TRUE) || count == 0) return false;
            bytes = bytes.subspan(count);
        }
        return true;
    }

    int receive(std::span<char> buffer) override {
        DWORD there = 0;
        if (!PeekNamedPipe(pipe.get(), nullptr, 0, nullptr, &there, nullptr)) return -1;
        if (there == 0) return 0;
        OVERLAPPED get{};
        get.hEvent = read.get();
        const auto size = static_cast<DWORD>(std::min<std::size_t>(there, buffer.size()));
        if (!ReadFile(pipe.get(), buffer.data(), size, nullptr, &get) && GetLastError() != ERROR_IO_PENDING)
            return -1;
        DWORD count = 0; // what the look has seen is there: no wait
        return GetOverlappedResult(pipe.get(), &get, &count, TRUE) ? static_cast<int>(count) : -1;
    }

  private:
    const Handle pipe, written, read;
    const std::size_t receiveLimit;
};

struct Attempt {
    std::unique_ptr<Transport> stream;
    bool exists = true; // false: no pipe of that name
};

// When all instances are taken a free one is waited for, within the time that connecting may take.
Attempt openPipe(const std::wstring& name, std::size_t maxReceiveSize) {
    // The server must not act in the name of whoever connects: any program can offer a pipe.
    constexpr DWORD how = FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
    for (int spent = 0; spent < connectMs && !connectCancelled(); spent += busySliceMs) {
        Handle pipe(
            CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, how, nullptr));
        if (pipe) {
            Handle written = newEvent(), read = newEvent();
            if (!written || !read) return {};
            return {std::make_unique<PipeTransport>(std::move(pipe), std::move(written), std::move(read),
                                                    maxReceiveSize)};
        }
        const DWORD error = GetLastError();
        if (error != ERROR_PIPE_BUSY) return {nullptr, error != ERROR_FILE_NOT_FOUND};
        WaitNamedPipeW(name.c_str(), busySliceMs);
    }
    return {};
}

std::wstring pipeName(const std::string& name) {
    const std::u16string text = plat::utf16FromUtf8("\\\\.\\pipe\\" + name);
    return {text.begin(), text.end()};
}

// The port that a simulator has left; empty when there is none.
std::string registeredPort(const wchar_t* value) {
    std::array<wchar_t, 16> text{};
    DWORD size = sizeof text;
    if (RegGetValueW(HKEY_CURRENT_USER, L"Software\\Microsoft\\Microsoft Games\\Flight Simulator", value,
                     RRF_RT_REG_SZ, nullptr, text.data(), &size) != ERROR_SUCCESS)
        return {};
    std::string port;
    for (const wchar_t c : text)
        if (c >= L'0' && c <= L'9') port += static_cast<char>(c);
    return port;
}

bool isThisComputer(const std::string& address) {
    return address.empty() || address == "." || address == "127.0.0.1" || address == "::1" ||
           address == "localhost";
}

} // namespace

// A pipe of another computer is refused: opening it may take far longer than a second, and TCP reaches it too.
std::unique_ptr<Transport> connectPipe(const Endpoint& endpoint) {
    if (!isThisComputer(endpoint.address)) return nullptr;
    try {
        return openPipe(pipeName(endpoint.port.empty() ? simulatorPipe : endpoint.port),
                        endpoint.maxReceiveSize)
            .stream;
    } catch (const win32::Utf8ConversionException&) {
        return nullptr; // no pipe has such a name
    }
}

std::unique_ptr<Transport> connectLocal() {
    const Endpoint local;
    Attempt own = openPipe(pipeName(simulatorPipe), local.maxReceiveSize);
    if (own.exists) return std::move(own.stream);
    for (const auto& [value, protocol] : {std::pair{L"SimConnect_Port_IPv6", Protocol::ipv6},
                                          std::pair{L"SimConnect_Port_IPv4", Protocol::ipv4}}) {
        Endpoint endpoint;
        endpoint.protocol = protocol;
        endpoint.port = registeredPort(value);
        constexpr int halfMs = connectMs / 2; // both have to share the time
        if (endpoint.port.empty()) continue;
        if (auto stream = connectTcp(endpoint, halfMs)) return stream;
    }
    return nullptr;
}

} // namespace simconnect
