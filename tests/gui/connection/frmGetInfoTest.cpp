// The "Get External Data" window as a form: reached from the main window by its key, boxes that
// select their text on focus, Label6 and the buttons. The decisions are tested on GetInfo.
#include "connection/frmGetInfo.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/frmTerminal.h"
#include "tests/support/FakePorts.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace station {
namespace {

frmGetInfo* openGetInfo() {
    for (auto* w : QApplication::topLevelWidgets())
        if (auto* form = qobject_cast<frmGetInfo*>(w); form && form->isVisible())
            return form;
    return nullptr;
}

/// The main window over fakes, loaded, its timer far off.
class MainWindow : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(window.Form_Load()); }
    static StationConfig quiet() {
        StationConfig config;
        config.tickMs = 24 * 3600 * 1000;
        return config;
    }
    test::FakePorts fake;
    StationConfig config = quiet();
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://service.test/terminal2secure.asp"};
    frmTerminal window{fake.ports, config, service};
};

TEST_F(MainWindow, CtrlGOpensGetExternalDataWithTheConnectionSettings) {
    window.state().connection = {"anna", "pw", "10.0.0.7", "CORP", "4", ""};
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));

    QTest::keyClick(&window, Qt::Key_G, Qt::ControlModifier);
    auto* form = openGetInfo();
    ASSERT_NE(form, nullptr);
    EXPECT_EQ(form->windowTitle(), QStringLiteral("Get External Data"));
    EXPECT_EQ(form->txtUsername->text(), QStringLiteral("anna"));
    EXPECT_EQ(form->txtIP->text(), QStringLiteral("10.0.0.7"));
    EXPECT_EQ(form->txtDomain->text(), QStringLiteral("CORP"));
    EXPECT_EQ(form->txtStation->text(), QStringLiteral("4"));
    EXPECT_TRUE(form->Label6->text().isEmpty());

    // Its lower edge on the screen's lower edge, at the right.
    const auto screen = QApplication::primaryScreen()->geometry();
    EXPECT_EQ(form->frameGeometry().bottom(), screen.bottom());
    EXPECT_EQ(form->frameGeometry().right(), screen.right());

    form->txtStation->setText(QStringLiteral(" 9 "));
    form->txtDomain->clear();
    form->cmdLogin->click();
    EXPECT_EQ(window.state().connection.stationNumber, "9");
    EXPECT_EQ(window.state().connection.domain, ".");
    QApplication::processEvents();
    EXPECT_EQ(openGetInfo(), nullptr) << "login closes the window";
    window.Form_Unload();
}

// A user finds the window under Tools and in the tray menu as well as by its key.
TEST_F(MainWindow, TheToolsDropDownAndTheTrayMenuOpenGetExternalData) {
    const auto item = [](QMenu* menu) -> QAction* {
        for (auto* action : menu->actions())
            if (action->text() == QStringLiteral("Get External Data..."))
                return action;
        return nullptr;
    };
    for (auto* menu : {window.buttonMenu(QStringLiteral("tools")), window.mnuPopup}) {
        auto* action = item(menu);
        ASSERT_NE(action, nullptr) << menu->objectName().toStdString();
        action->trigger();
        auto* form = openGetInfo();
        ASSERT_NE(form, nullptr) << menu->objectName().toStdString();
        form->close();
        QApplication::processEvents();
    }
    EXPECT_TRUE(fake.clientWindows.fonts.empty()) << "the item is no console font";
    window.Form_Unload();
}

TEST(frmGetInfoForm, ABoxSelectsItsWholeTextWhenItGetsTheFocus) {
    test::FakePorts fake;
    ConnectionSettings settings{"user", "secret", "10.0.0.1", "", "1", ""};
    frmGetInfo form(fake.dialogs, settings, "/tmp/");
    form.show();
    form.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&form));
    for (auto* box : {form.txtPassword, form.txtIP, form.txtUsername}) {
        box->setFocus(Qt::TabFocusReason);
        QApplication::processEvents();
        EXPECT_EQ(box->selectedText(), box->text()) << box->objectName().toStdString();
    }
    QTest::keyClick(form.txtUsername, Qt::Key_Tab);
    QApplication::processEvents();
    EXPECT_EQ(QApplication::focusWidget(), form.txtPassword) << "tab order: user name, password, ...";
}

TEST(frmGetInfoForm, SaveAndPopulateShowThePathInLabel6AndFillTheBoxes) {
    QTemporaryDir dir;
    test::FakePorts fake;
    ConnectionSettings settings{"user", "pw", "10.0.0.1", "D", "1", ""};
    frmGetInfo form(fake.dialogs, settings, dir.path().toStdString());
    const auto file = dir.filePath(QStringLiteral("store.xml")).toStdString();
    fake.dialogs.fileAnswer = file;
    form.cmdSave->click();
    EXPECT_EQ(form.Label6->text().toStdString(), file);

    form.txtUsername->setText(QStringLiteral("changed"));
    form.cmdPopulate->click();
    EXPECT_EQ(form.txtUsername->text(), QStringLiteral("user"));
    EXPECT_EQ(settings.userName, "user");

    const auto gone = dir.filePath(QStringLiteral("gone.xml")).toStdString();
    fake.dialogs.fileAnswer = gone;
    form.cmdPopulate->click();
    EXPECT_EQ(form.Label6->text().toStdString(), file) << "a missing file leaves Label6 alone";
    form.cmdSave->click();
    EXPECT_EQ(form.Label6->text().toStdString(), gone) << "the path the failed load remembered, now saved to";
}

TEST(frmGetInfoForm, ALongPathInLabel6KeepsTheWindowWhereItIsOnTheScreen) {
    QTemporaryDir dir;
    test::FakePorts fake;
    ConnectionSettings settings{"user", "pw", "10.0.0.1", "D", "1", ""};
    frmGetInfo form(fake.dialogs, settings, dir.path().toStdString());
    form.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&form));
    const auto placed = form.frameGeometry();
    const auto folder = dir.filePath(QStringLiteral("a-folder-with-a-rather-long-name/and-another-one-below-it"));
    ASSERT_TRUE(QDir().mkpath(folder));
    fake.dialogs.fileAnswer = (folder + QStringLiteral("/the-connection-file-of-store-4711.xml")).toStdString();
    form.cmdSave->click();
    QApplication::processEvents();
    EXPECT_EQ(form.Label6->text().toStdString(), fake.dialogs.fileAnswer);
    EXPECT_EQ(form.frameGeometry(), placed);
    EXPECT_LE(form.frameGeometry().right(), QApplication::primaryScreen()->geometry().right());
    EXPECT_TRUE(form.cmdSave->geometry().right() < form.width());
}

} // namespace
} // namespace station
