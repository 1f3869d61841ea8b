// Lets the UI thread's pending events run in the middle of a synchronous job.
#include "platform/Adapters.h"
#include "platform/Yield.h"

#include <QCoreApplication>

namespace station {

namespace {

class QtYield final : public Yield {
public:
    void yield() override { QCoreApplication::processEvents(); }
};

} // namespace

std::unique_ptr<Yield> makeYield() {
    return std::make_unique<QtYield>();
}

} // namespace station
