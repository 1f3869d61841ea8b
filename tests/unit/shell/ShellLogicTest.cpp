#include "platform/StationConfig.h"
#include "service/Text.h"
#include "shell/ConsoleFonts.h"
#include "shell/ListSort.h"
#include "shell/StartMode.h"
#include "shell/StationIdentity.h"
#include "shell/StationState.h"
#include "shell/StoreList.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>
#include <map>

namespace station {
namespace {

struct ModeCase {
    std::string line;
    StartMode mode;
    std::string parameter;
};
class StartModeTest : public testing::TestWithParam<ModeCase> {};

TEST_P(StartModeTest, Decides) {
    const auto d = decideStartMode(GetParam().line);
    EXPECT_EQ(d.mode, GetParam().mode) << GetParam().line;
    EXPECT_EQ(d.commandParameter, GetParam().parameter);
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, StartModeTest,
    testing::Values(ModeCase{"", StartMode::Station, ""}, ModeCase{"    ", StartMode::Station, ""},
                    ModeCase{"~~", StartMode::Station, ""}, ModeCase{"~~x", StartMode::Station, "x"},
                    ModeCase{"~~a b ", StartMode::Station, "a b "}, ModeCase{"~x", StartMode::Task, ""},
                    ModeCase{"6,1234567890,r.txt", StartMode::Task, ""}, ModeCase{"text", StartMode::Task, ""}));

TEST(StationIdentity, HexPairsJoinedByDashesAcrossAdapters) {
    EXPECT_EQ(formatPhysicalAddress({0x00, 0x0A, 0xFF, 0x1B, 0x2C, 0x3D}), "00-0A-FF-1B-2C-3D");
    const std::vector<NetworkAdapters::Adapter> two{
        {"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}, {"none", {}}, {"wlan0", {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0x0F}}};
    const auto id = stationIdentity(two);
    EXPECT_EQ(id, "00-11-22-33-44-55-AA-BB-CC-DD-EE-0F");
    // The first adapter's address is the first 17 characters.
    EXPECT_EQ(id.substr(0, 17), "00-11-22-33-44-55");
    EXPECT_EQ(stationIdentity({}), "");
    EXPECT_EQ(adapterListing(two).substr(0, 13), "3 Adapter(s):");
}

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
class StoreListParseTest : public testing::TestWithParam<StoreReplyCase> {};

TEST_P(StoreListParseTest, ReadsRecordsWithTheStride) {
    const auto& c = GetParam();
    auto parts = text::split(test::storeListReply(c.records, "AABBCC"), '|');
    if (parts.empty())
        parts.push_back("");
    parts.pop_back(); // the trailing piece, put back after the adjustment
    for (int i = 0; i < c.extraFields; ++i)
        parts.push_back("extra");
    for (int i = 0; i > c.extraFields && !parts.empty(); --i)
        parts.pop_back();
    parts.push_back("");
    const auto reply = parseStoreList(parts);
    EXPECT_EQ(reply.hasData, c.hasData);
    EXPECT_EQ(reply.stores.size(), c.stored);
    EXPECT_EQ(reply.incompleteRecord, c.incomplete);
    EXPECT_EQ(reply.ignoredStores, c.ignored);
    if (c.stored > 0) {
        EXPECT_EQ(reply.stationId, "AABBCC");
        const auto& last = reply.stores.back();
        const auto k = std::to_string(c.stored - 1);
        EXPECT_EQ(last.storeName, "STORE" + k);
        EXPECT_EQ(last.displayUser, c.extraFields == -1 ? "" : "Display " + k);
        EXPECT_EQ(last.clusterAddress, "10.0.0." + k);
    }
}

INSTANTIATE_TEST_SUITE_P(Replies, StoreListParseTest,
                         testing::Values(StoreReplyCase{"none", 0, 0, false, 0, false, 0},
                                         StoreReplyCase{"one", 1, 0, true, 1, false, 0},
                                         StoreReplyCase{"two", 2, 0, true, 2, false, 0},
                                         StoreReplyCase{"full", 300, 0, true, 300, false, 0},
                                         StoreReplyCase{"overfull", 301, 0, true, 300, false, 1},
                                         StoreReplyCase{"tenFieldsOnly", 1, -1, false, 0, false, 0},
                                         StoreReplyCase{"oneAndAHalf", 1, 5, true, 1, true, 0},
                                         StoreReplyCase{"oneAndOneField", 1, 1, true, 1, true, 0},
                                         StoreReplyCase{"lastFieldTakesTheTrailingPiece", 2, -1, true, 2, false, 0},
                                         StoreReplyCase{"twoLessTwo", 2, -2, true, 1, true, 0}),
                         [](const auto& param) { return param.param.name; });

TEST(StoreList, ReplyWithoutTrailingBarStillReadsEveryWholeRecord) {
    // Twelve fields, no final "|": highest index 11, so record 0 is read and index 11 starts none.
    auto parts = text::split(test::storeListReply(1), '|');
    parts.back() = "trailing";
    const auto reply = parseStoreList(parts);
    EXPECT_EQ(reply.stores.size(), 1u);
    EXPECT_FALSE(reply.incompleteRecord);
}

TEST(StoreList, FetchFillsTableKeepsStatusAndReportsVersion) {
    test::FakePorts fake;
    fake.adapters.adapters = {{"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}};
    fake.http.handler = [](const test::FakeHttp::Call& call) {
        if (call.body.starts_with("mac="))
            return test::FakeHttp::ok(test::storeListReply(2, "00-11&22"));
        return test::FakeHttp::ok("");
    };
    IdentityCodec codec;
    ServiceClient service(fake.http, codec, "u");
    StationState state;
    state.stores.at(1).status = "X";
    const auto reply = fetchStoreList(service, fake.adapters, fake.yield, state, "2.1.14");
    EXPECT_EQ(reply.stores.size(), 2u);
    EXPECT_EQ(state.stores.count(), 2u);
    EXPECT_EQ(state.stores.at(0).status, " ");
    EXPECT_EQ(state.stores.at(1).status, "X");
    EXPECT_EQ(state.stationId, "00-11&22");
    EXPECT_EQ(state.commandParameter, "00-11&22");
    EXPECT_EQ(fake.yield.count, 2);
    EXPECT_EQ(fake.http.bodies(), (std::vector<std::string>{"mac=001122334455", "updlast=2.1.14|0011&amp;22|"}));
}

TEST(StoreList, FailedOrShortReplyLeavesTableAndSendsNoReport) {
    for (auto reply : {test::FakeHttp::failed(), test::FakeHttp::ok("a|b|c|"), test::FakeHttp::ok("")}) {
        test::FakePorts fake;
        fake.http.replies.push_back(reply);
        IdentityCodec codec;
        ServiceClient service(fake.http, codec, "u");
        StationState state;
        state.stores.at(0).storeName = "KEEP";
        state.stores.setCount(1);
        fetchStoreList(service, fake.adapters, fake.yield, state, "2.1.14");
        EXPECT_EQ(state.stores.at(0).storeName, "KEEP");
        EXPECT_EQ(state.stores.count(), 1u);
        EXPECT_EQ(fake.http.calls.size(), 1u);
    }
}

TEST(StoreList, KeysMenuTextAndNotice) {
    EXPECT_EQ(storeRowKey(3), "A 3");
    EXPECT_EQ(storeIndexFromKey("A 3"), 3);
    EXPECT_EQ(storeIndexFromKey("A 299"), 299);
    EXPECT_EQ(storeIndexFromKey("A"), -1);
    EXPECT_EQ(storeIndexFromKey("A x"), -1);
    StoreEntry e;
    e.serialNumber = "1234500001";
    e.storeName = "Main St";
    EXPECT_EQ(storeMenuText(e), "1234500001 (Main St)");
    StoreListReply over;
    over.ignoredStores = 5;
    EXPECT_NE(storeListNotice(over).find("305"), std::string::npos);
    EXPECT_EQ(storeListNotice(StoreListReply{}), "");
}

TEST(StoreTable, IndexOutsideTheTableIsAnError) {
    StoreTable table;
    EXPECT_NO_THROW(table.at(299));
    EXPECT_THROW(table.at(300), std::out_of_range);
    EXPECT_THROW(table.setCount(301), std::out_of_range);
}

TEST(StationSettings, SixFieldsByNameWithoutCaseAtMostOneRow) {
    StationSettings s;
    EXPECT_THROW(s.get("prt0"), std::logic_error);
    s.open();
    EXPECT_FALSE(s.hasRow());
    EXPECT_EQ(s.get("Prefix"), "");
    EXPECT_THROW(s.set("prt0", "x"), std::logic_error);
    s.addRow();
    s.set("prefix", "\\\\127.0.0.1\\");
    s.set("cc", "COM2");
    s.set("PRT2", std::string(150, 'p'));
    EXPECT_EQ(s.get("Prefix"), "\\\\127.0.0.1\\");
    EXPECT_EQ(s.get("CC"), "COM2");
    EXPECT_EQ(s.get("prt2").size(), StationSettings::fieldWidth);
    EXPECT_THROW(s.get("prt4"), std::invalid_argument);
    s.set("prt0", "  <unassigned> ");
    EXPECT_EQ(s.device("prt0"), "");
    s.addRow();
    EXPECT_EQ(s.get("cc"), "");
    s.close();
    EXPECT_THROW(s.get("prt0"), std::logic_error);
}

TEST(StationConfig, EnvironmentOverridesBuildValues) {
    std::map<std::string, std::string> env{{"STATION_SERVICE_URL", "http://127.0.0.1:9/terminal2secure.asp"},
                                           {"STATION_TICK_MS", "50"}};
    auto lookup = [&](const char* name) -> std::optional<std::string> {
        auto it = env.find(name);
        return it == env.end() ? std::nullopt : std::optional(it->second);
    };
    auto c = StationConfig::resolve(lookup);
    EXPECT_EQ(c.serviceUrl, "http://127.0.0.1:9/terminal2secure.asp");
    EXPECT_EQ(c.tickMs, 50);
    for (const char* bad : {"0", "-5", "fast", "50ms", ""}) {
        env["STATION_TICK_MS"] = bad;
        EXPECT_EQ(StationConfig::resolve(lookup).tickMs, 5000) << bad;
    }
}

TEST(ConsoleFonts, MenuTextCarriesTheIndexBeforeTheColon) {
    const auto fonts = whatsSupported();
    EXPECT_EQ(fonts[3].width, 16);
    EXPECT_EQ(fonts[9].height, 18);
    for (const auto& f : fonts)
        EXPECT_EQ(consoleFontFromMenuText(consoleFontMenuText(f)), f.index);
    EXPECT_EQ(consoleFontFromMenuText("12:abc"), 12);
    EXPECT_EQ(consoleFontFromMenuText("no colon"), -1);
}

TEST(ListSort, EveryClickFlipsTheOrder) {
    ListSort sort;
    sort.click(2);
    const bool first = sort.descending();
    sort.click(2);
    EXPECT_NE(sort.descending(), first);
    sort.click(0);
    EXPECT_EQ(sort.descending(), first);
    EXPECT_EQ(sort.column(), 0);
}

} // namespace
} // namespace station
