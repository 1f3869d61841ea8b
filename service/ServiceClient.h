#pragma once
#include "platform/HttpClient.h"
#include "service/Codec.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// The one request shape of the central service: a synchronous form POST of key + encoded value,
/// answered by a text that is decoded and cut at "|".
class ServiceClient {
public:
    ServiceClient(HttpClient& http, const Codec& codec, std::string serviceUrl);

    /// Sends `key` (ending in "=") followed by encode(value) as it stands: no other escaping.
    /// Returns the decoded reply, or nothing when the transfer failed (dead or hung service,
    /// error status, codec failure).
    std::optional<std::string> requestText(std::string_view key, std::string_view value) const;
    /// requestText() split at every "|"; an empty reply gives no parts.
    std::optional<std::vector<std::string>> request(std::string_view key, std::string_view value) const;

    const std::string& serviceUrl() const { return m_serviceUrl; }

private:
    HttpClient& m_http;
    const Codec& m_codec;
    std::string m_serviceUrl;
};

/// "&" → "&amp;", as values that travel in the form body are written.
std::string escapeAmpersands(std::string_view value);
/// The station identity as the service keys it: every "-" removed.
std::string stripDashes(std::string_view stationId);
/// The envelope of requests that carry a database statement.
std::string queryEnvelope(std::string_view statement);

} // namespace station
