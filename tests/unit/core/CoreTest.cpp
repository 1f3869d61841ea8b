#include "core/Environment.h"
#include "core/StationIdentity.h"
#include "core/StationState.h"
#include "core/Text.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace station {
namespace {

using Parts = std::vector<std::string>;

struct SplitCase {
    std::string text;
    Parts parts;
};
class SplitTest : public testing::TestWithParam<SplitCase> {};

TEST_P(SplitTest, CutsAtEveryBarAndTheWalkGivesTheSamePieces) {
    const auto& [text, parts] = GetParam();
    EXPECT_EQ(text::split(text, '|'), parts);
    EXPECT_EQ(text::countFields(text, '|'), parts.size());
    Parts walked;
    text::Fields fields(text, '|');
    for (std::string_view piece; fields.next(piece);)
        walked.emplace_back(piece);
    EXPECT_EQ(walked, parts);
}

INSTANTIATE_TEST_SUITE_P(Replies, SplitTest,
                         testing::Values(SplitCase{"", {}}, SplitCase{"x", {"x"}}, SplitCase{"a|b|", {"a", "b", ""}},
                                         SplitCase{"|", {"", ""}}, SplitCase{"a||b", {"a", "", "b"}},
                                         SplitCase{"||", {"", "", ""}}));

struct WireCase {
    std::string wire;
    std::string utf8;
};
class WireTextTest : public testing::TestWithParam<WireCase> {};

TEST_P(WireTextTest, DecodesAsWindows1252AndEncodesBack) {
    EXPECT_EQ(text::fromWire(GetParam().wire), GetParam().utf8);
    EXPECT_EQ(text::toWire(GetParam().utf8), GetParam().wire);
}

INSTANTIATE_TEST_SUITE_P(Texts, WireTextTest,
                         testing::Values(WireCase{"plain|text~/", "plain|text~/"},
                                         WireCase{"Caf\xE9 M\xFCller", "Café Müller"}, WireCase{"\x80 5", "€ 5"},
                                         WireCase{"\x93quoted\x94 \x96 \x85", "“quoted” – …"},
                                         WireCase{"\x9F\x8A", "ŸŠ"},
                                         // Bytes the code page leaves unassigned keep their control code points.
                                         WireCase{"\x81\x8D\x8F\x90\x9D", "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D"},
                                         WireCase{std::string("a\0b", 3), std::string("a\0b", 3)}, WireCase{"", ""}));

TEST(WireText, EveryByteSurvivesTheWayToTheScreenAndBack) {
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += static_cast<char>(b);
    EXPECT_EQ(text::toWire(text::fromWire(all)), all);
}

TEST(WireText, WhatTheCodePageCannotHoldBecomesAQuestionMark) {
    EXPECT_EQ(text::toWire("日本 ok"), "?? ok");
    EXPECT_EQ(text::toWire("\xC3"), "?");             // cut off in the middle
    EXPECT_EQ(text::toWire("\xC0\xAF"), "??");        // overlong "/"
    EXPECT_EQ(text::toWire("\xED\xA0\x80x"), "???x"); // a surrogate
    EXPECT_EQ(text::toWire("\xC2\x80"), "?");         // U+0080 has no byte: 0x80 is the euro sign
}

TEST(StationIdentity, HexPairsJoinedByDashesAcrossAdapters) {
    EXPECT_EQ(formatPhysicalAddress({0x00, 0x0A, 0xFF, 0x1B, 0x2C, 0x3D}), "00-0A-FF-1B-2C-3D");
    const std::vector<NetworkAdapter> two{
        {"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}, {"none", {}}, {"wlan0", {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0x0F}}};
    const auto id = stationIdentity(two);
    EXPECT_EQ(id, "00-11-22-33-44-55-AA-BB-CC-DD-EE-0F");
    EXPECT_EQ(stationIdentity({}), "");
}

TEST(StoreTable, IndexOutsideTheTableIsAnError) {
    StoreTable table;
    EXPECT_NO_THROW(table.at(299));
    EXPECT_THROW(table.at(300), std::out_of_range);
    EXPECT_THROW(table.setCount(301), std::out_of_range);
}

TEST(StationSettings, SixFieldsByNameWithoutCaseAtMostOneRow) {
    StationSettings s;
    EXPECT_THROW(s.get("prt0"), std::logic_error);
    s.open();
    EXPECT_FALSE(s.hasRow());
    EXPECT_EQ(s.get("Prefix"), "");
    EXPECT_THROW(s.set("prt0", "x"), std::logic_error);
    s.addRow();
    s.set("prefix", "\\\\127.0.0.1\\");
    s.set("cc", "COM2");
    s.set("PRT2", std::string(150, 'p'));
    EXPECT_EQ(s.get("Prefix"), "\\\\127.0.0.1\\");
    EXPECT_EQ(s.get("CC"), "COM2");
    EXPECT_EQ(s.get("prt2").size(), StationSettings::fieldWidth);
    EXPECT_THROW(s.get("prt4"), std::invalid_argument);
    s.set("prt0", "  <unassigned> ");
    EXPECT_EQ(s.device("prt0"), "");
    s.addRow();
    EXPECT_EQ(s.get("cc"), "");
    s.close();
    EXPECT_THROW(s.get("prt0"), std::logic_error);
}

TEST(Environment, ReadsSetAndUnsetVariables) {
#ifdef _WIN32
    _putenv_s("STATION_CORE_TEST", "a value");
#else
    ::setenv("STATION_CORE_TEST", "a value", 1);
#endif
    EXPECT_EQ(environmentVariable("STATION_CORE_TEST"), "a value");
#ifdef _WIN32
    _putenv_s("STATION_CORE_TEST", "");
#else
    ::unsetenv("STATION_CORE_TEST");
#endif
    EXPECT_EQ(environmentVariable("STATION_CORE_TEST"), std::nullopt);
}

} // namespace
} // namespace station
