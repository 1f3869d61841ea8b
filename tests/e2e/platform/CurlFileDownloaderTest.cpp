// The libcurl download-to-disk adapter against a real HTTP server on loopback: whole files,
// continued ones, servers that ignore or refuse ranges, bounds on size and on stalls.
#include "platform/curl/CurlFileDownloader.h"
#include "tests/e2e/support/HttpServing.h"

#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <optional>
#include <thread>

namespace station {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

std::string body() {
    std::string out;
    for (int i = 0; i < 3 * 1024 * 1024; ++i)
        out += static_cast<char>(i * 13 % 251);
    return out;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

/// What a download hands its sink, kept whole.
struct Collected : ByteSink {
    std::string bytes;
    void write(const char* data, std::size_t size) override { bytes.append(data, size); }
};

class CurlDownload : public testing::Test {
protected:
    static void SetUpTestSuite() { qputenv("no_proxy", "*"); }

    CurlDownload() {
        // httplib cuts a single requested range out of the body itself; If-Range is ours to check.
        m_server.Get("/file", [this](const httplib::Request& req, httplib::Response& res) {
            lastRange = req.get_header_value("Range");
            lastIfRange = req.get_header_value("If-Range");
            if (ignoreRanges || lastIfRange != etag)
                const_cast<httplib::Request&>(req).ranges.clear();
            res.set_header("ETag", etag);
            res.set_header("Last-Modified", "Mon, 23 Nov 2026 10:00:00 GMT");
            res.set_content(file, "application/octet-stream");
        });
        m_server.Get("/missing", [](const httplib::Request& req, httplib::Response& res) {
            const_cast<httplib::Request&>(req).ranges.clear();
            res.status = 404;
            res.set_content("not here", "text/plain");
        });
        m_server.Get("/stalls", [](const httplib::Request&, httplib::Response& res) {
            res.set_content_provider(1 << 20, "application/octet-stream",
                                     [](std::size_t offset, std::size_t, httplib::DataSink& sink) {
                                         if (offset > 0) {
                                             std::this_thread::sleep_for(2500ms);
                                             return false;
                                         }
                                         const std::string piece(100 * 1024, 'x');
                                         return sink.write(piece.data(), piece.size());
                                     });
        });
        m_serving.emplace(m_server);
    }

    FileDownloader::Result download(const std::string& path, std::uint64_t from = 0, const std::string& ifRange = {},
                                    HttpLimits limits = {}, std::uint64_t maxBytes = 64 << 20) {
        CurlFileDownloader downloader(limits, maxBytes);
        fed = std::make_shared<Collected>();
        return downloader.download({m_serving->url(path), target, from, ifRange, fed});
    }

    QTemporaryDir dir;
    std::string target = dir.filePath(QStringLiteral("Setup.exe.partial")).toStdString();
    std::string file = body();
    std::string etag = "\"abc\"";
    bool ignoreRanges = false;
    std::string lastRange, lastIfRange;
    std::shared_ptr<Collected> fed;

private:
    httplib::Server m_server;
    std::optional<test::Serving> m_serving;
};

TEST_F(CurlDownload, AWholeFileGoesToDiskByteForByteWithItsValidator) {
    writeFile(target, std::string(5 << 20, 'z')); // a longer leftover is replaced, not overwritten
    const auto r = download("/file");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(readFile(target), file);
    EXPECT_EQ(r.validator, etag);
    EXPECT_EQ(r.size, file.size());
    EXPECT_FALSE(r.resumed);
    EXPECT_TRUE(lastRange.empty());
    EXPECT_EQ(fed->bytes, file);
}

TEST_F(CurlDownload, TheRestIsAppendedWhenTheValidatorStillMatches) {
    // What lies past the kept bytes (a longer, older try) is cut before the rest is appended.
    writeFile(target, file.substr(0, 1000000) + "garbage");
    const auto r = download("/file", 1000000, etag);
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_TRUE(r.resumed);
    EXPECT_EQ(r.status, 206);
    EXPECT_EQ(lastRange, "bytes=1000000-");
    EXPECT_EQ(lastIfRange, etag);
    EXPECT_EQ(readFile(target), file);
    EXPECT_EQ(fed->bytes, file) << "the kept bytes, read back once, then the rest";
}

TEST_F(CurlDownload, TheWholeFileReplacesThePartWhenTheServerSendsItWhole) {
    for (const bool changed : {true, false}) {
        writeFile(target, std::string(1000000, 'o'));
        ignoreRanges = !changed;
        const auto r = download("/file", 1000000, changed ? "\"old\"" : etag);
        ASSERT_TRUE(r.ok) << r.error;
        EXPECT_FALSE(r.resumed);
        EXPECT_EQ(r.status, 200);
        EXPECT_EQ(readFile(target), file) << (changed ? "a new file" : "a server without ranges");
        EXPECT_EQ(fed->bytes, file) << "the kept part is not part of the file now";
    }
}

TEST_F(CurlDownload, AWeakEntityTagIsNoValidatorTheDateIsUsedInstead) {
    etag = "W/\"weak\"";
    const auto r = download("/file");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.validator, "Mon, 23 Nov 2026 10:00:00 GMT");
}

TEST_F(CurlDownload, AnErrorAnswerLeavesTheKeptPartAsItWas) {
    writeFile(target, "kept part");
    const auto r = download("/missing", 9, etag);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.status, 404);
    EXPECT_THAT(r.error, HasSubstr("404"));
    EXPECT_EQ(readFile(target), "kept part");
    EXPECT_EQ(r.size, 9u);
    EXPECT_EQ(fed->bytes, "") << "an error page is no part of the file";
}

TEST_F(CurlDownload, AFileLargerThanTheLimitIsRefused) {
    const auto r = download("/file", 0, {}, {}, 1 << 20);
    EXPECT_FALSE(r.ok);
    EXPECT_THAT(r.error, HasSubstr("larger than 1 MiB"));
}

TEST_F(CurlDownload, AServerThatStopsSendingEndsAfterTheStallBoundKeepingWhatCame) {
    HttpLimits limits;
    limits.stall = 500ms;
    const auto start = std::chrono::steady_clock::now();
    const auto r = download("/stalls", 0, {}, limits);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2400ms) << "the stall bound, not the server, ended it";
    EXPECT_FALSE(r.ok);
    EXPECT_THAT(r.error, HasSubstr("no data has moved"));
    EXPECT_EQ(readFile(target), std::string(100 * 1024, 'x'));
}

} // namespace
} // namespace station
