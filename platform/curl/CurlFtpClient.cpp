#include "platform/curl/CurlFtpClient.h"

#include "platform/FtpListing.h"

#include <curl/curl.h>

#include <chrono>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <utility>

namespace station {

namespace {

using Clock = std::chrono::steady_clock;

/// The largest listing taken in: a store folder of many thousand files stays far below it.
constexpr std::size_t maxListing = 16u << 20;

void initialiseCurl() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

std::string secondsText(std::chrono::milliseconds time) {
    return std::to_string((time.count() + 999) / 1000) + " s";
}

/// Failures after which the session's line can no longer be trusted: the next operation logs in
/// again. The others are the server refusing one request on a line that is still good.
bool lineLost(CURLcode code) {
    switch (code) {
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_QUOTE_ERROR:
    case CURLE_REMOTE_FILE_NOT_FOUND:
    case CURLE_UPLOAD_FAILED:
    case CURLE_READ_ERROR:
    case CURLE_FTP_COULDNT_RETR_FILE:
    case CURLE_REMOTE_DISK_FULL:
        return false;
    default:
        return true;
    }
}

class CurlFtpClient final : public FtpClient {
public:
    explicit CurlFtpClient(const FtpLimits& limits) : m_limits(limits) { initialiseCurl(); }
    ~CurlFtpClient() override = default;
    CurlFtpClient(const CurlFtpClient&) = delete;
    CurlFtpClient& operator=(const CurlFtpClient&) = delete;

    bool login(const std::string& host, const std::string& user, const std::string& password) override {
        disconnect();
        m_handle.reset(curl_easy_init());
        if (!m_handle) {
            m_lastError = "cannot start an FTP session";
            return false;
        }
        m_base = "ftp://" + host + "/";
        m_user = user;
        m_password = password;
        m_folderUrl = m_base;
        m_connected = perform(m_base, limits::ftpCommand, [&](CURL* h) { setOption(h, CURLOPT_NOBODY, 1L); });
        return m_connected;
    }

    bool isConnected() const override { return m_connected; }

    void disconnect() override {
        // Closing the handle ends the control connection (QUIT within the response bound).
        m_handle.reset();
        m_connected = false;
    }

    bool changeFolder(const std::string& remoteFolder) override {
        const std::string url = m_base + escapedPath(remoteFolder) + "/";
        // A store that has never had a file has no folder yet: it is made on the way in.
        if (!perform(url, limits::ftpCommand, [&](CURL* h) {
                setOption(h, CURLOPT_NOBODY, 1L);
                // Folder by folder, so that each missing one can be made in turn.
                setOption(h, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_MULTICWD));
                setOption(h, CURLOPT_FTP_CREATE_MISSING_DIRS, static_cast<long>(CURLFTP_CREATE_DIR_RETRY));
            }))
            return false;
        m_folderUrl = url;
        return true;
    }

    std::vector<std::string> list(const std::string& argument) override {
        std::string listing;
        const std::string command = argument.empty() ? std::string("LIST") : "LIST " + argument;
        if (!perform(m_folderUrl, m_limits.transferCap, [&](CURL* h) {
                setOption(h, CURLOPT_CUSTOMREQUEST, command.c_str());
                setOption(h, CURLOPT_WRITEFUNCTION, &CurlFtpClient::received);
                setOption(h, CURLOPT_WRITEDATA, static_cast<void*>(&listing));
            }))
            return {};
        return ftpEntryNames(listing);
    }

    std::vector<std::string> nameList() override {
        std::string listing;
        if (!perform(m_folderUrl, m_limits.transferCap, [&](CURL* h) {
                setOption(h, CURLOPT_DIRLISTONLY, 1L);
                setOption(h, CURLOPT_WRITEFUNCTION, &CurlFtpClient::received);
                setOption(h, CURLOPT_WRITEDATA, static_cast<void*>(&listing));
            }))
            return {};
        return ftpNames(listing);
    }

