// Waiting with the window alive: a local event loop that serves painting, timers and sockets and
// holds user input back until the work is finished or its limit has passed.
#include "platform/Adapters.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

namespace station {
namespace {

class QtWaiter final : public Waiter {
public:
    bool wait(Completion& work, std::chrono::milliseconds limit) override {
        if (work.finished())
            return true;
        // Off the UI thread there is no window to keep alive.
        auto* app = QCoreApplication::instance();
        if (!app || QThread::currentThread() != app->thread())
            return work.waitBlocking(limit);

        QEventLoop loop;
        QTimer timeUp;
        timeUp.setSingleShot(true);
        // A coarse timer may fire 5 % early: the limit is the limit.
        timeUp.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timeUp, &QTimer::timeout, &loop, &QEventLoop::quit);
        // Posted, not called: the worker's thread must never run the loop's code. A posted
        // event for a loop that is gone is dropped with it.
        work.setWake([&loop] { QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection); });
        if (!work.finished()) {
            timeUp.start(limit);
            loop.exec(QEventLoop::ExcludeUserInputEvents);
        }
        work.setWake({});
        return work.finished();
    }
};

} // namespace

std::unique_ptr<Waiter> makeWaiter() {
    return std::make_unique<QtWaiter>();
}

} // namespace station
