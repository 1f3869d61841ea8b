#include "shell/ClientSession.h"
#include "core/Environment.h"

#include <gtest/gtest.h>

namespace station {
namespace {

StoreEntry store() {
    StoreEntry e;
    e.serialNumber = "1234500001";
    e.terminalNumber = "12";
    e.userName = "user";
    e.password = "pw";
    e.clusterAddress = "127.0.0.1";
    e.hostPort = "23";
    e.domainName = "DOM";
    e.storeName = "S1";
    e.status = " ";
    return e;
}

StationSettings settingsRow(std::array<std::string, 6> values) {
    StationSettings s;
    s.open();
    s.addRow();
    for (std::size_t f = 0; f < values.size(); ++f)
        s.set(StationSettings::fieldNames[f], values[f]);
    return s;
}

// --- the client's command line ---

struct ArgumentCase {
    const char* name;
    std::string domain;
    std::array<std::string, 6> settings;
    std::string executable;
    std::string expected;
};

class ClientArguments : public testing::TestWithParam<ArgumentCase> {};

TEST_P(ClientArguments, FollowTheClientContract) {
    const auto& c = GetParam();
    auto e = store();
    e.domainName = c.domain;
    auto settings = settingsRow(c.settings);
    EXPECT_EQ(clientExecutable(e), c.executable);
    EXPECT_EQ(clientArguments(e, settings), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ClientArguments,
    testing::Values(
        ArgumentCase{"TwoCharacterDomain", "DO", {}, "gs_clnt.exe", "-b12 -uuser -P23 -ppw -h127.0.0.1 -dDO -H180 -z"},
        ArgumentCase{
            "ThreeCharacterDomain", "DOM", {}, "gs_clnt7.exe", "-b12 -uuser -P23 -ppw -h127.0.0.1 -dDOM -H180 -z"},
        ArgumentCase{"RoutesSkipAnEmptyPrinterAndCarryThePrefix",
                     "DOM",
                     {"P1", "", "P3", "MICR", "COM2", "AB"},
                     "gs_clnt7.exe",
                     "-b12 -uuser -P23 -ppw -h127.0.0.1 -dDOM -H180 -z -r1=ABP1 -r3=ABP3"},
        ArgumentCase{"BlanksAroundPrinterAndPrefixAreTrimmed",
                     "DOM",
                     {" R1 ", "  ", "", "", "", "  "},
                     "gs_clnt7.exe",
                     "-b12 -uuser -P23 -ppw -h127.0.0.1 -dDOM -H180 -z -r1=R1"},
        ArgumentCase{"AllThreeRoutes",
                     "DOM",
                     {"R", "L", "P", "", "", "\\\\srv\\"},
                     "gs_clnt7.exe",
                     "-b12 -uuser -P23 -ppw -h127.0.0.1 -dDOM -H180 -z -r1=\\\\srv\\R -r2=\\\\srv\\L -r3=\\\\srv\\P"}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(ClientArguments, OnlyTheClusterAddressIsTrimmedAndWithoutASettingsRowTheDefaultRowIsAdded) {
    auto e = store();
    e.clusterAddress = " 10.0.0.5 ";
    e.userName = "u ";
    StationSettings settings;
    settings.open();
    EXPECT_EQ(clientArguments(e, settings), "-b12 -uu  -P23 -ppw -h10.0.0.5 -dDOM -H180 -z");
    ASSERT_TRUE(settings.hasRow());
    EXPECT_EQ(settings.get("prt0"), "<unassigned>");
    EXPECT_EQ(settings.get("prt1"), "<unassigned>");
    EXPECT_EQ(settings.get("prt2"), "<unassigned>");
    EXPECT_EQ(settings.get("prt3"), "");
    // The first connection routes nothing; a later one routes the default row as it stands.
    EXPECT_EQ(clientArguments(e, settings), "-b12 -uu  -P23 -ppw -h10.0.0.5 -dDOM -H180 -z -r1=<unassigned> "
                                            "-r2=<unassigned> -r3=<unassigned>");
}

TEST(ClientCommandLine, SerialNumberLastAndABlankProgramFolderQuoted) {
    EXPECT_EQ(clientCommandLine("/opt/st/gs_clnt.exe", "-b1 -z", "99"), "/opt/st/gs_clnt.exe -b1 -z -x99");
    EXPECT_EQ(clientCommandLine("C:\\Program Files\\st\\gs_clnt7.exe", "-b1", "99"),
              "\"C:\\Program Files\\st\\gs_clnt7.exe\" -b1 -x99");
}

// --- refusals ---

TEST(MissingItems, LabelsInOrderEachEndedByCrLf) {
    auto e = store();
    EXPECT_EQ(missingItems(e), "");
    e.terminalNumber = "  ";
    e.password = "";
    e.domainName = " ";
    EXPECT_EQ(missingItems(e), "Terminal Number\r\nPassword\r\nDomain Name\r\n");
    e = StoreEntry{};
    EXPECT_EQ(missingItemsMessage(missingItems(e)),
              "You are missing the following information from your login data: \r\nTerminal Number\r\nUsername\r\n"
              "Password\r\nCluster Address\r\nDomain Name\r\n");
}

struct RefusalCase {
    const char* name;
    std::string status;
    bool connected;
    bool maintenance;
    std::string expected;
};

class Refusal : public testing::TestWithParam<RefusalCase> {};

TEST_P(Refusal, Text) {
    const auto& c = GetParam();
    auto e = store();
    e.status = c.status;
    e.maintenanceTime = std::chrono::system_clock::time_point{} + std::chrono::hours(24 * 20000);
    const auto expected = c.maintenance ? "This store was shutdown for maintenance @ " +
                                              dateTimeText(e.maintenanceTime) + " please try again later"
                                        : c.expected;
    EXPECT_EQ(refusalText(e, c.connected), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, Refusal,
    testing::Values(RefusalCase{"Open", " ", false, false, ""}, RefusalCase{"ReOpened", "R", false, false, ""},
                    RefusalCase{"ShutDown", "X", false, true, ""},
                    RefusalCase{"EmptyStatusIsShutDown", "", false, true, ""},
                    RefusalCase{"AlreadyConnected", " ", true, false,
                                "You must first get out of the existing VORNEOnline connection to this store"},
                    RefusalCase{"ConnectedWinsOverShutDown", "X", true, false,
                                "You must first get out of the existing VORNEOnline connection to this store"}),
    [](const auto& p) { return std::string(p.param.name); });

// --- a tick on one row ---

struct RowCase {
    const char* name;
    std::string status;
    bool window;
    bool bold;
    std::vector<RowMark> marks; // a message "M" stands for the maintenance text
    bool disable;
    bool enable;
    std::string statusAfter;
};

class RowTickTable : public testing::TestWithParam<RowCase> {};

TEST_P(RowTickTable, Decides) {
    const auto& c = GetParam();
    auto e = store();
    e.status = c.status;
    auto marks = c.marks;
    for (auto& m : marks)
        if (m.message == "M")
            m.message = "Store Shutdown for Maint @ " + dateTimeText(e.maintenanceTime);
    EXPECT_EQ(superviseRow(e, c.window, c.bold), (RowTick{marks, c.disable, c.enable}));
    EXPECT_EQ(e.status, c.statusAfter);
}

INSTANTIATE_TEST_SUITE_P(
    Table, RowTickTable,
    testing::Values(RowCase{"FoundOpenNormalBecomesBold", " ", true, false, {{true, ""}}, true, false, " "},
                    RowCase{"FoundOpenBoldStays", " ", true, true, {}, false, false, " "},
                    RowCase{"GoneBoldBecomesNormal", " ", false, true, {{false, ""}}, false, true, " "},
                    RowCase{"GoneNormalStays", " ", false, false, {}, false, false, " "},
                    RowCase{"ReOpenedFound", "R", true, false, {{true, ""}}, false, false, " "},
                    RowCase{"ReOpenedGone", "R", false, true, {{false, ""}}, false, false, " "},
                    RowCase{"ShutDownFound", "Y", true, true, {{false, "M"}}, false, false, "Y"},
                    RowCase{"ShutDownGone", "Y", false, false, {{false, "M"}}, false, false, "Y"}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(ConnectState, MarkingMovesOnlyTheStatedWay) {
    const std::pair<int, int> on[] = {{0, 1}, {1, 1}, {2, 2}, {3, 3}};
    const std::pair<int, int> off[] = {{0, 0}, {1, 3}, {2, 3}, {3, 3}};
    for (auto [from, to] : on) {
        StoreEntry e;
        e.connectState = static_cast<std::int16_t>(from);
        markConnectState(e, true);
        EXPECT_EQ(e.connectState, to) << "on from " << from;
    }
    for (auto [from, to] : off) {
        StoreEntry e;
        e.connectState = static_cast<std::int16_t>(from);
        markConnectState(e, false);
        EXPECT_EQ(e.connectState, to) << "off from " << from;
    }
    EXPECT_EQ(rowStatusText(true, ""), "connected");
    EXPECT_EQ(rowStatusText(false, "gone"), "gone");
}

} // namespace
} // namespace station
