#pragma once
// The uploader's FTP sessions off the UI thread (see platform/OffThread.h for the design): each
// call of a session runs on a thread of its own while the caller waits with the window alive,
// bounded by the limits the adapter keeps itself plus an overrun.
#include "platform/FtpClient.h"
#include "platform/Waiter.h"

#include <chrono>
#include <memory>

namespace station {

class OffThreadFtpSessions final : public FtpSessions {
public:
    struct Bounds {
        std::chrono::milliseconds command;  ///< log-in, change of folder, delete, disconnect
        std::chrono::milliseconds transfer; ///< a listing or an upload
    };
    OffThreadFtpSessions(std::shared_ptr<FtpSessions> inner, Waiter& waiter, Bounds bounds);
    std::unique_ptr<FtpClient> open() override;
    /// Calls whose threads have not ended yet, over all sessions.
    int running() const;

    struct Counter;

private:
    std::shared_ptr<FtpSessions> m_inner;
    Waiter& m_waiter;
    Bounds m_bounds;
    std::shared_ptr<Counter> m_running;
};

} // namespace station
