#include "platform/OffThread.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace station {

// ---- SerialWorker

struct SerialWorker::Shared {
    struct Job {
        std::function<void()> work;
        std::shared_ptr<Completion> done;
    };

    std::mutex mutex;
    std::condition_variable jobsChanged;
    std::deque<Job> jobs;
    std::shared_ptr<Completion> running; ///< the call on the worker now
    bool runningAbandoned = false;       ///< nobody waits for it any more
    bool closing = false;
    bool started = false;

    static void loop(const std::shared_ptr<Shared>& self) {
        for (;;) {
            Job job;
            {
                std::unique_lock lock(self->mutex);
                self->jobsChanged.wait(lock, [&] { return self->closing || !self->jobs.empty(); });
                if (self->jobs.empty())
                    return;
                job = std::move(self->jobs.front());
                self->jobs.pop_front();
                self->running = job.done;
            }
            job.work();
            // What the call held goes here, on its own thread, before anyone hears it ended.
            job.work = nullptr;
            {
                std::lock_guard lock(self->mutex);
                self->running.reset();
                self->runningAbandoned = false;
            }
            job.done->finish();
        }
    }
};

SerialWorker::SerialWorker(Waiter& waiter) : m_shared(std::make_shared<Shared>()), m_waiter(waiter) {}

SerialWorker::~SerialWorker() {
    std::lock_guard lock(m_shared->mutex);
    m_shared->closing = true;
    m_shared->jobs.clear();
    m_shared->jobsChanged.notify_all();
    // The thread holds the shared state itself and ends after the call it may still be in.
}

Handover SerialWorker::run(std::function<void()> job, std::chrono::milliseconds limit) {
    auto done = std::make_shared<Completion>();
    {
        std::lock_guard lock(m_shared->mutex);
        // Queued behind a call that was given up on, this one would wait for nothing but that.
        if (m_shared->runningAbandoned)
            return Handover::Busy;
        if (!m_shared->started) {
            std::thread([shared = m_shared] { Shared::loop(shared); }).detach();
            m_shared->started = true;
        }
        m_shared->jobs.push_back({std::move(job), done});
        m_shared->jobsChanged.notify_one();
    }
    if (m_waiter.wait(*done, limit))
        return Handover::Done;
    std::lock_guard lock(m_shared->mutex);
    auto& jobs = m_shared->jobs;
    if (const auto queued = std::find_if(jobs.begin(), jobs.end(), [&](const auto& j) { return j.done == done; });
        queued != jobs.end()) {
        jobs.erase(queued);
        return Handover::TimedOut;
    }
    // Still on the worker: it runs on alone. Otherwise it ended just now.
    if (m_shared->running != done)
        return Handover::Done;
    m_shared->runningAbandoned = true;
    return Handover::TimedOut;
}

bool SerialWorker::busy() const {
    std::lock_guard lock(m_shared->mutex);
    return m_shared->running || !m_shared->jobs.empty();
}

std::string spoolerHandoverText(Handover outcome) {
    return outcome == Handover::Busy ? "The print spooler has still not answered an earlier request."
                                     : "The print spooler did not answer in time.";
}

namespace {

template <class F> auto runOn(SerialWorker& worker, std::chrono::milliseconds limit, F call) {
    using R = std::invoke_result_t<F&>;
    auto box = std::make_shared<CallResult<R>>();
    const auto outcome = worker.run(CallResult<R>::into(box, std::move(call)), limit);
    if (outcome != Handover::Done)
        throw SpoolerUnavailable(spoolerHandoverText(outcome));
    if constexpr (std::is_void_v<R>)
        box->take();
    else
        return box->take();
}

HttpClient::Response failed(std::string why) {
    HttpClient::Response response;
    response.error = std::move(why);
    return response;
}

std::string seconds(std::chrono::milliseconds bound) {
    return std::to_string((bound.count() + 999) / 1000) + " s";
}

} // namespace

// ---- OffThreadHttpClient

struct OffThreadHttpClient::Counter {
    std::atomic<int> running{0};
};

namespace {

/// Counts a transfer as running from its start until its thread has let go of it.
class Running {
public:
    explicit Running(const std::shared_ptr<OffThreadHttpClient::Counter>& counter) : m_counter(counter) {
        ++m_counter->running;
    }
    ~Running() { --m_counter->running; }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    std::shared_ptr<OffThreadHttpClient::Counter> m_counter;
};

} // namespace