    bool store(const std::string& localPath, const std::string& remoteName, const Progress& progress) override {
        const std::filesystem::path path(reinterpret_cast<const char8_t*>(localPath.c_str()));
        std::ifstream file(path, std::ios::binary);
        std::error_code error;
        const auto size = std::filesystem::file_size(path, error);
        if (!file || error) {
            m_lastError = "cannot read " + localPath;
            return false;
        }
        m_progress = progress ? &progress : nullptr;
        const bool stored = perform(m_folderUrl + escapedPath(remoteName), m_limits.transferCap, [&](CURL* h) {
            setOption(h, CURLOPT_UPLOAD, 1L);
            setOption(h, CURLOPT_READFUNCTION, &CurlFtpClient::read);
            setOption(h, CURLOPT_READDATA, static_cast<void*>(&file));
            setOption(h, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(size));
            setOption(h, CURLOPT_FTP_CREATE_MISSING_DIRS, static_cast<long>(CURLFTP_CREATE_DIR_RETRY));
        });
        if (m_progress)
            (*m_progress)(false, m_moved, size);
        m_progress = nullptr;
        return stored;
    }

    bool remove(const std::string& remoteName) override {
        // The command runs after the change into the session's folder, so the bare name is meant.
        std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> commands(
            curl_slist_append(nullptr, ("DELE " + remoteName).c_str()), &curl_slist_free_all);
        return perform(m_folderUrl, limits::ftpCommand, [&](CURL* h) {
            setOption(h, CURLOPT_NOBODY, 1L);
            setOption(h, CURLOPT_POSTQUOTE, commands.get());
        });
    }

    std::string lastError() const override { return m_lastError; }

private:
    template <class V> void setOption(CURL* h, CURLoption option, V value) {
        const CURLcode result = curl_easy_setopt(h, option, value);
        if (m_setup == CURLE_OK)
            m_setup = result;
    }

    /// Each path segment percent-encoded; the "/" between them kept.
    std::string escapedPath(const std::string& path) const {
        std::string out;
        std::size_t start = 0;
        for (;;) {
            const auto slash = path.find('/', start);
            const auto segment = path.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
            if (char* escaped = curl_easy_escape(m_handle.get(), segment.c_str(), static_cast<int>(segment.size()))) {
                out += escaped;
                curl_free(escaped);
            }
            if (slash == std::string::npos)
                return out;
            out += '/';
            start = slash + 1;
        }
    }

    /// One operation on the session's handle: the options every operation has, then `specific`.
    bool perform(const std::string& url, std::chrono::milliseconds total, const std::function<void(CURL*)>& specific) {
        m_lastError.clear();
        if (!m_handle) {
            m_lastError = "not connected to the FTP server";
            return false;
        }
        CURL* h = m_handle.get();
        // Resetting the options keeps the live connection and its login.
        curl_easy_reset(h);
        m_setup = CURLE_OK;
        m_errorBuffer[0] = '\0';
        m_refusal.clear();
        m_moved = 0;
        const auto started = Clock::now();
        m_lastMove = started;
        setOption(h, CURLOPT_ERRORBUFFER, m_errorBuffer);
        setOption(h, CURLOPT_URL, url.c_str());
        setOption(h, CURLOPT_PROTOCOLS_STR, "ftp");
        setOption(h, CURLOPT_USERNAME, m_user.c_str());
        setOption(h, CURLOPT_PASSWORD, m_password.c_str());
        setOption(h, CURLOPT_NOSIGNAL, 1L);
        setOption(h, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(m_limits.connect.count()));
        setOption(h, CURLOPT_TIMEOUT_MS, static_cast<long>(total.count()));
        setOption(h, CURLOPT_SERVER_RESPONSE_TIMEOUT,
                  static_cast<long>(std::chrono::ceil<std::chrono::seconds>(m_limits.response).count()));
        // Explicit TLS when the server offers it; a server without it is spoken to in the clear.
        setOption(h, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_TRY));
        setOption(h, CURLOPT_SSL_VERIFYPEER, 1L);
        setOption(h, CURLOPT_SSL_VERIFYHOST, 2L);
        if (!m_limits.caFile.empty())
            setOption(h, CURLOPT_CAINFO, m_limits.caFile.c_str());
        setOption(h, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_SINGLECWD));
        setOption(h, CURLOPT_XFERINFOFUNCTION, &CurlFtpClient::progressed);
        setOption(h, CURLOPT_XFERINFODATA, static_cast<void*>(this));
        setOption(h, CURLOPT_NOPROGRESS, 0L);
        specific(h);

