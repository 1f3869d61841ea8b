// The main window as a form: its controls show what the controller decides, and its events
// reach the controller. What is decided is tested on the controller itself.
#include "shell/frmTerminal.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "tests/support/FakePorts.h"
#include "uploader/frmUploader.h"

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QDialog>
#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

namespace station {
namespace {

constexpr ClientWindows::Handle clientHandle = 42;

class TerminalTest : public testing::Test {
protected:
    void SetUp() override {
        config.serverList = "127.0.0.1,127.0.0.2";
        config.tickMs = 24 * 3600 * 1000; // ticks are called by the tests
        fake.adapters.adapters = {{"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}};
    }
    frmTerminal& load(const std::string& storeReply) {
        fake.http.handler = [storeReply](const test::FakeHttp::Call& call) {
            return test::FakeHttp::ok(call.body.starts_with("mac=") ? storeReply : "");
        };
        window = std::make_unique<frmTerminal>(fake.ports, config, service);
        EXPECT_TRUE(window->Form_Load());
        return *window;
    }
    QStringList column(int c) const {
        QStringList out;
        for (int i = 0; i < window->ListView1->topLevelItemCount(); ++i)
            out << window->ListView1->topLevelItem(i)->text(c);
        return out;
    }
    QTreeWidgetItem* row(int k) const { return window->rowByKey("A " + std::to_string(k)); }
    /// Every column of the row in the same weight: true bold, false normal, nothing when mixed.
    std::optional<bool> bold(int k) const {
        const bool first = row(k)->font(0).bold();
        for (int c = 1; c < 5; ++c)
            if (row(k)->font(c).bold() != first)
                return std::nullopt;
        return first;
    }

    test::FakePorts fake;
    StationConfig config;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    std::unique_ptr<frmTerminal> window;
};

TEST_F(TerminalTest, LoadShowsTheRowsTheMenusAndThePanel) {
    auto& w = load(test::storeListReply(2) + "AA|1234500002|T2|u|p|10.0.0.2|23|DOM|x|Caf\xE9|Z|");
    EXPECT_TRUE(w.isVisible());
    EXPECT_EQ(w.windowTitle(), QStringLiteral("VORNE Terminal Version 2.1.14"));
    EXPECT_FALSE(w.Frame1->isVisible());
    const QStringList headers{QStringLiteral("Store Name"), QStringLiteral("Register"), QStringLiteral("User Name"),
                              QStringLiteral("Serial Number"), QStringLiteral("Status")};
    ASSERT_EQ(w.ListView1->columnCount(), 5);
    for (int c = 0; c < 5; ++c)
        EXPECT_EQ(w.ListView1->headerItem()->text(c), headers[c]);
    EXPECT_EQ(column(0), (QStringList{QStringLiteral("STORE0"), QStringLiteral("STORE1"), QStringLiteral("Café")}));
    EXPECT_EQ(column(3),
              (QStringList{QStringLiteral("1234500000"), QStringLiteral("1234500001"), QStringLiteral("1234500002")}));
    EXPECT_EQ(w.buttonMenu(QStringLiteral("uploader"))->actions()[2]->text(), QStringLiteral("1234500002 (Café)"));
    EXPECT_EQ(w.buttonMenu(QStringLiteral("connect"))->actions().size(), 3);
    EXPECT_EQ(w.buttonMenu(QStringLiteral("tools"))->actions().size(), 12) << "ten fonts, a line, Get External Data";
    EXPECT_EQ(w.panel(QStringLiteral("winsock"))->text(), QStringLiteral("Closed"));
    EXPECT_TRUE(w.Timer1->isActive());
}

TEST_F(TerminalTest, HeaderClicksSortByTheColumnAndFlipTheOrder) {
    auto& w = load(test::storeListReply(2) + "AA|0000000009|T9|u|p|10.0.0.9|23|DOM|x|ALPHA|Z|");
    const QStringList ascending{QStringLiteral("ALPHA"), QStringLiteral("STORE0"), QStringLiteral("STORE1")};
    const QStringList descending(ascending.rbegin(), ascending.rend());
    auto* header = w.ListView1->header();
    emit header->sectionClicked(0);
    EXPECT_EQ(column(0), descending);
    emit header->sectionClicked(0);
    EXPECT_EQ(column(0), ascending);
    // Another column: its serial numbers lead, and the order flips again.
    emit header->sectionClicked(3);
    EXPECT_EQ(column(3),
              (QStringList{QStringLiteral("1234500001"), QStringLiteral("1234500000"), QStringLiteral("0000000009")}));
}

TEST_F(TerminalTest, DoubleClickConnectsTheStoreOfTheRowWhereverSortingMovedIt) {
    auto& w = load(test::storeListReply(3));
    w.Timer1_Timer();
    w.Timer1_Timer();
    emit w.ListView1->header()->sectionClicked(0);
    auto* top = w.ListView1->topLevelItem(0);
    const auto serial = top->text(3).toStdString();
    fake.clientWindows.windows["GS Telnet Client   10.0.0." + serial.substr(serial.size() - 1)] = clientHandle;
    emit w.ListView1->itemDoubleClicked(top, 0);
    ASSERT_EQ(fake.processLauncher.started.size(), 1u);
    EXPECT_TRUE(fake.processLauncher.started[0].first.ends_with(" -x" + serial))
        << fake.processLauncher.started[0].first;
    EXPECT_EQ(top->text(4), QStringLiteral("connected"));
    EXPECT_EQ(bold(std::stoi(serial.substr(serial.size() - 1))), true);
    EXPECT_FALSE(w.button(QStringLiteral("connect"))->isEnabled());

    // The client's window goes away: the row and the button come back.
    w.Timer1_Timer();
    EXPECT_EQ(bold(std::stoi(serial.substr(serial.size() - 1))), false);
    EXPECT_TRUE(w.button(QStringLiteral("connect"))->isEnabled());
}

TEST_F(TerminalTest, EnterOnTheChosenRowConnectsItFromTheKeyboard) {
    auto& w = load(test::storeListReply(3));
    w.show();
    QApplication::setActiveWindow(&w);
    w.ListView1->setFocus();
    w.ListView1->setCurrentItem(w.ListView1->topLevelItem(1));
    QTest::keyClick(w.ListView1, Qt::Key_Return);
    ASSERT_EQ(fake.processLauncher.started.size(), 1u);
    EXPECT_TRUE(
        fake.processLauncher.started[0].first.ends_with(" -x" + w.ListView1->topLevelItem(1)->text(3).toStdString()))
        << fake.processLauncher.started[0].first;
}

TEST_F(TerminalTest, ToolsMenuSetsTheClientFontAndActivationBringsTheClientForward) {
    auto& w = load(test::storeListReply(1));
    w.Timer1_Timer();
    w.Timer1_Timer();
    fake.clientWindows.windows["GS Telnet Client   10.0.0.0"] = clientHandle;
    w.button(QStringLiteral("connect"))->click();
    w.buttonMenu(QStringLiteral("tools"))->actions()[3]->trigger();
    EXPECT_EQ(fake.clientWindows.fonts, (std::vector<std::pair<ClientWindows::Handle, int>>{{clientHandle, 3}}));
    QEvent activate(QEvent::WindowActivate);
    QCoreApplication::sendEvent(&w, &activate);
    EXPECT_EQ(fake.clientWindows.broughtForward, (std::vector<ClientWindows::Handle>{clientHandle}));
}

TEST_F(TerminalTest, UploaderDropDownOpensTheWindowAndMovesItToAnotherStore) {
    auto& w = load(test::storeListReply(2));
    for (int store : {1, 0}) {
        w.buttonMenu(QStringLiteral("uploader"))->actions()[store]->trigger();
        auto* uploader = w.findChild<frmUploader*>(QStringLiteral("frmUploader"));
        ASSERT_NE(uploader, nullptr);
        EXPECT_EQ(uploader->storeIndex(), store);
    }
    EXPECT_EQ(w.findChildren<frmUploader*>(QStringLiteral("frmUploader")).size(), 1);
}

TEST_F(TerminalTest, HelpdeskAndAboutOpenOnce) {
    auto& w = load(test::storeListReply(1));
    w.button(QStringLiteral("helpdesk"))->click();
    w.button(QStringLiteral("helpdesk"))->click();
    w.mnuPopup->findChild<QAction*>(QStringLiteral("mnuAbout"))->trigger();
    EXPECT_EQ(w.findChildren<QDialog*>(QStringLiteral("frmHelpdesk")).size(), 1);
    EXPECT_EQ(w.findChildren<QDialog*>(QStringLiteral("frmAbout")).size(), 1);
}

TEST_F(TerminalTest, CloseBoxNeverEndsTheStationAndTheTimerKeepsTicking) {
    config.tickMs = 20;
    auto& w = load(test::storeListReply(1));
    EXPECT_FALSE(w.close()); // the close is refused
    // Offscreen there is no tray to come back from: the window is minimised, not hidden.
    ASSERT_FALSE(QSystemTrayIcon::isSystemTrayAvailable());
    EXPECT_TRUE(w.isVisible());
    EXPECT_TRUE(w.isMinimized());
    EXPECT_TRUE(w.Timer1->isActive());
    // Ticks go on: the first one dials the host.
    EXPECT_TRUE(QTest::qWaitFor([this] { return !fake.hostSocket.dials.empty(); }, 1000));
}

TEST_F(TerminalTest, ExitStopsTheTimerAndLetsTheWindowClose) {
    auto& w = load(test::storeListReply(1));
    w.mnuPopup->findChild<QAction*>(QStringLiteral("mnuExit"))->trigger();
    EXPECT_FALSE(w.Timer1->isActive());
    EXPECT_FALSE(w.state().settings.isOpen());
    EXPECT_TRUE(w.close());
}

} // namespace
} // namespace station
