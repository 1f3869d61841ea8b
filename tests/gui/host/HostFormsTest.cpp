#include "host/frmDisplayPole.h"
#include "host/frmFileSelection.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/frmTerminal.h"
#include "tests/support/FakePorts.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace station {
namespace {

class ChannelFormTest : public testing::Test {
protected:
    void SetUp() override {
        config.serverList = "127.0.0.2,127.0.0.3";
        config.tickMs = 60'000;
        config.reportsUrl = "http://reports.test/Reports/";
        fake.adapters.adapters = {{"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}};
        window = std::make_unique<frmTerminal>(fake.ports, config, service);
        ASSERT_TRUE(window->Form_Load());
        auto& settings = window->state().settings;
        if (!settings.hasRow())
            settings.addRow();
        fake.hostSocket.connected = true;
    }
    void TearDown() override {
        for (auto* w : QApplication::topLevelWidgets())
            if (qobject_cast<frmDisplayPole*>(w))
                delete w;
    }
    frmDisplayPole* pole() const { return window->findChild<frmDisplayPole*>(); }
    QLabel* panel() const { return window->panel(QStringLiteral("winsock")); }

    test::FakePorts fake;
    StationConfig config;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    std::unique_ptr<frmTerminal> window;
};

TEST_F(ChannelFormTest, TickDialsAndTheConnectEventOpensThePanel) {
    window->Timer1_Timer();
    EXPECT_EQ(fake.hostSocket.dials, std::vector<std::string>{"127.0.0.2"});
    fake.hostSocket.connected = true;
    fake.hostSocket.events.connected();
    EXPECT_EQ(panel()->text(), QStringLiteral("Open 127.0.0.2"));
}

TEST_F(ChannelFormTest, ErrorMarksThePanelWithTheDescriptionAsToolTip) {
    fake.hostSocket.connected = false;
    panel()->hide();
    fake.hostSocket.events.error("Connection refused");
    EXPECT_EQ(panel()->text(), QStringLiteral("*Closed"));
    EXPECT_EQ(panel()->toolTip(), QStringLiteral("Connection refused"));
    EXPECT_FALSE(panel()->isHidden());
}

TEST_F(ChannelFormTest, TestPoleShowsTheDisplayWindowWithTheTwoLines) {
    window->state().settings.set("prt3", "Test Pole");
    fake.hostSocket.events.received("/D=12First line~Second line");
    auto* p = pole();
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(p->isVisible());
    EXPECT_EQ(p->windowTitle(), QStringLiteral("Display Pole"));
    EXPECT_EQ(p->lblLine1->text(), QStringLiteral("First line"));
    EXPECT_EQ(p->lblLine2->text(), QStringLiteral("Second line"));
    EXPECT_EQ(p->lblLine1->font().family(), QStringLiteral("MS Sans Serif"));

    fake.hostSocket.events.received("/D=12Only one");
    EXPECT_EQ(window->findChildren<frmDisplayPole*>().size(), 1);
    EXPECT_EQ(p->lblLine1->text(), QStringLiteral("Only one"));
    EXPECT_EQ(p->lblLine2->text(), QStringLiteral("Second line"));
}

/// The task window over fake ports whose service answers every request with `reply` (the
/// station's printer settings), documents with "label bytes".
class FileSelectionForm : public testing::Test {
protected:
    std::unique_ptr<frmFileSelection> open(const std::string& line, std::string reply) {
        fake.http.handler = [reply](const test::FakeHttp::Call& call) {
            return test::FakeHttp::ok(call.method == "GET" ? "label bytes" : reply);
        };
        auto task = std::make_unique<frmFileSelection>(line, fake.ports, config, service);
        task->show();
        // The job starts from the shown window's event loop, as in the program.
        (void)QTest::qWaitFor([&task] { return !task->isVisible() || task->Command1->isVisible(); }, 2000);
        return task;
    }
    QByteArray result() const {
        QFile file(resultPath);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }

    test::FakePorts fake;
    StationConfig config;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    QTemporaryDir dir;
    QString resultPath = dir.filePath(QStringLiteral("result.txt"));
};

TEST_F(FileSelectionForm, PrintTaskPrintsAndCloses) {
    config.reportsUrl = "http://reports.test/Reports/";
    const auto task = open("7,1234567890,label.prn", "R|L|P|x|COM1|");
    EXPECT_FALSE(task->isVisible());
    EXPECT_EQ(task->result(), QDialog::Accepted);
    ASSERT_EQ(fake.spooler.jobs.size(), 1u);
    EXPECT_EQ(fake.spooler.jobs[0].printer, "L");
    EXPECT_EQ(fake.spooler.jobs[0].data, "label bytes");
}

struct PromptCase {
    const char* name;
    std::function<void(frmFileSelection&)> act;
};
class ReaderPromptTest : public FileSelectionForm, public testing::WithParamInterface<PromptCase> {};

// The prompt shows the read is waited for; its click, Escape and the timer all end the task
// with the empty result.
TEST_P(ReaderPromptTest, EndsTheTaskWithAnEmptyResult) {
    config.readerWaitMs = 50;
    const auto task = open("3," + resultPath.toStdString(), "R|L|P|MICRImage|COM3|");
    ASSERT_TRUE(task->Command1->isVisible());
    EXPECT_EQ(task->Command1->text(), QStringLiteral("Scan Card Now\r\nPress Escape to Cancel"));
    EXPECT_EQ(task->Command1->palette().color(QPalette::Button), QColor(Qt::yellow));
    EXPECT_EQ(task->Timer1->interval(), 50);
    GetParam().act(*task);
    EXPECT_FALSE(task->isVisible());
    EXPECT_EQ(result(), QByteArray("\r\n"));
}

TEST_F(FileSelectionForm, CardFromTheReaderIsWrittenAndTheWindowCloses) {
    const auto task = open("3," + resultPath.toStdString(), "R|L|P|mini MICR|COM12|");
    EXPECT_EQ(fake.micrReader.calls.front(), "setting CommPort=12");
    fake.micrReader.tracks = {"", "4111=25", ""};
    fake.micrReader.complete();
    EXPECT_FALSE(task->isVisible());
    EXPECT_EQ(result(), QByteArray("3\r\n00000\r\n000074111=25\r\n00000\r\n"));
}

struct WedgeCase {
    const char* name;
    const char* task;
    const char* typed;
    Qt::Key last;
    const char* result;
};
class WedgeTypingTest : public FileSelectionForm, public testing::WithParamInterface<WedgeCase> {};

// A wedge is a keyboard: each character goes through the window's own key handling to whatever
// has the focus, then Enter ends the entry (Escape cancels it).
TEST_P(WedgeTypingTest, KeysTypedIntoTheWindowReachTheResult) {
    const auto& c = GetParam();
    const auto task = open(std::string(c.task) + "," + resultPath.toStdString(), "R|L|P|Keyboard Wedge||");
    ASSERT_TRUE(task->txtCCInfo->isVisible());
    EXPECT_EQ(task->Command1->text(), c.task == std::string("3")
                                          ? QStringLiteral("Scan Card Now\r\nPress Escape to Cancel")
                                          : QStringLiteral("Scan Check Now\r\nPress Escape to Cancel"));
    for (const char key : std::string_view(c.typed))
        QTest::keyClick(task->windowHandle(), key);
    QTest::keyClick(task->windowHandle(), c.last);
    EXPECT_FALSE(task->isVisible());
    EXPECT_EQ(result(), QByteArray(c.result));
}

INSTANTIATE_TEST_SUITE_P(Swipes, WedgeTypingTest,
                         testing::Values(WedgeCase{"CardWithAllTracks", "3",
                                                   "%B4111111111111111^DOE/JOHN Q^2512?;4111111111111111=2512?",
                                                   Qt::Key_Return,
                                                   "3\r\n00033B4111111111111111^DOE/JOHN Q^2512\r\n"
                                                   "000214111111111111111=2512\r\n00000\r\n"},
                                         WedgeCase{"CheckWithABlank", "4", "T123456789T 0012345O", Qt::Key_Enter,
                                                   "4\r\n00020T123456789T 0012345O\r\n00000\r\n"},
                                         WedgeCase{"EscapeCancels", "3", "%B4111^DOE?", Qt::Key_Escape, "\r\n"}),
                         [](const testing::TestParamInfo<WedgeCase>& c) { return std::string(c.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Ends, ReaderPromptTest,
    testing::Values(PromptCase{"Click", [](frmFileSelection& form) { form.Command1->click(); }},
                    PromptCase{"Escape", [](frmFileSelection& form) { QTest::keyClick(&form, Qt::Key_Escape); }},
                    PromptCase{"TimeOut",
                               [](frmFileSelection& form) {
                                   EXPECT_TRUE(QTest::qWaitFor([&form] { return !form.isVisible(); }, 2000));
                               }}),
    [](const testing::TestParamInfo<PromptCase>& c) { return std::string(c.param.name); });

} // namespace
} // namespace station
