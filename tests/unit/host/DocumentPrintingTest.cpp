#include "host/DocumentPrinting.h"
#include "host/TaskLine.h"
#include "service/Codec.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace station {
namespace {

constexpr const char* base = "http://reports.test/Reports/";
const std::string rawBytes("\x1b@line 1\n\0\xff\fcut\x1d", 17);

class PrintingTest : public testing::Test {
protected:
    void SetUp() override {
        fake.http.handler = [this](const test::FakeHttp::Call& call) {
            if (call.method == "GET") {
                const auto it = documents.find(call.url);
                return it == documents.end() ? HttpClient::Response{false, 404, "Not Found", "404"}
                                             : test::FakeHttp::ok(it->second);
            }
            if (call.body.starts_with("report="))
                return formatReply ? test::FakeHttp::ok(*formatReply) : test::FakeHttp::failed();
            if (call.body.starts_with("prt="))
                return printerReply ? test::FakeHttp::ok(*printerReply) : test::FakeHttp::failed();
            return test::FakeHttp::failed();
        };
        fake.textPrinter.installed = {"Office", "Reports"};
        fake.spooler.installed = {"RCPT", "LBL"};
    }
    std::vector<std::string> messages() const {
        std::vector<std::string> out;
        for (const auto& m : fake.dialogs.shown) {
            EXPECT_EQ(m.icon, Dialogs::Icon::None);
            EXPECT_EQ(m.buttons, Dialogs::Buttons::Ok);
            EXPECT_EQ(m.title, std::nullopt);
            out.push_back(m.text);
        }
        return out;
    }
    std::vector<std::string> gets() const {
        std::vector<std::string> out;
        for (const auto& c : fake.http.calls)
            if (c.method == "GET")
                out.push_back(c.url);
        return out;
    }
    void printReport(const std::string& storeId, const std::string& name, const std::string& printer = "reports ") {
        printing.printReport(storeId, name, [printer] { return printer; });
    }

