#include "platform/curl/CurlHttpClient.h"

#include <curl/curl.h>

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

/// One transfer: the easy handle, what it sends and what it has received so far.
class Transfer {
public:
    Transfer(const std::string& url, const HttpTimeouts& timeouts) : m_handle(curl_easy_init(), &curl_easy_cleanup) {
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
        set(curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(timeouts.connect.count())));
        set(curl_easy_setopt(h, CURLOPT_TIMEOUT_MS, static_cast<long>(timeouts.total.count())));
        set(curl_easy_setopt(h, CURLOPT_SSL_VERIFYPEER, 1L));
        set(curl_easy_setopt(h, CURLOPT_SSL_VERIFYHOST, 2L));
        // With OpenSSL the system's CA folder stays trusted beside this file; with Schannel the
        // file is the only trust anchor of the transfer.
        if (!timeouts.caFile.empty())
            set(curl_easy_setopt(h, CURLOPT_CAINFO, timeouts.caFile.c_str()));
        set(curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, &Transfer::received));
        set(curl_easy_setopt(h, CURLOPT_WRITEDATA, static_cast<void*>(this)));
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
        if (!progress || !m_handle)
            return;
        m_progress = &progress;
        set(curl_easy_setopt(m_handle.get(), CURLOPT_XFERINFOFUNCTION, &Transfer::progressed));
        set(curl_easy_setopt(m_handle.get(), CURLOPT_XFERINFODATA, static_cast<void*>(this)));
        set(curl_easy_setopt(m_handle.get(), CURLOPT_NOPROGRESS, 0L));
    }

    HttpClient::Response run() {
        HttpClient::Response response;
        if (!m_handle) {
            response.error = "cannot start an HTTP transfer";
            return response;
        }
        if (m_headers)
            set(curl_easy_setopt(m_handle.get(), CURLOPT_HTTPHEADER, m_headers.get()));
        const CURLcode result = m_setup != CURLE_OK ? m_setup : curl_easy_perform(m_handle.get());
        // A failure inside the caller's progress callback belongs to the caller.
        if (m_failure)
            std::rethrow_exception(m_failure);

        long status = 0;
        curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
        response.status = status;
        response.body = std::move(m_body);
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
    static std::size_t received(char* data, std::size_t size, std::size_t count, void* self) {
        auto* transfer = static_cast<Transfer*>(self);
        try {
            transfer->m_body.append(data, size * count);
            return size * count;
        } catch (...) {
            transfer->m_failure = std::current_exception();
            return 0; // anything but the given size ends the transfer
        }
    }

    static int progressed(void* self, curl_off_t downloadTotal, curl_off_t downloaded, curl_off_t, curl_off_t) {
        auto* transfer = static_cast<Transfer*>(self);
        try {
            transfer->m_reported = static_cast<std::uint64_t>(downloaded);
            (*transfer->m_progress)(transfer->m_reported, static_cast<std::uint64_t>(downloadTotal));
            return 0;
        } catch (...) {
            transfer->m_failure = std::current_exception();
            return 1; // non-zero aborts the transfer
        }
    }

    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> m_handle;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> m_headers{nullptr, &curl_slist_free_all};
    char m_errorBuffer[CURL_ERROR_SIZE] = {};
    CURLcode m_setup = CURLE_OK;
    std::string m_body;
    const HttpClient::Progress* m_progress = nullptr;
    std::uint64_t m_reported = 0;
    std::exception_ptr m_failure;
};

} // namespace

CurlHttpClient::CurlHttpClient(HttpTimeouts timeouts) : m_timeouts(std::move(timeouts)) {
    initialiseCurl();
}

HttpClient::Response CurlHttpClient::post(const std::string& url, const std::string& contentType,
                                          const std::string& body) {
    Transfer transfer(url, m_timeouts);
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
    Transfer transfer(url, m_timeouts);
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

std::unique_ptr<HttpClient> makeHttpClient(HttpTimeouts timeouts) {
    return std::make_unique<CurlHttpClient>(std::move(timeouts));
}

} // namespace station
