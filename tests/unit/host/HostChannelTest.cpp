#include "host/HostChannel.h"
#include "host/HostCommands.h"
#include "tests/support/FakePorts.h"
#include "tests/support/FakeStationView.h"

#include <gtest/gtest.h>

namespace station {
namespace {

class HostChannelTest : public testing::Test {
protected:
    void SetUp() override {
        state.stationId = "00-11-22-33-44-55";
        state.serverList = {"127.0.0.2", "127.0.0.3", "127.0.0.4"};
        state.settings.open();
        state.settings.addRow();
        view.text = "Open 127.0.0.2";
        fake.hostSocket.connected = true;
        channel.attach();
    }
    void setReader(const std::string& prt3) { state.settings.set("prt3", prt3); }

    test::FakePorts fake;
    StationState state;
    test::FakeStationView view;
    std::vector<std::pair<std::string, std::string>> printed;
    HostChannel channel{
        state,        fake.hostSocket,
        fake.dialogs, fake.yield,
        view,         [this](const std::string& s, const std::string& r) { printed.emplace_back(s, r); }};
};

struct ReadCase {
    std::string read;
    std::vector<std::string> sent{};
    std::vector<std::pair<std::string, std::string>> printed{};
    std::vector<std::string> messages{};
};

class HostReadTest : public HostChannelTest, public testing::WithParamInterface<ReadCase> {};

TEST_P(HostReadTest, RunsEachCommandOfTheRead) {
    const auto& c = GetParam();
    fake.hostSocket.events.received(c.read);
    EXPECT_EQ(fake.hostSocket.sent, c.sent);
    EXPECT_EQ(printed, c.printed);
    std::vector<std::string> messages;
    for (const auto& m : fake.dialogs.shown) {
        EXPECT_EQ(m.icon, Dialogs::Icon::Exclamation);
        EXPECT_EQ(m.buttons, Dialogs::Buttons::Ok);
        EXPECT_EQ(m.title, std::optional<std::string>("Message from Server"));
        messages.push_back(m.text);
    }
    EXPECT_EQ(messages, c.messages);
}

INSTANTIATE_TEST_SUITE_P(
    Reads, HostReadTest,
    testing::Values(ReadCase{"abc/M=Hello", {}, {}, {"Hello"}}, ReadCase{"/M=see a/b", {}, {}, {"see a"}},
                    ReadCase{"/m=", {}, {}, {""}}, ReadCase{"/R=/R=", {"/L=00-11-22-33-44-55", "/L=00-11-22-33-44-55"}},
                    ReadCase{"/r=ignored", {"/L=00-11-22-33-44-55"}}, ReadCase{"/P=/p=/X=/R", {}},
                    ReadCase{"R=/3=", {}}, ReadCase{"/3=1234567890123|daily.txt", {}, {{"1234567890", "daily.txt"}}},
                    ReadCase{"/3=12345|x|extra", {}, {{"12345", "x"}}}, ReadCase{"/3=C:\\out\\daily.txt", {}, {}},
                    ReadCase{"/3=1234567890|C:/out/daily.txt", {}, {{"1234567890", "C:"}}},
                    ReadCase{"\xff/R=\xff", {"/L=00-11-22-33-44-55"}}, ReadCase{"////", {}},
                    // Single-byte wire text is shown as the user reads it.
                    ReadCase{"/M=Caf\xE9 M\xFCller \x80", {}, {}, {"Café Müller €"}}));

TEST_F(HostChannelTest, ReadWithNulBytesKeepsThemInThePayload) {
    fake.hostSocket.events.received(std::string("/M=a\0b", 6));
    ASSERT_EQ(fake.dialogs.texts(), std::vector<std::string>{std::string("a\0b", 3)});
}

TEST_F(HostChannelTest, AnswerIsDroppedAndRedialAskedWhenTheLineIsDown) {
    fake.hostSocket.connected = false;
    fake.hostSocket.events.received("/R=");
    EXPECT_TRUE(fake.hostSocket.sent.empty());
    EXPECT_TRUE(state.reconnectPending);
}

struct PoleCase {
    const char* reader;
    const char* command;
    std::array<std::string, 2> lines;
    int loads;
};

class PoleTest : public HostChannelTest, public testing::WithParamInterface<PoleCase> {};

TEST_P(PoleTest, WritesOnlyTheLinesTheCommandNames) {
    const auto& c = GetParam();
    setReader(c.reader);
    fake.hostSocket.events.received(c.command);
    EXPECT_EQ(view.pole, c.lines);
    EXPECT_EQ(view.poleLoads, c.loads);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, PoleTest,
    testing::Values(PoleCase{"Test Pole", "/D=12First line~Second line", {"First line", "Second line"}, 1},
                    PoleCase{"  Test Pole ", "/d=xxA~B", {"A", "B"}, 1},
                    PoleCase{"Test Pole", "/D=First line", {"rst line", "old 2"}, 1},
                    PoleCase{"Test Pole", "/D=..~A~B~C", {"", "A"}, 1},
                    PoleCase{"Test Pole", "/D=12", {"old 1", "old 2"}, 1},
                    PoleCase{"test pole", "/D=12First line~Second line", {"old 1", "old 2"}, 0},
                    PoleCase{"", "/D=12First line", {"old 1", "old 2"}, 0},
                    PoleCase{"Test Pole", "/D=12Caf\xE9~\x80 4,50", {"Café", "€ 4,50"}, 1}));

TEST_F(HostChannelTest, PanelShowsTheMarkWhileACommandRunsAndItsFormerTextAfter) {
    std::string textDuringMessage;
    fake.dialogs.answer = Dialogs::Answer::Ok;
    HostChannel watching{state,        fake.hostSocket,
                         fake.dialogs, fake.yield,
                         view,         [&](const std::string&, const std::string&) { textDuringMessage = view.text; }};
    watching.received("/3=1234567890|a/P=");
    EXPECT_EQ(textDuringMessage, "*");
    EXPECT_EQ(view.panelHistory, (std::vector<std::string>{"*", "Open 127.0.0.2", "*", "Open 127.0.0.2"}));
    EXPECT_EQ(view.text, "Open 127.0.0.2");
}

TEST_F(HostChannelTest, AReadTakenWhileAMessageIsOpenRunsAndThePanelComesBackWhole) {
    fake.dialogs.whileShown = [this](const std::string& text) {
        if (text == "first")
            fake.hostSocket.events.received("/R=/M=second");
    };
    fake.hostSocket.events.received("/M=first");
    EXPECT_EQ(fake.hostSocket.sent, std::vector<std::string>{"/L=00-11-22-33-44-55"});
    ASSERT_EQ(fake.dialogs.shown.size(), 2u);
    EXPECT_EQ(fake.dialogs.shown[1].text, "second");
    EXPECT_EQ(view.text, "Open 127.0.0.2");
    EXPECT_EQ(view.panelHistory, (std::vector<std::string>{"*", "Open 127.0.0.2"}));
}

TEST_F(HostChannelTest, RedialWalksRoundTheListOneAddressPerPendingTick) {
    state.reconnectPending = true;
    std::vector<std::int16_t> indexes;
    for (int tick = 0; tick < 5; ++tick) {
        channel.redialStep();
        indexes.push_back(state.serverIndex);
        EXPECT_FALSE(state.reconnectPending);
        fake.hostSocket.events.error("Connection refused");
    }
    channel.redialStep();
    EXPECT_EQ(fake.hostSocket.dials,
              (std::vector<std::string>{"127.0.0.2", "127.0.0.3", "127.0.0.4", "127.0.0.2", "127.0.0.3", "127.0.0.4"}));
    EXPECT_EQ(indexes, (std::vector<std::int16_t>{1, 2, 0, 1, 2}));
    EXPECT_EQ(fake.hostSocket.closes, 6);
}

TEST_F(HostChannelTest, RedialWaitsWhileNothingIsPendingOrTheListIsEmpty) {
    channel.redialStep();
    state.reconnectPending = true;
    state.serverList.clear();
    channel.redialStep();
    EXPECT_TRUE(fake.hostSocket.dials.empty());
}

TEST_F(HostChannelTest, ConnectCloseAndErrorEventsDriveThePanelAndTheRedialFlag) {
    state.reconnectPending = true;
    fake.hostSocket.host = "127.0.0.3";
    fake.hostSocket.events.connected();
    EXPECT_FALSE(state.reconnectPending);
    EXPECT_EQ(view.text, "Open 127.0.0.3");

    fake.hostSocket.events.closed();
    EXPECT_EQ(view.text, "closed");
    EXPECT_EQ(fake.hostSocket.closes, 1);
    EXPECT_TRUE(state.reconnectPending);

    state.reconnectPending = false;
    fake.hostSocket.events.error("Connection refused");
    fake.hostSocket.events.error("Host unreachable");
    EXPECT_EQ(view.text, "*closed");
    EXPECT_EQ(view.toolTip, "Host unreachable");
    EXPECT_TRUE(view.panelShown);
    EXPECT_TRUE(state.reconnectPending);
}

TEST_F(HostChannelTest, ErrorOnALiveLineLeavesTheRedialAlone) {
    fake.hostSocket.connected = true;
    fake.hostSocket.events.error("write failed");
    EXPECT_FALSE(state.reconnectPending);
}

TEST(HostCommands, SplitKeepsTheSlashAndDropsTheTextBeforeTheFirst) {
    EXPECT_EQ(splitCommands("x/A/B/"), (std::vector<std::string_view>{"/A", "/B", "/"}));
    EXPECT_TRUE(splitCommands("no commands").empty());
}

} // namespace
} // namespace station
