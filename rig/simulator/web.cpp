// The HTTP side of the stand-in, in one file because the library is slow to compile.

#include "simulator/web.h"

#include "simulator/page.h"

#include <fmt/format.h>
#include <httplib.h>
#include <stdexcept>
#include <thread>

namespace rig {

struct WebServer::Inside {
    httplib::Server server;
    std::thread thread;
};

WebServer::WebServer(std::uint16_t port, Answers answers) : inside(std::make_unique<Inside>()) {
    using httplib::Request, httplib::Response;
    httplib::Server& server = inside->server;
    server.new_task_queue = [] { return new httplib::ThreadPool(2); };
    server.Get("/", [](const Request&, Response& response) {
        response.set_content(mapPage, "text/html; charset=utf-8");
    });
    server.Get("/world.json", [world = answers.world](const Request&, Response& response) {
        response.set_content(world(), "application/json");
    });
    server.Get("/tracks.json", [tracks = answers.tracks](const Request&, Response& response) {
        response.set_content(tracks(), "application/json");
    });
    server.Get("/stands.json", [stands = answers.stands](const Request&, Response& response) {
        response.set_content(stands(), "application/json");
    });
    server.Get("/journal", [journal = answers.journal](const Request&, Response& response) {
        response.set_content(journal(), "text/plain; charset=utf-8");
    });
    server.Post("/script", [script = answers.script](const Request& request, Response& response) {
        const std::string fault = script(request.body);
        if (!fault.empty()) response.status = 400;
        response.set_content(fault.empty() ? "done\n" : fault + "\n", "text/plain; charset=utf-8");
    });
    const int bound = port == 0                                ? server.bind_to_any_port("127.0.0.1")
                      : server.bind_to_port("127.0.0.1", port) ? port
                                                               : -1;
    if (bound <= 0) throw std::runtime_error(fmt::format("can't listen on HTTP port {}", port));
    boundPort = static_cast<std::uint16_t>(bound);
    inside->thread = std::thread([this] { inside->server.listen_after_bind(); });
    while (!inside->server.is_running()) std::this_thread::yield(); // or a stop could come before the start
}

WebServer::~WebServer() {
    inside->server.stop();
    inside->thread.join();
}

} // namespace rig
