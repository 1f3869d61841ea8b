// Reading the update description and comparing versions, as the update server writes them.
#include "update/UpdateRules.h"

#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

namespace station {
namespace {

struct VersionCase {
    const char* local;
    const char* description;
    bool updates;
};

class OfferedVersion : public testing::TestWithParam<VersionCase> {};

// The whole path from the description's text to the decision.
TEST_P(OfferedVersion, DecidesFromTheDescriptionsVersionLine) {
    test::CountingYield yield;
    const auto& c = GetParam();
    const auto offered = markerValue(c.description, "Version =", "\r\n", yield);
    EXPECT_EQ(offersNewerVersion(c.local, offered), c.updates) << c.description;
}

INSTANTIATE_TEST_SUITE_P(Table, OfferedVersion,
                         testing::Values(VersionCase{"3.07", "[Update]\r\nVersion =3.07\r\n", false},
                                         VersionCase{"3.07", "Version = 3.08\r\n", true}, // leading blank skipped
                                         VersionCase{"3.12", "Version =3.9\r\n", true},   // decimals, not dotted parts
                                         VersionCase{"3.07", "Version =3.08;\r\n", true}, // ";" removed
                                         VersionCase{"3.07", "Size=1\r\nVersion =3.08", false}, // no line end after it
                                         VersionCase{"3.07", "Version=3.08\r\n", false},        // no blank before "="
                                         VersionCase{"3.07", "version =3.08\r\n", false},       // case counts
                                         VersionCase{"3.07", "Version =\r\nVersion =3.08\r\n",
                                                     false}, // the first one counts
                                         VersionCase{"3.07", "Version =3.08 beta\r\n", true},
                                         VersionCase{"3.07", "Version =3,50\r\n", false}, // "," is no decimal point
                                         VersionCase{"3.07", "ReadMe=x\r\n", false}, VersionCase{"3.07", "", false}));

struct NumberCase {
    const char* text;
    double value;
};

class LeadingNumber : public testing::TestWithParam<NumberCase> {};

TEST_P(LeadingNumber, ReadsUpToTheFirstCharacterThatCannotContinueIt) {
    EXPECT_DOUBLE_EQ(leadingNumber(GetParam().text), GetParam().value) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(Table, LeadingNumber,
                         testing::Values(NumberCase{"3.07", 3.07}, NumberCase{"  3.9", 3.9}, NumberCase{"3.", 3},
                                         NumberCase{".5", 0.5}, NumberCase{"-1.5x", -1.5}, NumberCase{"+2", 2},
                                         NumberCase{"3.1.4", 3.1}, NumberCase{"", 0}, NumberCase{".", 0},
                                         NumberCase{"x3", 0}));

TEST(MarkerValue, IsTheUntrimmedTextToTheNextEndMarkerWithoutSemicolonsAndYields) {
    test::CountingYield yield;
    EXPECT_EQ(markerValue("ReadMe= http://a;b/c\r\nSize=", "ReadMe=", "\r\n", yield), " http://ab/c");
    EXPECT_EQ(yield.count, 2);
    EXPECT_EQ(markerValue("Size=\r\n", "Size=", "\r\n", yield), ""); // empty value
    EXPECT_EQ(markerValue("a\r\nb", "Size=", "\r\n", yield), "");
}

TEST(VersionText, WritesTheMinorNumberWithTwoDigitsAtLeast) {
    EXPECT_EQ(versionText(3, 7), "3.07");
    EXPECT_EQ(versionText(3, 12), "3.12");
    EXPECT_EQ(versionText(2, 100), "2.100");
}

} // namespace
} // namespace station
