#pragma once
// Decorators that move the blocking calls of a port off the UI thread. The composition root
// wraps the real adapters in them; logic keeps calling the ports synchronously and never knows.
//
// A call runs on a worker thread and owns everything it touches (its arguments are copies, the
// adapter is shared), so a call that is given up on after its limit runs to its end without
// touching the caller's memory. While such a call still runs, a worker that must serialise its
// calls refuses new ones at once with a clear reason rather than queueing them behind it.
#include "platform/FileDownloader.h"
#include "platform/HttpClient.h"
#include "platform/SignatureVerifier.h"
#include "platform/Spooler.h"
#include "platform/TextPrinter.h"
#include "platform/Waiter.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

namespace station {

/// What became of a call handed to a worker.
enum class Handover {
    Done,     ///< it ran to its end within its limit (its result or exception is there)
    TimedOut, ///< the limit passed first; the call was dropped or runs on alone
    Busy,     ///< an earlier call given up on still runs; this one never started
};

/// One worker thread whose calls run in order, for an adapter that must not be used from two
/// threads at once or whose library may hang in a call nothing can bound from outside.
class SerialWorker {
public:
    explicit SerialWorker(Waiter& waiter);
    /// Waits for the worker only when no call runs; a call given up on keeps the thread, which
    /// ends by itself after that call.
    ~SerialWorker();
    SerialWorker(const SerialWorker&) = delete;
    SerialWorker& operator=(const SerialWorker&) = delete;

    /// Runs `job` on the worker after the calls before it and waits for it up to `limit`.
    Handover run(std::function<void()> job, std::chrono::milliseconds limit);
    /// True while a call runs or waits to run; when nobody waits for it, it was given up on.
    bool busy() const;

private:
    struct Shared;
    std::shared_ptr<Shared> m_shared;
    Waiter& m_waiter;
};

/// The outcome of a call made on another thread: its value or its exception.
template <class R> struct CallResult {
    using Value = std::conditional_t<std::is_void_v<R>, bool, R>;
    std::optional<Value> value;
    std::exception_ptr error;

    /// The call, made to store its outcome here. The box is shared, so it outlives a caller
    /// that stopped waiting.
    template <class F> static std::function<void()> into(std::shared_ptr<CallResult> box, F call) {
        return [box = std::move(box), call = std::move(call)]() mutable {
            try {
                if constexpr (std::is_void_v<R>) {
                    call();
                    box->value = true;
                } else {
                    box->value.emplace(call());
                }
            } catch (...) {
                box->error = std::current_exception();
            }
        };
    }
    /// The value, or the call's exception thrown again.
    Value take() {
        if (error)
            std::rethrow_exception(error);
        return std::move(*value);
    }
};

/// The progress of a transfer on a worker thread, handed to the waiting caller's thread: the worker
/// records the newest figures, the caller shows them a few times a second while it waits. When
/// the caller's display throws (its window went away) or its limit passes, the transfer is
/// stopped at the next figures it records.
template <class... Figures> class ProgressRelay {
public:
    using Show = std::function<void(Figures...)>;

    /// On the worker.
    void record(Figures... figures) {
        if (m_cancelled)
            throw std::runtime_error("the transfer was cancelled");
        std::lock_guard lock(m_mutex);
        m_figures = std::tuple(figures...);
        m_fresh = true;
    }
    /// On the caller: waits for `done` at most `limit`, showing progress through `show` (which may
    /// be empty); false when the limit passed first.
    bool wait(Waiter& waiter, Completion& done, std::chrono::milliseconds limit, const Show& show) {
        const auto slice = show ? std::chrono::milliseconds(100) : limit;
        const auto deadline = std::chrono::steady_clock::now() + limit;
        for (;;) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left <= std::chrono::milliseconds::zero()) {
                m_cancelled = true;
                return false;
            }
            const bool finished = waiter.wait(done, std::min(slice, left));
            if (show)
                deliver(show);
            if (finished)
                return true;
        }
    }

