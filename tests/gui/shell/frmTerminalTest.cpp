#include "shell/frmTerminal.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "tests/support/FakePorts.h"
#include "uploader/frmUploader.h"

#include <QAction>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

namespace station {
namespace {

class TerminalTest : public testing::Test {
protected:
    void SetUp() override {
        config.backofficeHost = "backoffice.test";
        config.serverList = "127.0.0.1,127.0.0.2";
        config.tickMs = 20;
        fake.adapters.adapters = {{"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}};
    }
    frmTerminal& load(const std::string& storeReply) {
        fake.http.handler = [storeReply](const test::FakeHttp::Call& call) {
            return test::FakeHttp::ok(call.body.starts_with("mac=") ? storeReply : "");
        };
        window = std::make_unique<frmTerminal>(fake.ports, config, service);
        loaded = window->Form_Load();
        return *window;
    }
    QStringList column(int c) const {
        QStringList out;
        for (int i = 0; i < window->ListView1->topLevelItemCount(); ++i)
            out << window->ListView1->topLevelItem(i)->text(c);
        return out;
    }

    test::FakePorts fake;
    StationConfig config;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    std::unique_ptr<frmTerminal> window;
    bool loaded = false;
};

TEST_F(TerminalTest, LoadBuildsStateAndShowsTheStoreRows) {
    auto& w = load(test::storeListReply(2));
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(w.isVisible());
    EXPECT_EQ(w.windowTitle(), QStringLiteral("VORNE Terminal Version 2.1.14"));
    EXPECT_FALSE(w.Frame1->isVisible());
    ASSERT_EQ(w.ListView1->columnCount(), 5);
    const QStringList headers{QStringLiteral("Store Name"), QStringLiteral("Register"), QStringLiteral("User Name"),
                              QStringLiteral("Serial Number"), QStringLiteral("Status")};
    for (int c = 0; c < 5; ++c)
        EXPECT_EQ(w.ListView1->headerItem()->text(c), headers[c]);
    EXPECT_EQ(column(0), (QStringList{QStringLiteral("STORE0"), QStringLiteral("STORE1")}));
    EXPECT_EQ(column(1), (QStringList{QStringLiteral("T0"), QStringLiteral("T1")}));
    EXPECT_EQ(column(3), (QStringList{QStringLiteral("1234500000"), QStringLiteral("1234500001")}));
    EXPECT_NE(w.rowByKey("A 1"), nullptr);
    EXPECT_EQ(w.buttonMenu(QStringLiteral("uploader"))->actions().size(), 2);
    EXPECT_EQ(w.buttonMenu(QStringLiteral("uploader"))->actions()[1]->text(), QStringLiteral("1234500001 (STORE1)"));
    EXPECT_EQ(w.buttonMenu(QStringLiteral("connect"))->actions().size(), 2);
    EXPECT_EQ(w.buttonMenu(QStringLiteral("tools"))->actions().size(), 10);
    EXPECT_EQ(w.panel(QStringLiteral("winsock"))->text(), QStringLiteral("Closed"));
    EXPECT_TRUE(w.Timer1->isActive());
    const auto& s = w.state();
    EXPECT_EQ(s.serverList, (std::vector<std::string>{"127.0.0.1", "127.0.0.2"}));
    EXPECT_EQ(s.serverIndex, 0);
    EXPECT_EQ(s.channelPort, 47000);
    EXPECT_TRUE(s.reconnectPending);
    EXPECT_EQ(s.channelTimeout, 30);
    EXPECT_TRUE(s.settings.isOpen());
    EXPECT_EQ(fake.http.bodies()[0], "mac=001122334455");
    EXPECT_EQ(fake.http.bodies()[1], "updlast=2.1.14|001122334455|");
}

TEST_F(TerminalTest, RowCountsFromEmptyToOverfull) {
    for (std::size_t n : {0u, 1u, 300u, 301u}) {
        auto& w = load(test::storeListReply(n));
        EXPECT_EQ(w.ListView1->topLevelItemCount(), static_cast<int>(std::min<std::size_t>(n, 300))) << n;
        const auto notice = w.panel(QStringLiteral("message"))->text();
        EXPECT_EQ(notice.contains(QStringLiteral("first 300")), n > 300) << notice.toStdString();
    }
}

TEST_F(TerminalTest, DeadServiceStillOpensTheWindowWithAnEmptyList) {
    fake.http.handler = [](const test::FakeHttp::Call&) { return test::FakeHttp::failed(); };
    window = std::make_unique<frmTerminal>(fake.ports, config, service);
    ASSERT_TRUE(window->Form_Load());
    EXPECT_EQ(window->ListView1->topLevelItemCount(), 0);
    EXPECT_TRUE(window->ListView1->isVisible());
    for (const auto& call : fake.http.calls) // no version report without a list
        EXPECT_EQ(call.body.rfind("updlast=", 0), std::string::npos) << call.body;
}

TEST_F(TerminalTest, SecondCopyShowsTheRefusalAndNeverLoads) {
    fake.singleInstance.free = false;
    auto& w = load(test::storeListReply(2));
    EXPECT_FALSE(loaded);
    EXPECT_FALSE(w.isVisible());
    ASSERT_EQ(fake.dialogs.shown.size(), 1u);
    EXPECT_EQ(fake.dialogs.shown[0].text, "Sorry, you can only run one copy of the VORNEOnline Terminal program");
    EXPECT_FALSE(fake.dialogs.shown[0].title.has_value());
    EXPECT_TRUE(fake.http.calls.empty());
}

TEST_F(TerminalTest, HeaderClicksFlipTheOrder) {
    auto& w = load(test::storeListReply(3));
    auto* header = w.ListView1->header();
    emit header->sectionClicked(0);
    const auto first = column(0);
    emit header->sectionClicked(0);
    const auto second = column(0);
    EXPECT_NE(first, second);
    EXPECT_EQ(QStringList(second.rbegin(), second.rend()), first);
}

TEST_F(TerminalTest, DoubleClickConnectsTheRowsStoreEvenAfterSorting) {
    auto& w = load(test::storeListReply(3));
    emit w.ListView1->header()->sectionClicked(0); // descending: STORE2 first
    QSignalSpy spy(&w, &frmTerminal::connectRequested);
    auto* top = w.ListView1->topLevelItem(0);
    emit w.ListView1->itemDoubleClicked(top, 0);
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy[0][0].toInt(), top->text(0) == QStringLiteral("STORE2") ? 2 : 0);
}

TEST_F(TerminalTest, UploaderRefusesWithMoreThanOneStore) {
    auto& w = load(test::storeListReply(2));
    w.doUploader();
    ASSERT_EQ(fake.dialogs.shown.size(), 1u);
    EXPECT_EQ(fake.dialogs.shown[0].text, "You have access to more then one store, please press the down arrow next to "
                                          "the button and select a single store");
    EXPECT_EQ(fake.dialogs.shown[0].icon, Dialogs::Icon::Information);
    EXPECT_EQ(w.findChild<QDialog*>(QStringLiteral("frmUploader")), nullptr);

    // Picking one store from the drop-down opens it; picking another while it is open moves it.
    for (int store : {1, 0}) {
        w.buttonMenu(QStringLiteral("uploader"))->actions()[store]->trigger();
        auto* uploader = w.findChild<frmUploader*>(QStringLiteral("frmUploader"));
        ASSERT_NE(uploader, nullptr);
        EXPECT_EQ(uploader->storeIndex(), store);
    }
}

TEST_F(TerminalTest, UploaderOpensForTheOnlyStore) {
    auto& w = load(test::storeListReply(1));
    w.doUploader();
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_NE(w.findChild<QDialog*>(QStringLiteral("frmUploader")), nullptr);
}

TEST_F(TerminalTest, ToolbarButtonsAndTrayMenu) {
    auto& w = load(test::storeListReply(1));
    struct B {
        const char* key;
        const char* caption;
        const char* tip;
    };
    for (const auto& b : {B{"connect", "Connect", "Connect to VORNE"}, B{"tools", "Tools", ""},
                          B{"helpdesk", "Helpdesk", "Request Help "},
                          B{"reports", "Reports", "VORNEOnline Enterprise Backoffice System"},
                          B{"about", "Info", "VORNE-Terminal Information"}, B{"uploader", "Uploader", ""}}) {
        auto* button = w.button(QString::fromLatin1(b.key));
        ASSERT_NE(button, nullptr) << b.key;
        EXPECT_EQ(button->text(), QString::fromLatin1(b.caption));
        EXPECT_EQ(button->toolTip(), QString::fromLatin1(b.tip));
    }
    QStringList names;
    for (auto* a : w.mnuPopup->actions())
        names << a->objectName();
    EXPECT_EQ(names,
              (QStringList{QStringLiteral("mnuConnect"), QStringLiteral("mnuTools"), QStringLiteral("mnuHelpdesk"),
                           QStringLiteral("mnuReports"), QStringLiteral("mnuAbout"), QStringLiteral("mnuUploader"),
                           QStringLiteral("mnuBreak"), QStringLiteral("mnuExit")}));
    EXPECT_EQ(w.cSysTray1->toolTip(), QStringLiteral("VORNE Terminal"));
    EXPECT_TRUE(w.cSysTray1->isVisible());
}

TEST_F(TerminalTest, ReportsOpenTheBackOfficeInTheBrowser) {
    auto& w = load(test::storeListReply(1));
    w.button(QStringLiteral("reports"))->click();
    EXPECT_EQ(fake.browser.opened, (std::vector<std::string>{"http://backoffice.test:8300/ebs.cfm"}));
}

TEST_F(TerminalTest, HelpdeskAndAboutOpenOnce) {
    auto& w = load(test::storeListReply(1));
    w.button(QStringLiteral("helpdesk"))->click();
    w.button(QStringLiteral("helpdesk"))->click();
    w.button(QStringLiteral("about"))->click();
    EXPECT_EQ(w.findChildren<QDialog*>(QStringLiteral("frmHelpdesk")).size(), 1);
    EXPECT_EQ(w.findChildren<QDialog*>(QStringLiteral("frmAbout")).size(), 1);
}

TEST_F(TerminalTest, CloseBoxHidesAndTheTimerKeepsTicking) {
    auto& w = load(test::storeListReply(1));
    QSignalSpy ticks(&w, &frmTerminal::ticked);
    EXPECT_FALSE(w.close()); // the close is refused
    EXPECT_FALSE(w.isVisible());
    EXPECT_TRUE(w.Timer1->isActive());
    EXPECT_TRUE(ticks.wait(1000));
    EXPECT_TRUE(ticks.wait(1000));
}

TEST_F(TerminalTest, ExitStopsTheTimerAndClosesTheSettings) {
    auto& w = load(test::storeListReply(1));
    w.Form_Unload();
    EXPECT_FALSE(w.Timer1->isActive());
    EXPECT_FALSE(w.state().settings.isOpen());
    EXPECT_TRUE(w.close());
}

} // namespace
} // namespace station