    test::FakePorts fake;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    DocumentPrinting printing{{service, fake.http, fake.textPrinter, fake.spooler, fake.dialogs}, base};
    std::map<std::string, std::string> documents{
        {std::string(base) + "12345/1234567890/daily.txt", "page1\fpage2"},
        {std::string(base) + "12345/1234567890/receipt.prn", rawBytes},
        {std::string(base) + "12345/1234567890/label.prn", rawBytes},
    };
    std::optional<std::string> formatReply = "Arial|12|P|x";
    std::optional<std::string> printerReply = "RCPT|LBL|Reports|Test Pole|COM1|";
};

struct CheckCase {
    const char* storeId;
    const char* name;
    std::string message;
};

class ReportCheckTest : public PrintingTest, public testing::WithParamInterface<CheckCase> {};

TEST_P(ReportCheckTest, RefusesBeforeAnyDownload) {
    printReport(GetParam().storeId, GetParam().name);
    EXPECT_EQ(messages(), std::vector<std::string>{GetParam().message});
    EXPECT_TRUE(fake.textPrinter.calls.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Refusals, ReportCheckTest,
    testing::Values(
        CheckCase{"123456789", "daily.txt",
                  "Report sent an invalid store id of '123456789'.  Please notify the VORNEOnline Helpdesk"},
        CheckCase{"", "", "Report sent an invalid store id of ''.  Please notify the VORNEOnline Helpdesk"},
        CheckCase{"1234567890", "", "No report name was passed.  Please notify the VORNEOnline Helpdesk"},
        CheckCase{"1234567890", "C:\\out\\missing.txt",
                  "Error Printing file, store = '1234567890', report = 'missing.txt' was not found"},
        CheckCase{"1234567890", "C:\\out\\", "Error Printing file, store = '1234567890', report = '' was not found"}));

TEST_F(PrintingTest, ReportIsFetchedByItsFileNameAndPrintedPageByPage) {
    printReport("1234567890", "C:\\out\\daily.txt");
    EXPECT_TRUE(messages().empty());
    EXPECT_EQ(gets(), std::vector<std::string>{std::string(base) + "12345/1234567890/daily.txt"});
    EXPECT_EQ(fake.http.bodies().back(), "report=dai");
    EXPECT_EQ(fake.textPrinter.calls,
              (std::vector<std::string>{"select Reports", "font Arial 12.000000", "orientation 1", "print page1\f",
                                        "print page2", "end"}));
}

struct FormatCase {
    std::optional<std::string> reply;
    std::string font;
    std::string orientation;
};

class ReportFormatTest : public PrintingTest, public testing::WithParamInterface<FormatCase> {};

TEST_P(ReportFormatTest, FontAndOrientationFollowTheFormatReply) {
    formatReply = GetParam().reply;
    printReport("1234567890", "daily.txt");
    ASSERT_GE(fake.textPrinter.calls.size(), 3u);
    EXPECT_EQ(fake.textPrinter.calls[1], GetParam().font);
    EXPECT_EQ(fake.textPrinter.calls[2], GetParam().orientation);
}

INSTANTIATE_TEST_SUITE_P(Replies, ReportFormatTest,
                         testing::Values(FormatCase{"Arial|12|L|x", "font Arial 12.000000", "orientation 2"},
                                         FormatCase{"Arial|12|P|x|", "font courier 10.000000", "orientation 2"},
                                         FormatCase{std::nullopt, "font courier 10.000000", "orientation 2"},
                                         FormatCase{"Arial| 9.5 |P|x", "font Arial 9.500000", "orientation 1"},
                                         FormatCase{"Arial|big|P|x", "font Arial 0.000000", "orientation 1"}));

// A report that cannot print says why, and nothing reaches a printer the station guessed.
struct ReportFaultCase {
    const char* name;
    std::string printer;        // the report printer of the settings
    std::string defaultPrinter; // the system's default; empty: none
    std::string failingCall;    // the printer object call that fails ("" none, "printers", "print", "end")
    bool spoolerDown;           // the failure is a spooler that cannot be asked
    std::string detail;         // the message after its first line; empty: no message
    bool printed;
};
class ReportFaultTest : public PrintingTest, public testing::WithParamInterface<ReportFaultCase> {};

TEST_P(ReportFaultTest, SaysWhyNothingCameOut) {
    const auto& c = GetParam();
    fake.textPrinter.currentPrinter = c.defaultPrinter;
    fake.textPrinter.fault = [&c](const std::string& call) {
        if (c.failingCall.empty() || !call.starts_with(c.failingCall))
            return;
        if (c.spoolerDown)
            throw SpoolerUnavailable("The print spooler is not answering");
        throw std::runtime_error("the printer cannot be opened");
    };
    printReport("1234567890", "daily.txt", c.printer);
    const auto shown = messages();
    if (c.detail.empty())
        EXPECT_TRUE(shown.empty()) << shown.front();
    else
        EXPECT_EQ(shown, std::vector<std::string>{"Error Printing file, store = '1234567890', report = 'daily.txt'\n" +
                                                  c.detail});
    EXPECT_EQ(std::ranges::count(fake.textPrinter.calls, "end") == 1, c.printed);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, ReportFaultTest,
    testing::Values(ReportFaultCase{"KnownPrinter", "Reports", "", "", false, "", true},
                    ReportFaultCase{"UnknownPrinterGoesToTheDefault", "Nowhere", "Default", "", false, "", true},
                    ReportFaultCase{"UnknownPrinterAndNoDefault", "Nowhere", "", "", false,
                                    "The printer 'Nowhere' is not installed and no default printer is set.", false},
                    ReportFaultCase{"NoPrinterAssignedAndNoDefault", "", "", "", false,
                                    "The printer '' is not installed and no default printer is set.", false},
                    ReportFaultCase{"SpoolerDownWhenAsked", "Reports", "Default", "printers", true,
                                    "The print spooler is not answering", false},
                    ReportFaultCase{"SpoolerGoneAtTheEnd", "Reports", "Default", "end", true,
                                    "The print spooler is not answering", false},
                    ReportFaultCase{"PrinterCannotBeOpened", "Reports", "Default", "print", false,
                                    "the printer cannot be opened", true}),
    [](const auto& p) { return std::string(p.param.name); });

TEST_F(PrintingTest, AReportAskedForWhileOnePrintsComesAfterItNotInsideIt) {
    documents[std::string(base) + "12345/1234567890/second.txt"] = "second page";
    auto get = fake.http.handler;
    bool asked = false;
    fake.http.handler = [&](const test::FakeHttp::Call& call) {
        // The host's next report arrives while the first one's document is on its way.
        if (call.method == "GET" && !asked) {
            asked = true;
            printReport("1234567890", "second.txt");
        }
        return get(call);
    };
    printReport("1234567890", "daily.txt");
    EXPECT_TRUE(messages().empty());
    EXPECT_EQ(fake.textPrinter.calls,
              (std::vector<std::string>{"select Reports", "font Arial 12.000000", "orientation 1", "print page1\f",
                                        "print page2", "end", "select Reports", "font Arial 12.000000", "orientation 1",
                                        "print second page", "end"}));
}

TEST_F(PrintingTest, WireTextIsShownAsTheUserReadsIt) {
    printReport("1234567890", "caf\xE9.txt");
    EXPECT_EQ(messages(),
              std::vector<std::string>{"Error Printing file, store = '1234567890', report = 'café.txt' was not found"});
}

TEST(PrintStatements, EachEndsAtAndKeepsItsFormFeed) {
    using V = std::vector<std::string>;
    EXPECT_EQ(printStatements("page1\fpage2"), (V{"page1\f", "page2"}));
    EXPECT_EQ(printStatements("one page\nsecond line"), (V{"one page\nsecond line"}));
    EXPECT_EQ(printStatements("\f\fx\f"), (V{"\f", "\f", "x\f"}));
    EXPECT_TRUE(printStatements("").empty());
}

TEST(DocumentAddress, NoSegmentLeavesTheReportsFolder) {
    EXPECT_EQ(documentAddress(base, "1234567890", "daily.txt"), std::string(base) + "12345/1234567890/daily.txt");
    EXPECT_EQ(documentAddress(base, "1234567890", ".."), std::string(base) + "12345/1234567890/%2E%2E");
    EXPECT_EQ(documentAddress(base, "../../etc/x", "a b/../c?d#e%"),
              std::string(base) + "..%2F../..%2F..%2Fetc%2Fx/a%20b%2F..%2Fc%3Fd%23e%25");
}

struct TaskCase {
    std::string line;
    std::vector<std::string> messages;
    std::vector<std::string> jobPrinters;
    Spooler::Result spooler = Spooler::Result::Done;
};

class PrintTaskTest : public PrintingTest, public testing::WithParamInterface<TaskCase> {};

TEST_P(PrintTaskTest, RunsTheJobOfTheTaskLine) {
    fake.spooler.result = GetParam().spooler;
    EXPECT_TRUE(runPrintTask(parseTaskLine(GetParam().line), printing, service, "00-11-22", fake.dialogs));
    EXPECT_EQ(messages(), GetParam().messages);
    std::vector<std::string> printers;
    for (const auto& job : fake.spooler.jobs) {
        EXPECT_EQ(job.document, "AAAAAA");
        EXPECT_EQ(job.data, rawBytes);
        printers.push_back(job.printer);
    }
    EXPECT_EQ(printers, GetParam().jobPrinters);
}

const std::string invalid = "sent an invalid store id of '123456789'.  Please notify the VORNEOnline Helpdesk";

INSTANTIATE_TEST_SUITE_P(
    Lines, PrintTaskTest,
    testing::Values(TaskCase{"6,1234567890,receipt.prn", {}, {"RCPT"}},
                    TaskCase{"7,1234567890,C:\\x\\label.prn", {}, {"LBL"}},
                    TaskCase{" 7 ,1234567890,label.prn,extra", {}, {"LBL"}},
                    TaskCase{"6,123456789,receipt.prn", {"Receipt " + invalid}, {}},
                    TaskCase{"7,123456789,label.prn", {"Label " + invalid}, {}},
                    TaskCase{
                        "6,1234567890,", {"No receipt name was passed.  Please notify the VORNEOnline Helpdesk"}, {}},
                    TaskCase{"7,1234567890", {"No Label name was passed.  Please notify the VORNEOnline Helpdesk"}, {}},
                    TaskCase{"7,1234567890,nothing.prn",
                             {"Error Printing file, store = '1234567890', report = 'nothing.prn' was not found"},
                             {}},
                    TaskCase{"7,1234567890,label.prn",
                             {"The Printer Name you typed wasn't recognized."},
                             {},
                             Spooler::Result::UnknownPrinter},
                    TaskCase{"6,1234567890,receipt.prn",
                             {"Error Printing file, store = '1234567890', report = 'receipt.prn'\n482"},
                             {},
                             Spooler::Result::Failed},
                    TaskCase{"5,123456789,daily.txt", {"Report " + invalid}, {}}));

TEST_F(PrintingTest, RawJobOnASpoolerThatCannotBeAskedSaysSo) {
    fake.spooler.unavailable = SpoolerUnavailable("The print spooler is not running (connection refused)");
    runPrintTask(parseTaskLine("6,1234567890,receipt.prn"), printing, service, "00-11-22", fake.dialogs);
    EXPECT_EQ(messages(), std::vector<std::string>{"Error Printing file, store = '1234567890', report = "
                                                   "'receipt.prn'\nThe print spooler is not running (connection "
                                                   "refused)"});
}

TEST_F(PrintingTest, RawJobGoesToThePrinterNamedAsTheUserReadsIt) {
    printerReply = "K\xFC"
                   "che|LBL|Reports|rdr|COM1|";
    runPrintTask(parseTaskLine("6,1234567890,receipt.prn"), printing, service, "00-11-22", fake.dialogs);
    ASSERT_EQ(fake.spooler.jobs.size(), 1u);
    EXPECT_EQ(fake.spooler.jobs[0].printer, "Küche");
}

TEST_F(PrintingTest, PrinterReplyIsAskedWithTheIdentityWithoutDashes) {
    runPrintTask(parseTaskLine("7,1234567890,label.prn"), printing, service, "00-11-22", fake.dialogs);
    EXPECT_EQ(fake.http.bodies().front(), "prt=001122");
}

TEST_F(PrintingTest, ShortPrinterReplyIsAFaultWithItsNumber) {
    printerReply = "RCPT|";
    runPrintTask(parseTaskLine("6,1234567890,receipt.prn"), printing, service, "00-11-22", fake.dialogs);
    EXPECT_EQ(messages(),
              std::vector<std::string>{"Error Printing file, store = '1234567890', report = 'receipt.prn'\n9"});
    EXPECT_TRUE(gets().empty());
}

TEST_F(PrintingTest, ReportTaskPrintsOnTheReportPrinterOfTheReply) {
    printerReply = "RCPT|LBL|office|rdr|COM1|";
    runPrintTask(parseTaskLine("5,1234567890,daily.txt"), printing, service, "00-11-22", fake.dialogs);
    EXPECT_EQ(fake.textPrinter.calls.front(), "select Office");
    EXPECT_TRUE(fake.spooler.jobs.empty());
}

TEST(TaskLines, OnlyTasksFiveToSevenPrint) {
    for (const auto* line : {"", "3,COM1", "4", "x,1234567890,a", "8,1234567890,a"})
        EXPECT_FALSE(printTaskKind(parseTaskLine(line).task)) << line;
    EXPECT_EQ(parseTaskLine("6,a,b").field(3), "");
}

} // namespace
} // namespace station
