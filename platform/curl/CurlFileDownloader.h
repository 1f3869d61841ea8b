#pragma once
#include "platform/Adapters.h"
#include "platform/FileDownloader.h"

#include <cstdint>

namespace station {

/// FileDownloader over libcurl's easy interface. The body goes through a large write buffer
/// straight into the file; the memory a download takes does not grow with the file. A range
/// request is answered either with the rest (206 starting at the kept size: appended) or with
/// the whole file (200: written from the start); any other answer leaves the file as it was.
class CurlFileDownloader final : public FileDownloader {
public:
    CurlFileDownloader(HttpLimits limits, std::uint64_t maxBytes);
    Result download(const Request& request, const Progress& progress = {}) override;

private:
    HttpLimits m_limits;
    std::uint64_t m_maxBytes;
};

} // namespace station
