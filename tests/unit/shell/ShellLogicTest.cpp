#include "core/StationState.h"
#include "platform/StationConfig.h"
#include "shell/ConsoleFonts.h"
#include "shell/ListSort.h"
#include "shell/StartMode.h"
#include "shell/StoreList.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>
#include <map>

namespace station {
namespace {

struct ModeCase {
    std::string line;
    StartMode mode;
};
class StartModeTest : public testing::TestWithParam<ModeCase> {};

TEST_P(StartModeTest, Decides) {
    EXPECT_EQ(decideStartMode(GetParam().line), GetParam().mode) << GetParam().line;
}

INSTANTIATE_TEST_SUITE_P(CommandLines, StartModeTest,
                         testing::Values(ModeCase{"", StartMode::Station}, ModeCase{"    ", StartMode::Station},
                                         ModeCase{"~~", StartMode::Station}, ModeCase{" ~~x", StartMode::Station},
                                         ModeCase{"~x", StartMode::Task},
                                         ModeCase{"6,1234567890,r.txt", StartMode::Task}));

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
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->stores.size(), 2u);
    EXPECT_EQ(state.stores.count(), 2u);
    EXPECT_EQ(state.stores.at(0).status, " ");
    EXPECT_EQ(state.stores.at(1).status, "X");
    EXPECT_EQ(state.stationId, "00-11&22");
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
    ServiceReply<StoreListReply> over{StoreListReply{}, {}};
    over.value->ignoredStores = 5;
    EXPECT_NE(storeListNotice(over).find("305"), std::string::npos);
    EXPECT_EQ(storeListNotice({StoreListReply{}, {}}), "");
    // An unreachable service is never shown as an empty list.
    const auto unreached = storeListNotice({std::nullopt, "Timeout was reached"});
    EXPECT_NE(unreached.find("not reached"), std::string::npos) << unreached;
    EXPECT_NE(unreached.find("Timeout was reached"), std::string::npos) << unreached;
}

TEST(StationConfig, EnvironmentOverridesBuildValues) {
    std::map<std::string, std::string> env{{"STATION_SERVICE_URL", "http://127.0.0.1:9/terminal2secure.asp"},
                                           {"STATION_TICK_MS", "50"},
                                           {"STATION_UPDATE_PUBLIC_KEY", "S2V5IGZvciB1cGRhdGVz"}};
    auto lookup = [&](const char* name) -> std::optional<std::string> {
        auto it = env.find(name);
        return it == env.end() ? std::nullopt : std::optional(it->second);
    };
    auto c = StationConfig::resolve(lookup);
    EXPECT_EQ(c.serviceUrl, "http://127.0.0.1:9/terminal2secure.asp");
    EXPECT_EQ(c.tickMs, 50);
    EXPECT_EQ(c.updatePublicKey, "S2V5IGZvciB1cGRhdGVz");
    for (const char* bad : {"0", "-5", "fast", "50ms", ""}) {
        env["STATION_TICK_MS"] = bad;
        EXPECT_EQ(StationConfig::resolve(lookup).tickMs, 5000) << bad;
    }
}

TEST(ConsoleFonts, MenuTextCarriesTheIndexBeforeTheColon) {
    const auto fonts = whatsSupported();
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
