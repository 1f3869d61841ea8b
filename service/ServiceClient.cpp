#include "service/ServiceClient.h"

#include "service/Text.h"

#include <exception>

namespace station {

ServiceClient::ServiceClient(HttpClient& http, const Codec& codec, std::string serviceUrl)
    : m_http(http), m_codec(codec), m_serviceUrl(std::move(serviceUrl)) {}

std::optional<std::string> ServiceClient::requestText(std::string_view key, std::string_view value) const {
    try {
        std::string body(key);
        body += m_codec.encode(value);
        const auto reply = m_http.post(m_serviceUrl, "application/x-www-form-urlencoded", body);
        if (!reply.ok)
            return std::nullopt;
        return m_codec.decode(reply.body);
    } catch (const std::exception&) {
        // A codec that throws fails this request only; the caller takes its failure path.
        return std::nullopt;
    }
}

std::optional<std::vector<std::string>> ServiceClient::request(std::string_view key, std::string_view value) const {
    auto text = requestText(key, value);
    if (!text)
        return std::nullopt;
    return text::split(*text, '|');
}

std::string escapeAmpersands(std::string_view value) {
    return text::replaceAll(value, "&", "&amp;");
}

std::string stripDashes(std::string_view stationId) {
    return text::removeAll(stationId, '-');
}

std::string queryEnvelope(std::string_view statement) {
    std::string out = "<xml><sql>";
    out += statement;
    out += "</sql><store_id>asm</store_id><store_path></store_path><trim>true</trim></xml>";
    return out;
}

} // namespace station
