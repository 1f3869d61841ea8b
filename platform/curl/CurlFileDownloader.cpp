#include "platform/curl/CurlFileDownloader.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>
#include <vector>

namespace station {

namespace {

using Clock = std::chrono::steady_clock;

std::string secondsText(std::chrono::milliseconds time) {
    return std::to_string((time.count() + 999) / 1000) + " s";
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r' || s.back() == '\n'))
        s.remove_suffix(1);
    return s;
}

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size())
        return false;
    for (std::size_t i = 0; i < prefix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[i])) != std::tolower(static_cast<unsigned char>(prefix[i])))
            return false;
    return true;
}

/// The file at UTF-8 `path`, opened with the C library's `mode`.
std::FILE* openFile(const std::string& path, const char* mode) {
#ifdef _WIN32
    const std::filesystem::path name(std::u8string(path.begin(), path.end()));
    const std::wstring wideMode(mode, mode + std::char_traits<char>::length(mode));
    return _wfopen(name.c_str(), wideMode.c_str());
#else
    return std::fopen(path.c_str(), mode);
#endif
}

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

/// One download: the handle, the headers of the last answer and the file being written.
class Download {
public:
    Download(const FileDownloader::Request& request, const HttpLimits& limits, std::uint64_t maxBytes,
             const FileDownloader::Progress& progress)
        : m_request(request), m_limits(limits), m_maxBytes(maxBytes), m_progress(progress) {}

    FileDownloader::Result run() {
        FileDownloader::Result result;
        std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(curl_easy_init(), &curl_easy_cleanup);
        if (!handle) {
            result.error = "cannot start an HTTP transfer";
            return result;
        }
        CURL* h = handle.get();
        char errorBuffer[CURL_ERROR_SIZE] = {};
        const std::string range = std::to_string(m_request.resumeFrom) + "-";
        std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(nullptr, &curl_slist_free_all);
        if (m_request.resumeFrom > 0 && !m_request.ifRange.empty())
            headers.reset(curl_slist_append(nullptr, ("If-Range: " + m_request.ifRange).c_str()));

        CURLcode setup = CURLE_OK;
        const auto set = [&](CURLcode c) {
            if (setup == CURLE_OK)
                setup = c;
        };
        set(curl_easy_setopt(h, CURLOPT_ERRORBUFFER, errorBuffer));
        set(curl_easy_setopt(h, CURLOPT_URL, m_request.url.c_str()));
        set(curl_easy_setopt(h, CURLOPT_HTTPGET, 1L));
        set(curl_easy_setopt(h, CURLOPT_PROTOCOLS_STR, "http,https"));
        set(curl_easy_setopt(h, CURLOPT_REDIR_PROTOCOLS_STR, "http,https"));
        set(curl_easy_setopt(h, CURLOPT_FOLLOWLOCATION, 1L));
        set(curl_easy_setopt(h, CURLOPT_MAXREDIRS, 5L));
        set(curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L));
        set(curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(m_limits.connect.count())));
        set(curl_easy_setopt(h, CURLOPT_TIMEOUT_MS, static_cast<long>(m_limits.downloadCap.count())));
        set(curl_easy_setopt(h, CURLOPT_SSL_VERIFYPEER, 1L));
        set(curl_easy_setopt(h, CURLOPT_SSL_VERIFYHOST, 2L));
        if (!m_limits.caFile.empty())
            set(curl_easy_setopt(h, CURLOPT_CAINFO, m_limits.caFile.c_str()));
        // Large pieces: fewer calls per megabyte, as fast as a plain `curl -o`.
        set(curl_easy_setopt(h, CURLOPT_BUFFERSIZE, static_cast<long>(CURL_MAX_READ_SIZE)));
        if (m_request.resumeFrom > 0)
            set(curl_easy_setopt(h, CURLOPT_RANGE, range.c_str()));
        if (headers)
            set(curl_easy_setopt(h, CURLOPT_HTTPHEADER, headers.get()));
        set(curl_easy_setopt(h, CURLOPT_HEADERFUNCTION, &Download::header));
        set(curl_easy_setopt(h, CURLOPT_HEADERDATA, static_cast<void*>(this)));
        set(curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, &Download::received));
        set(curl_easy_setopt(h, CURLOPT_WRITEDATA, static_cast<void*>(this)));
        set(curl_easy_setopt(h, CURLOPT_XFERINFOFUNCTION, &Download::progressed));
        set(curl_easy_setopt(h, CURLOPT_XFERINFODATA, static_cast<void*>(this)));
        set(curl_easy_setopt(h, CURLOPT_NOPROGRESS, 0L));
        m_handle = h;
        m_lastMove = Clock::now();
        const CURLcode code = setup != CURLE_OK ? setup : curl_easy_perform(h);
        // An empty body never reaches the write function: its file is made here.
        if (code == CURLE_OK && !m_opened && m_refusal.empty()) {
            m_opened = true;
            long answered = 0;
            curl_easy_getinfo(h, CURLINFO_RESPONSE_CODE, &answered);
            m_accepting = openFor(answered);
        }
        // Whatever arrived is on disk before anyone looks at the file.
        if (m_file && std::fflush(m_file.get()) != 0 && m_refusal.empty())
            m_refusal = "the file could not be written";
        m_file.reset();
        if (m_failure)
            std::rethrow_exception(m_failure);

        long status = 0;
        curl_easy_getinfo(h, CURLINFO_RESPONSE_CODE, &status);
        result.status = status;
        result.validator = m_etag.empty() ? m_lastModified : m_etag;
        result.resumed = m_mode == Mode::Append;
        result.size = m_mode == Mode::None ? m_request.resumeFrom : m_written;
        if (!m_refusal.empty()) {
            result.error = m_refusal;
        } else if (code == CURLE_OPERATION_TIMEDOUT && m_mode != Mode::None) {
            result.error = "the transfer did not end within " + secondsText(m_limits.downloadCap);
        } else if (code != CURLE_OK) {
            result.error = curl_easy_strerror(code);
            if (errorBuffer[0] != '\0')
                result.error += std::string(": ") + errorBuffer;
        } else if (m_mode == Mode::None) {
            result.error = "HTTP " + std::to_string(status);
        } else {
            if (m_progress)
                m_progress(m_written, m_written);
            result.ok = true;
        }
        return result;
    }

