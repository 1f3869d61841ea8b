#include "platform/OffThreadFtpClient.h"

#include "platform/OffThread.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace station {

struct OffThreadFtpSessions::Counter {
    std::atomic<int> running{0};
};

namespace {

/// What a session's calls share with their threads: the adapter, whether a call is on it, and
/// the state the caller may ask for without waiting.
struct Session {
    explicit Session(std::unique_ptr<FtpClient> adapter) : client(std::move(adapter)) {}
    std::unique_ptr<FtpClient> client;
    std::atomic<bool> inCall{false};
    /// The caller stopped waiting for the call now running: whatever it achieves, the session
    /// starts afresh with a new login (a late login would stand in the wrong folder).
    std::atomic<bool> abandoned{false};
    std::mutex mutex;
    bool connected = false;
    std::string lastError;
};

std::string seconds(std::chrono::milliseconds bound) {
    return std::to_string((bound.count() + 999) / 1000) + " s";
}

class OffThreadFtpClient final : public FtpClient {
public:
    OffThreadFtpClient(std::unique_ptr<FtpClient> inner, Waiter& waiter, OffThreadFtpSessions::Bounds bounds,
                       std::shared_ptr<OffThreadFtpSessions::Counter> running)
        : m_session(std::make_shared<Session>(std::move(inner))), m_waiter(waiter), m_bounds(bounds),
          m_running(std::move(running)) {}

    ~OffThreadFtpClient() override {
        // The connection is closed on a thread of its own; the window does not wait for the QUIT.
        if (!m_session->inCall.exchange(true))
            start([](FtpClient& client) { client.disconnect(); }, nullptr);
    }

    bool login(const std::string& host, const std::string& user, const std::string& password) override {
        return call(m_bounds.command, [host, user, password](FtpClient& c) { return c.login(host, user, password); })
            .value_or(false);
    }
    bool isConnected() const override {
        std::lock_guard lock(m_session->mutex);
        return m_session->connected;
    }
    void disconnect() override {
        call(m_bounds.command, [](FtpClient& c) {
            c.disconnect();
            return true;
        });
    }
    bool changeFolder(const std::string& remoteFolder) override {
        return call(m_bounds.command, [remoteFolder](FtpClient& c) { return c.changeFolder(remoteFolder); })
            .value_or(false);
    }
    std::vector<std::string> list(const std::string& argument) override {
        return call(m_bounds.transfer, [argument](FtpClient& c) { return c.list(argument); })
            .value_or(std::vector<std::string>{});
    }
    std::vector<std::string> nameList() override {
        return call(m_bounds.transfer, [](FtpClient& c) { return c.nameList(); }).value_or(std::vector<std::string>{});
    }
    bool store(const std::string& localPath, const std::string& remoteName, const Progress& progress) override;
    bool remove(const std::string& remoteName) override {
        return call(m_bounds.command, [remoteName](FtpClient& c) { return c.remove(remoteName); }).value_or(false);
    }
    std::string lastError() const override {
        std::lock_guard lock(m_session->mutex);
        return m_session->lastError;
    }

private:
    /// Starts `job` on a thread of its own; `done`, when given, is finished when the thread has
    /// let go of it. The session is marked as in a call until then.
    bool start(std::function<void(FtpClient&)> job, const std::shared_ptr<Completion>& done) {
        ++m_running->running;
        try {
            std::thread([session = m_session, running = m_running, job = std::move(job), done]() mutable {
                job(*session->client);
                if (session->abandoned.exchange(false))
                    session->client->disconnect();
                {
                    std::lock_guard lock(session->mutex);
                    session->connected = session->client->isConnected();
                    // A call given up on has told its caller why already.
                    if (session->connected || session->lastError.empty() || !session->client->lastError().empty())
                        session->lastError = session->client->lastError();
                }
                job = nullptr;
                session->inCall = false;
                --running->running;
                if (done)
                    done->finish();
            }).detach();
            return true;
        } catch (const std::system_error&) {
            --m_running->running;
            m_session->inCall = false;
            return false;
        }
    }

    void giveUp(std::string why) {
        m_session->abandoned = true;
        fail(std::move(why));
    }

    void fail(std::string why) {
        std::lock_guard lock(m_session->mutex);
        m_session->lastError = std::move(why);
        m_session->connected = false;
    }

    /// Runs `f` on the session's adapter off this thread and waits up to `limit`. Nothing when the
    /// call could not run or did not end in time; lastError() then says why.
    template <class F>
    auto call(std::chrono::milliseconds limit, F f) -> std::optional<std::invoke_result_t<F&, FtpClient&>> {
        using R = std::invoke_result_t<F&, FtpClient&>;
        auto box = std::make_shared<CallResult<R>>();
        auto done = std::make_shared<Completion>();
        if (m_session->inCall.exchange(true)) {
            fail("The FTP server has still not answered an earlier request.");
            return std::nullopt;
        }
        auto job = [box, f = std::move(f)](FtpClient& client) mutable {
            CallResult<R>::into(box, [&client, &f] { return f(client); })();
        };
        if (!start(std::move(job), done)) {
            fail("cannot start an FTP transfer");
            return std::nullopt;
        }
        if (!m_waiter.wait(*done, limit)) {
            giveUp("The FTP server did not answer within " + seconds(limit) + ".");
            return std::nullopt;
        }
        return box->take();
    }

    std::shared_ptr<Session> m_session;
    Waiter& m_waiter;
    OffThreadFtpSessions::Bounds m_bounds;
    std::shared_ptr<OffThreadFtpSessions::Counter> m_running;
};

bool OffThreadFtpClient::store(const std::string& localPath, const std::string& remoteName, const Progress& progress) {
    auto relay = std::make_shared<ProgressRelay<bool, std::uint64_t, std::uint64_t>>();
    auto box = std::make_shared<CallResult<bool>>();
    auto done = std::make_shared<Completion>();
    if (m_session->inCall.exchange(true)) {
        fail("The FTP server has still not answered an earlier request.");
        return false;
    }
    auto job = [box, relay, localPath, remoteName, shown = static_cast<bool>(progress)](FtpClient& client) {
        Progress onThread;
        if (shown)
            onThread = [relay](bool busy, std::uint64_t sent, std::uint64_t total) {
                relay->record(busy, sent, total);
            };
        CallResult<bool>::into(box, [&] { return client.store(localPath, remoteName, onThread); })();
    };
    if (!start(std::move(job), done)) {
        fail("cannot start an FTP transfer");
        return false;
    }
    if (!relay->wait(m_waiter, *done, m_bounds.transfer, progress)) {
        giveUp("The upload did not end within " + seconds(m_bounds.transfer) + ".");
        return false;
    }
    return box->take();
}

} // namespace

OffThreadFtpSessions::OffThreadFtpSessions(std::shared_ptr<FtpSessions> inner, Waiter& waiter, Bounds bounds)
    : m_inner(std::move(inner)), m_waiter(waiter), m_bounds(bounds), m_running(std::make_shared<Counter>()) {}

std::unique_ptr<FtpClient> OffThreadFtpSessions::open() {
    return std::make_unique<OffThreadFtpClient>(m_inner->open(), m_waiter, m_bounds, m_running);
}

int OffThreadFtpSessions::running() const {
    return m_running->running.load();
}

} // namespace station
