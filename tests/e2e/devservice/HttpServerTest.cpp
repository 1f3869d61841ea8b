// The server on a real loopback socket, driven by an HTTP client.
#include "tools/devservice/HttpServer.h"
#include "tools/devservice/DemoData.h"
#include "tools/devservice/HttplibIncludes.h"
#include "tools/devservice/Releases.h"

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

namespace devservice {
namespace {

constexpr const char* formType = "application/x-www-form-urlencoded";

class HttpServerTest : public testing::Test {
protected:
    HttpServerTest() : db(folder.file("service.db")), server(db, folder.path() / "files") {
        seedReferenceRows(db);
        writeSampleFiles(folder.path() / "files");
        std::ofstream(folder.path() / "secret.txt") << "top secret";
        port = server.bind("127.0.0.1", 0);
        worker = std::thread([this] { server.run(); });
        server.waitUntilRunning(std::chrono::seconds(5));
    }
    ~HttpServerTest() override {
        server.stop();
        worker.join();
    }

    httplib::Client client() {
        httplib::Client c("127.0.0.1", port);
        c.set_url_encode(false); // traversal tests need the path exactly as written
        return c;
    }
    std::string post(const std::string& body) {
        auto res = client().Post(HttpServer::endpointPath, body, formType);
        EXPECT_TRUE(res);
        return res ? res->body : std::string();
    }
    std::string fileBytes(const std::string& relative) {
        std::ifstream in(folder.path() / "files" / relative, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    test::TempFolder folder;
    Database db;
    HttpServer server;
    int port = -1;
    std::thread worker;
};

TEST_F(HttpServerTest, EndpointTakesTheBodyRawAndLogsIt) {
    ASSERT_GT(port, 0);
    ASSERT_TRUE(server.isRunning());
    // A form parser would turn %20 and + into blanks and cut at "&"; the service must not.
    const std::string value = "A&amp;B %20+x=y|L&C|P|T|COM2|\\\\srv|AABB|";
    auto res = client().Post(HttpServer::endpointPath, "prtupt=" + value, formType);
    ASSERT_TRUE(res);
    EXPECT_EQ(res->status, 200);
    EXPECT_EQ(res->get_header_value("Content-Type").rfind("text/plain", 0), 0u);
    EXPECT_EQ(post("prt=AABB"), "A&amp;B %20+x=y|L&C|P|T|COM2|\\\\srv|");

    const auto logged = db.requests("prtupt=");
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0].value, value);
    EXPECT_EQ(logged[0].path, HttpServer::endpointPath);
}

TEST_F(HttpServerTest, BadAndHugeBodiesAreAnsweredAndTheServerGoesOn) {
    auto c = client();
    auto garbage = c.Post(HttpServer::endpointPath, std::string("\0\xff=|||", 6), "application/octet-stream");
    ASSERT_TRUE(garbage);
    EXPECT_EQ(garbage->status, 200);
    EXPECT_EQ(garbage->body, "");

    auto huge = c.Post(HttpServer::endpointPath, "mac=" + std::string(20 * 1024 * 1024, 'A'), formType);
    ASSERT_TRUE(huge);
    EXPECT_EQ(huge->status, 413);
    EXPECT_EQ(post("report=dai"), "Arial|12|P|x");
}

TEST_F(HttpServerTest, ReportsNeedTheAccountAndComeByteForByte) {
    const std::string path = "/Reports/12345/1234500001/receipt.prn";
    auto c = client();
    auto anonymous = c.Get(path);
    ASSERT_TRUE(anonymous);
    EXPECT_EQ(anonymous->status, 401);
    EXPECT_NE(anonymous->get_header_value("WWW-Authenticate").find("Basic"), std::string::npos);

    c.set_basic_auth("administrator", "wrong");
    EXPECT_EQ(c.Get(path)->status, 401);

    c.set_basic_auth("administrator", "lantern");
    auto res = c.Get(path);
    ASSERT_TRUE(res);
    EXPECT_EQ(res->status, 200);
    const auto expected = fileBytes("Reports/12345/1234500001/receipt.prn");
    ASSERT_NE(expected.find('\0'), std::string::npos);
    ASSERT_NE(expected.find('\xff'), std::string::npos);
    EXPECT_EQ(res->body, expected);
    EXPECT_EQ(c.Get("/Reports/12345/1234500001/missing.txt")->status, 404);
}

class TraversalTest : public HttpServerTest, public testing::WithParamInterface<std::string> {};

TEST_P(TraversalTest, NeverLeavesTheFilesFolder) {
    auto c = client();
    c.set_basic_auth("administrator", "lantern");
    auto res = c.Get(GetParam());
    ASSERT_TRUE(res);
    EXPECT_NE(res->status, 200) << GetParam();
    EXPECT_EQ(res->body.find("top secret"), std::string::npos);
}

// secret.txt sits beside the files folder, two levels above Reports/ and rdp/ contents.
INSTANTIATE_TEST_SUITE_P(Paths, TraversalTest,
                         testing::Values("/Reports/../../secret.txt", "/Reports/%2e%2e/%2E%2E/secret.txt",
                                         "/Reports/12345/..%2f..%2f..%2fsecret.txt",
                                         "/Reports/%252e%252e/%252e%252e/secret.txt", "/Reports/..%5c..%5csecret.txt",
                                         "/rdp/../../secret.txt", "/rdp/%2e%2e/%2e%2e/secret.txt"));

TEST_F(HttpServerTest, UpdateFilesAreServedAndTheDescriptionNamesThisServer) {
    auto c = client();
    auto setup = c.Get("/rdp/setup.exe");
    ASSERT_TRUE(setup);
    EXPECT_EQ(setup->status, 200);
    EXPECT_EQ(setup->body, fileBytes("rdp/setup.exe"));

    auto ini = c.Get("/rdp/rdpupdate.ini");
    ASSERT_TRUE(ini);
    EXPECT_NE(ini->body.find("ReadMe=http://127.0.0.1:" + std::to_string(port) + "/rdp/readme.txt\r\n"),
              std::string::npos)
        << ini->body;
    EXPECT_EQ(c.Get("/rdp/readme.txt")->status, 200);

    std::filesystem::remove(folder.path() / "files/rdp/setup.exe");
    EXPECT_EQ(c.Get("/rdp/setup.exe")->status, 404);
    EXPECT_EQ(c.Get("/elsewhere")->status, 404);
}

// A download continued with a range gets the rest only while the file is the one its validator
// names; a published release replaces the file and its validator.
TEST_F(HttpServerTest, UpdateFilesAnswerRangesUnderTheirValidator) {
    std::string installer(100000, '\0');
    for (std::size_t i = 0; i < installer.size(); ++i)
        installer[i] = static_cast<char>(i % 253);
    std::ofstream(folder.path() / "installer.bin", std::ios::binary) << installer;
    publishRelease(folder.path() / "files", {"2.02", folder.path() / "installer.bin", std::nullopt, std::nullopt});

    auto c = client();
    const auto whole = c.Get("/rdp/setup.exe");
    ASSERT_TRUE(whole);
    const auto tag = whole->get_header_value("ETag");
    ASSERT_FALSE(tag.empty());
    EXPECT_EQ(whole->body, installer);

    const auto rest = c.Get("/rdp/setup.exe", {{"Range", "bytes=60000-"}, {"If-Range", tag}});
    ASSERT_TRUE(rest);
    EXPECT_EQ(rest->status, 206);
    EXPECT_EQ(rest->get_header_value("Content-Range"), "bytes 60000-99999/100000");
    EXPECT_EQ(rest->body, installer.substr(60000));

    const auto other = c.Get("/rdp/setup.exe", {{"Range", "bytes=60000-"}, {"If-Range", "\"elsewhere\""}});
    ASSERT_TRUE(other);
    EXPECT_EQ(other->status, 200);
    EXPECT_EQ(other->body, installer);

    EXPECT_EQ(c.Get("/rdp/setup.exe", {{"Range", "bytes=100000-"}})->status, 416);

    installer[0] = 'X';
    std::ofstream(folder.path() / "installer.bin", std::ios::binary) << installer;
    publishRelease(folder.path() / "files", {"2.03", folder.path() / "installer.bin", std::nullopt, std::nullopt});
    EXPECT_NE(c.Get("/rdp/setup.exe")->get_header_value("ETag"), tag);
    EXPECT_NE(fileBytes("rdp/rdpupdate.ini").find("Version =2.03\r\n"), std::string::npos);
}

} // namespace
} // namespace devservice
