#pragma once
#include "platform/Limits.h"
#include "platform/Spooler.h"

#include <chrono>

namespace station {

/// Raw jobs and printer lists through CUPS, each call on a connection of its own with the
/// given bounds, so a scheduler that is down or hung ends the call with SpoolerUnavailable
/// instead of holding it. libcups reads CUPS_SERVER itself, which is how a private scheduler
/// (or a socket path) is reached.
class CupsSpooler final : public Spooler {
public:
    struct Bounds {
        std::chrono::milliseconds connect = limits::connect;
        /// Each request, from sending it to the end of its answer.
        std::chrono::milliseconds answer = limits::spoolerAnswer;
    };
    CupsSpooler() = default;
    explicit CupsSpooler(Bounds bounds) : m_bounds(bounds) {}

    std::vector<std::string> printers() override;
    Result printRaw(const std::string& printer, const std::string& documentName, const std::string& data) override;

private:
    Bounds m_bounds;
};

} // namespace station
