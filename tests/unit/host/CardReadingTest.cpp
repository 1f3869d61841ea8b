// Tasks 3 and 4 against a scripted reader and service: the set-up sent to the reader per type,
// the result files byte for byte, and every way a read ends.
#include "host/CardReading.h"
#include "host/FileTask.h"
#include "service/Codec.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace station {
namespace {

namespace fs = std::filesystem;

std::string fileText(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

struct PortNumberCase {
    const char* port;
    const char* number;
};
class PortNumberTest : public testing::TestWithParam<PortNumberCase> {};
TEST_P(PortNumberTest, LastOneOrTwoCharacters) {
    EXPECT_EQ(readerPortNumber(GetParam().port), GetParam().number);
}
INSTANTIATE_TEST_SUITE_P(Ports, PortNumberTest,
                         testing::Values(PortNumberCase{"COM7", "7"}, PortNumberCase{"COM12", "12"},
                                         PortNumberCase{"COM100", "00"}, PortNumberCase{"7", "7"}));

struct SetupCase {
    const char* type;
    bool taskMode;
    ReaderKind kind;
    const char* baud;
    std::size_t commands;
};
class ReaderTypeTest : public testing::TestWithParam<SetupCase> {};
TEST_P(ReaderTypeTest, TypeChoosesBaudAndOneCommandSet) {
    const auto& c = GetParam();
    const auto kind = c.taskMode ? taskReaderKind(c.type) : testReaderKind(c.type);
    EXPECT_EQ(kind, c.kind);
    const auto setup = readerSetup("COM3", kind);
    EXPECT_EQ(setup.lineSettings, c.baud);
    EXPECT_EQ(setup.commands.size(), c.commands);
    EXPECT_EQ(setup.startArgument, "0002");
}
INSTANTIATE_TEST_SUITE_P(Types, ReaderTypeTest,
                         testing::Values(SetupCase{"  Mini Micr ", true, ReaderKind::MiniMicr, "57600,N,8,1", 4},
                                         SetupCase{"mini micr", false, ReaderKind::MiniMicr, "57600,N,8,1", 4},
                                         SetupCase{"MICRImage", true, ReaderKind::Standard, "115200,N,8,1", 6},
                                         SetupCase{"", false, ReaderKind::Standard, "115200,N,8,1", 6},
                                         SetupCase{"Keyboard Wedge", true, ReaderKind::KeyboardWedge, "115200,N,8,1",
                                                   6},
                                         // Only the task compares the wedge as it stands; the reader test sets it up.
                                         SetupCase{"keyboard wedge", true, ReaderKind::Standard, "115200,N,8,1", 6},
                                         SetupCase{"Keyboard Wedge", false, ReaderKind::Standard, "115200,N,8,1", 6}));

struct WedgeCase {
    const char* typed;
    std::array<std::string, 3> tracks;
};
class WedgeTest : public testing::TestWithParam<WedgeCase> {};
TEST_P(WedgeTest, CutAtSentinels) {
    EXPECT_EQ(wedgeTracks(GetParam().typed), GetParam().tracks);
}
INSTANTIATE_TEST_SUITE_P(Typed, WedgeTest,
                         testing::Values(WedgeCase{"%B4111^DOE?;4111=25?;333?", {"B4111^DOE", "4111=25", "333"}},
                                         WedgeCase{";4111=25?", {"", "4111=25", ""}},
                                         WedgeCase{"%B4111^DOE?", {"B4111^DOE", "", ""}},
                                         WedgeCase{"4111111111111111", {"4111111111111111", "", ""}},
                                         WedgeCase{"", {"", "", ""}}));

TEST(ResultEntries, FiveDigitLengthOrAllItsDigits) {
    EXPECT_EQ(resultEntry(""), "00000");
    EXPECT_EQ(resultEntry("abc"), "00003abc");
    EXPECT_EQ(resultEntry(std::string(123456, 'x')).substr(0, 7), "123456x");
    EXPECT_EQ(sizeLine(0), "00000");
    EXPECT_EQ(sizeLine(10240), "10240");
    EXPECT_EQ(sizeLine(1234567), "1234567");
}

class RecordingTaskView : public ReaderTaskView {
public:
    std::vector<std::string> events;
    void showPrompt(const std::string& caption, PromptColour) override { events.push_back("prompt " + caption); }
    void showWedgeBox() override { events.emplace_back("wedge"); }
    void armTimeout(int ms) override { events.push_back("timer " + std::to_string(ms)); }
    void stopTimeout() override { events.emplace_back("stop"); }
    void finish() override { events.emplace_back("finish"); }
    bool finished() const { return !events.empty() && events.back() == "finish"; }
};

class ReaderTaskTest : public testing::Test {
public:
    void SetUp() override {
        fake.http.handler = [this](const test::FakeHttp::Call& call) {
            return call.body.starts_with("prt=") && printerReply ? test::FakeHttp::ok(*printerReply)
                                                                 : test::FakeHttp::failed();
        };
    }
    void TearDown() override { fs::remove_all(dir); }

    ReaderTask& task(const std::string& number) {
        m_task = std::make_unique<ReaderTask>(parseTaskLine(number + "," + result.string()),
                                              ReaderTask::Peers{fake.micrReader, fake.dialogs, fake.yield, service},
                                              "00-11-22", view, 30000);
        fake.micrReader.onReadComplete([this] { m_task->readComplete(); });
        return *m_task;
    }

    fs::path dir = [] {
        auto d = fs::temp_directory_path() /
                 ("reader-task-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(d);
        return d;
    }();
    fs::path result = dir / "result.txt";
    test::FakePorts fake;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    RecordingTaskView view;
    std::optional<std::string> printerReply = "RCPT|LBL|REPORTS|MICRImage|COM3|pre|";
    std::unique_ptr<ReaderTask> m_task;
};

TEST_F(ReaderTaskTest, SetUpAsksThreeTimesAndGivesTheReaderItsSettingsInOrder) {
    std::ofstream(result) << "old";
    std::ofstream(result.string() + ".tif") << "old";
    task("4").start();
    EXPECT_EQ(fake.http.bodies(), std::vector<std::string>(3, "prt=001122"));
    EXPECT_FALSE(fs::exists(result));
    EXPECT_FALSE(fs::exists(result.string() + ".tif"));
    EXPECT_EQ(
        fake.micrReader.calls,
        (std::vector<std::string>{"setting CommPort=3", "setting Settings=115200,N,8,1", "open", "command SWA 00100010",
                                  "command SWB 00100010", "command SWC 00100000", "command HW 00111100",
                                  "command SWE 00000010", "command SWI 00000000", "start 0002"}));
    EXPECT_EQ(view.events,
              (std::vector<std::string>{"prompt Scan Check Now\r\nPress Escape to Cancel", "timer 30000"}));
}

TEST_F(ReaderTaskTest, CardWithTrackThreeEmptyGivesFourLines) {
    task("3").start();
    fake.micrReader.tracks = {"B4111^DOE", "4111=2512", ""};
    fake.micrReader.complete();
    EXPECT_EQ(fileText(result), "3\r\n00009B4111^DOE\r\n000094111=2512\r\n00000\r\n");
    EXPECT_TRUE(fake.dialogs.texts().empty());
    EXPECT_EQ(fake.micrReader.calls.back(), "close");
    EXPECT_TRUE(view.finished());
}

TEST_F(ReaderTaskTest, CheckWithImageWritesItsSize) {
    task("4").start();
    fake.micrReader.micr = "T123456789T0012345O";
    fake.micrReader.image = std::string(10240, 'i');
    fake.micrReader.complete();
    EXPECT_EQ(fileText(result), "4\r\n00019T123456789T0012345O\r\n10240\r\n");
    EXPECT_EQ(fileText(result.string() + ".tmp"), *fake.micrReader.image);
    EXPECT_TRUE(view.finished());
}

TEST_F(ReaderTaskTest, CheckWithoutImageGetsAnEmptyImageFile) {
    std::ofstream(result.string() + ".tmp") << "image of an earlier check";
    task("4").start();
    fake.micrReader.micr = "";
    fake.micrReader.complete();
    EXPECT_EQ(fileText(result), "4\r\n00000\r\n00000\r\n");
    EXPECT_TRUE(fs::exists(result.string() + ".tmp"));
    EXPECT_EQ(fs::file_size(result.string() + ".tmp"), 0u);
}

struct EndCase {
    const char* name;
    const char* task;
    std::vector<std::string> messages;
    std::function<void(ReaderTaskTest&)> act;
};
using Rig = ReaderTaskTest&;

class ReaderTaskEnds : public ReaderTaskTest, public testing::WithParamInterface<EndCase> {};

TEST_P(ReaderTaskEnds, WithAnEmptyResultFile) {
    const auto& c = GetParam();
    auto& t = task(c.task);
    // A box runs events while it is open: a time-out still armed then would fire inside it.
    bool armedUnderABox = false;
    fake.dialogs.whileShown = [this, &armedUnderABox](const std::string&) {
        const auto& e = view.events;
        const auto lastTimer = std::find_if(e.rbegin(), e.rend(), [](const auto& x) { return x.starts_with("timer"); });
        armedUnderABox |= std::find(e.rbegin(), lastTimer, "stop") == lastTimer && lastTimer != e.rend();
    };
    c.act(*this);
    if (!view.finished())
        t.start();
    if (!view.finished() && fake.micrReader.completeHandler && fake.dialogs.shown.empty())
        fake.micrReader.complete();
    EXPECT_EQ(fake.dialogs.texts(), c.messages);
    EXPECT_EQ(fileText(result), "\r\n");
    EXPECT_TRUE(view.finished());
    EXPECT_FALSE(armedUnderABox);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, ReaderTaskEnds,
    testing::Values(
        EndCase{"CardWhereCheckExpected",
                "4",
                {"Error: A Card was read but a Check was expected"},
                [](Rig r) {
                    r.fake.micrReader.tracks = {"", "4111", ""};
                }},
        EndCase{"CheckWhereCardExpected",
                "3",
                {"Error: A Check was processed but a Card was expected"},
                [](Rig r) { r.fake.micrReader.micr = "T1T"; }},
        EndCase{
            "NoPort",
            "3",
            {"The Credit card reader com port has not been set.  Please configure this in the vorne terminal first"},
            [](Rig r) { r.printerReply = "RCPT|LBL|REPORTS|MICRImage| |pre|"; }},
        EndCase{"PortThatCannotOpen",
                "3",
                {"The card reader's port could not be opened: COM1 (/dev/ttyS0): No such file or directory"},
                [](Rig r) { r.fake.micrReader.opens = false; }},
        EndCase{"ServiceDown",
                "3",
                {"The card reader's settings could not be read from the service."},
                [](Rig r) { r.printerReply.reset(); }},
        EndCase{"Cancelled", "3", {}, [](Rig r) { r.m_task->start(), r.m_task->cancel(); }},
        EndCase{"TimedOut", "4", {}, [](Rig r) { r.m_task->start(), r.m_task->timeOut(); }},
        EndCase{"PortGoneWhileWaiting",
                "4",
                {"The card reader's port failed: COM3 (/dev/ttyS2): Input/output error"},
                [](Rig r) { r.m_task->start(), r.m_task->readerFault("COM3 (/dev/ttyS2): Input/output error"); }}),
    [](const testing::TestParamInfo<EndCase>& c) { return std::string(c.param.name); });

TEST_F(ReaderTaskTest, ReadAfterTheEndChangesNothing) {
    auto& t = task("3");
    t.start();
    t.timeOut();
    fake.micrReader.tracks = {"late", "", ""};
    fake.micrReader.complete();
    EXPECT_EQ(fileText(result), "\r\n");
}

TEST_F(ReaderTaskTest, KeyboardWedgeNeedsNoPortAndCutsTheTypedTracks) {
    printerReply = "RCPT|LBL|REPORTS|Keyboard Wedge||pre|";
    auto& t = task("3");
    t.start();
    EXPECT_TRUE(fake.micrReader.calls.empty());
    EXPECT_EQ(view.events.front(), "wedge");
    t.wedgeEntered("  %B4111^DOE?;4111=2512?  ");
    EXPECT_EQ(fileText(result), "3\r\n00009B4111^DOE\r\n000094111=2512\r\n00000\r\n");
}

TEST_F(ReaderTaskTest, KeyboardWedgeCheckGetsAnEmptyImage) {
    printerReply = "RCPT|LBL|REPORTS|Keyboard Wedge||pre|";
    auto& t = task("4");
    t.start();
    t.wedgeEntered("T123T45O");
    EXPECT_EQ(fileText(result), "4\r\n00008T123T45O\r\n00000\r\n");
}

struct FileTaskCase {
    const char* line;
    std::string answer;
    const char* content;
};
class FileTaskTest : public testing::TestWithParam<FileTaskCase> {};
TEST_P(FileTaskTest, ChosenNameGoesToTheResultFile) {
    const auto result = fs::temp_directory_path() / "file-task-result.txt";
    test::FakeDialogs dialogs;
    dialogs.fileAnswer = GetParam().answer;
    ASSERT_TRUE(runFileTask(parseTaskLine(std::string(GetParam().line) + "," + result.string()), dialogs));
    EXPECT_EQ(fileText(result), GetParam().content);
    fs::remove(result);
}
INSTANTIATE_TEST_SUITE_P(Tasks, FileTaskTest,
                         testing::Values(FileTaskCase{"1", "/home/a/report.txt", "1\r\n00018/home/a/report.txt\r\n"},
                                         FileTaskCase{"2", "", "2\r\n00000\r\n"}));

} // namespace
} // namespace station