private:
    void deliver(const Show& show) {
        std::tuple<Figures...> figures;
        {
            std::lock_guard lock(m_mutex);
            if (!m_fresh)
                return;
            m_fresh = false;
            figures = m_figures;
        }
        try {
            std::apply(show, figures);
        } catch (...) {
            m_cancelled = true;
            throw;
        }
    }

    std::mutex m_mutex;
    std::tuple<Figures...> m_figures{};
    bool m_fresh = false;
    std::atomic<bool> m_cancelled{false};
};

/// HttpClient whose transfers each run on a thread of their own while the caller waits. The
/// wrapped client bounds its transfers itself; `overrun` past those bounds the wait is given
/// up all the same. Progress reaches the caller's callback on the caller's thread; an
/// exception from that callback ends the transfer and reaches the caller.
class OffThreadHttpClient final : public HttpClient {
public:
    struct Bounds {
        std::chrono::milliseconds post;
        std::chrono::milliseconds get;
    };
    OffThreadHttpClient(std::shared_ptr<HttpClient> inner, Waiter& waiter, Bounds bounds);

    Response post(const std::string& url, const std::string& contentType, const std::string& body) override;
    Response get(const std::string& url, const BasicAuth* auth = nullptr, const Progress& progress = {}) override;
    /// Transfers whose threads have not ended yet.
    int running() const;

    struct Counter;

private:
    std::shared_ptr<HttpClient> m_inner;
    Waiter& m_waiter;
    Bounds m_bounds;
    std::shared_ptr<Counter> m_running;
};

/// FileDownloader whose downloads each run on a thread of their own while the caller waits, the
/// window alive. Progress reaches the caller's callback on the caller's thread; an exception from
/// that callback ends the download and reaches the caller. The wrapped downloader bounds itself;
/// `limit` catches an overrun.
class OffThreadFileDownloader final : public FileDownloader {
public:
    OffThreadFileDownloader(std::shared_ptr<FileDownloader> inner, Waiter& waiter, std::chrono::milliseconds limit);
    Result download(const Request& request, const Progress& progress = {}) override;
    /// Downloads whose threads have not ended yet.
    int running() const;

private:
    std::shared_ptr<FileDownloader> m_inner;
    Waiter& m_waiter;
    std::chrono::milliseconds m_limit;
    std::shared_ptr<OffThreadHttpClient::Counter> m_running;
};

/// Spooler whose calls run on a worker of their own, each bounded by `limit`. A call that does
/// not end in time, and every call while it still runs, throws SpoolerUnavailable.
class OffThreadSpooler final : public Spooler {
public:
    OffThreadSpooler(std::shared_ptr<Spooler> inner, Waiter& waiter, std::chrono::milliseconds limit);
    std::vector<std::string> printers() override;
    Result printRaw(const std::string& printer, const std::string& documentName, const std::string& data) override;
    bool busy() const { return m_worker.busy(); }

private:
    std::shared_ptr<Spooler> m_inner;
    std::chrono::milliseconds m_limit;
    SerialWorker m_worker; // last: its thread stops before the adapter goes
};

/// TextPrinter whose calls all run on one worker thread, which owns the printer object and its
/// page from the first call to the end. Each call is bounded by `limit`, ending a document by
/// `endLimit`; a call that does not end in time, and every call while it still runs, throws
/// SpoolerUnavailable.
class OffThreadTextPrinter final : public TextPrinter {
public:
    OffThreadTextPrinter(std::shared_ptr<TextPrinter> inner, Waiter& waiter, std::chrono::milliseconds limit,
                         std::chrono::milliseconds endLimit);
    std::vector<std::string> printers() override;
    void select(const std::string& name) override;
    std::string current() override;
    void setFont(const std::string& family, float size) override;
    void setOrientation(Orientation orientation) override;
    void print(const std::string& text) override;
    void endDocument() override;
    bool busy() const { return m_worker.busy(); }

private:
    std::shared_ptr<TextPrinter> m_inner;
    std::chrono::milliseconds m_limit;
    std::chrono::milliseconds m_endLimit;
    SerialWorker m_worker;
};

/// What a caller of a spooler or printer port is told when the worker gave up or is held up.
std::string spoolerHandoverText(Handover outcome);

} // namespace station
