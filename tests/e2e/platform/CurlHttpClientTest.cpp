// The libcurl HTTP client against real HTTP(S) servers on loopback.
#include "platform/curl/CurlHttpClient.h"
#include "tests/e2e/support/HttpServing.h"

#include <QHostAddress>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>

namespace station {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

using test::Serving;

/// 2 MB of every byte value.
std::string largeBinary() {
    std::string out;
    for (int i = 0; i < 2 * 1024 * 1024; ++i)
        out += static_cast<char>(i * 7 % 256);
    return out;
}

class CurlHttp : public testing::Test {
protected:
    // Loopback must never go through a proxy from the environment.
    static void SetUpTestSuite() { qputenv("no_proxy", "*"); }

    CurlHttp() {
        m_http.set_payload_max_length(8 * 1024 * 1024);
        m_http.Post("/echo", [this](const httplib::Request& req, httplib::Response& res) {
            received = req;
            res.set_content(req.body, "application/octet-stream");
        });
        m_http.Get("/binary", [](const httplib::Request&, httplib::Response& res) {
            res.set_content(largeBinary(), "application/octet-stream");
        });
        m_http.Get("/chunked", [](const httplib::Request&, httplib::Response& res) {
            res.set_chunked_content_provider("application/octet-stream", [](std::size_t, httplib::DataSink& sink) {
                const auto body = largeBinary();
                for (std::size_t at = 0; at < body.size(); at += 65536)
                    sink.write(body.data() + at, std::min<std::size_t>(65536, body.size() - at));
                sink.done();
                return true;
            });
        });
        m_http.Get(R"(/status/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
            res.status = std::stoi(req.matches[1]);
            res.set_content("status " + std::string(req.matches[1]), "text/plain");
        });
        m_http.Get("/reports/doc.txt", [](const httplib::Request& req, httplib::Response& res) {
            if (req.get_header_value("Authorization") == "Basic Y2xlcms6cEBzczp3b3Jk") {
                res.set_content("report", "text/plain");
                return;
            }
            res.status = 401;
            res.set_header("WWW-Authenticate", "Basic realm=\"Reports\"");
        });
        m_http.Get(R"(/hop/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
            const int left = std::stoi(req.matches[1]);
            if (left == 0)
                res.set_content("landed", "text/plain");
            else
                res.set_redirect("/hop/" + std::to_string(left - 1));
        });
        m_serving.emplace(m_http); // routes first: the server thread reads them
    }

    httplib::Request received;
    httplib::Server m_http;
    std::optional<Serving> m_serving;
    CurlHttpClient m_client{HttpLimits{2s, 10s, {}}};
};

struct PostCase {
    const char* name;
    const char* contentType;
    std::string body;
};

class CurlPost : public CurlHttp, public testing::WithParamInterface<PostCase> {};

TEST_P(CurlPost, SendsTheBodyAndTypeExactlyWithoutExpect) {
    const auto response = m_client.post(m_serving->url("/echo"), GetParam().contentType, GetParam().body);
    ASSERT_TRUE(response.ok) << response.error;
    EXPECT_EQ(response.status, 200);
    EXPECT_TRUE(received.body == GetParam().body) << "sent bytes arrived changed";
    EXPECT_TRUE(response.body == GetParam().body) << "answer bytes arrived changed";
    EXPECT_EQ(received.get_header_value("Content-Type"), GetParam().contentType);
    EXPECT_FALSE(received.has_header("Expect"));
}

// The server takes at most 8 KB as a form, so the large body travels under another type.
const char* const form = "application/x-www-form-urlencoded";
INSTANTIATE_TEST_SUITE_P(Bodies, CurlPost,
                         testing::Values(PostCase{"empty", form, ""}, PostCase{"form", form, "mac=0011&amp;x|y=1|"},
                                         PostCase{"nul_and_high_bytes", form, std::string("a\0b\xff\r\n", 6)},
                                         PostCase{"two_megabytes", "application/octet-stream", largeBinary()}),
                         [](const auto& p) { return std::string(p.param.name); });

class CurlDownload : public CurlHttp, public testing::WithParamInterface<const char*> {};

