#include "platform/Waiter.h"

namespace station {

void Completion::finish() {
    std::lock_guard lock(m_mutex);
    if (m_finished)
        return;
    m_finished = true;
    if (m_wake)
        m_wake();
    m_finishedChanged.notify_all();
}

bool Completion::finished() const {
    std::lock_guard lock(m_mutex);
    return m_finished;
}

bool Completion::waitBlocking(std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    return m_finishedChanged.wait_for(lock, limit, [this] { return m_finished; });
}

void Completion::setWake(std::function<void()> wake) {
    std::lock_guard lock(m_mutex);
    m_wake = std::move(wake);
}

} // namespace station
