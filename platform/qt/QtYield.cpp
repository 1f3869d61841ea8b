// Lets the UI thread's pending events run in the middle of a synchronous job.
#include "platform/Adapters.h"
#include "platform/Yield.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace station {

namespace {

class QtYield final : public Yield {
public:
    void yield() override { QCoreApplication::processEvents(); }
    void pause(std::chrono::milliseconds duration) override {
        QEventLoop loop;
        QTimer::singleShot(duration, &loop, &QEventLoop::quit);
        loop.exec();
    }
};

} // namespace

std::unique_ptr<Yield> makeYield() {
    return std::make_unique<QtYield>();
}

} // namespace station
