#pragma once
// A program folder with a download server beside it, for tests.

#include "app/app.h"
#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "platform/clock.h"
#include "refdata/refdata.h"
#include "server/server.h"
#include "support.h"
#include "updates/updates.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

class Downloads : public testing::Test {
  protected:
    Downloads() {
        folder.enter();
        app = AppRun{};
        transferLimits = TransferLimits{};
        gf_buildFolders();
        gf_openLog();
        std::filesystem::create_directory("served");
        std::filesystem::create_directory("out");
    }
    ~Downloads() override {
        server.reset();
        gf_closeLog();
        gf_setDownloadBase("");
        transferLimits = TransferLimits{};
        app = AppRun{};
        MSFS_2020.value = MSFS_2020.defaultValue;
    }
    void serve() {
        server.emplace(folder.path / "served");
        gf_setDownloadBase(server->url());
    }
    void fault(const char* text) { server->addFault(rig::parseFault(text)); }
    bool download(const std::string& url, const char* file = "got", bool binary = true) {
        const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl_easy_init(), curl_easy_cleanup);
        return gf_downloadFile(handle.get(), url, file, binary);
    }
    VersionData version(const std::string& url) {
        const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl_easy_init(), curl_easy_cleanup);
        return gf_fetchVersion(handle.get(), url);
    }
    static bool logged(const std::string& text) {
        return test::readFile("Log.txt").find(text) != std::string::npos;
    }
    static std::int64_t msSince(plat::SteadyNs start) { return (plat::steadyNow() - start) / 1'000'000; }

    test::ScratchFolder folder;
    std::optional<rig::DownloadServer> server;
};

inline std::string bytes(std::size_t count) {
    std::string text(count, '\0');
    for (std::size_t i = 0; i < count; ++i) text[i] = static_cast<char>(i * 7919 >> 3);
    return text;
}
