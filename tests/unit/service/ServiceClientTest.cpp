#include "service/ServiceClient.h"
#include "service/Codec.h"
#include "service/Text.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

namespace station {
namespace {

using test::FakeHttp;
using Parts = std::vector<std::string>;

struct SplitCase {
    std::string text;
    Parts parts;
};
class SplitTest : public testing::TestWithParam<SplitCase> {};

TEST_P(SplitTest, CutsAtEveryBar) {
    EXPECT_EQ(text::split(GetParam().text, '|'), GetParam().parts);
}

INSTANTIATE_TEST_SUITE_P(Replies, SplitTest,
                         testing::Values(SplitCase{"", {}}, SplitCase{"x", {"x"}}, SplitCase{"a|b|", {"a", "b", ""}},
                                         SplitCase{"|", {"", ""}}, SplitCase{"a||b", {"a", "", "b"}},
                                         SplitCase{"||", {"", "", ""}}));

// Reverses the text on the way out and back, so a test can tell encoded from plain.
class ReversingCodec final : public Codec {
public:
    std::string encode(std::string_view t) const override { return {t.rbegin(), t.rend()}; }
    std::string decode(std::string_view t) const override { return {t.rbegin(), t.rend()}; }
};

TEST(ServiceClient, PostsKeyAndEncodedValueWithFormHeaderAndSplitsDecodedReply) {
    FakeHttp http;
    http.replies.push_back(FakeHttp::ok("|b|a"));
    ReversingCodec codec;
    ServiceClient service(http, codec, "http://svc/terminal2secure.asp");
    const auto parts = service.request("mac=", "A&B");
    ASSERT_TRUE(parts);
    EXPECT_EQ(*parts, (Parts{"a", "b", ""}));
    ASSERT_EQ(http.calls.size(), 1u);
    EXPECT_EQ(http.calls[0].url, "http://svc/terminal2secure.asp");
    EXPECT_EQ(http.calls[0].contentType, "application/x-www-form-urlencoded");
    // The key is not encoded and nothing is percent-escaped.
    EXPECT_EQ(http.calls[0].body, "mac=B&A");
}

TEST(ServiceClient, TransportFailureAndThrowingCodecAreFailedRequests) {
    FakeHttp http;
    http.replies.push_back(FakeHttp::failed());
    IdentityCodec identity;
    ServiceClient service(http, identity, "u");
    EXPECT_FALSE(service.request("prt=", "x"));

    struct ThrowingCodec final : Codec {
        std::string encode(std::string_view) const override { throw std::runtime_error("codec down"); }
        std::string decode(std::string_view t) const override { return std::string(t); }
    } broken;
    ServiceClient brokenService(http, broken, "u");
    EXPECT_FALSE(brokenService.request("prt=", "x"));
}

TEST(ServiceClient, ErrorStatusIsAFailureNotData) {
    FakeHttp http;
    http.replies.push_back({false, 500, "a|b|c|d|e|f|g|h|i|j|k|l|", "HTTP 500"});
    IdentityCodec identity;
    ServiceClient service(http, identity, "u");
    EXPECT_FALSE(service.request("mac=", "x"));
}

TEST(ServiceValues, AmpersandsDashesAndEnvelope) {
    EXPECT_EQ(escapeAmpersands("A&B&&"), "A&amp;B&amp;&amp;");
    EXPECT_EQ(stripDashes("00-1A-2B"), "001A2B");
    EXPECT_EQ(queryEnvelope("select 1"),
              "<xml><sql>select 1</sql><store_id>asm</store_id><store_path></store_path><trim>true</trim></xml>");
}

TEST(CodecPlugin, EmptyPathIsIdentityAndMissingLibraryIsAnError) {
    auto identity = loadCodec("");
    EXPECT_EQ(identity->encode("a&b|c"), "a&b|c");
    EXPECT_THROW(loadCodec("/nonexistent/libcodec.so"), CodecLoadError);
}

TEST(CodecPlugin, LoadsBothOperationsFromASharedLibrary) {
    auto codec = loadCodec(TEST_CODEC_PLUGIN);
    // The test plug-in shifts every byte by one.
    EXPECT_EQ(codec->encode("abc"), "bcd");
    EXPECT_EQ(codec->decode("bcd"), "abc");
    const std::string longText(1000, 'x');
    EXPECT_EQ(codec->decode(codec->encode(longText)), longText);
}

TEST(CodecPlugin, LibraryWithoutTheOperationsIsRefused) {
    EXPECT_THROW(loadCodec(TEST_CODEC_INCOMPLETE), CodecLoadError);
}

} // namespace
} // namespace station
