// Offers the simulator's named pipe for tests and relays each client's bytes to a TCP port of this computer and back, so
// that a stand-in which speaks TCP alone can be reached through the pipe. It looks at none of the bytes.
// usage: pipe_server PORT [PIPE]      PIPE as behind \\.\pipe\; runs until it is ended from outside

#include "platform/sockets.h"
#include "platform/text.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <fmt/format.h>
#include <memory>
#include <span>
#include <string>
#include <thread>

namespace {

constexpr DWORD pipeBytes = 64 * 1024;
constexpr int lookMs = 100; // between two looks at whether the other direction has ended

struct Client {
    HANDLE pipe = INVALID_HANDLE_VALUE;
    plat::Socket socket = plat::noSocket;
    std::atomic<bool> ended{false};
    ~Client() {
        CloseHandle(pipe); // the client may still read what was written
        plat::closeSocket(socket);
    }
};

// Waits for an operation of the pipe; its bytes, or -1 when the pipe or the other direction has ended.
int finish(Client& client, OVERLAPPED& operation) {
    while (WaitForSingleObject(operation.hEvent, lookMs) == WAIT_TIMEOUT)
        if (client.ended) CancelIoEx(client.pipe, &operation);
    DWORD count = 0;
    return GetOverlappedResult(client.pipe, &operation, &count, TRUE) ? static_cast<int>(count) : -1;
}

bool started(BOOL done) { return done || GetLastError() == ERROR_IO_PENDING; }

void pipeToSocket(Client& client, HANDLE event) {
    std::array<char, pipeBytes> buffer;
    while (!client.ended) {
        OVERLAPPED read{};
        read.hEvent = event;
        if (!started(ReadFile(client.pipe, buffer.data(), pipeBytes, nullptr, &read))) return;
        const int count = finish(client, read);
        if (count < 0) return;
        for (std::span<const char> rest(buffer.data(), static_cast<std::size_t>(count)); !rest.empty();) {
            const plat::Transfer sent = plat::sendBytes(client.socket, rest);
            if (sent.count <= 0) return;
            rest = rest.subspan(static_cast<std::size_t>(sent.count));
        }
    }
}

void socketToPipe(Client& client, HANDLE event) {
    std::array<char, pipeBytes> buffer;
    while (!client.ended) {
        if (plat::waitReadable(client.socket, lookMs) == 0) continue;
        const plat::Transfer got = plat::receiveBytes(client.socket, buffer);
        if (got.count <= 0) return;
        OVERLAPPED write{};
        write.hEvent = event;
        const auto size = static_cast<DWORD>(got.count);
        if (!started(WriteFile(client.pipe, buffer.data(), size, nullptr, &write))) return;
        if (finish(client, write) != got.count) return;
    }
}

void relay(HANDLE pipe, std::uint16_t port) {
    Client client;
    client.pipe = pipe;
    client.socket = plat::connectTcp("127.0.0.1", port, 1000);
    if (client.socket == plat::noSocket || !plat::setNonBlocking(client.socket, false)) return;
    plat::setNoDelay(client.socket);
    const auto direction = [&client](void (*copy)(Client&, HANDLE)) {
        const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        copy(client, event);
        client.ended = true;
        CloseHandle(event);
    };
    std::thread other([&] { direction(socketToPipe); });
    direction(pipeToSocket);
    other.join();
}

// The next client's end of the pipe, or nullptr when none can be had.
HANDLE nextClient(const std::wstring& name) {
    const HANDLE pipe =
        CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                         PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
                         PIPE_UNLIMITED_INSTANCES, pipeBytes, pipeBytes, 0, nullptr);
    if (pipe == INVALID_HANDLE_VALUE) return nullptr;
    OVERLAPPED connect{};
    connect.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const bool there = ConnectNamedPipe(pipe, &connect) || GetLastError() == ERROR_PIPE_CONNECTED;
    DWORD none = 0;
    const bool came =
        there || (GetLastError() == ERROR_IO_PENDING && GetOverlappedResult(pipe, &connect, &none, TRUE));
    CloseHandle(connect.hEvent);
    if (came) return pipe;
    CloseHandle(pipe);
    return nullptr;
}

} // namespace

int main(int argc, char** argv) {
    std::uint16_t port = 0;
    const std::string number = argc > 1 ? argv[1] : "";
    std::from_chars(number.data(), number.data() + number.size(), port);
    const std::string name = argc > 2 ? argv[2] : "Microsoft Flight Simulator\\SimConnect";
    if (port == 0) {
        fmt::print(stderr, "pipe_server: usage: pipe_server PORT [PIPE]\n");
        return 2;
    }
    plat::startSockets();
    const std::u16string path = plat::utf16FromUtf8("\\\\.\\pipe\\" + name);
    fmt::print("\\\\.\\pipe\\{} relays to port {}\n", name, port);
    std::fflush(stdout);
    while (const HANDLE pipe = nextClient({path.begin(), path.end()})) {
        fmt::print("a client\n");
        std::fflush(stdout);
        std::thread(relay, pipe, port).detach();
    }
    fmt::print(stderr, "pipe_server: error {}\n", GetLastError());
    return 1;
}
