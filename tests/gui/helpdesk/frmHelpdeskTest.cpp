#include "helpdesk/frmHelpdesk.h"

#include "service/Codec.h"
#include "tests/support/FakePorts.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>
#include <gtest/gtest.h>

namespace station {
namespace {

struct Rig {
    test::FakePorts fake;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://service/terminal2secure.asp"};
    StationState state;
    void addStore(std::size_t slot, const std::string& serial, const std::string& name) {
        state.stores.at(slot).serialNumber = serial;
        state.stores.at(slot).storeName = name;
    }
};

TEST(frmHelpdesk, LoadOffersStoresAndUrgenciesPreselectingOnlyASingleStore) {
    Rig rig;
    rig.addStore(4, "1234567", "Caf\xe9 Nord");
    frmHelpdesk one(rig.state, rig.fake.ports, rig.service);
    ASSERT_EQ(one.cmbSerial->count(), 1);
    EXPECT_EQ(one.cmbSerial->currentIndex(), 0);
    EXPECT_EQ(one.cmbSerial->itemText(0), QStringLiteral("1234567 - Caf\u00e9 Nord"));
    ASSERT_EQ(one.cmbPriority->count(), 4);
    EXPECT_EQ(one.cmbPriority->currentText(), QStringLiteral("1) Not urgent (24 hours)"));

    rig.addStore(0, "7654321", "Harbour");
    frmHelpdesk two(rig.state, rig.fake.ports, rig.service);
    EXPECT_EQ(two.cmbSerial->count(), 2);
    EXPECT_EQ(two.cmbSerial->currentIndex(), -1);
}

TEST(frmHelpdesk, FailedChecksShowInOneBoxAndTheWindowKeepsItsFields) {
    Rig rig;
    rig.addStore(0, "1234567", "Main");
    rig.addStore(1, "7654321", "Harbour");
    frmHelpdesk window(rig.state, rig.fake.ports, rig.service);
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    window.txtEmail->setText(QStringLiteral("no-at-sign"));
    window.cmdSubmit_Click();
    ASSERT_EQ(rig.fake.dialogs.shown.size(), 1u);
    const auto& shown = rig.fake.dialogs.shown[0];
    EXPECT_EQ(std::count(shown.text.begin(), shown.text.end(), '\n'), 6);
    EXPECT_EQ(shown.text.rfind("Your name is a required field\r\nEmail address not formatted correctly\r\n", 0), 0u);
    EXPECT_EQ(shown.icon, Dialogs::Icon::Information);
    EXPECT_TRUE(rig.fake.http.calls.empty());
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.txtEmail->text(), QStringLiteral("no-at-sign"));
}

TEST(frmHelpdesk, TabLeavesTheProblemBoxForTheNextControl) {
    Rig rig;
    frmHelpdesk window(rig.state, rig.fake.ports, rig.service);
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    window.txtProblem->setFocus();
    QTest::keyClicks(window.txtProblem, QStringLiteral("Printer jams"));
    QTest::keyClick(window.txtProblem, Qt::Key_Tab);
    EXPECT_EQ(window.txtProblem->toPlainText().toStdString(), "Printer jams");
    EXPECT_TRUE(window.cmbPriority->hasFocus());
}

} // namespace
} // namespace station