TEST_P(CurlDownload, DeliversExactBytesAndReportsProgressToTheEnd) {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> calls;
    const auto response = m_client.get(m_serving->url(GetParam()), nullptr,
                                       [&](auto got, auto total) { calls.emplace_back(got, total); });
    ASSERT_TRUE(response.ok) << response.error;
    const auto expected = largeBinary();
    EXPECT_TRUE(response.body == expected);
    ASSERT_FALSE(calls.empty());
    EXPECT_TRUE(std::is_sorted(calls.begin(), calls.end(), [](auto& a, auto& b) { return a.first < b.first; }));
    EXPECT_EQ(calls.back().first, expected.size());
}

INSTANTIATE_TEST_SUITE_P(Lengths, CurlDownload, testing::Values("/binary", "/chunked"));

struct StatusCase {
    const char* path;
    std::optional<HttpClient::BasicAuth> auth;
    bool ok;
    long status;
    const char* error;
};

class CurlStatus : public CurlHttp, public testing::WithParamInterface<StatusCase> {};

TEST_P(CurlStatus, OnlyTwoHundredsSucceed) {
    const auto& c = GetParam();
    const auto response = m_client.get(m_serving->url(c.path), c.auth ? &*c.auth : nullptr);
    EXPECT_EQ(response.ok, c.ok);
    EXPECT_EQ(response.status, c.status);
    EXPECT_THAT(response.error, HasSubstr(c.error));
    EXPECT_EQ(response.error.empty(), c.ok);
}

const HttpClient::BasicAuth clerk{"clerk", "p@ss:word"};
const HttpClient::BasicAuth wrong{"clerk", "wrong"};
INSTANTIATE_TEST_SUITE_P(Answers, CurlStatus,
                         testing::Values(StatusCase{"/status/200", {}, true, 200, ""},
                                         StatusCase{"/status/201", {}, true, 201, ""},
                                         StatusCase{"/status/404", {}, false, 404, "HTTP 404"},
                                         StatusCase{"/reports/doc.txt", clerk, true, 200, ""},
                                         StatusCase{"/reports/doc.txt", wrong, false, 401, "HTTP 401"},
                                         StatusCase{"/reports/doc.txt", {}, false, 401, "HTTP 401"},
                                         StatusCase{"/hop/5", {}, true, 200, ""},
                                         StatusCase{"/hop/6", {}, false, 302, "redirect"}));

/// A peer that misbehaves, and how a transfer to it must end.
struct BoundCase {
    const char* name;
    const char* method; ///< "GET" or "POST"
    const char* path;   ///< on the test server; "silent" and "refused" are other peers
    bool ok;
    const char* error;
    std::chrono::milliseconds atLeast, below;
};

class CurlBounds : public CurlHttp, public testing::WithParamInterface<BoundCase> {
protected:
    CurlBounds() {
        // One byte every 200 ms: slow, never still for long.
        const auto trickle = [](const httplib::Request&, httplib::Response& res) {
            res.set_chunked_content_provider("text/plain", [](std::size_t offset, httplib::DataSink& sink) {
                if (offset >= 8) {
                    sink.done();
                    return true;
                }
                std::this_thread::sleep_for(200ms);
                sink.write("x", 1);
                return true;
            });
        };
        m_http.Get("/trickle", trickle);
        m_http.Post("/trickle", trickle);
        m_http.Post("/huge", [](const httplib::Request&, httplib::Response& res) {
            res.set_content(std::string(5u << 20, '|'), "text/plain");
        });
        m_http.Get("/huge", [](const httplib::Request&, httplib::Response& res) {
            res.set_content(std::string(2u << 20, '|'), "text/plain");
        });
    }
};

