#include "platform/CommandLine.h"

#include <gtest/gtest.h>

namespace station {
namespace {

struct SplitCase {
    const char* name;
    std::string line;
    std::vector<std::string> argv;
};

class SplitCommandLine : public testing::TestWithParam<SplitCase> {};

TEST_P(SplitCommandLine, AsTheWindowsRuntimeDoes) {
    EXPECT_EQ(splitCommandLine(GetParam().line), GetParam().argv);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SplitCommandLine,
    testing::Values(SplitCase{"Empty", "", {}}, SplitCase{"OnlyBlanks", " \t ", {}},
                    SplitCase{"RunsOfBlanksAndTabs", "  p  a\t\tb ", {"p", "a", "b"}},
                    SplitCase{
                        "QuotedProgramWithBlanks", "\"C:\\Program Files\\x.exe\" a", {"C:\\Program Files\\x.exe", "a"}},
                    SplitCase{"ProgramBackslashBeforeQuoteIsLiteral", "\"C:\\dir\\\" a", {"C:\\dir\\", "a"}},
                    SplitCase{"BlanksInsideQuotes", "p \"a b\" c", {"p", "a b", "c"}},
                    SplitCase{"QuotesInsideAWord", "p -r1=\"AB P1\"x", {"p", "-r1=AB P1x"}},
                    SplitCase{"EmptyQuotedArgument", "p \"\" b", {"p", "", "b"}},
                    SplitCase{"DoubledQuoteInsideQuotes", "p \"a\"\"b\" c", {"p", "a\"b", "c"}},
                    SplitCase{"EscapedQuote", "p a\\\"b", {"p", "a\"b"}},
                    SplitCase{"EvenBackslashesBeforeQuote", "p \"a\\\\\" b", {"p", "a\\", "b"}},
                    SplitCase{"OddBackslashesBeforeQuote", "p a\\\\\\\"b", {"p", "a\\\"b"}},
                    SplitCase{"BackslashesNotBeforeQuote", "p \\\\srv\\share\\ x", {"p", "\\\\srv\\share\\", "x"}},
                    SplitCase{"UnclosedQuoteRunsToTheEnd", "p \"a b", {"p", "a b"}}),
    [](const auto& p) { return std::string(p.param.name); });

} // namespace
} // namespace station
