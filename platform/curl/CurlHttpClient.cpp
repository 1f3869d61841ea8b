#include "platform/curl/CurlHttpClient.h"

#include <curl/curl.h>

#include <chrono>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>

namespace station {

namespace {

void initialiseCurl() {
    static std::once_flag once;
    // Never cleaned up: the library stays usable until the process ends, whoever still holds a
    // handle. A failure here shows again as a handle that cannot be made.
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

std::string bytesText(std::size_t bytes) {
    if (bytes >= (1u << 20) && bytes % (1u << 20) == 0)
        return std::to_string(bytes >> 20) + " MiB";
    if (bytes >= 1024 && bytes % 1024 == 0)
        return std::to_string(bytes >> 10) + " KiB";
    return std::to_string(bytes) + " bytes";
}

std::string secondsText(std::chrono::milliseconds time) {
    return std::to_string((time.count() + 999) / 1000) + " s";
}

/// One transfer: the easy handle, what it sends and what it has received so far.
class Transfer {
public:
    /// `total` bounds the whole transfer; `stall`, when not zero, the time without a byte moving.
    Transfer(const std::string& url, const HttpLimits& limits, std::chrono::milliseconds total,
             std::chrono::milliseconds stall, std::size_t maxBody)
        : m_handle(curl_easy_init(), &curl_easy_cleanup), m_total(total), m_stall(stall), m_maxBody(maxBody) {
        if (!m_handle)
            return;
        CURL* h = m_handle.get();
        set(curl_easy_setopt(h, CURLOPT_ERRORBUFFER, m_errorBuffer));
        set(curl_easy_setopt(h, CURLOPT_URL, url.c_str()));
        // The station talks HTTP(S) only: a file:// or other address never reaches another
        // protocol handler, neither directly nor through a redirect.
        set(curl_easy_setopt(h, CURLOPT_PROTOCOLS_STR, "http,https"));
        set(curl_easy_setopt(h, CURLOPT_REDIR_PROTOCOLS_STR, "http,https"));
        set(curl_easy_setopt(h, CURLOPT_FOLLOWLOCATION, 1L));
        set(curl_easy_setopt(h, CURLOPT_MAXREDIRS, CurlHttpClient::maxRedirects));
        // No SIGALRM for name look-up time-outs: signals do not mix with the UI toolkit's threads.
        set(curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L));
        set(curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connect.count())));
        set(curl_easy_setopt(h, CURLOPT_TIMEOUT_MS, static_cast<long>(total.count())));
        set(curl_easy_setopt(h, CURLOPT_SSL_VERIFYPEER, 1L));
        set(curl_easy_setopt(h, CURLOPT_SSL_VERIFYHOST, 2L));
        // With OpenSSL the system's CA folder stays trusted beside this file; with Schannel the
        // file is the only trust anchor of the transfer.
        if (!limits.caFile.empty())
            set(curl_easy_setopt(h, CURLOPT_CAINFO, limits.caFile.c_str()));
        set(curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, &Transfer::received));
        set(curl_easy_setopt(h, CURLOPT_WRITEDATA, static_cast<void*>(this)));
        // The progress function also watches for a transfer that has stopped moving; libcurl
        // calls it about once a second even when nothing arrives.
        set(curl_easy_setopt(h, CURLOPT_XFERINFOFUNCTION, &Transfer::progressed));
        set(curl_easy_setopt(h, CURLOPT_XFERINFODATA, static_cast<void*>(this)));
        set(curl_easy_setopt(h, CURLOPT_NOPROGRESS, 0L));
    }

    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    CURL* handle() const { return m_handle.get(); }

    /// Remembers the first option that libcurl refused; the transfer then fails without starting.
    void set(CURLcode result) {
        if (m_setup == CURLE_OK)
            m_setup = result;
    }

    void addHeader(const std::string& line) {
        // Appending returns the list's head, which is new only for the first line.
        curl_slist* head = curl_slist_append(m_headers.get(), line.c_str());
        if (!head) {
            set(CURLE_OUT_OF_MEMORY);
            return;
        }
        if (!m_headers)
            m_headers.reset(head);
    }

    void reportProgressTo(const HttpClient::Progress& progress) {
        if (progress)
            m_progress = &progress;
    }

    HttpClient::Response run() {
        HttpClient::Response response;
        if (!m_handle) {
            response.error = "cannot start an HTTP transfer";
            return response;
        }
        if (m_headers)
            set(curl_easy_setopt(m_handle.get(), CURLOPT_HTTPHEADER, m_headers.get()));
        m_lastMove = Clock::now();
        const CURLcode result = m_setup != CURLE_OK ? m_setup : curl_easy_perform(m_handle.get());
        // A failure inside the caller's progress callback belongs to the caller.
        if (m_failure)
            std::rethrow_exception(m_failure);

        long status = 0;
        curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
        response.status = status;
        if (!m_refusal.empty()) {
            response.error = m_refusal;
            return response;
        }
        response.body = std::move(m_body);
        curl_off_t connected = 0;
        curl_easy_getinfo(m_handle.get(), CURLINFO_CONNECT_TIME_T, &connected);
        if (result == CURLE_OPERATION_TIMEDOUT && connected > 0) {
            response.error = "the transfer did not end within " + secondsText(m_total);
            return response;
        }
        if (result != CURLE_OK) {
            response.error = curl_easy_strerror(result);
            if (m_errorBuffer[0] != '\0')
                response.error += std::string(": ") + m_errorBuffer;
            return response;
        }
        if (status < 200 || status > 299) {
            response.error = "HTTP " + std::to_string(status);
            return response;
        }
        // libcurl's last progress call may come before the last bytes were counted; the caller
        // always sees the finished count once.
        if (m_progress && m_reported != response.body.size())
            (*m_progress)(response.body.size(), response.body.size());
        response.ok = true;
        return response;
    }

