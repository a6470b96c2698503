// The download server by cpp-httplib, which speaks the protocol; the files are read here.

#include "server/server.h"

#include "platform/clock.h"
#include "platform/files.h"

#include <fmt/format.h>
#include <httplib.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace rig {

constexpr const char* loopback = "127.0.0.1";

ServerFault parseFault(const std::string& text) {
    static const std::pair<const char*, ServerFault::Kind> kinds[] = {
        {"404=", ServerFault::Kind::missing},
        {"truncate=", ServerFault::Kind::truncate},
        {"stall=", ServerFault::Kind::stall},
        {"reset=", ServerFault::Kind::reset}};
    for (const auto& [name, kind] : kinds) {
        if (!text.starts_with(name)) continue;
        ServerFault fault{kind, text.substr(std::string_view(name).size()), 0};
        if (kind == ServerFault::Kind::truncate || kind == ServerFault::Kind::stall) {
            const std::size_t colon = fault.path.rfind(':');
            const std::string number = colon == std::string::npos ? "" : fault.path.substr(colon + 1);
            const auto [end, error] =
                std::from_chars(number.data(), number.data() + number.size(), fault.amount);
            if (error != std::errc() || end != number.data() + number.size() || !(fault.amount >= 0))
                throw std::runtime_error(fmt::format("fault \"{}\" needs a number behind a colon", text));
            fault.path.resize(colon);
        }
        if (!fault.path.starts_with('/')) fault.path = fmt::format("/{}", fault.path);
        return fault;
    }
    throw std::runtime_error(fmt::format("unknown fault \"{}\"", text));
}

DownloadServer::DownloadServer(std::filesystem::path root, int port, std::filesystem::path journalFile)
    : folder(std::move(root)), journalPath(std::move(journalFile)),
      inside(std::make_unique<httplib::Server>()) {
    if (!std::filesystem::is_directory(folder))
        throw std::runtime_error(fmt::format("\"{}\" is no folder", plat::pathText(folder)));
    inside->Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
        response.status = 404;
        const auto content = contentOf(request.path);
        if (!content) return;
        response.status = 200;
        response.set_content(*content, "application/octet-stream");
    });
    inside->set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        return serveFault(request, response) ? httplib::Server::HandlerResponse::Handled
                                             : httplib::Server::HandlerResponse::Unhandled;
    });
    inside->set_logger([this](const httplib::Request& request, const httplib::Response& response) {
        note(fmt::format("{} {} {}", request.method, request.path, response.status));
    });
    // The library's own options would let a second server share the port of the first without a word.
    inside->set_socket_options([](socket_t listener) {
        const int yes = 1;
        setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&yes), sizeof yes);
    });
    usedPort =
        port == 0 ? inside->bind_to_any_port(loopback) : (inside->bind_to_port(loopback, port) ? port : -1);
    if (usedPort <= 0) throw std::runtime_error(fmt::format("port {} is in use", port));
    thread = std::thread([this] { inside->listen_after_bind(); });
    while (!inside->is_running()) std::this_thread::yield(); // a stop before that would be lost
}

DownloadServer::~DownloadServer() {
    ending = true;
    inside->stop();
    thread.join();
}

std::string DownloadServer::url() const { return fmt::format("http://{}:{}/", loopback, usedPort); }

void DownloadServer::addFault(ServerFault fault) {
    const LockGuard guard(lock);
    faults.push_back(std::move(fault));
}

void DownloadServer::clearFaults() {
    const LockGuard guard(lock);
    faults.clear();
}

std::vector<std::string> DownloadServer::journal() const {
    const LockGuard guard(lock);
    return lines;
}

void DownloadServer::note(const std::string& line) {
    const LockGuard guard(lock);
    lines.push_back(line);
    if (!journalPath.empty()) std::ofstream(journalPath, std::ios::app | std::ios::binary) << line << '\n';
}

// The file that an address names; nullopt for one that is not there, or not below the folder.
std::optional<std::string> DownloadServer::contentOf(const std::string& path) const {
    const std::filesystem::path relative =
        plat::textPath(path.substr(std::min(path.size(), std::size_t{1}))).lexically_normal();
    if (relative.is_absolute() || relative.has_root_name() || relative.begin() == relative.end() ||
        *relative.begin() == "..")
        return std::nullopt;
    const std::filesystem::path file = folder / relative;
    if (!std::filesystem::is_regular_file(file)) return std::nullopt;
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// True when the path has a fault and the response is made.
bool DownloadServer::serveFault(const httplib::Request& request, httplib::Response& response) {
    std::optional<ServerFault> fault;
    {
        const LockGuard guard(lock);
        const auto found = std::find_if(faults.begin(), faults.end(),
                                        [&](const ServerFault& f) { return f.path == request.path; });
        if (found != faults.end()) fault = *found;
    }
    if (!fault) return false;
    if (fault->kind == ServerFault::Kind::missing) {
        response.status = 404;
        return true;
    }
    auto content = std::make_shared<std::string>(contentOf(request.path).value_or(""));
    std::size_t first = 0; // bytes before the fault
    if (fault->kind == ServerFault::Kind::truncate)
        first = std::min(content->size(), static_cast<std::size_t>(fault->amount));
    if (fault->kind == ServerFault::Kind::stall) first = content->size() / 2;
    response.status = 200;
    response.set_content_provider(content->size(), "application/octet-stream",
                                  [this, content, first, fault = *fault](
                                      std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                                      if (offset < first)
                                          return sink.write(content->data() + offset, first - offset);
                                      if (fault.kind != ServerFault::Kind::stall) return false;
                                      constexpr std::int64_t pieceMs = 20;
                                      for (std::int64_t left = static_cast<std::int64_t>(fault.amount * 1000);
                                           left > 0; left -= pieceMs) {
                                          if (ending) return false;
                                          std::this_thread::sleep_for(std::chrono::milliseconds(
                                              pieceMs)); // wall time: a real peer waits
                                      }
                                      return sink.write(content->data() + offset, length);
                                  });
    return true;
}

} // namespace rig
