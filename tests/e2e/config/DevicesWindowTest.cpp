// "Printer Setup" offscreen against a private CUPS scheduler with several queues, and its reader
// test against micrsim on a pseudo-terminal.
#include "config/frmPrinters.h"
#include "platform/Adapters.h"
#include "tests/e2e/host/PrintRig.h"
#include "tests/e2e/support/Rig.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <gtest/gtest.h>

namespace station {
namespace {

using test::waitUntil;

QStringList items(const QComboBox* box) {
    QStringList out;
    for (int i = 0; i < box->count(); ++i)
        out << box->itemText(i);
    return out;
}

class DevicesWindowTest : public testing::Test {
protected:
    void SetUp() override {
        for (const char* queue : {"Receipts", "Reports", "Labels"})
            rig.addQueue(QString::fromLatin1(queue));
        ::setenv("STATION_SERIAL_DIR", serial.path().toLocal8Bit().constData(), 1);
        state.settings.open();
        state.loginHost = "10.0.0.5";
    }
    frmPrinters* open() {
        window = new frmPrinters(state, ports, (serial.path() + QStringLiteral("/test.tif")).toStdString());
        window->show();
        return window;
    }
    void storeRow(const std::array<std::string, 6>& values) {
        state.settings.addRow();
        for (std::size_t f = 0; f < values.size(); ++f)
            state.settings.set(StationSettings::fieldNames[f], values[f]);
    }

    test::PrintRig rig;
    QTemporaryDir serial;
    std::unique_ptr<Spooler> spooler = makeSpooler();
    std::unique_ptr<MicrReader> reader = makeMicrReader();
    test::FakePorts fake;
    Ports ports = test::portsOver(fake, {.spooler = spooler.get(), .micrReader = reader.get()});
    StationState state;
    QPointer<frmPrinters> window;
};

TEST_F(DevicesWindowTest, BoxesOfferTheSchedulersQueuesAndShowTheStoredRow) {
    storeRow({"Receipts", "GoneLabel", "", "mini MICR", "COM4", "  \\\\srv\\  "});
    auto* w = open();
    const QStringList printers{QStringLiteral("<unassigned>"), QStringLiteral("Labels"), QStringLiteral("Receipts"),
                               QStringLiteral("Reports")};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(items(w->cmbPrinter[static_cast<std::size_t>(i)]), printers);
    EXPECT_EQ(w->cmbPrinter[0]->currentText(), QStringLiteral("Receipts"));
    EXPECT_EQ(w->cmbPrinter[1]->currentText(), QStringLiteral("GoneLabel"));
    EXPECT_EQ(w->cmbPrinter[2]->currentText(), QStringLiteral("<unassigned>"));
    EXPECT_EQ(items(w->cmbPrinter[3]), (QStringList{QStringLiteral("<unassigned>"), QStringLiteral("MICRImage"),
                                                    QStringLiteral("mini MICR"), QStringLiteral("Keyboard Wedge")}));
    EXPECT_EQ(w->cmbPrinter[3]->currentText(), QStringLiteral("mini MICR"));
    EXPECT_EQ(w->cmbCreditcard->count(), 29);
    EXPECT_EQ(w->cmbCreditcard->currentText(), QStringLiteral("COM4"));
    EXPECT_EQ(w->txtPrefix->text(), QStringLiteral("\\\\srv\\"));
    EXPECT_FALSE(w->Command1->isVisible());
    w->Command1cmdExit->click();
    EXPECT_EQ(state.settings.get("prt1"), "GoneLabel");
}

TEST_F(DevicesWindowTest, SaveStoresTheChoiceAndWarnsWhileTheClientRuns) {
    fake.clientWindows.windows["GS Telnet Client   10.0.0.5"] = 7;
    auto* w = open();
    // A station without a row gets the default one.
    EXPECT_EQ(w->txtPrefix->text(), QStringLiteral("\\\\127.0.0.1\\"));
    w->cmbPrinter[2]->setCurrentText(QStringLiteral("Reports"));
    w->cmbPrinter[3]->setCurrentText(QStringLiteral("MICRImage"));
    w->cmbCreditcard->setCurrentText(QStringLiteral("COM3"));
    w->cmdSave->click();
    EXPECT_EQ(state.settings.get("prt0"), "");
    EXPECT_EQ(state.settings.get("prt2"), "Reports");
    EXPECT_EQ(state.settings.get("prt3"), "MICRImage");
    EXPECT_EQ(state.settings.get("CC"), "COM3");
    ASSERT_EQ(fake.dialogs.shown.size(), 1u);
    EXPECT_EQ(fake.dialogs.shown[0].text,
              "You will need to exit your terminal session before your printer changes will take effect");
    EXPECT_TRUE(waitUntil([this] { return window.isNull(); }, 2000)) << "the window stays after Save";
}

TEST_F(DevicesWindowTest, ReaderTestReadsACardFromTheSimulator) {
    test::PeerProcess sim;
    const auto script = serial.filePath(QStringLiteral("card.script"));
    test::writeFile(script, "armed\ncard B4111111111114321^DOE|4111111111114321=2512|\n");
    sim.start(test::binDir() + QStringLiteral("/micrsim"),
              {QStringLiteral("--link"), serial.filePath(QStringLiteral("COM3")), QStringLiteral("--script"), script});
    ASSERT_FALSE(sim.waitForOutput(QStringLiteral("pty (\\S+)")).isEmpty());
    storeRow({"", "", "", "MICRImage", "COM3", ""});
    fake.dialogs.inputAnswer = "4321";
    auto* w = open();

    w->cmdTestCheck->click();
    EXPECT_TRUE(w->Command1->isVisible());
    EXPECT_EQ(w->Command1->text(), QStringLiteral("Scan Check Now\r\nPress Escape to Cancel"));
    EXPECT_EQ(w->Command1->palette().color(QPalette::Button), QColor(Qt::yellow));
    EXPECT_TRUE(w->Timer2->isActive());
    ASSERT_TRUE(waitUntil([this] { return !fake.dialogs.shown.empty(); }));
    EXPECT_EQ(fake.dialogs.shown[0].text, "Card Match in Track 1\r\n");
    EXPECT_FALSE(w->Command1->isVisible());
    EXPECT_FALSE(w->Timer2->isActive());
    w->Command1cmdExit->click();
}

} // namespace
} // namespace station