private:
    using Clock = std::chrono::steady_clock;

    static std::size_t received(char* data, std::size_t size, std::size_t count, void* self) {
        auto* transfer = static_cast<Transfer*>(self);
        const std::size_t bytes = size * count;
        // A reply beyond any the station expects is refused before it can fill the memory.
        if (transfer->m_body.size() + bytes > transfer->m_maxBody) {
            transfer->m_refusal = "the reply is larger than " + bytesText(transfer->m_maxBody);
            return 0; // anything but the given size ends the transfer
        }
        try {
            transfer->m_body.append(data, bytes);
            return bytes;
        } catch (...) {
            transfer->m_failure = std::current_exception();
            return 0;
        }
    }

    static int progressed(void* self, curl_off_t downloadTotal, curl_off_t downloaded, curl_off_t,
                          curl_off_t uploaded) {
        auto* transfer = static_cast<Transfer*>(self);
        const auto now = Clock::now();
        const auto moved = static_cast<std::uint64_t>(downloaded) + static_cast<std::uint64_t>(uploaded);
        if (moved != transfer->m_moved) {
            transfer->m_moved = moved;
            transfer->m_lastMove = now;
        }
        if (transfer->m_stall.count() > 0 && now - transfer->m_lastMove >= transfer->m_stall) {
            transfer->m_refusal = "no data has moved for " + secondsText(transfer->m_stall);
            return 1; // non-zero aborts the transfer
        }
        if (!transfer->m_progress)
            return 0;
        try {
            transfer->m_reported = static_cast<std::uint64_t>(downloaded);
            (*transfer->m_progress)(transfer->m_reported, static_cast<std::uint64_t>(downloadTotal));
            return 0;
        } catch (...) {
            transfer->m_failure = std::current_exception();
            return 1;
        }
    }

    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> m_handle;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> m_headers{nullptr, &curl_slist_free_all};
    char m_errorBuffer[CURL_ERROR_SIZE] = {};
    CURLcode m_setup = CURLE_OK;
    std::chrono::milliseconds m_total;
    std::chrono::milliseconds m_stall;
    std::size_t m_maxBody;
    std::string m_body;
    const HttpClient::Progress* m_progress = nullptr;
    std::uint64_t m_reported = 0;
    std::uint64_t m_moved = 0;
    Clock::time_point m_lastMove = Clock::now();
    std::string m_refusal; ///< why the station itself ended the transfer
    std::exception_ptr m_failure;
};

} // namespace

CurlHttpClient::CurlHttpClient(HttpLimits limits) : m_limits(std::move(limits)) {
    initialiseCurl();
}

HttpClient::Response CurlHttpClient::post(const std::string& url, const std::string& contentType,
                                          const std::string& body) {
    // A small request: bounded as a whole, its reply bounded in size.
    Transfer transfer(url, m_limits, m_limits.request, std::chrono::milliseconds(0), m_limits.maxReply);
    if (CURL* h = transfer.handle()) {
        transfer.set(curl_easy_setopt(h, CURLOPT_POST, 1L));
        // The size first, so that a body with NUL bytes is sent whole and never measured with strlen.
        transfer.set(curl_easy_setopt(h, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size())));
        transfer.set(curl_easy_setopt(h, CURLOPT_POSTFIELDS, body.data()));
    }
    transfer.addHeader("Content-Type: " + contentType);
    // libcurl would ask for "100-continue" before larger bodies; some servers never answer it and
    // every request would wait a second for nothing.
    transfer.addHeader("Expect:");
    return transfer.run();
}

HttpClient::Response CurlHttpClient::get(const std::string& url, const BasicAuth* auth, const Progress& progress) {
    // A download: it may take long as long as it moves.
    Transfer transfer(url, m_limits, m_limits.downloadCap, m_limits.stall, m_limits.maxDownload);
    if (CURL* h = transfer.handle()) {
        transfer.set(curl_easy_setopt(h, CURLOPT_HTTPGET, 1L));
        if (auth) {
            transfer.set(curl_easy_setopt(h, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC)));
            transfer.set(curl_easy_setopt(h, CURLOPT_USERNAME, auth->user.c_str()));
            transfer.set(curl_easy_setopt(h, CURLOPT_PASSWORD, auth->password.c_str()));
        }
    }
    transfer.reportProgressTo(progress);
    return transfer.run();
}

std::unique_ptr<HttpClient> makeHttpClient(HttpLimits limits) {
    return std::make_unique<CurlHttpClient>(std::move(limits));
}

} // namespace station
