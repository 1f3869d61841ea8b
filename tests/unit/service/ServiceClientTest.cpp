#include "service/ServiceClient.h"

#include "core/Text.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

#include <functional>

namespace station {
namespace {

using test::FakeHttp;

// Reverses the text on the way out and back, so a test can tell encoded from plain.
class ReversingCodec final : public Codec {
public:
    std::string encode(std::string_view t) const override { return {t.rbegin(), t.rend()}; }
    std::string decode(std::string_view t) const override { return {t.rbegin(), t.rend()}; }
};

TEST(ServiceClient, PostsKeyAndEncodedValueWithTheFormHeaderAndReadsTheDecodedReply) {
    FakeHttp http;
    http.replies.push_back(FakeHttp::ok("|LRU|x")); // "x|URL|" once decoded
    ReversingCodec codec;
    ServiceClient service(http, codec, "http://svc/terminal2secure.asp");
    EXPECT_EQ(service.updateAddress("00-1A"), "URL");
    ASSERT_EQ(http.calls.size(), 1u);
    EXPECT_EQ(http.calls[0].url, "http://svc/terminal2secure.asp");
    EXPECT_EQ(http.calls[0].contentType, "application/x-www-form-urlencoded");
    // The key is not encoded and nothing is percent-escaped.
    EXPECT_EQ(http.calls[0].body, "upd1=A100");
}

// Every request key with the value its request prepares: dashes out of the identity, "&" as
// "&amp;" only where that request asks for it.
struct BodyCase {
    const char* name;
    std::function<void(const ServiceClient&)> call;
    std::string body;
};
class RequestBodyTest : public testing::TestWithParam<BodyCase> {};

TEST_P(RequestBodyTest, SendsTheKeyAndThePreparedValue) {
    FakeHttp http;
    IdentityCodec codec;
    ServiceClient service(http, codec, "u");
    GetParam().call(service);
    EXPECT_EQ(http.bodies(), std::vector<std::string>{GetParam().body});
}

StationSettings settingsRow() {
    StationSettings s;
    s.open();
    s.addRow();
    s.set("prt0", " A&B ");
    s.set("prt2", "P3");
    s.set("Prefix", "\\\\srv\\");
    return s;
}

INSTANTIATE_TEST_SUITE_P(
    Keys, RequestBodyTest,
    testing::Values(
        BodyCase{"StoreList", [](auto& s) { s.storeList("00-1A&-2B"); }, "mac=001A&amp;2B"},
        BodyCase{"Version", [](auto& s) { s.reportVersion("2.1.14", "0-1&2"); }, "updlast=2.1.14|01&amp;2|"},
        BodyCase{"Settings", [](auto& s) { s.deviceSettings("00-1A&-2B"); }, "prt=001A&2B"},
        BodyCase{"AddStationByFirstAddress", [](auto& s) { s.addStation("0&-11-22-33-44-55-AA"); },
                 "prtadd=0&amp;1122334455"},
        BodyCase{"WriteSettings", [](auto& s) { s.writeDeviceSettings(settingsRow(), "00-1A"); },
                 "prtupt=A&amp;B||P3|||\\\\srv\\|001A|"},
        BodyCase{"WriteWithoutRow",
                 [](auto& s) {
                     StationSettings none;
                     none.open();
                     s.writeDeviceSettings(none, "00-1A");
                 },
                 "prtupt=||||||001A|"},
        BodyCase{"WriteWithoutIdentity", [](auto& s) { s.writeDeviceSettings(settingsRow(), "  "); }, "prtupt="},
        BodyCase{"StorePoll", [](auto& s) { s.storesInMaintenance(); }, "store=1"},
        BodyCase{"UpdateAddress", [](auto& s) { s.updateAddress("00-1A"); }, "upd1=001A"},
        BodyCase{"ReportFormatUnescaped", [](auto& s) { s.reportFormat("a&b"); }, "report=a&b"},
        BodyCase{"Ticket", [](auto& s) { s.submitTicket("me@x|R&D|"); }, "h=1&hd=me@x|R&amp;D|"},
        BodyCase{"OnCall", [](auto& s) { s.onCallList(); }, "h=1&oncall=1"},
        BodyCase{"Alert", [](auto& s) { s.sendAlert("a|A| b|I| "); }, "h=1&alert=a|A| b|I| "},
        BodyCase{"UploadFolder", [](auto& s) { s.uploadFolder("00-1A"); }, "getupload=001A"},
        BodyCase{"FirstUploadFolder", [](auto& s) { s.saveUploadFolder({}, "00-1A", "C:\\up"); },
                 "insertupload=001A|C:\\up|"},
        BodyCase{"KnownUploadFolder",
                 [](auto& s) {
                     s.saveUploadFolder({"C:\\old", 7}, "00-1A", "C:\\up");
                 },
                 "setupload=001A|C:\\up|"}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(ServiceClient, FailuresCarryTheirReason) {
    FakeHttp http;
    http.replies.push_back(FakeHttp::failed());
    http.replies.push_back({false, 500, "a|b|c|d|e|f|g|h|i|j|k|l|", "HTTP 500"});
    IdentityCodec identity;
    ServiceClient service(http, identity, "u");
    const auto refused = service.storeList("x");
    EXPECT_FALSE(refused);
    EXPECT_EQ(refused.error, "connection refused");
    // An error page is no data, whatever it holds.
    EXPECT_EQ(service.storeList("x").error, "HTTP 500");

    struct ThrowingCodec final : Codec {
        std::string encode(std::string_view) const override { throw std::runtime_error("codec down"); }
        std::string decode(std::string_view t) const override { return std::string(t); }
    } broken;
    ServiceClient brokenService(http, broken, "u");
    EXPECT_EQ(brokenService.deviceSettings("x").error, "codec down");
    EXPECT_EQ(brokenService.updateAddress("x"), "");
}

// --- reading the replies ---

// Replies of n whole store records (plus the trailing empty piece) and short ones.
struct StoreReplyCase {
    std::string name;
    std::size_t records;
    int extraFields; // fields added (or, negative, removed) before the final empty piece
    bool hasData;
    std::size_t stored;
    bool incomplete;
    std::size_t ignored;
};
class StoreListReadTest : public testing::TestWithParam<StoreReplyCase> {};

TEST_P(StoreListReadTest, ReadsRecordsWithTheStride) {
    const auto& c = GetParam();
    auto parts = text::split(test::storeListReply(c.records, "AABBCC"), '|');
    if (parts.empty())
        parts.push_back("");
    parts.pop_back(); // the trailing piece, put back after the adjustment
    for (int i = 0; i < c.extraFields; ++i)
        parts.push_back("extra");
    for (int i = 0; i > c.extraFields && !parts.empty(); --i)
        parts.pop_back();
    std::string reply;
    for (const auto& p : parts)
        reply += p + "|";
    const auto read = readStoreList(reply);
    EXPECT_EQ(read.hasData, c.hasData);
    EXPECT_EQ(read.stores.size(), c.stored);
    EXPECT_EQ(read.incompleteRecord, c.incomplete);
    EXPECT_EQ(read.ignoredStores, c.ignored);
    if (c.stored > 0) {
        EXPECT_EQ(read.stationId, "AABBCC");
        const auto& last = read.stores.back();
        const auto k = std::to_string(c.stored - 1);
        EXPECT_EQ(last.storeName, "STORE" + k);
        EXPECT_EQ(last.displayUser, c.extraFields == -1 ? "" : "Display " + k);
        EXPECT_EQ(last.clusterAddress, "10.0.0." + k);
    }
}

INSTANTIATE_TEST_SUITE_P(Replies, StoreListReadTest,
                         testing::Values(StoreReplyCase{"none", 0, 0, false, 0, false, 0},
                                         StoreReplyCase{"two", 2, 0, true, 2, false, 0},
                                         StoreReplyCase{"full", 300, 0, true, 300, false, 0},
                                         StoreReplyCase{"overfull", 301, 0, true, 300, false, 1},
                                         StoreReplyCase{"tenFieldsOnly", 1, -1, false, 0, false, 0},
                                         StoreReplyCase{"oneAndAHalf", 1, 5, true, 1, true, 0},
                                         StoreReplyCase{"oneAndOneField", 1, 1, true, 1, true, 0},
                                         StoreReplyCase{"lastFieldTakesTheTrailingPiece", 2, -1, true, 2, false, 0},
                                         StoreReplyCase{"twoLessTwo", 2, -2, true, 1, true, 0}),
                         [](const auto& param) { return param.param.name; });

TEST(StoreListRead, ReplyWithoutTrailingBarStillReadsEveryWholeRecord) {
    // Twelve fields, no final "|": highest index 11, so record 0 is read and index 11 starts none.
    const auto read = readStoreList(test::storeListReply(1) + "trailing");
    EXPECT_EQ(read.stores.size(), 1u);
    EXPECT_FALSE(read.incompleteRecord);
}

TEST(StoreListRead, AHugeReplyOfBarsHoldsNoMoreThanThreeHundredStores) {
    const auto read = readStoreList(std::string(4 << 20, '|'));
    EXPECT_EQ(read.stores.size(), StoreTable::capacity);
    EXPECT_EQ(read.ignoredStores, (std::size_t{4} << 20) / storeRecordFields - StoreTable::capacity);
}

struct SettingsCase {
    const char* name;
    std::string reply;
    std::optional<std::array<std::string, 6>> row;
    bool unknownStation;
    bool shortRow;
    std::vector<std::string> leading;
};
class DeviceSettingsReadTest : public testing::TestWithParam<SettingsCase> {};

TEST_P(DeviceSettingsReadTest, TakesWholeRowsOnlyAndTheLastOne) {
    const auto& c = GetParam();
    const auto read = readDeviceSettings(c.reply);
    EXPECT_EQ(read.row, c.row);
    EXPECT_EQ(read.unknownStation, c.unknownStation);
    EXPECT_EQ(read.shortRow, c.shortRow);
    EXPECT_EQ(read.leading, c.leading);
}

using Row = std::array<std::string, 6>;
INSTANTIATE_TEST_SUITE_P(
    Replies, DeviceSettingsReadTest,
    testing::Values(SettingsCase{"SixFields",
                                 "R1|L1|P1|MICRImage|COM2|\\\\srv\\share\\|",
                                 Row{"R1", "L1", "P1", "MICRImage", "COM2", "\\\\srv\\share\\"},
                                 false,
                                 false,
                                 {"R1", "L1", "P1", "MICRImage", "COM2"}},
                    SettingsCase{"AmpersandEntityStaysAsSent",
                                 "A&amp;B|||||AB|",
                                 Row{"A&amp;B", "", "", "", "", "AB"},
                                 false,
                                 false,
                                 {"A&amp;B", "", "", "", ""}},
                    SettingsCase{"NoBarMeansUnknownStation", "none", std::nullopt, true, false, {"none"}},
                    SettingsCase{"Empty", "", std::nullopt, false, false, {}},
                    SettingsCase{"FiveFieldsAndBar",
                                 "a|b|c|d|e|",
                                 Row{"a", "b", "c", "d", "e", ""},
                                 false,
                                 false,
                                 {"a", "b", "c", "d", "e"}},
                    SettingsCase{"FiveFieldsNoBar", "a|b|c|d|e", std::nullopt, false, true, {"a", "b", "c", "d", "e"}},
                    SettingsCase{"SevenEndInsideTheSecondRow",
                                 "a|b|c|d|e|f|g|",
                                 Row{"a", "b", "c", "d", "e", "f"},
                                 false,
                                 true,
                                 {"a", "b", "c", "d", "e"}},
                    SettingsCase{"TwoRowsLeaveTheLast",
                                 "a|b|c|d|e|f|g|h|i|j|k|l|",
                                 Row{"g", "h", "i", "j", "k", "l"},
                                 false,
                                 false,
                                 {"a", "b", "c", "d", "e"}},
                    SettingsCase{"OneBarOnly", "x|", std::nullopt, false, true, {"x", ""}}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(MaintenanceListRead, EveryPieceButTheLastIsAKey) {
    const auto keys = [](std::string reply) {
        std::vector<std::string> out;
        MaintenanceList(std::move(reply)).forEachKey([&](std::string_view key) { out.emplace_back(key); });
        return out;
    };
    EXPECT_EQ(keys("S1|S2|"), (std::vector<std::string>{"S1", "S2"}));
    EXPECT_EQ(keys("S1|S2"), (std::vector<std::string>{"S1"}));
    EXPECT_EQ(keys("S1"), std::vector<std::string>{});
    EXPECT_EQ(keys(""), std::vector<std::string>{});
    EXPECT_EQ(keys("||"), (std::vector<std::string>{"", ""}));
}

struct PieceCase {
    std::string reply;
    std::string expected;
};
class UpdateAddressReadTest : public testing::TestWithParam<PieceCase> {};
TEST_P(UpdateAddressReadTest, SecondPieceOfThreeOrMore) {
    EXPECT_EQ(readUpdateAddress(GetParam().reply), GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Replies, UpdateAddressReadTest,
                         testing::Values(PieceCase{"x|http://upd/rdp|", "http://upd/rdp"}, PieceCase{"x|", ""},
                                         PieceCase{"", ""}, PieceCase{"x|a|b|c", "a"}, PieceCase{"x|| |", ""}));

class TicketNumberReadTest : public testing::TestWithParam<PieceCase> {};
TEST_P(TicketNumberReadTest, FirstPieceTrimmedWhenThereAreTwo) {
    EXPECT_EQ(readTicketNumber(GetParam().reply), GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Replies, TicketNumberReadTest,
                         testing::Values(PieceCase{" 4711 |", "4711"}, PieceCase{"4711", ""}, PieceCase{"", ""},
                                         PieceCase{"|x|", ""}, PieceCase{"12|34|", "12"}));

TEST(ReplyRead, ReportFormatOnCallAndUploadFolder) {
    const auto format = readReportFormat("Arial|12|L|x");
    EXPECT_EQ(format.font, "Arial");
    EXPECT_EQ(format.size, "12");
    EXPECT_TRUE(format.landscape);
    EXPECT_FALSE(readReportFormat("Arial|12|l|x").landscape);
    EXPECT_EQ(readReportFormat("Arial|12|P").font, "courier");
    EXPECT_EQ(readReportFormat("Arial|12|P|x|").font, "courier");

    EXPECT_EQ(readOnCallList("ann||bob|"), (std::vector<std::string>{"ann", "bob"}));

    const auto saved = readUploadFolder("C:\\up|7|");
    EXPECT_EQ(saved.folder, "C:\\up");
    EXPECT_EQ(saved.record, 7);
    EXPECT_EQ(readUploadFolder("C:\\up").record, UploadFolder::noRecord);
    EXPECT_EQ(readUploadFolder("|65535|").record, UploadFolder::noRecord);
}

} // namespace
} // namespace station
