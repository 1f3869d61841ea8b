#pragma once
#include "platform/Adapters.h"
#include "platform/FtpClient.h"

namespace station {

/// FtpSessions over libcurl: each session is one easy handle, which keeps its control
/// connection, and with it the login, from one operation to the next.
class CurlFtpSessions final : public FtpSessions {
public:
    explicit CurlFtpSessions(FtpLimits limits) : m_limits(std::move(limits)) {}
    std::unique_ptr<FtpClient> open() override;

private:
    FtpLimits m_limits;
};

} // namespace station