        const CURLcode result = m_setup != CURLE_OK ? m_setup : curl_easy_perform(h);
        if (m_failure) {
            auto failure = std::exchange(m_failure, nullptr);
            disconnect();
            std::rethrow_exception(failure);
        }
        if (result == CURLE_OK)
            return true;
        if (!m_refusal.empty())
            m_lastError = m_refusal;
        else if (result == CURLE_OPERATION_TIMEDOUT)
            m_lastError =
                timedOut(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started), total);
        else
            m_lastError = std::string(curl_easy_strerror(result)) +
                          (m_errorBuffer[0] != '\0' ? std::string(": ") + m_errorBuffer : std::string());
        if (lineLost(result))
            disconnect();
        return false;
    }

    /// libcurl reports each of its bounds as the same time-out: the time that passed tells which
    /// one it was (the connection, one answer, or the whole operation).
    std::string timedOut(std::chrono::milliseconds waited, std::chrono::milliseconds total) const {
        using namespace std::chrono_literals;
        constexpr auto slack = 500ms;
        if (waited + slack >= total)
            return "the FTP server did not finish within " + secondsText(total);
        const auto bound = waited + slack >= m_limits.response ? m_limits.response : m_limits.connect;
        return "the FTP server did not answer within " + secondsText(bound);
    }

    static std::size_t received(char* data, std::size_t size, std::size_t count, void* out) {
        auto* listing = static_cast<std::string*>(out);
        const std::size_t bytes = size * count;
        if (listing->size() + bytes > maxListing)
            return 0;
        listing->append(data, bytes);
        return bytes;
    }

    static std::size_t read(char* buffer, std::size_t size, std::size_t count, void* in) {
        auto* file = static_cast<std::ifstream*>(in);
        file->read(buffer, static_cast<std::streamsize>(size * count));
        if (file->bad())
            return CURL_READFUNC_ABORT;
        return static_cast<std::size_t>(file->gcount());
    }

    static int progressed(void* self, curl_off_t, curl_off_t downloaded, curl_off_t uploadTotal, curl_off_t uploaded) {
        auto* client = static_cast<CurlFtpClient*>(self);
        const auto now = Clock::now();
        const auto moved = static_cast<std::uint64_t>(downloaded) + static_cast<std::uint64_t>(uploaded);
        if (moved != client->m_moved) {
            client->m_moved = moved;
            client->m_lastMove = now;
        }
        if (now - client->m_lastMove >= client->m_limits.stall) {
            client->m_refusal = "no data has moved for " + secondsText(client->m_limits.stall);
            return 1; // non-zero aborts the transfer
        }
        if (!client->m_progress || uploadTotal <= 0)
            return 0;
        try {
            (*client->m_progress)(true, static_cast<std::uint64_t>(uploaded), static_cast<std::uint64_t>(uploadTotal));
            return 0;
        } catch (...) {
            client->m_failure = std::current_exception();
            return 1;
        }
    }

    FtpLimits m_limits;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> m_handle{nullptr, &curl_easy_cleanup};
    std::string m_base;
    std::string m_folderUrl;
    std::string m_user;
    std::string m_password;
    bool m_connected = false;
    std::string m_lastError;
    char m_errorBuffer[CURL_ERROR_SIZE] = {};
    CURLcode m_setup = CURLE_OK;
    std::string m_refusal;
    const Progress* m_progress = nullptr;
    std::exception_ptr m_failure;
    std::uint64_t m_moved = 0;
    Clock::time_point m_lastMove = Clock::now();
};

} // namespace

std::unique_ptr<FtpClient> CurlFtpSessions::open() {
    return std::make_unique<CurlFtpClient>(m_limits);
}

std::unique_ptr<FtpSessions> makeFtpSessions(FtpLimits limits) {
    return std::make_unique<CurlFtpSessions>(std::move(limits));
}

} // namespace station
