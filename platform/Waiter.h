#pragma once
// The one way the station waits for the outside world. Blocking work (a transfer, a spooler
// call) runs on a worker thread; the UI thread waits for it through a Waiter, which keeps the
// window painting and its timers and sockets served, and holds user input back until the
// result is in. The caller still sees a plain synchronous call.
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace station {

/// The end of one piece of work that runs on another thread. Shared by the worker, which
/// finishes it, and the waiter, which may stop waiting before that.
class Completion {
public:
    /// Marks the work finished and wakes the thread waiting for it, if one still does. Any
    /// thread; later calls do nothing.
    void finish();
    bool finished() const;
    /// Blocks the calling thread until the work is finished (true) or `limit` has passed.
    bool waitBlocking(std::chrono::milliseconds limit);
    /// For Waiter adapters: `wake` runs on the finishing thread, under the completion's lock,
    /// when the work finishes. An adapter clears it (empty function) before the loop that `wake`
    /// reaches goes away; from then on the worker never touches that loop.
    void setWake(std::function<void()> wake);

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_finishedChanged;
    bool m_finished = false;
    std::function<void()> m_wake;
};

class Waiter {
public:
    virtual ~Waiter() = default;
    /// Returns true when `work` has finished, false when `limit` passed first. Meanwhile the
    /// window stays alive: it paints, its timers fire and its sockets are served (so host
    /// commands still arrive and are answered); user input waits until this returns.
    virtual bool wait(Completion& work, std::chrono::milliseconds limit) = 0;
};

/// For threads without a window (tools, tests of the std-only pieces): simply blocks.
class BlockingWaiter final : public Waiter {
public:
    bool wait(Completion& work, std::chrono::milliseconds limit) override { return work.waitBlocking(limit); }
};

} // namespace station
