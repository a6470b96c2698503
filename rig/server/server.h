#pragma once
// A download server for one folder, with faults on demand. Loopback only. It has threads of its own.

#include "platform/lock.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

namespace rig {

struct ServerFault {
    enum class Kind {
        missing,  // status 404
        truncate, // the connection ends after `amount` bytes of the file
        stall,    // half of the file, then nothing for `amount` seconds, then the rest
        reset,    // the connection ends behind the header
    };
    Kind kind = Kind::missing;
    std::string path; // "/dbase.zip"
    double amount = 0;
};
ServerFault parseFault(const std::string& text); // "truncate=/dbase.zip:100"; throws std::runtime_error

class DownloadServer {
  public:
    // Serves at once. Port 0 takes a free one. Throws std::runtime_error when the port is in use.
    explicit DownloadServer(std::filesystem::path root, int port = 0, std::filesystem::path journalFile = {});
    ~DownloadServer(); // ends transfers that are under way
    DownloadServer(const DownloadServer&) = delete;
    DownloadServer& operator=(const DownloadServer&) = delete;

    int port() const { return usedPort; }
    std::string url() const; // "http://127.0.0.1:PORT/"
    void addFault(ServerFault fault);
    void clearFaults();
    std::vector<std::string> journal() const; // "GET /dbase.zip 200", as requests end

  private:
    std::optional<std::string> contentOf(const std::string& path) const;
    bool serveFault(const httplib::Request& request, httplib::Response& response);
    void note(const std::string& line);
    std::filesystem::path folder, journalPath;
    std::unique_ptr<httplib::Server> inside;
    std::thread thread;
    std::atomic<bool> ending{false};
    int usedPort = 0;
    mutable Lock lock;
    std::vector<ServerFault> faults GUARDED_BY(lock);
    std::vector<std::string> lines GUARDED_BY(lock);
};

} // namespace rig
