#pragma once
#include <cstdint>
#include <functional>
#include <string>

namespace station {

/// Synchronous HTTP(S) transfers. Every call is bounded by a connect time-out and an overall
/// time-out, so a dead or hung server ends as a failed transfer instead of a hung window.
class HttpClient {
public:
    struct Response {
        bool ok = false;   ///< transfer completed with a 2xx status
        long status = 0;   ///< HTTP status, 0 when no answer came
        std::string body;  ///< body bytes exactly as received
        std::string error; ///< readable reason when !ok
    };
    struct BasicAuth {
        std::string user;
        std::string password;
    };
    /// Called while receiving with (bytes so far, total or 0 when unknown).
    using Progress = std::function<void(std::uint64_t received, std::uint64_t total)>;

    virtual ~HttpClient() = default;
    /// POST `body` as it stands with the given Content-Type header.
    virtual Response post(const std::string& url, const std::string& contentType, const std::string& body) = 0;
    /// GET the address, optionally with basic authentication, reporting progress.
    virtual Response get(const std::string& url, const BasicAuth* auth = nullptr, const Progress& progress = {}) = 0;
};

} // namespace station
