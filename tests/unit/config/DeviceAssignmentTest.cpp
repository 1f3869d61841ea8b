// The device window's rules: the boxes' lists, Save's change warning and what it stores, and the
// reader test against a scripted reader.
#include "config/DeviceAssignment.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace station {
namespace {

StationSettings storedRow(const std::array<std::string, 6>& values) {
    StationSettings s;
    s.open();
    s.addRow();
    for (std::size_t f = 0; f < values.size(); ++f)
        s.set(StationSettings::fieldNames[f], values[f]);
    return s;
}

TEST(PrinterChoices, BlankInsideANameLeavesItOut) {
    EXPECT_EQ(printerChoices({"FrontDesk", "Front Desk", " Trimmed ", "LBL"}),
              (std::vector<std::string>{"<unassigned>", "FrontDesk", " Trimmed ", "LBL"}));
    EXPECT_EQ(printerChoices({}, true), (std::vector<std::string>{"<unassigned>", "<eMail Report>"}));
}

TEST(PrinterChoices, StoredValueShownAsItStandsOrUnassigned) {
    const auto s = storedRow({"Gone Printer", "  ", "RPT", "", "", ""});
    EXPECT_EQ(printerBoxText(s, "prt0"), "Gone Printer");
    EXPECT_EQ(printerBoxText(s, "prt1"), "<unassigned>");
    EXPECT_EQ(printerBoxText(s, "PRT2"), "RPT");
    const auto ports = portChoices();
    ASSERT_EQ(ports.size(), 29u);
    EXPECT_EQ(ports.front(), "COM1");
    EXPECT_EQ(ports.back(), "COM29");
}

TEST(DefaultRow, AddedOnlyWhenThereIsNone) {
    StationSettings s;
    s.open();
    ensureDeviceRow(s);
    EXPECT_EQ(s.get("Prefix"), "\\\\127.0.0.1\\");
    EXPECT_EQ(s.get("prt0") + s.get("prt3") + s.get("CC"), "");
    s.set("Prefix", "keep");
    ensureDeviceRow(s);
    EXPECT_EQ(s.get("Prefix"), "keep");
}

struct SaveCase {
    const char* name;
    std::array<std::string, 4> boxes;
    std::string prefix;
    std::string port;
    bool clientOpen;
    bool warned;
};

class SaveTest : public testing::TestWithParam<SaveCase> {};

TEST_P(SaveTest, OnlyTheReportPrinterOrThePrefixCountsAsAChange) {
    const auto& c = GetParam();
    StationState state;
    state.settings = storedRow({"RCPT", "LBL", "", "MICRImage", "COM1", "\\\\srv\\"});
    state.loginHost = "10.0.0.5";
    test::FakePorts fake;
    if (c.clientOpen)
        fake.clientWindows.windows["GS Telnet Client   10.0.0.5"] = 42;
    saveDeviceChoice(state, {c.boxes, c.prefix, c.port}, fake.clientWindows, fake.dialogs);
    EXPECT_EQ(state.clientWindow, c.clientOpen ? 42u : 0u);
    ASSERT_EQ(fake.dialogs.shown.size(), c.warned ? 1u : 0u);
    if (c.warned) {
        EXPECT_EQ(fake.dialogs.shown[0].text,
                  "You will need to exit your terminal session before your printer changes will take effect");
        EXPECT_EQ(fake.dialogs.shown[0].title, "Change Printer Settings");
        EXPECT_EQ(fake.dialogs.shown[0].icon, Dialogs::Icon::Information);
    }
    const char* const fields[] = {"prt0", "prt1", "prt2", "prt3"};
    for (std::size_t f = 0; f < 4; ++f)
        EXPECT_EQ(state.settings.get(fields[f]), c.boxes[f] == "<unassigned>" ? "" : c.boxes[f]);
    EXPECT_EQ(state.settings.get("Prefix"), c.prefix.substr(0, 100));
    EXPECT_EQ(state.settings.get("CC"), c.port);
}

const std::array<std::string, 4> sameBoxes{"RCPT", "LBL", "<unassigned>", "MICRImage"};

INSTANTIATE_TEST_SUITE_P(
    Changes, SaveTest,
    testing::Values(
        SaveCase{"NothingChanged", sameBoxes, "\\\\srv\\", "COM1", true, false},
        // The receipt and label printers are asked about first, but only the report printer's
        // answer is kept.
        SaveCase{"ReceiptPrinterOnly", {"OTHER", "LBL", "<unassigned>", "MICRImage"}, "\\\\srv\\", "COM1", true, false},
        SaveCase{"LabelPrinterOnly",
                 {"RCPT", "<unassigned>", "<unassigned>", "MICRImage"},
                 "\\\\srv\\",
                 "COM1",
                 true,
                 false},
        SaveCase{"ReaderAndPortOnly", {"RCPT", "LBL", "<unassigned>", "mini MICR"}, "\\\\srv\\", "COM5", true, false},
        SaveCase{"ReportPrinter", {"RCPT", "LBL", "RPT", "MICRImage"}, "\\\\srv\\", "COM1", true, true},
        SaveCase{"Prefix", sameBoxes, "\\\\other\\", "COM1", true, true},
        SaveCase{"ReportPrinterWithoutClient", {"RCPT", "LBL", "RPT", "MICRImage"}, "\\\\srv\\", "COM1", false, false},
        SaveCase{"LongPrefixCut", sameBoxes, std::string(150, 'p'), "COM100", false, false}),
    [](const testing::TestParamInfo<SaveCase>& c) { return std::string(c.param.name); });

TEST(Placement, WindowWidthTakenFromBothAxes) {
    const auto p = devicesWindowPlacement(1280, 800, 500);
    EXPECT_EQ(p.left, 780);
    EXPECT_EQ(p.top, 300);
}

class RecordingTestView : public ReaderTestView {
public:
    std::vector<std::string> events;
    void showPrompt(const std::string& caption, PromptColour colour) override {
        events.push_back((colour == PromptColour::Yellow ? "yellow " : "green ") + caption);
    }
    void hidePrompt() override { events.emplace_back("hide"); }
    void armTimeout(int ms) override { events.push_back("timer " + std::to_string(ms)); }
    void stopTimeout() override { events.emplace_back("stop"); }
};

class ReaderTestTest : public testing::Test {
protected:
    std::filesystem::path image = std::filesystem::temp_directory_path() / "device-window-test.tif";
    test::FakePorts fake;
    RecordingTestView view;
    ReaderTest readerTest{{fake.micrReader, fake.dialogs, fake.yield}, view, image.string()};
    void TearDown() override { std::filesystem::remove(image); }
};

TEST_F(ReaderTestTest, LowerCaseMiniMicrGetsItsBaudAndFourCommands) {
    readerTest.testReader(0, " COM10 ", "mini micr");
    EXPECT_EQ(fake.micrReader.calls,
              (std::vector<std::string>{"setting CommPort=10", "setting Settings=57600,N,8,1", "open",
                                        "command SWA 00100000", "command SWB 00100010", "command SWC 00100000",
                                        "command HW 00111100", "start 0002"}));
    EXPECT_EQ(view.events,
              (std::vector<std::string>{"yellow Scan Check Now\r\nPress Escape to Cancel", "timer 30000"}));
}

TEST_F(ReaderTestTest, EmptyPortIsRefusedWithItsMessage) {
    readerTest.testReader(3, "  ", "MICRImage");
    ASSERT_EQ(
        fake.dialogs.texts(),
        std::vector<std::string>{
            "The Credit card reader com port has not been set.  Please configure this in the vorne terminal first"});
    EXPECT_EQ(fake.dialogs.shown[0].icon, Dialogs::Icon::Critical);
    EXPECT_TRUE(fake.micrReader.calls.empty());
    EXPECT_EQ(view.events, (std::vector<std::string>{"stop", "hide"}));
}

struct CardCase {
    const char* answer;
    const char* result;
};
class CardAnswerTest : public ReaderTestTest, public testing::WithParamInterface<CardCase> {};
TEST_P(CardAnswerTest, LastDigitsLookedForInTrackOne) {
    readerTest.testReader(3, "COM3", "MICRImage");
    fake.micrReader.tracks = {"B4111111111114321^DOE", "4111111111114321=25", ""};
    fake.dialogs.inputAnswer = GetParam().answer;
    readerTest.readComplete();
    ASSERT_EQ(fake.dialogs.texts(), std::vector<std::string>{GetParam().result});
    EXPECT_EQ(fake.micrReader.calls.back(), "close");
    EXPECT_EQ(view.events.back(), "hide");
}
INSTANTIATE_TEST_SUITE_P(Answers, CardAnswerTest,
                         testing::Values(CardCase{"4321", "Card Match in Track 1\r\n"},
                                         CardCase{" doe ", "Card Match in Track 1\r\n"},
                                         CardCase{"", "Card Match in Track 1\r\n"},
                                         CardCase{"9999", "No match in track 1\r\n"}));

TEST_F(ReaderTestTest, CheckShownOnlyWhenItsImageWasSaved) {
    std::ofstream(image) << "old";
    readerTest.testReader(0, "COM3", "MICRImage");
    fake.micrReader.micr = "T1T2O";
    readerTest.readComplete();
    // The reader has no image: status 1, no message, the old image is gone.
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_FALSE(std::filesystem::exists(image));

    fake.micrReader.image = "II*";
    readerTest.readComplete();
    ASSERT_EQ(fake.dialogs.texts(), std::vector<std::string>{"MICR : T1T2O\r\nImage stored in " + image.string()});
    EXPECT_EQ(fake.dialogs.shown[0].icon, Dialogs::Icon::None);
    EXPECT_TRUE(std::filesystem::exists(image));
}

TEST_F(ReaderTestTest, CancelLeavesTheReaderOpen) {
    readerTest.testReader(0, "COM3", "");
    readerTest.cancel();
    EXPECT_NE(fake.micrReader.calls.back(), "close");
    EXPECT_EQ(view.events.back(), "hide");
}

} // namespace
} // namespace station
