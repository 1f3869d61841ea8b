// The station's sequencing driven through the real controller with fake ports and a recording
// view: the load, the supervision tick and its rhythm, connecting a store, the host channel.
#include "shell/StationController.h"
#include "core/Environment.h"
#include "service/Codec.h"
#include "tests/support/FakePorts.h"
#include "tests/support/FakeStationView.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace station {
namespace {

constexpr ClientWindows::Handle clientHandle = 42;
constexpr const char* programFolder = "/opt/station/";

StationConfig testConfig() {
    StationConfig config;
    config.serverList = "127.0.0.2,127.0.0.3";
    config.backofficeHost = "backoffice.test";
    config.reportsUrl = "http://reports.test/Reports/";
    return config;
}

class StationControllerTest : public testing::Test {
protected:
    void SetUp() override {
        fake.adapters.adapters = {{"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}};
        fake.http.handler = [this](const test::FakeHttp::Call& call) {
            if (call.method == "GET")
                return test::FakeHttp::ok(document);
            if (call.body.starts_with("store="))
                timerDuringPoll.push_back(view.timerEnabled);
            for (const auto& [key, body] : replies)
                if (call.body.starts_with(key))
                    return body ? test::FakeHttp::ok(*body) : test::FakeHttp::failed();
            return test::FakeHttp::ok("");
        };
        replies["mac="] = test::storeListReply(2);
        replies["prt="] = "R1||P3|||AB|";
    }
    StationController& load() {
        EXPECT_TRUE(controller.load());
        return controller;
    }
    /// The first tick polls the stores, which re-opens every store the reply does not name; the
    /// second turns "R" back to open. After these two, rows only follow the client's window.
    void settle() {
        controller.tick();
        controller.tick();
    }
    std::vector<std::string> bodiesStartingWith(const std::string& key) const {
        std::vector<std::string> out;
        for (const auto& body : fake.http.bodies())
            if (body.starts_with(key))
                out.push_back(body);
        return out;
    }

    std::map<std::string, std::optional<std::string>> replies;
    std::string document = "page";
    std::vector<bool> timerDuringPoll;
    test::FakePorts fake;
    test::FakeStationView view;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    StationController controller{fake.ports, testConfig(), service, view, programFolder};
};

TEST_F(StationControllerTest, LoadShowsTheStoresLoadsTheSettingsAndArmsTheChannel) {
    replies["mac="] = test::storeListReply(1) +
                      "00-11-22-33-44-55|1234500001|T1|u|p|10.0.0.9|23|DOM|x|Caf\xE9 M\xFCller|"
                      "Z\xFC|";
    auto& c = load();
    EXPECT_EQ(view.caption, "VORNE Terminal Version 2.1.14");
    EXPECT_TRUE(view.visible);
    EXPECT_EQ(view.fontMenu.size(), 10u);
    ASSERT_EQ(view.rows.size(), 2u);
    EXPECT_EQ(view.rows[0].storeName, "STORE0");
    EXPECT_EQ(view.rows[1].key, "A 1");
    // Wire text is shown as the user reads it; the state keeps the bytes as they came.
    EXPECT_EQ(view.rows[1].storeName, "Café Müller");
    EXPECT_EQ(view.rows[1].displayUser, "Zü");
    EXPECT_EQ(view.uploaderMenu[1].menuText, "1234500001 (Café Müller)");
    EXPECT_EQ(c.state().stores.at(1).storeName, "Caf\xE9 M\xFC"
                                                "ller");
    EXPECT_EQ(view.text, "Closed");
    EXPECT_TRUE(view.timerEnabled);
    EXPECT_EQ(c.state().settings.get("prt2"), "P3");
    EXPECT_EQ(c.state().serverList, (std::vector<std::string>{"127.0.0.2", "127.0.0.3"}));
    EXPECT_TRUE(c.state().reconnectPending);
    EXPECT_EQ(fake.http.bodies(),
              (std::vector<std::string>{"mac=001122334455", "updlast=2.1.14|001122334455|", "prt=001122334455"}));
    // The channel is armed: the host's identity request is answered.
    fake.hostSocket.connected = true;
    fake.hostSocket.events.received("/R=");
    EXPECT_EQ(fake.hostSocket.sent, (std::vector<std::string>{"/L=00-11-22-33-44-55"}));
}

TEST_F(StationControllerTest, SecondCopyShowsTheRefusalAndLoadsNothing) {
    fake.singleInstance.free = false;
    EXPECT_FALSE(controller.load());
    ASSERT_EQ(fake.dialogs.texts(),
              std::vector<std::string>{"Sorry, you can only run one copy of the VORNEOnline Terminal program"});
    EXPECT_FALSE(fake.dialogs.shown[0].title.has_value());
    EXPECT_FALSE(view.visible);
    EXPECT_TRUE(fake.http.calls.empty());
}

TEST_F(StationControllerTest, UnreachableServiceOpensAnEmptyListThatSaysWhy) {
    replies["mac="] = std::nullopt;
    replies["prt="] = std::nullopt;
    load();
    EXPECT_TRUE(view.rows.empty());
    const auto& notice = view.panels[StationView::Panel::Message];
    EXPECT_NE(notice.find("not reached"), std::string::npos) << notice;
    EXPECT_NE(notice.find("connection refused"), std::string::npos) << notice;
    EXPECT_TRUE(bodiesStartingWith("updlast=").empty());
    EXPECT_TRUE(view.timerEnabled);
}

TEST_F(StationControllerTest, ShortSettingsReplyStillLoadsAndSaysSo) {
    replies["prt="] = "a|b|c|d|e|f|g|";
    auto& c = load();
    EXPECT_EQ(c.state().settings.get("prt0"), "a");
    EXPECT_FALSE(view.panels[StationView::Panel::Message].empty());
    EXPECT_TRUE(view.timerEnabled);
}

// Thirty ticks with a client running from tick 3 to 19: the row follows its window, and the
// redial, the keep-alives and the periodic jobs come on their own ticks.
TEST_F(StationControllerTest, TheTickRhythmOverThirtyTicks) {
    auto& c = load();
    std::vector<int> polls, keepAlives, boldTicks, updateChecks;
    std::size_t pollsBefore = 0, sentBefore = 0, checksBefore = 0;
    for (int tick = 1; tick <= 30; ++tick) {
        const bool running = tick >= 3 && tick < 20;
        fake.clientWindows.windows.clear();
        if (running)
            fake.clientWindows.windows["GS Telnet Client   10.0.0.1 x:1234500001"] = clientHandle;
        c.tick();
        if (tick == 1) { // the host takes the first dial
            fake.hostSocket.connected = true;
            fake.hostSocket.events.connected();
        }
        if (const auto n = bodiesStartingWith("store=").size(); n != pollsBefore) {
            polls.push_back(tick);
            pollsBefore = n;
        }
        if (const auto n = bodiesStartingWith("upd1=").size(); n != checksBefore) {
            updateChecks.push_back(tick);
            checksBefore = n;
        }
        if (fake.hostSocket.sent.size() != sentBefore) {
            EXPECT_EQ(fake.hostSocket.sent.back(), "/P=");
            keepAlives.push_back(tick);
            sentBefore = fake.hostSocket.sent.size();
        }
        if (tick > 2) { // after the first poll has re-opened and the next tick has opened the stores
            EXPECT_EQ(view.bold[1], running) << "tick " << tick;
            EXPECT_EQ(view.connectEnabled, !running) << "tick " << tick;
        }
        EXPECT_TRUE(view.timerEnabled);
    }
    EXPECT_EQ(polls, (std::vector<int>{1, 13, 14, 26, 27}));
    // The update check follows each poll, asking for this station's update address.
    EXPECT_EQ(updateChecks, polls);
    EXPECT_EQ(bodiesStartingWith("upd1=").front(), "upd1=001122334455");
    EXPECT_EQ(keepAlives, (std::vector<int>{5, 10, 15, 20, 25, 30}));
    // The timer is off while the periodic jobs run, so ticks do not pile up behind them.
    EXPECT_EQ(timerDuringPoll, std::vector<bool>(5, false));
    EXPECT_EQ(c.state().stores.at(1).connectState, 3);
    EXPECT_EQ(view.status[1], "");
    EXPECT_EQ(view.restores, 1); // the client went away once
    // The line held, so only the first tick dialled.
    EXPECT_EQ(fake.hostSocket.dials, (std::vector<std::string>{"127.0.0.2"}));
    EXPECT_EQ(view.text, "Open 127.0.0.2");
}

TEST_F(StationControllerTest, MaintenanceShutdownShowsInTheRowUntilTheStoreIsReleased) {
    auto& c = load();
    replies["store="] = "STORE1|";
    c.tick(); // the poll comes after the rows are looked at: the next tick shows it
    EXPECT_EQ(c.state().stores.at(1).status, "Y");
    c.tick();
    EXPECT_EQ(view.status[1], "Store Shutdown for Maint @ " + dateTimeText(fake.clock.time));
    EXPECT_FALSE(view.bold[1]);
    replies["store="] = "";
    for (int tick = 3; tick <= 15; ++tick)
        c.tick();
    EXPECT_EQ(c.state().stores.at(1).status, " ");
    EXPECT_EQ(view.status[1], "");
}

TEST_F(StationControllerTest, ConnectStartsTheClientTakesItsWindowAndPutsTheStationAway) {
    replies["mac="] = test::storeListReply(1) + "00-11-22-33-44-55|1234500001|T1|user1|p\xE4ss|10.0.0.1|23|DOM|x|S1|U|";
    auto& c = load();
    settle();
    fake.clientWindows.windows["GS Telnet Client   10.0.0.1"] = clientHandle;
    c.connectStore(1);

    ASSERT_EQ(fake.processLauncher.started.size(), 1u);
    // The password's wire byte reaches the client as the letter it stands for.
    EXPECT_EQ(fake.processLauncher.started[0].first,
              std::string(programFolder) +
                  "gs_clnt7.exe -bT1 -uuser1 -P23 -ppäss -h10.0.0.1 -dDOM -H180 -z -r1=ABR1 -r3=ABP3 -x1234500001");
    EXPECT_EQ(fake.processLauncher.started[0].second, ProcessLauncher::Show::Normal);
    EXPECT_EQ(fake.yield.pauses, (std::vector<std::chrono::milliseconds>{std::chrono::milliseconds(300)}));
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_EQ(c.state().clientWindow, clientHandle);
    EXPECT_EQ(fake.clientWindows.shown, (std::vector<ClientWindows::Handle>{clientHandle}));
    EXPECT_FALSE(view.visible);
    EXPECT_TRUE(view.bold[1]);
    EXPECT_EQ(view.status[1], "connected");
    EXPECT_FALSE(view.bold[0]);
    EXPECT_FALSE(view.connectEnabled);
    EXPECT_EQ(c.state().stores.at(1).connectState, 1);

    // Activating the station brings the client forward with it.
    c.activated();
    EXPECT_EQ(fake.clientWindows.broughtForward, (std::vector<ClientWindows::Handle>{clientHandle}));
    EXPECT_EQ(view.raises, 1);
    c.changeFonts(3);
    EXPECT_EQ(fake.clientWindows.fonts, (std::vector<std::pair<ClientWindows::Handle, int>>{{clientHandle, 3}}));
}

TEST_F(StationControllerTest, WithoutATrayTheStationIsMinimisedInsteadOfHidden) {
    view.tray = false;
    auto& c = load();
    settle();
    c.connectStore(0);
    EXPECT_TRUE(view.visible);
    EXPECT_TRUE(view.minimised);
    view.minimised = false;
    c.closeRequested();
    EXPECT_TRUE(view.visible);
    EXPECT_TRUE(view.minimised);
    view.tray = true;
    c.closeRequested();
    EXPECT_FALSE(view.visible);
}

struct RefusalCase {
    const char* name;
    std::function<void(StoreEntry&)> change;
    bool connectedFirst;
    std::string text;
    std::string title;
};
class ConnectRefusal : public StationControllerTest, public testing::WithParamInterface<RefusalCase> {};

TEST_P(ConnectRefusal, ShowsItsBoxAndStartsNothing) {
    auto& c = load();
    settle();
    if (GetParam().connectedFirst) {
        c.connectStore(0);
        fake.processLauncher.started.clear();
        view.visible = true;
    }
    auto& entry = c.state().stores.at(0);
    GetParam().change(entry);
    const auto connectState = entry.connectState;
    c.connectStore(0);
    ASSERT_EQ(fake.dialogs.texts(), std::vector<std::string>{GetParam().text});
    EXPECT_EQ(fake.dialogs.shown[0].icon, Dialogs::Icon::Critical);
    EXPECT_EQ(fake.dialogs.shown[0].title, GetParam().title);
    EXPECT_TRUE(fake.processLauncher.started.empty());
    EXPECT_EQ(view.bold[0], GetParam().connectedFirst);
    EXPECT_TRUE(view.visible);
    EXPECT_EQ(entry.connectState, connectState);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ConnectRefusal,
    testing::Values(
        RefusalCase{"MissingItemsAreToldFirst",
                    [](StoreEntry& e) {
                        e.password = " ";
                        e.domainName.clear();
                        e.status = "X";
                    },
                    false,
                    "You are missing the following information from your login data: \r\nPassword\r\nDomain Name\r\n",
                    "Can Not login, missing information"},
        RefusalCase{"AlreadyConnected", [](StoreEntry&) {}, true,
                    "You must first get out of the existing VORNEOnline connection to this store", "Can Not login"}),
    [](const auto& p) { return std::string(p.param.name); });

// What a store entry lacks comes from the connection settings ("Get External Data", "login");
// what it has wins. The record's sign-on fields: terminal, user, password, host, domain.
struct SignOnCase {
    const char* name;
    std::array<std::string, 5> entry;
    ConnectionSettings settings;
    std::string started; ///< program and arguments up to the routes; empty: refused
    std::string host;    ///< the client's window is looked for by it
    std::string missing;
};
void PrintTo(const SignOnCase& c, std::ostream* os) {
    *os << c.name;
}
class SignOnFallback : public StationControllerTest, public testing::WithParamInterface<SignOnCase> {};

TEST_P(SignOnFallback, StartsTheClientWithTheEntrysValuesAndTheSettingsForWhatItLacks) {
    const auto& c = GetParam();
    replies["mac="] = "00-11-22-33-44-55|1234500001|" + c.entry[0] + "|" + c.entry[1] + "|" + c.entry[2] + "|" +
                      c.entry[3] + "|23|" + c.entry[4] + "|x|S1|U|";
    auto& c0 = load();
    settle();
    c0.state().connection = c.settings;
    fake.clientWindows.windows["GS Telnet Client   " + c.host] = clientHandle;
    fake.clientWindows.windows["GS Telnet Client   " + c.host + " x:1234500001"] = clientHandle;
    c0.connectStore(0);
    if (c.started.empty()) {
        EXPECT_EQ(fake.dialogs.texts(),
                  std::vector<std::string>{"You are missing the following information from your login data: \r\n" +
                                           c.missing});
        EXPECT_TRUE(fake.processLauncher.started.empty());
        return;
    }
    ASSERT_EQ(fake.processLauncher.started.size(), 1u) << fake.dialogs.texts().size();
    EXPECT_EQ(fake.processLauncher.started[0].first,
              std::string(programFolder) + c.started + " -H180 -z -r1=ABR1 -r3=ABP3 -x1234500001");
    EXPECT_EQ(c0.state().loginHost, c.host);
    EXPECT_EQ(c0.state().clientWindow, clientHandle);
    c0.tick();
    EXPECT_TRUE(view.bold[0]) << "the tick finds the client by the host it was started for";
}

INSTANTIATE_TEST_SUITE_P(Table, SignOnFallback,
                         testing::Values(SignOnCase{"UserAndPasswordFromTheSettings",
                                                    {"T1", "", " ", "10.0.0.1", "DOM"},
                                                    {"anna", "s3cret", "10.9.9.9", "CORP", "77", ""},
                                                    "gs_clnt7.exe -bT1 -uanna -P23 -ps3cret -h10.0.0.1 -dDOM",
                                                    "10.0.0.1",
                                                    ""},
                                         SignOnCase{"EverythingFromTheSettingsWithTheDotDomainOfAnEmptyOne",
                                                    {"", "", "", "", ""},
                                                    {"anna", "s3cret", "10.9.9.9", ".", "77", ""},
                                                    "gs_clnt.exe -b77 -uanna -P23 -ps3cret -h10.9.9.9 -d.",
                                                    "10.9.9.9",
                                                    ""},
                                         SignOnCase{"ALongDomainFromTheSettingsStartsTheNewerClient",
                                                    {"T1", "u", "p", "10.0.0.1", ""},
                                                    {"", "", "", "CORP", "", ""},
                                                    "gs_clnt7.exe -bT1 -uu -P23 -pp -h10.0.0.1 -dCORP",
                                                    "10.0.0.1",
                                                    ""},
                                         SignOnCase{"TheEntrysOwnValuesWin",
                                                    {"T1", "u", "p", "10.0.0.1", "GS"},
                                                    {"anna", "s3cret", "10.9.9.9", "CORP", "77", ""},
                                                    "gs_clnt.exe -bT1 -uu -P23 -pp -h10.0.0.1 -dGS",
                                                    "10.0.0.1",
                                                    ""},
                                         SignOnCase{"ASettingTypedWithAnUmlautReachesTheClientAsTyped",
                                                    {"T1", "u", "", "10.0.0.1", "DOM"},
                                                    {"", "p\xC3\xA4ss", "", "", "", ""},
                                                    "gs_clnt7.exe -bT1 -uu -P23 -ppäss -h10.0.0.1 -dDOM",
                                                    "10.0.0.1",
                                                    ""},
                                         SignOnCase{"WhatNeitherHoldsIsStillMissing",
                                                    {"T1", "", "", "10.0.0.1", ""},
                                                    {"anna", "", "", "", "", ""},
                                                    "",
                                                    "",
                                                    "Password\r\nDomain Name\r\n"}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(StationControllerTest, ClientThatCannotStartEndsQuietlyAndTheNextTickGivesTheRowBack) {
    auto& c = load();
    settle();
    fake.processLauncher.succeed = false;
    c.connectStore(0);
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_EQ(view.panels[StationView::Panel::Message], "The telnet client gs_clnt7.exe could not be started");
    EXPECT_TRUE(view.visible);
    c.tick();
    EXPECT_FALSE(view.bold[0]);
    EXPECT_TRUE(view.connectEnabled);
}

TEST_F(StationControllerTest, HostReportIsPrintedOnTheReportPrinterOfTheSettings) {
    fake.textPrinter.installed = {"Office", "P3"};
    load();
    fake.hostSocket.events.received("/3=1234567890|C:\\out\\daily.txt");
    ASSERT_FALSE(fake.http.calls.empty());
    EXPECT_EQ(fake.http.calls.back().body, "report=dai");
    EXPECT_EQ(fake.textPrinter.calls.front(), "select P3");
    EXPECT_EQ(fake.textPrinter.calls.back(), "end");
}

TEST_F(StationControllerTest, CommandsByTheirButtonKeys) {
    auto& c = load();
    c.command("uploader");
    ASSERT_EQ(fake.dialogs.texts(),
              std::vector<std::string>{"You have access to more then one store, please press the down arrow next to "
                                       "the button and select a single store"});
    EXPECT_EQ(fake.dialogs.shown[0].icon, Dialogs::Icon::Information);

    // The settings go back to the service once the device window has closed.
    std::size_t writesWhileOpen = 99;
    view.whilePrinterSetupOpen = [&] { writesWhileOpen = bodiesStartingWith("prtupt=").size(); };
    c.command("tools");
    EXPECT_EQ(writesWhileOpen, 0u);
    EXPECT_EQ(bodiesStartingWith("prtupt="), (std::vector<std::string>{"prtupt=R1||P3|||AB|001122334455|"}));

    for (const auto* key : {"helpdesk", "about", "reports", "getinfo", "nothing"})
        c.command(key);
    EXPECT_EQ(view.opened, (std::vector<std::string>{"printers", "helpdesk", "about", "getinfo"}));
    EXPECT_EQ(fake.browser.opened, (std::vector<std::string>{"http://backoffice.test:8300/ebs.cfm"}));
    EXPECT_TRUE(fake.processLauncher.started.empty());
    c.command("connect");
    ASSERT_EQ(fake.processLauncher.started.size(), 1u);
    EXPECT_NE(fake.processLauncher.started[0].first.find("1234500000"), std::string::npos)
        << "Connect connects the first store: " << fake.processLauncher.started[0].first;

    c.unload();
    EXPECT_FALSE(view.timerEnabled);
    EXPECT_EQ(bodiesStartingWith("prtupt=").size(), 2u);
    EXPECT_FALSE(c.state().settings.isOpen());
}

TEST_F(StationControllerTest, UploaderOpensForTheOnlyStore) {
    replies["mac="] = test::storeListReply(1);
    load().command("uploader");
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_EQ(view.opened, std::vector<std::string>{"uploader 0"});
}

struct MenuCase {
    const char* name;
    const char* button;
    int place;
    const char* text;
    const char* key;
    std::vector<std::string> opened;
    std::vector<int> fonts;
    std::size_t started;
};

class MenuCommand : public StationControllerTest, public testing::WithParamInterface<MenuCase> {};

TEST_P(MenuCommand, OpensSetsOrConnectsWhatTheItemNames) {
    const auto& p = GetParam();
    load().menuCommand(p.button, p.place, p.text, p.key);
    EXPECT_EQ(view.opened, p.opened);
    std::vector<int> fonts;
    for (const auto& f : fake.clientWindows.fonts)
        fonts.push_back(f.second);
    EXPECT_EQ(fonts, p.fonts);
    EXPECT_EQ(fake.processLauncher.started.size(), p.started);
}

INSTANTIATE_TEST_SUITE_P(
    Table, MenuCommand,
    testing::Values(
        // The uploader opens for the store the item's key names, wherever the list was sorted.
        MenuCase{"uploader_by_key", "uploader", 1, "1234500002 STORE02", "A 1", {"uploader 1"}, {}, 0},
        MenuCase{"uploader_bad_key", "uploader", 1, "x", "B", {}, {}, 0},
        MenuCase{"tools_font", "tools", 2, "3: 16 x 8", "", {}, {3}, 0},
        MenuCase{"tools_getinfo", "tools", 11, "Get External Data...", "getinfo", {"getinfo"}, {}, 0},
        MenuCase{"tools_not_a_font", "tools", 1, "Fonts", "", {}, {}, 0},
        // Connect's items are the list in its order: the second item connects the second store.
        MenuCase{"connect_second", "connect", 2, "1234500002 STORE02", "A 1", {}, {}, 1},
        MenuCase{"unknown_button", "reports", 1, "x", "A 0", {}, {}, 0}),
    [](const auto& p) { return std::string(p.param.name); });

} // namespace
} // namespace station
