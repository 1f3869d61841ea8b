// The codec plug-in loaded through the system's shared-library adapter.
#include "platform/Adapters.h"
#include "service/Codec.h"

#include <gtest/gtest.h>

namespace station {
namespace {

TEST(CodecPlugin, EmptyPathIsIdentityAndMissingLibraryIsAnError) {
    auto libraries = makeSharedLibraries();
    auto identity = loadCodec("", *libraries);
    EXPECT_EQ(identity->encode("a&b|c"), "a&b|c");
    try {
        loadCodec("/nonexistent/libcodec.so", *libraries);
        FAIL() << "a missing library loaded";
    } catch (const CodecLoadError& e) {
        // The system's reason reaches the message the user sees.
        EXPECT_NE(std::string(e.what()).find("/nonexistent/libcodec.so"), std::string::npos) << e.what();
    }
}

TEST(CodecPlugin, LoadsBothOperationsFromASharedLibrary) {
    auto libraries = makeSharedLibraries();
    auto codec = loadCodec(TEST_CODEC_PLUGIN, *libraries);
    // The test plug-in writes every byte twice, shifted by one.
    EXPECT_EQ(codec->encode("abc"), "bbccdd");
    EXPECT_EQ(codec->decode("bbccdd"), "abc");
    // Twice a long text is more than the first buffer holds: the call is made again with room.
    const std::string longText(1000, 'x');
    EXPECT_EQ(codec->encode(longText), std::string(2000, 'y'));
    EXPECT_EQ(codec->decode(codec->encode(longText)), longText);
}

TEST(CodecPlugin, LibraryWithoutTheOperationsIsRefused) {
    auto libraries = makeSharedLibraries();
    EXPECT_THROW(loadCodec(TEST_CODEC_INCOMPLETE, *libraries), CodecLoadError);
}

} // namespace
} // namespace station
