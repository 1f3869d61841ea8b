#pragma once
#include "platform/Adapters.h"
#include "platform/HttpClient.h"

namespace station {

/// HttpClient over libcurl's easy interface: one handle per transfer, so calls share no state and
/// a failed transfer leaves nothing behind for the next one.
///
/// Every transfer has the bounds of `HttpLimits`: a POST ends within its request time and takes a
/// reply of at most maxReply bytes; a GET ends when no byte has moved for the stall time (or at
/// the download cap). It verifies the server's certificate and host name, and follows at most
/// `maxRedirects` redirects (http and https only); one more ends as a failed transfer rather
/// than a silent loop.
class CurlHttpClient final : public HttpClient {
public:
    static constexpr long maxRedirects = 5;

    explicit CurlHttpClient(HttpLimits limits);

    Response post(const std::string& url, const std::string& contentType, const std::string& body) override;
    Response get(const std::string& url, const BasicAuth* auth = nullptr, const Progress& progress = {}) override;

private:
    HttpLimits m_limits;
};

} // namespace station
