// The uploader's FTP sessions off the caller's thread, over a stand-in session that blocks until
// the test lets it go.
#include "platform/OffThreadFtpClient.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace station {
namespace {

using namespace std::chrono_literals;

class GatedSession : public FtpClient {
public:
    GatedSession(std::shared_future<void> gate, std::shared_ptr<std::atomic<bool>> destroyed)
        : m_gate(std::move(gate)), m_destroyed(std::move(destroyed)) {}
    ~GatedSession() override { *m_destroyed = true; }
    bool login(const std::string&, const std::string&, const std::string&) override {
        m_gate.wait();
        m_connected = true;
        return true;
    }
    bool isConnected() const override { return m_connected; }
    void disconnect() override { m_connected = false; }
    bool changeFolder(const std::string&) override { return true; }
    std::vector<std::string> list(const std::string&) override { return {"a.txt"}; }
    std::vector<std::string> nameList() override { return {}; }
    bool store(const std::string&, const std::string&, const Progress& progress) override {
        progress(true, 5, 10);
        progress(true, 10, 10);
        m_error = "452 disk full";
        return false;
    }
    bool remove(const std::string&) override { return true; }
    std::string lastError() const override { return m_error; }

private:
    std::shared_future<void> m_gate;
    std::shared_ptr<std::atomic<bool>> m_destroyed;
    bool m_connected = false;
    std::string m_error;
};

class GatedSessions : public FtpSessions {
public:
    std::promise<void> open_;
    std::shared_future<void> gate = open_.get_future().share();
    // Shared: a session may end on its own thread after the test that made it.
    std::shared_ptr<std::atomic<bool>> destroyed = std::make_shared<std::atomic<bool>>(false);
    std::unique_ptr<FtpClient> open() override { return std::make_unique<GatedSession>(gate, destroyed); }
};

struct Rig {
    std::shared_ptr<GatedSessions> inner = std::make_shared<GatedSessions>();
    BlockingWaiter waiter;
    // Bounds far above what a call takes even on a loaded machine under Wine: only the gated
    // calls run into them.
    OffThreadFtpSessions sessions{inner, waiter, {1s, 10s}};
};

TEST(OffThreadFtp, CallGivenUpAfterItsBoundRefusesTheNextUntilItEnds) {
    Rig rig;
    auto session = rig.sessions.open();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(session->login("host", "user", "password"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    EXPECT_EQ(session->lastError(), "The FTP server did not answer within 1 s.");
    EXPECT_FALSE(session->isConnected());

    EXPECT_TRUE(session->list("-lr *.*").empty());
    EXPECT_EQ(session->lastError(), "The FTP server has still not answered an earlier request.");

    rig.inner->open_.set_value();
    for (int i = 0; i < 200 && rig.sessions.running() > 0; ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(rig.sessions.running(), 0);
    EXPECT_FALSE(session->isConnected()) << "a late login is not trusted: the next operation logs in afresh";
    EXPECT_TRUE(session->login("host", "user", "password"));
    EXPECT_EQ(session->list("-lr *.*"), std::vector<std::string>{"a.txt"});
    EXPECT_TRUE(session->lastError().empty());
}

TEST(OffThreadFtp, ProgressReachesTheCallersThreadAndTheAdaptersErrorIsKept) {
    Rig rig;
    rig.inner->open_.set_value();
    auto session = rig.sessions.open();
    const auto caller = std::this_thread::get_id();
    std::vector<std::uint64_t> seen;
    EXPECT_FALSE(session->store("/local", "remote", [&](bool, std::uint64_t done, std::uint64_t) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        seen.push_back(done);
    }));
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.back(), 10u) << "the last count is always delivered";
    EXPECT_EQ(session->lastError(), "452 disk full");
}

TEST(OffThreadFtp, SessionOutlivesAWindowThatWentAwayDuringACall) {
    Rig rig;
    {
        auto session = rig.sessions.open();
        EXPECT_FALSE(session->login("host", "user", "password"));
    }
    EXPECT_FALSE(*rig.inner->destroyed) << "the running call still holds the adapter";
    rig.inner->open_.set_value();
    for (int i = 0; i < 200 && !*rig.inner->destroyed; ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(*rig.inner->destroyed);
}

} // namespace
} // namespace station
