// The reader's byte stream in every form the reader family can be set to, fed whole and one byte
// at a time, and the serial port names.
#include "platform/MicrProtocol.h"
#include "platform/SerialPortNames.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace station {
namespace {

using Action = micr::Receiver::Action;

std::string framed(const std::string& data) {
    return "\x02" + data + "\x03\r\n";
}

struct StreamCase {
    const char* name;
    std::string bytes;
    bool check;
    std::array<std::string, 3> tracks;
    std::string micr;
    int status;
    std::optional<std::string> image;
    /// The timer the adapter runs runs out after the bytes (settle for cards, image stall).
    bool timeUp;
};

// A check's message, then the image as the reader sends it after "TI".
std::string checkWithImage(const std::string& image, bool wide) {
    const auto words = image.size() / 2;
    std::string length = wide ? std::string{'\0', static_cast<char>(words >> 16), static_cast<char>(words >> 8),
                                            static_cast<char>(words)}
                              : std::string{static_cast<char>(words >> 8), static_cast<char>(words)};
    return framed("CT123456789T0012345O/00") + length + image;
}

const std::string image(1200, '\x0d');

class ReceiverTest : public testing::TestWithParam<StreamCase> {
protected:
    static micr::Read readOf(const std::vector<std::string>& chunks, bool timeUp) {
        micr::Receiver receiver;
        bool complete = false;
        for (const auto& chunk : chunks)
            complete = complete || receiver.feed(chunk) == Action::Complete;
        if (timeUp) {
            EXPECT_FALSE(complete) << "complete before its timer ran out";
            complete = receiver.timeUp() == Action::Complete;
        }
        EXPECT_TRUE(complete);
        return receiver.read();
    }
};

TEST_P(ReceiverTest, WholeAndByteByByteGiveTheSameRead) {
    const auto& c = GetParam();
    std::vector<std::string> bytes;
    for (const char b : c.bytes)
        bytes.emplace_back(1, b);
    for (const auto& chunks : {std::vector<std::string>{c.bytes}, bytes}) {
        const auto read = readOf(chunks, c.timeUp);
        EXPECT_EQ(read.check, c.check);
        EXPECT_EQ(read.tracks, c.tracks);
        EXPECT_EQ(read.micrLine, c.micr);
        EXPECT_EQ(read.status, c.status);
        EXPECT_EQ(read.image, c.image);
    }
}

// A card's tracks complete once the settle timer runs out; a check's read ends with its image
// or, when that stalls, with its timer.
StreamCase card(const char* name, std::string bytes, std::array<std::string, 3> tracks, int status = -1) {
    return {name, std::move(bytes), false, std::move(tracks), "", status, std::nullopt, true};
}
StreamCase check(const char* name, std::string bytes, std::string micr, int status,
                 std::optional<std::string> picture = std::nullopt, bool timeUp = false) {
    return {name, std::move(bytes), true, {}, std::move(micr), status, std::move(picture), timeUp};
}

INSTANTIATE_TEST_SUITE_P(
    Forms, ReceiverTest,
    testing::Values(
        card("CardOneMessage", framed("M%B4111^DOE/J^2512?;4111=2512?;333?/00"),
             {"B4111^DOE/J^2512", "4111=2512", "333"}, 0),
        card("CardTrackByTrack", framed("M%B4111^DOE?") + framed("M;4111=2512?"), {"B4111^DOE", "4111=2512", ""}),
        card("CardWithoutSentinels", framed("MB4111^DOE") + framed("M4111=2512"), {"B4111^DOE", "4111=2512", ""}),
        card("CardWithoutHeaderOrFraming", ";4111=2512?\r\n", {"", "4111=2512", ""}),
        card("FailedTrackReadsEmpty", framed("M%E?;4111=2512?;E?"), {"", "4111=2512", ""}),
        card("CheckCharacterAfterEndSentinelIsLeft", framed("M%AB?x;12?y"), {"AB", "12", ""}),
        card("RepliesAndNoiseBeforeTheRead", "OK\r?\r\x1b" + framed("M;9?"), {"", "9", ""}),
        card("BrokenMessageRestarted", "\x02M;11" + framed("M;22?"), {"", "22", ""}),
        check("CheckWithImage", checkWithImage(image, false), "T123456789T0012345O", 0, image),
        check("CheckWithWideLength", checkWithImage(image, true), "T123456789T0012345O", 0, image),
        check("CheckOnAReaderWithoutCamera", framed("CT1T2O") + "?\r", "T1T2O", -1),
        check("CheckWithoutHeaderOrFraming", "T1T2O/00\r\n?\r", "T1T2O", 0),
        check("UnreadableCheck", framed("C/01") + "?", "", 1),
        check("ImageCutOffHalfWay", checkWithImage(image, false).substr(0, 600), "T123456789T0012345O", 0, std::nullopt,
              true),
        check("EmptyImage", framed("CT1T") + std::string(4, '\0'), "T1T", -1, std::string())),
    [](const testing::TestParamInfo<StreamCase>& c) { return std::string(c.param.name); });

TEST(ReceiverActions, CheckAsksForItsImageAndCardWaitsForMoreTracks) {
    micr::Receiver receiver;
    EXPECT_EQ(receiver.feed(framed("M;1?")), Action::Settle);
    EXPECT_EQ(receiver.feed(framed("M;2?")), Action::Settle);
    EXPECT_EQ(receiver.timeUp(), Action::Complete);
    EXPECT_EQ(receiver.feed(framed("CT1T")), Action::RequestImage);
    EXPECT_EQ(receiver.feed(std::string{'\0'}), Action::ImageMoving);
    EXPECT_EQ(receiver.timeUp(), Action::Complete);
    EXPECT_EQ(receiver.timeUp(), Action::None);
}

TEST(ReceiverActions, OverlongMessageIsDroppedAndTheNextOneRead) {
    micr::Receiver receiver;
    EXPECT_EQ(receiver.feed("\x02M" + std::string(10'000, '1') + "\x03"), Action::None);
    EXPECT_EQ(receiver.feed(framed("M;5?")), Action::Settle);
    receiver.timeUp();
    EXPECT_EQ(receiver.read().tracks[1], "5");
}

TEST(ReceiverActions, ImageLargerThanKeptIsReadPastAndTheCheckHasNone) {
    micr::Receiver receiver;
    receiver.feed(framed("CT1T"));
    // 0x00 then 3 bytes: 0x800000 words, 16 MiB.
    EXPECT_EQ(receiver.feed(std::string{'\0', '\x80', '\0', '\0'}), Action::Complete);
    EXPECT_FALSE(receiver.read().image);
    // The image's bytes are not taken for messages.
    EXPECT_EQ(receiver.feed(framed("M;7?")), Action::None);
}

TEST(MicrCommands, EveryCommandIsOneLine) {
    EXPECT_EQ(micr::commandBytes("SWA 00100010"), "SWA 00100010\r");
    EXPECT_EQ(micr::startBytes("0002"), "FC0002\r");
    EXPECT_EQ(micr::imageRequestBytes(), "TI\r");
}

struct PortCase {
    const char* name;
    bool windows;
    std::optional<std::string> dir;
    std::optional<std::string> path;
};

class SerialPortPathTest : public testing::TestWithParam<PortCase> {};

TEST_P(SerialPortPathTest, NameLeadsToTheDevice) {
    const auto& c = GetParam();
    EXPECT_EQ(serialDevicePath(c.name, c.windows, c.dir), c.path);
}

INSTANTIATE_TEST_SUITE_P(
    Names, SerialPortPathTest,
    testing::Values(PortCase{"COM1", false, std::nullopt, "/dev/ttyS0"},
                    PortCase{"COM12", false, std::nullopt, "/dev/ttyS11"},
                    PortCase{"com3", false, std::nullopt, "/dev/ttyS2"},
                    PortCase{"COM7", false, "/tmp/rig", (std::filesystem::path("/tmp/rig") / "COM7").string()},
                    PortCase{"COM7", true, "/tmp/rig", "\\\\.\\COM7"}, PortCase{"COM0", false, {}, std::nullopt},
                    PortCase{"COM00", true, {}, std::nullopt}, PortCase{"COM07", false, {}, std::nullopt},
                    PortCase{"COM256", false, {}, std::nullopt}, PortCase{"LPT1", false, {}, std::nullopt},
                    PortCase{"COM", false, {}, std::nullopt}, PortCase{"COM1x", false, {}, std::nullopt}),
    [](const testing::TestParamInfo<PortCase>& c) {
        return std::string(c.param.windows ? "Windows" : "Linux") + std::to_string(c.index);
    });

TEST(ReaderTestImage, WindowsNameOrTheTempFolder) {
    EXPECT_EQ(readerTestImagePath(true, "/tmp"), "c:\\test.tif");
    EXPECT_EQ(readerTestImagePath(false, "/var/tmp"), (std::filesystem::path("/var/tmp") / "test.tif").string());
}

} // namespace
} // namespace station