private:
    enum class Mode { None, Write, Append };

    static std::size_t header(char* data, std::size_t size, std::size_t count, void* self) {
        auto* d = static_cast<Download*>(self);
        const std::string_view line(data, size * count);
        // Each answer (a redirect, then the file) starts with its status line.
        if (startsWithNoCase(line, "HTTP/")) {
            d->m_etag.clear();
            d->m_lastModified.clear();
            d->m_rangeStart = -1;
        } else if (startsWithNoCase(line, "ETag:")) {
            const auto value = trimmed(line.substr(5));
            // A weak validator cannot guard a range: only a strong one is kept.
            if (!startsWithNoCase(value, "W/"))
                d->m_etag = value;
        } else if (startsWithNoCase(line, "Last-Modified:")) {
            d->m_lastModified = trimmed(line.substr(14));
        } else if (startsWithNoCase(line, "Content-Range:")) {
            const auto value = trimmed(line.substr(14));
            // "bytes START-END/TOTAL"
            if (startsWithNoCase(value, "bytes ")) {
                try {
                    d->m_rangeStart = std::stoll(std::string(value.substr(6)));
                } catch (...) {
                    d->m_rangeStart = -1;
                }
            }
        }
        return size * count;
    }

    /// Opens the file for the answer that is starting; false when the answer carries no file.
    bool openFor(long status) {
        namespace fs = std::filesystem;
        std::error_code ec;
        if (status == 206 && m_request.resumeFrom > 0 && m_rangeStart == static_cast<long long>(m_request.resumeFrom)) {
            // Cut what lies past the kept bytes (an earlier, longer try) before appending.
            fs::resize_file(fs::path(std::u8string(m_request.path.begin(), m_request.path.end())), m_request.resumeFrom,
                            ec);
            if (ec) {
                m_refusal = "the partial file cannot be continued: " + ec.message();
                return false;
            }
            if (m_request.sink && !feedKeptBytes())
                return false;
            m_file.reset(openFile(m_request.path, "ab"));
            m_mode = Mode::Append;
            m_written = m_request.resumeFrom;
        } else if (status == 200) {
            // A new file rather than the old one cut to nothing: Linux file systems write a file
            // that was truncated to empty and written again out to disk as it is closed (ext4's
            // auto_da_alloc), which held the end of a 200 MB download for a quarter of a second.
            fs::remove(fs::path(std::u8string(m_request.path.begin(), m_request.path.end())), ec);
            m_file.reset(openFile(m_request.path, "wb"));
            m_mode = Mode::Write;
            m_written = 0;
        } else {
            return false;
        }
        if (!m_file) {
            m_refusal = "the file " + m_request.path + " cannot be written";
            m_mode = Mode::None;
            return false;
        }
        // The pieces libcurl hands over are large already: each goes to the file as it is, without
        // a copy into a buffer of the C library.
        std::setvbuf(m_file.get(), nullptr, _IONBF, 0);
        curl_off_t length = -1;
        curl_easy_getinfo(m_handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
        if (length > 0 && m_written + static_cast<std::uint64_t>(length) > m_maxBytes) {
            m_refusal = "the file is larger than " + std::to_string(m_maxBytes >> 20) + " MiB";
            return false;
        }
        return true;
    }

    /// The bytes kept from an earlier try, read once into the sink before the rest arrives.
    bool feedKeptBytes() {
        const std::unique_ptr<std::FILE, FileCloser> kept(openFile(m_request.path, "rb"));
        std::vector<char> piece(1u << 20);
        std::uint64_t left = m_request.resumeFrom;
        while (kept && left > 0) {
            const auto n = std::fread(
                piece.data(), 1, static_cast<std::size_t>(std::min<std::uint64_t>(left, piece.size())), kept.get());
            if (n == 0)
                break;
            m_request.sink->write(piece.data(), n);
            left -= n;
        }
        if (left > 0)
            m_refusal = "the partial file cannot be read back";
        return left == 0;
    }

    static std::size_t received(char* data, std::size_t size, std::size_t count, void* self) {
        auto* d = static_cast<Download*>(self);
        const std::size_t bytes = size * count;
        if (!d->m_opened) {
            d->m_opened = true;
            long status = 0;
            curl_easy_getinfo(d->m_handle, CURLINFO_RESPONSE_CODE, &status);
            d->m_accepting = d->openFor(status);
        }
        if (!d->m_accepting)
            return d->m_refusal.empty() ? bytes : 0; // an error page is read and dropped
        if (d->m_written + bytes > d->m_maxBytes) {
            d->m_refusal = "the file is larger than " + std::to_string(d->m_maxBytes >> 20) + " MiB";
            return 0;
        }
        if (std::fwrite(data, 1, bytes, d->m_file.get()) != bytes) {
            d->m_refusal = "the file " + d->m_request.path + " could not be written";
            return 0;
        }
        if (d->m_request.sink)
            d->m_request.sink->write(data, bytes);
        d->m_written += bytes;
        return bytes;
    }

    static int progressed(void* self, curl_off_t, curl_off_t downloaded, curl_off_t, curl_off_t) {
        auto* d = static_cast<Download*>(self);
        const auto now = Clock::now();
        if (static_cast<std::uint64_t>(downloaded) != d->m_moved) {
            d->m_moved = static_cast<std::uint64_t>(downloaded);
            d->m_lastMove = now;
        }
        if (d->m_limits.stall.count() > 0 && now - d->m_lastMove >= d->m_limits.stall) {
            d->m_refusal = "no data has moved for " + secondsText(d->m_limits.stall);
            return 1;
        }
        if (!d->m_progress || d->m_mode == Mode::None)
            return 0;
        try {
            curl_off_t length = -1;
            curl_easy_getinfo(d->m_handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
            const std::uint64_t base = d->m_mode == Mode::Append ? d->m_request.resumeFrom : 0;
            d->m_progress(d->m_written, length > 0 ? base + static_cast<std::uint64_t>(length) : 0);
            return 0;
        } catch (...) {
            d->m_failure = std::current_exception();
            return 1;
        }
    }

    const FileDownloader::Request& m_request;
    const HttpLimits& m_limits;
    std::uint64_t m_maxBytes;
    const FileDownloader::Progress& m_progress;
    CURL* m_handle = nullptr;
    std::unique_ptr<std::FILE, FileCloser> m_file;
    Mode m_mode = Mode::None;
    bool m_opened = false;
    bool m_accepting = false;
    std::uint64_t m_written = 0;
    std::uint64_t m_moved = 0;
    Clock::time_point m_lastMove;
    std::string m_etag, m_lastModified;
    long long m_rangeStart = -1;
    std::string m_refusal;
    std::exception_ptr m_failure;
};

} // namespace

CurlFileDownloader::CurlFileDownloader(HttpLimits limits, std::uint64_t maxBytes)
    : m_limits(std::move(limits)), m_maxBytes(maxBytes) {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

FileDownloader::Result CurlFileDownloader::download(const Request& request, const Progress& progress) {
    return Download(request, m_limits, m_maxBytes, progress).run();
}

std::unique_ptr<FileDownloader> makeFileDownloader(HttpLimits limits, std::uint64_t maxBytes) {
    return std::make_unique<CurlFileDownloader>(std::move(limits), maxBytes);
}

} // namespace station
