// The CUPS adapters against a real private scheduler, one that is not there and one that
// accepts and never answers: each call says which it was, within its bounds.
#include "platform/Adapters.h"
#include "platform/posix/CupsSpooler.h"
#include "tests/e2e/host/PrintRig.h"

#include <QLocalServer>
#include <cups/cups.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace station {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

const CupsSpooler::Bounds quick{300ms, 500ms};

/// Points libcups at `server` from now on (it keeps the first server it read otherwise).
void useServer(const QString& server) {
    qputenv("CUPS_SERVER", server.toLocal8Bit());
    cupsSetServer(nullptr);
}

enum class Peer { Missing, Silent };

struct DeadCase {
    const char* name;
    Peer peer;
    const char* words;
    std::chrono::milliseconds atLeast, below;
};

class DeadSpooler : public testing::TestWithParam<DeadCase> {
protected:
    void SetUp() override {
        const auto path = dir.filePath(QStringLiteral("cups.sock"));
        if (GetParam().peer == Peer::Silent) {
            ASSERT_TRUE(silent.listen(path)); // the system accepts for it; it never reads
        }
        useServer(path);
    }
    template <typename Call> void expectUnavailable(Call call) {
        const auto start = std::chrono::steady_clock::now();
        try {
            call();
            ADD_FAILURE() << "no SpoolerUnavailable";
        } catch (const SpoolerUnavailable& e) {
            EXPECT_THAT(e.what(), HasSubstr(GetParam().words));
        }
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_GE(took, GetParam().atLeast);
        EXPECT_LT(took, GetParam().below);
    }

    QTemporaryDir dir;
    QLocalServer silent;
};

TEST_P(DeadSpooler, EveryCallSaysWhatBecameOfTheSpoolerInTime) {
    CupsSpooler spooler(quick);
    expectUnavailable([&] { spooler.printers(); });
    expectUnavailable([&] { spooler.printRaw("receipts", "AAAAAA", "bytes"); });
    // The printer object asks the spooler adapter before the toolkit's own, unbounded calls.
    const auto printer = makeTextPrinter([] { CupsSpooler(quick).printers(); });
    expectUnavailable([&] { printer->printers(); });
    expectUnavailable([&] { printer->current(); });
    expectUnavailable([&] { printer->print("text"); });
}

INSTANTIATE_TEST_SUITE_P(Schedulers, DeadSpooler,
                         testing::Values(DeadCase{"not_running", Peer::Missing, "The print spooler is not running", 0ms,
                                                  500ms},
                                         DeadCase{"accepts_and_never_answers", Peer::Silent,
                                                  "The print spooler is not answering", 500ms, 3s}),
                         [](const auto& p) { return std::string(p.param.name); });

class LiveSpooler : public testing::Test {
protected:
    void SetUp() override {
        rig.addQueue(QStringLiteral("reports"));
        rig.addQueue(QStringLiteral("receipts"));
        useServer(rig.socketPath);
    }
    test::PrintRig rig;
};

TEST_F(LiveSpooler, AnsweringSchedulerTellsAnUnknownQueueARefusingOneAndAStoppedOne) {
    CupsSpooler spooler(quick);
    EXPECT_EQ(spooler.printers(), (std::vector<std::string>{"receipts", "reports"}));
    EXPECT_EQ(spooler.printRaw("nosuchqueue", "AAAAAA", "x"), Spooler::Result::UnknownPrinter);
    // A queue that refuses jobs fails them; a stopped one takes them without a word and holds them.
    ASSERT_EQ(test::PrintRig::run(QStringLiteral("cupsreject"), {QStringLiteral("reports")}), 0);
    EXPECT_EQ(spooler.printRaw("reports", "AAAAAA", "x"), Spooler::Result::Failed);
    ASSERT_EQ(test::PrintRig::run(QStringLiteral("cupsdisable"), {QStringLiteral("receipts")}), 0);
    EXPECT_EQ(spooler.printRaw("receipts", "AAAAAA", std::string("\x1b@\0\xff", 4)), Spooler::Result::Done);
    EXPECT_TRUE(rig.output(QStringLiteral("receipts")).isEmpty());
}

struct CurrentCase {
    const char* name;
    const char* systemDefault; ///< empty: none set
    const char* selected;      ///< empty: nothing selected
    const char* current;
};

class CurrentPrinter : public LiveSpooler, public testing::WithParamInterface<CurrentCase> {};

TEST_P(CurrentPrinter, IsTheSelectedOneElseTheDefaultElseNone) {
    const auto& c = GetParam();
    if (*c.systemDefault) {
        ASSERT_EQ(
            test::PrintRig::run(QStringLiteral("lpadmin"), {QStringLiteral("-d"), QLatin1String(c.systemDefault)}), 0);
    }
    const auto printer = makeTextPrinter([] { CupsSpooler(quick).printers(); });
    if (*c.selected)
        printer->select(c.selected);
    EXPECT_EQ(printer->current(), c.current);
    if (*c.current)
        return;
    // With no printer to name, nothing is guessed: the document goes nowhere.
    EXPECT_THROW(printer->print("report"), std::runtime_error);
    printer->endDocument();
    EXPECT_TRUE(rig.output(QStringLiteral("reports")).isEmpty());
    EXPECT_TRUE(rig.output(QStringLiteral("receipts")).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Choices, CurrentPrinter,
                         testing::Values(CurrentCase{"nothing_set", "", "", ""},
                                         CurrentCase{"system_default", "receipts", "", "receipts"},
                                         CurrentCase{"selected_over_default", "receipts", "reports", "reports"},
                                         CurrentCase{"unknown_selection_keeps_none", "", "nosuch", ""}),
                         [](const auto& p) { return std::string(p.param.name); });

} // namespace
} // namespace station
