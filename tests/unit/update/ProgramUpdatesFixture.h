#pragma once
// The fixture of the program update tests: the real logic, with the service, the update server,
// the download to disk and the signature check faked; files go to a real temporary program folder.
#include "update/ProgramUpdates.h"

#include "platform/Adapters.h"
#include "service/Codec.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace station {
namespace {

namespace fs = std::filesystem;

class FakeUpdateView : public UpdateView {
public:
    bool timer = true;
    std::string status = "old status";
    bool firstButton = true;
    bool progress = false;
    float maximum = 0, value = 0;
    bool ended = false;
    void setTimerEnabled(bool enabled) override { timer = enabled; }
    void setStatus(const std::string& text) override { status = text; }
    void setFirstButtonEnabled(bool enabled) override { firstButton = enabled; }
    void showProgress() override { progress = true; }
    bool progressVisible() const override { return progress; }
    void setProgress(float, float max, float now) override {
        maximum = max;
        value = now;
    }
    void endProgram() override { ended = true; }
};

inline std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void writeFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

class ProgramUpdatesTest : public testing::Test {
public:
    void SetUp() override {
        folder = fs::temp_directory_path() / ("updates-" + std::to_string(std::random_device{}()) + "-" +
                                              testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(folder);
        // Every byte value, so that the file is shown to be written byte for byte.
        for (int i = 0; i < 3 * 256; ++i)
            fake.downloader.file += static_cast<char>(i % 256);
        fake.http.handler = [this](const test::FakeHttp::Call& call) {
            if (call.method == "POST")
                return call.body.starts_with("upd1=") ? test::FakeHttp::ok(address) : test::FakeHttp::ok("");
            if (call.url == "http://upd.test/rdp/rdpupdate.ini" && describe)
                return test::FakeHttp::ok(description);
            if (call.url == "http://upd.test/notes.txt")
                return test::FakeHttp::ok("release notes\r\n");
            return test::FakeHttp::failed();
        };
    }
    void TearDown() override { fs::remove_all(folder); }

    ProgramUpdates& updates(std::string withKey = {}) {
        key = withKey;
        m_updates = std::make_unique<ProgramUpdates>(service, ports(), view,
                                                     ProgramUpdates::Setup{folder.string() + "/", "2.01", withKey, {}});
        return *m_updates;
    }
    /// The ports the updates see: the fakes, unless a fixture brings real adapters.
    virtual Ports& ports() { return fake.ports; }
    int fetches(const std::string& url) const {
        return static_cast<int>(
            std::count_if(fake.http.calls.begin(), fake.http.calls.end(), [&](const auto& c) { return c.url == url; }));
    }
    fs::path install(const char* name) const { return folder / "_Install" / name; }

    test::FakePorts fake;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://service.test/terminal2secure.asp"};
    FakeUpdateView view;
    fs::path folder;
    std::string address = "x|http://upd.test/rdp|";
    std::string description = "[Update]\r\nVersion =2.02\r\nReadMe=http://upd.test/notes.txt\r\nSize=768\r\n";
    bool describe = true;
    std::string key;

private:
    std::unique_ptr<ProgramUpdates> m_updates;
};

} // namespace
} // namespace station