TEST_P(CurlBounds, TransferEndsAsItsBoundsSay) {
    QTcpServer silent; // listens, never accepts, never answers
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    QTcpServer gone;
    ASSERT_TRUE(gone.listen(QHostAddress::LocalHost));
    const auto deadPort = gone.serverPort();
    gone.close();

    const auto& c = GetParam();
    HttpLimits limits{300ms, 900ms, {}};
    limits.stall = 500ms;
    limits.maxDownload = 1u << 20;
    CurlHttpClient client(limits);
    std::string url = m_serving->url(c.path);
    if (c.path == std::string("silent"))
        url = "http://127.0.0.1:" + std::to_string(silent.serverPort()) + "/";
    if (c.path == std::string("refused"))
        url = "http://127.0.0.1:" + std::to_string(deadPort) + "/";
    const auto start = std::chrono::steady_clock::now();
    const auto response = c.method == std::string("GET") ? client.get(url) : client.post(url, "text/plain", "x");
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(response.ok, c.ok) << response.error;
    EXPECT_THAT(response.error, HasSubstr(c.error));
    EXPECT_GE(took, c.atLeast);
    EXPECT_LT(took, c.below);
    if (c.ok) {
        EXPECT_EQ(response.body, "xxxxxxxx");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Peers, CurlBounds,
    testing::Values(BoundCase{"refused", "GET", "refused", false, "Couldn't connect", 0ms, 1s},
                    BoundCase{"silent_download_stalls", "GET", "silent", false, "no data has moved for 1 s", 500ms, 3s},
                    BoundCase{"silent_request_times_out", "POST", "silent", false, "did not end within 1 s", 800ms, 3s},
                    // 1.6 s in all, yet never still for the stall time: a slow download completes.
                    BoundCase{"trickling_download_completes", "GET", "/trickle", true, "", 1500ms, 5s},
                    BoundCase{"trickling_request_times_out", "POST", "/trickle", false, "did not end within", 800ms,
                              3s},
                    BoundCase{"oversized_reply_is_refused", "POST", "/huge", false, "larger than 4 MiB", 0ms, 3s},
                    BoundCase{"oversized_download_is_refused", "GET", "/huge", false, "larger than 1 MiB", 0ms, 3s}),
    [](const auto& p) { return std::string(p.param.name); });

TEST_F(CurlHttp, RefusesOtherProtocolsAndPassesCallbackFailuresOn) {
    EXPECT_FALSE(m_client.get("file:///etc/hostname").ok);
    EXPECT_THROW(m_client.get(m_serving->url("/binary"), nullptr,
                              [](auto, auto) -> void { throw std::runtime_error("window closed"); }),
                 std::runtime_error);
}

struct TlsCase {
    const char* name;
    const char* subjectAltName;
    bool trustIt;
    bool ok;
};

class CurlTls : public testing::TestWithParam<TlsCase> {};

TEST_P(CurlTls, VerifiesPeerAndHostAgainstTheGivenAuthority) {
    qputenv("no_proxy", "*");
    QTemporaryDir dir;
    const auto cert = dir.filePath(QStringLiteral("cert.pem")), key = dir.filePath(QStringLiteral("key.pem"));
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("ec"),
                   QStringLiteral("-pkeyopt"), QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes"),
                   QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-subj"), QStringLiteral("/CN=station"),
                   QStringLiteral("-addext"),
                   QStringLiteral("subjectAltName=") + QLatin1String(GetParam().subjectAltName),
                   QStringLiteral("-keyout"), key, QStringLiteral("-out"), cert});
    ASSERT_TRUE(openssl.waitForFinished(30'000) && openssl.exitCode() == 0) << openssl.readAllStandardError().data();

    httplib::SSLServer https(cert.toLocal8Bit().constData(), key.toLocal8Bit().constData());
    ASSERT_TRUE(https.is_valid());
    https.Get("/", [](const httplib::Request&, httplib::Response& res) { res.set_content("secure", "text/plain"); });
    Serving serving(https, "https");

    CurlHttpClient client(HttpLimits{2s, 10s, GetParam().trustIt ? cert.toStdString() : std::string()});
    const auto response = client.get(serving.url("/"));
    EXPECT_EQ(response.ok, GetParam().ok) << response.error;
    if (GetParam().ok)
        EXPECT_EQ(response.body, "secure");
    else
        EXPECT_THAT(response.error, HasSubstr("certificate"));
}

INSTANTIATE_TEST_SUITE_P(Certificates, CurlTls,
                         testing::Values(TlsCase{"unknown_authority", "IP:127.0.0.1", false, false},
                                         TlsCase{"trusted_authority", "IP:127.0.0.1", true, true},
                                         TlsCase{"other_host_name", "DNS:other.example", true, false}),
                         [](const auto& p) { return std::string(p.param.name); });

} // namespace
} // namespace station
