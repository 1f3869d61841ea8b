#include "core/Environment.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/ClientSession.h"
#include "shell/frmTerminal.h"
#include "tests/support/FakePorts.h"

#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QLabel>
#include <QMenu>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

namespace station {
namespace {

constexpr ClientWindows::Handle clientHandle = 42;

class SessionTest : public testing::Test {
protected:
    void SetUp() override {
        config.serverList = "127.0.0.1";
        config.tickMs = 24 * 3600 * 1000; // the test calls every tick itself
        fake.adapters.adapters = {{"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}};
        fake.http.handler = [this](const test::FakeHttp::Call& call) {
            for (const auto& [key, body] : replies)
                if (call.body.starts_with(key))
                    return test::FakeHttp::ok(body);
            return test::FakeHttp::ok("");
        };
        replies["mac="] = test::storeListReply(2);
        replies["prt="] = "R1||P3|||AB|";
    }
    frmTerminal& load() {
        window = std::make_unique<frmTerminal>(fake.ports, config, service);
        EXPECT_TRUE(window->Form_Load());
        return *window;
    }
    QTreeWidgetItem* row(int k) const { return window->rowByKey("A " + std::to_string(k)); }
    bool bold(int k) const {
        for (int c = 0; c < 5; ++c)
            if (!row(k)->font(c).bold())
                return false;
        return true;
    }
    bool normal(int k) const {
        for (int c = 0; c < 5; ++c)
            if (row(k)->font(c).bold())
                return false;
        return true;
    }
    std::string status(int k) const { return row(k)->text(4).toStdString(); }
    bool connectEnabled() const { return window->button(QStringLiteral("connect"))->isEnabled(); }
    // The first tick polls the stores, which re-opens every store the reply does not name; the
    // second turns "R" back to open. After these two, rows only follow the client's window.
    void settle() {
        window->Timer1_Timer();
        window->Timer1_Timer();
    }
    std::string programFolder() const {
        return QDir::toNativeSeparators(QCoreApplication::applicationDirPath() + QDir::separator()).toStdString();
    }

    std::map<std::string, std::string> replies;
    test::FakePorts fake;
    StationConfig config;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    std::unique_ptr<frmTerminal> window;
};

TEST_F(SessionTest, DoubleClickStartsTheClientAndTakesItsWindow) {
    auto& w = load();
    settle();
    fake.clientWindows.windows["GS Telnet Client   10.0.0.1"] = clientHandle;
    emit w.ListView1->itemDoubleClicked(row(1), 0);

    ASSERT_EQ(fake.processLauncher.started.size(), 1u);
    EXPECT_EQ(fake.processLauncher.started[0].first,
              programFolder() + "gs_clnt7.exe -bT1 -uuser1 -P23 -ppw1 -h10.0.0.1 -dDOM -H180 -z -r1=ABR1 -r3=ABP3 "
                                "-x1234500001");
    EXPECT_EQ(fake.processLauncher.started[0].second, ProcessLauncher::Show::Normal);
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_EQ(w.state().clientWindow, clientHandle);
    EXPECT_EQ(fake.clientWindows.shown, (std::vector<ClientWindows::Handle>{clientHandle}));
    EXPECT_FALSE(w.isVisible());
    EXPECT_TRUE(bold(1));
    EXPECT_EQ(status(1), "connected");
    EXPECT_TRUE(normal(0));
    EXPECT_FALSE(connectEnabled());
    EXPECT_EQ(w.state().stores.at(1).connectState, 1);
    EXPECT_EQ(w.state().loginUser, "user1");
    EXPECT_EQ(w.state().loginHost, "10.0.0.1");
    EXPECT_EQ(w.state().loginPort, "47000");

    // Connected: the client shows its connected title and the tick leaves the row alone.
    fake.clientWindows.windows = {{"GS Telnet Client   10.0.0.1 x:1234500001", clientHandle}};
    w.Timer1_Timer();
    EXPECT_TRUE(bold(1));
    EXPECT_FALSE(connectEnabled());

    // A second connection to the same store is refused while the first runs.
    w.connectStore(1);
    ASSERT_EQ(fake.dialogs.shown.size(), 1u);
    EXPECT_EQ(fake.dialogs.shown[0].text,
              "You must first get out of the existing VORNEOnline connection to this store");
    EXPECT_EQ(fake.dialogs.shown[0].title, "Can Not login");
    EXPECT_EQ(fake.processLauncher.started.size(), 1u);

    // The client goes away: the next tick gives back the row and the Connect button.
    fake.clientWindows.windows.clear();
    w.Timer1_Timer();
    EXPECT_TRUE(normal(1));
    EXPECT_EQ(status(1), "");
    EXPECT_TRUE(connectEnabled());
    EXPECT_EQ(w.state().stores.at(1).connectState, 3);
}

struct RefusalCase {
    const char* name;
    std::function<void(StoreEntry&)> change;
    std::string text; // "M" stands for the maintenance text of the entry
    std::string title;
};

class SessionRefusal : public SessionTest, public testing::WithParamInterface<RefusalCase> {};

TEST_P(SessionRefusal, ShowsItsBoxAndStartsNothing) {
    auto& w = load();
    settle();
    auto& entry = w.state().stores.at(0);
    GetParam().change(entry);
    w.connectStore(0);
    ASSERT_EQ(fake.dialogs.shown.size(), 1u);
    const auto expected = GetParam().text == "M" ? "This store was shutdown for maintenance @ " +
                                                       dateTimeText(entry.maintenanceTime) + " please try again later"
                                                 : GetParam().text;
    EXPECT_EQ(fake.dialogs.shown[0].text, expected);
    EXPECT_EQ(fake.dialogs.shown[0].icon, Dialogs::Icon::Critical);
    EXPECT_EQ(fake.dialogs.shown[0].title, GetParam().title);
    EXPECT_TRUE(fake.processLauncher.started.empty());
    EXPECT_TRUE(normal(0));
    EXPECT_TRUE(connectEnabled());
    EXPECT_TRUE(w.isVisible());
    EXPECT_EQ(entry.connectState, 0);
    EXPECT_EQ(w.state().loginPort, "47000");
}

INSTANTIATE_TEST_SUITE_P(
    Table, SessionRefusal,
    testing::Values(
        RefusalCase{"MissingItems",
                    [](StoreEntry& e) {
                        e.password = " ";
                        e.domainName.clear();
                        e.status = "X"; // missing data is told first
                    },
                    "You are missing the following information from your login data: \r\nPassword\r\nDomain Name\r\n",
                    "Can Not login, missing information"},
        RefusalCase{"Maintenance",
                    [](StoreEntry& e) {
                        e.status = "X";
                        e.maintenanceTime =
                            std::chrono::sys_days{std::chrono::year{2026} / 3 / 4} + std::chrono::hours(5);
                    },
                    "M", "Can Not login"}),
    [](const auto& p) { return std::string(p.param.name); });

TEST_F(SessionTest, ClientThatCannotStartEndsQuietlyAndTheNextTickGivesTheRowBack) {
    auto& w = load();
    settle();
    fake.processLauncher.succeed = false;
    w.connectStore(0);
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_EQ(w.panel(QStringLiteral("message"))->text(),
              QStringLiteral("The telnet client gs_clnt7.exe could not be started"));
    EXPECT_TRUE(bold(0));
    w.Timer1_Timer();
    EXPECT_TRUE(normal(0));
    EXPECT_TRUE(connectEnabled());
}

TEST_F(SessionTest, ShortSettingsReplyStillOpensAndSaysSo) {
    replies["prt="] = "a|b|c|d|e|f|g|";
    auto& w = load();
    EXPECT_TRUE(w.isVisible());
    EXPECT_EQ(w.state().settings.get("prt0"), "a");
    EXPECT_FALSE(w.panel(QStringLiteral("message"))->text().isEmpty());
    EXPECT_TRUE(w.Timer1->isActive());
}

TEST_F(SessionTest, FontsFromTheToolsMenuAndActivationBringTheClientForward) {
    auto& w = load();
    settle();
    fake.clientWindows.windows["GS Telnet Client   10.0.0.0"] = clientHandle;
    w.connectStore(0);
    w.buttonMenu(QStringLiteral("tools"))->actions()[3]->trigger();
    EXPECT_EQ(fake.clientWindows.fonts, (std::vector<std::pair<ClientWindows::Handle, int>>{{clientHandle, 3}}));
    QEvent activate(QEvent::WindowActivate);
    QCoreApplication::sendEvent(&w, &activate);
    EXPECT_EQ(fake.clientWindows.broughtForward, (std::vector<ClientWindows::Handle>{clientHandle}));
}

} // namespace
} // namespace station