namespace {

/// Starts `job` on a thread of its own; `done` is finished when the thread has let go of the
/// job. False when no thread could be started.
bool startThread(std::function<void()> job, const std::shared_ptr<Completion>& done) {
    try {
        std::thread([job = std::move(job), done]() mutable {
            job();
            job = nullptr;
            done->finish();
        }).detach();
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

} // namespace

OffThreadHttpClient::OffThreadHttpClient(std::shared_ptr<HttpClient> inner, Waiter& waiter, Bounds bounds)
    : m_inner(std::move(inner)), m_waiter(waiter), m_bounds(bounds), m_running(std::make_shared<Counter>()) {}

int OffThreadHttpClient::running() const {
    return m_running->running.load();
}

HttpClient::Response OffThreadHttpClient::post(const std::string& url, const std::string& contentType,
                                               const std::string& body) {
    auto box = std::make_shared<CallResult<Response>>();
    auto done = std::make_shared<Completion>();
    auto call = [inner = m_inner, running = std::make_shared<const Running>(m_running), url, contentType, body] {
        return inner->post(url, contentType, body);
    };
    if (!startThread(CallResult<Response>::into(box, std::move(call)), done))
        return failed("cannot start a transfer");
    if (!m_waiter.wait(*done, m_bounds.post))
        return failed("no answer within " + seconds(m_bounds.post));
    return box->take();
}

HttpClient::Response OffThreadHttpClient::get(const std::string& url, const BasicAuth* auth, const Progress& progress) {
    std::optional<BasicAuth> credentials;
    if (auth)
        credentials = *auth;
    auto relay = std::make_shared<ProgressRelay<std::uint64_t, std::uint64_t>>();
    auto box = std::make_shared<CallResult<Response>>();
    auto done = std::make_shared<Completion>();
    auto call = [inner = m_inner, running = std::make_shared<const Running>(m_running), url, credentials, relay,
                 shown = static_cast<bool>(progress)] {
        Progress onThread;
        if (shown)
            onThread = [relay](std::uint64_t received, std::uint64_t total) { relay->record(received, total); };
        return inner->get(url, credentials ? &*credentials : nullptr, onThread);
    };
    if (!startThread(CallResult<Response>::into(box, std::move(call)), done))
        return failed("cannot start a transfer");
    if (!relay->wait(m_waiter, *done, m_bounds.get, progress))
        return failed("the transfer did not end within " + seconds(m_bounds.get));
    return box->take();
}

// ---- OffThreadFileDownloader

OffThreadFileDownloader::OffThreadFileDownloader(std::shared_ptr<FileDownloader> inner, Waiter& waiter,
                                                 std::chrono::milliseconds limit)
    : m_inner(std::move(inner)), m_waiter(waiter), m_limit(limit),
      m_running(std::make_shared<OffThreadHttpClient::Counter>()) {}

int OffThreadFileDownloader::running() const {
    return m_running->running.load();
}

FileDownloader::Result OffThreadFileDownloader::download(const Request& request, const Progress& progress) {
    auto relay = std::make_shared<ProgressRelay<std::uint64_t, std::uint64_t>>();
    auto box = std::make_shared<CallResult<Result>>();
    auto done = std::make_shared<Completion>();
    auto call = [inner = m_inner, running = std::make_shared<const Running>(m_running), request, relay,
                 shown = static_cast<bool>(progress)] {
        Progress onThread;
        if (shown)
            onThread = [relay](std::uint64_t received, std::uint64_t total) { relay->record(received, total); };
        return inner->download(request, onThread);
    };
    const auto failure = [](std::string why) {
        Result result;
        result.error = std::move(why);
        return result;
    };
    if (!startThread(CallResult<Result>::into(box, std::move(call)), done))
        return failure("cannot start a transfer");
    // Past the limit the thread may still write to the file: the relay stops it at its next piece.
    if (!relay->wait(m_waiter, *done, m_limit, progress))
        return failure("the download did not end within " + seconds(m_limit));
    return box->take();
}

// ---- OffThreadSpooler

OffThreadSpooler::OffThreadSpooler(std::shared_ptr<Spooler> inner, Waiter& waiter, std::chrono::milliseconds limit)
    : m_inner(std::move(inner)), m_limit(limit), m_worker(waiter) {}

std::vector<std::string> OffThreadSpooler::printers() {
    return runOn(m_worker, m_limit, [inner = m_inner] { return inner->printers(); });
}

Spooler::Result OffThreadSpooler::printRaw(const std::string& printer, const std::string& documentName,
                                           const std::string& data) {
    return runOn(m_worker, m_limit, [inner = m_inner, printer, documentName, data] {
        return inner->printRaw(printer, documentName, data);
    });
}

// ---- OffThreadTextPrinter

OffThreadTextPrinter::OffThreadTextPrinter(std::shared_ptr<TextPrinter> inner, Waiter& waiter,
                                           std::chrono::milliseconds limit, std::chrono::milliseconds endLimit)
    : m_inner(std::move(inner)), m_limit(limit), m_endLimit(endLimit), m_worker(waiter) {}

std::vector<std::string> OffThreadTextPrinter::printers() {
    return runOn(m_worker, m_limit, [inner = m_inner] { return inner->printers(); });
}

void OffThreadTextPrinter::select(const std::string& name) {
    runOn(m_worker, m_limit, [inner = m_inner, name] { inner->select(name); });
}

std::string OffThreadTextPrinter::current() {
    return runOn(m_worker, m_limit, [inner = m_inner] { return inner->current(); });
}

void OffThreadTextPrinter::setFont(const std::string& family, float size) {
    runOn(m_worker, m_limit, [inner = m_inner, family, size] { inner->setFont(family, size); });
}

void OffThreadTextPrinter::setOrientation(Orientation orientation) {
    runOn(m_worker, m_limit, [inner = m_inner, orientation] { inner->setOrientation(orientation); });
}

void OffThreadTextPrinter::print(const std::string& text) {
    runOn(m_worker, m_limit, [inner = m_inner, text] { inner->print(text); });
}

void OffThreadTextPrinter::endDocument() {
    runOn(m_worker, m_endLimit, [inner = m_inner] { inner->endDocument(); });
}

} // namespace station
