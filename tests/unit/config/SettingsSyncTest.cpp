#include "config/SettingsSync.h"
#include "service/Codec.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

namespace station {
namespace {

class SettingsSyncTest : public testing::Test {
protected:
    void SetUp() override {
        fake.adapters.adapters = {{"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}},
                                  {"eth1", {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}}};
        state.settings.open();
    }
    void reply(std::string body) { fake.http.replies.push_back(test::FakeHttp::ok(std::move(body))); }
    void fail() { fake.http.replies.push_back(test::FakeHttp::failed()); }
    std::vector<std::string> bodies() const { return fake.http.bodies(); }
    std::array<std::string, 6> row() const {
        std::array<std::string, 6> out;
        for (std::size_t f = 0; f < out.size(); ++f)
            out[f] = state.settings.get(StationSettings::fieldNames[f]);
        return out;
    }

    test::FakePorts fake;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    StationState state;
    SettingsSync sync{service, fake.adapters, fake.clock, state};
};

constexpr const char* bothAdapters = "001122334455AABBCCDDEEFF";

// --- settings load ---

struct LoadCase {
    const char* name;
    std::string reply;
    std::vector<std::string> bodiesAfter; // after the "prt=" request
    bool hasRow;
    std::array<std::string, 6> row;
    bool shortRow;
};

class SettingsLoad : public SettingsSyncTest, public testing::WithParamInterface<LoadCase> {};

TEST_P(SettingsLoad, TakesWholeRowsOnly) {
    const auto& c = GetParam();
    reply(c.reply);
    if (c.shortRow) {
        EXPECT_THROW(sync.loadSettings(), ShortSettingsRow);
    } else {
        EXPECT_NO_THROW(sync.loadSettings());
    }
    auto expected = std::vector<std::string>{std::string("prt=") + bothAdapters};
    expected.insert(expected.end(), c.bodiesAfter.begin(), c.bodiesAfter.end());
    EXPECT_EQ(bodies(), expected);
    EXPECT_EQ(state.settings.hasRow(), c.hasRow);
    if (c.hasRow) {
        EXPECT_EQ(row(), c.row);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, SettingsLoad,
    testing::Values(
        LoadCase{"SixFields",
                 "R1|L1|P1|MICRImage|COM2|\\\\srv\\share\\|",
                 {},
                 true,
                 {"R1", "L1", "P1", "MICRImage", "COM2", "\\\\srv\\share\\"},
                 false},
        LoadCase{"NoBarMeansUnknownStation", "none", {"prtadd=001122334455"}, false, {}, false},
        LoadCase{"SevenFieldsEndInsideTheSecondRow", "a|b|c|d|e|f|g|", {}, true, {"a", "b", "c", "d", "e", "f"}, true}),
    [](const auto& p) { return std::string(p.param.name); });

TEST_F(SettingsSyncTest, UnknownStationIsKnownByItsFirstAdapterFromThenOn) {
    reply("nothing");
    sync.loadSettings();
    EXPECT_EQ(state.stationId, "00-11-22-33-44-55");
}

TEST_F(SettingsSyncTest, FailedTransferChangesNothing) {
    fail();
    EXPECT_NO_THROW(sync.loadSettings());
    EXPECT_FALSE(state.settings.hasRow());
    EXPECT_EQ(bodies().size(), 1U);

    state.stores.at(0).status = " ";
    fail();
    sync.storeMaintenancePoll();
    EXPECT_EQ(state.stores.at(0).status, " ");

    fail();
    EXPECT_EQ(sync.updateAddress(), "");
}

// --- settings write ---

TEST_F(SettingsSyncTest, WriteSendsTheRowWithTheIdentityOfEveryAdapter) {
    state.settings.addRow();
    state.settings.set("prt2", "P3");
    sync.writeSettings();
    fake.adapters.adapters.clear();
    sync.writeSettings();
    EXPECT_EQ(bodies(), (std::vector<std::string>{std::string("prtupt=||P3||||") + bothAdapters + "|", "prtupt="}));
}

// --- store maintenance poll ---

class StorePoll : public SettingsSyncTest {
protected:
    void SetUp() override {
        SettingsSyncTest::SetUp();
        const std::pair<const char*, const char*> stores[] = {{"S1", " "}, {"S2", " "}, {"S3", " "}, {"S4", "Y"}};
        for (std::size_t j = 0; j < 4; ++j) {
            state.stores.at(j).storeName = stores[j].first;
            state.stores.at(j).status = stores[j].second;
        }
        state.stores.setCount(4);
    }
    std::string statuses(std::size_t n = 6) const {
        std::string out;
        for (std::size_t j = 0; j < n; ++j)
            out += "[" + state.stores.at(j).status + "]";
        return out;
    }
};

TEST_F(StorePoll, NamedOpenStoresAreMarkedThenEveryOtherIsReleased) {
    reply("S1|S2|");
    sync.storeMaintenancePoll();
    EXPECT_EQ(bodies(), (std::vector<std::string>{"store=1"}));
    EXPECT_EQ(statuses(), "[Y][Y][R][R][R][R]");
    EXPECT_EQ(state.stores.at(0).maintenanceTime, fake.clock.time);
    EXPECT_EQ(state.stores.at(1).maintenanceTime, fake.clock.time);
    EXPECT_EQ(state.stores.at(2).maintenanceTime, std::chrono::system_clock::time_point{});
}

TEST_F(StorePoll, AStoreInAnotherStateIsNotMarkedAgain) {
    state.stores.at(0).status = "R";
    state.stores.at(3).maintenanceTime = fake.clock.time - std::chrono::hours(1);
    reply("S1|S4|");
    sync.storeMaintenancePoll();
    EXPECT_EQ(statuses(4), "[R][R][R][Y]");
    EXPECT_EQ(state.stores.at(3).maintenanceTime, fake.clock.time - std::chrono::hours(1));
}

TEST_F(StorePoll, OddKeysAndUnknownStoresAndTheLastPiece) {
    state.stores.at(2).storeName = "A&B ~/\\\"#";
    // The empty last piece is no store key, so the empty entries beyond the list are released.
    reply("A&B ~/\\\"#|NOSUCH|");
    sync.storeMaintenancePoll();
    EXPECT_EQ(statuses(), "[R][R][Y][R][R][R]");
}

TEST_F(StorePoll, ALongReplyOfRepeatedKeysIsWalkedOnce) {
    std::string many;
    for (int i = 0; i < 200'000; ++i)
        many += "S2|NOSUCH|";
    reply(many);
    sync.storeMaintenancePoll();
    EXPECT_EQ(statuses(4), "[R][Y][R][R]");
}

TEST_F(SettingsSyncTest, UpdateAddressAsksWithTheWholeIdentity) {
    reply("x|http://upd/rdp|");
    EXPECT_EQ(sync.updateAddress(), "http://upd/rdp");
    EXPECT_EQ(bodies(), (std::vector<std::string>{std::string("upd1=") + bothAdapters}));
}

} // namespace
} // namespace station
