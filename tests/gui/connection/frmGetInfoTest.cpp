// The "Get External Data" window as a form: reached from the main window by its key, boxes that
// select their text on focus, Label6 and the buttons. The decisions are tested on GetInfo.
#include "connection/frmGetInfo.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/frmTerminal.h"
#include "tests/support/FakePorts.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
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

TEST(frmGetInfoForm, CtrlGOnTheMainWindowOpensItWithTheConnectionSettings) {
    test::FakePorts fake;
    StationConfig config;
    config.tickMs = 24 * 3600 * 1000;
    IdentityCodec codec;
    ServiceClient service(fake.http, codec, "http://service.test/terminal2secure.asp");
    frmTerminal window(fake.ports, config, service);
    ASSERT_TRUE(window.Form_Load());
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

    fake.dialogs.fileAnswer = dir.filePath(QStringLiteral("gone.xml")).toStdString();
    form.cmdPopulate->click();
    EXPECT_EQ(form.Label6->text().toStdString(), file) << "a missing file leaves Label6 alone";
}

} // namespace
} // namespace station
