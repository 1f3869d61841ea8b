#include "tools/devservice/Handlers.h"
#include "tools/devservice/DemoData.h"

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

namespace devservice {
namespace {

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t bar; (bar = text.find('|', start)) != std::string::npos; start = bar + 1)
        parts.push_back(text.substr(start, bar - start));
    parts.push_back(text.substr(start));
    return parts;
}

class HandlersTest : public testing::Test {
protected:
    HandlersTest() : db(folder.file("service.db")), handlers(db) { seedReferenceRows(db); }

    std::string ask(const std::string& body) { return handlers.reply(std::string_view(body)); }

    test::TempFolder folder;
    Database db;
    Handlers handlers;
};

TEST_F(HandlersTest, UnknownStationGetsDemoStoresOnceInRecordsOfElevenFields) {
    const auto reply = ask("mac=001A2B3C4D5E");
    const auto parts = split(reply);
    ASSERT_EQ(parts.size(), 4u * 11 + 1);
    EXPECT_EQ(parts.back(), "");
    std::set<std::size_t> domainLengths;
    std::set<std::string> clusters;
    for (std::size_t j = 0; j + 1 < parts.size(); j += 11) {
        EXPECT_EQ(parts[j], "001A2B3C4D5E");
        EXPECT_TRUE(std::regex_match(parts[j + 1], std::regex("[0-9]{10}"))) << parts[j + 1];
        EXPECT_TRUE(parts[j + 5].starts_with("127.")) << parts[j + 5];
        clusters.insert(parts[j + 5]);
        domainLengths.insert(std::min<std::size_t>(parts[j + 7].size(), 3));
        EXPECT_TRUE(std::regex_match(parts[j + 9], std::regex("STORE[0-9]{2}"))) << parts[j + 9];
    }
    EXPECT_EQ(clusters.size(), 4u) << "each store needs its own client window title";
    EXPECT_EQ(domainLengths, (std::set<std::size_t>{2, 3})) << "both telnet clients must be reachable";
    EXPECT_EQ(ask("mac=001A2B3C4D5E"), reply) << "a second ask must not add stores again";
}

TEST_F(HandlersTest, StoreListOverrideIsSentVerbatimForItsStationOrForAll) {
    db.setStoreListOverride(std::string("BAD"), std::string("a|b|c|"));
    EXPECT_EQ(ask("mac=BAD"), "a|b|c|");
    EXPECT_EQ(split(ask("mac=GOOD")).size(), 45u);
    db.setStoreListOverride(std::nullopt, std::string(""));
    EXPECT_EQ(ask("mac=GOOD"), "");
    EXPECT_EQ(ask("mac=BAD"), "a|b|c|") << "a station's own override wins";
}

TEST_F(HandlersTest, SettingsRowRoundTripKeepsAmpersandEscapeVerbatim) {
    const auto none = ask("prt=AABB");
    EXPECT_FALSE(none.empty());
    EXPECT_EQ(none.find('|'), std::string::npos);

    EXPECT_EQ(ask("prtadd=AABB"), "");
    EXPECT_EQ(ask("prt=AABB"), "||||||");

    EXPECT_EQ(ask("prtupt=A&amp;B|L1|P1|MICRImage|COM2|\\\\srv\\share|AABB|"), "");
    EXPECT_EQ(ask("prt=AABB"), "A&amp;B|L1|P1|MICRImage|COM2|\\\\srv\\share|");

    ask("prtadd=AABB");
    EXPECT_EQ(ask("prt=AABB"), "A&amp;B|L1|P1|MICRImage|COM2|\\\\srv\\share|") << "add must not clear a row";
}

class IgnoredSettingsWriteTest : public HandlersTest, public testing::WithParamInterface<std::string> {};

TEST_P(IgnoredSettingsWriteTest, LeavesEveryRowAlone) {
    ask("prtupt=R|L|P|T|C|X|AABB|");
    EXPECT_EQ(ask("prtupt=" + GetParam()), "");
    EXPECT_EQ(ask("prt=AABB"), "R|L|P|T|C|X|");
    EXPECT_EQ(db.allSettings().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Values, IgnoredSettingsWriteTest,
                         testing::Values("", "a|b|c|", "a|b|c|d|e|f|", "a|b|c|d|e|f|AABB|extra|",
                                         "garbage without bars"));

TEST_F(HandlersTest, ReportFormatIsExactlyFourFieldsOrEmpty) {
    EXPECT_EQ(ask("report=dai"), "Arial|12|P|x");
    db.putReportFormat("wid", {"Courier New", "8", "L"});
    EXPECT_EQ(ask("report=wid"), "Courier New|8|L|x");
    EXPECT_EQ(ask("report=zzz"), "");
}

const std::string ticketRecord = "me@x.example|Ann|1|234|5000|Till down|3) Urgent (6 hours)\r\nA&amp;B broke\r\n|"
                                 "555-0100|O|1234500001 - STORE01|26|";

TEST_F(HandlersTest, HelpdeskTicketGetsIncreasingNumbersAndKeepsValues) {
    EXPECT_EQ(ask("h=1&hd=" + ticketRecord), "10001|");
    EXPECT_EQ(ask("h=1&hd=" + ticketRecord), "10002|");
    const auto tickets = db.tickets();
    ASSERT_EQ(tickets.size(), 2u);
    const auto& f = tickets[0].fields;
    EXPECT_EQ(f.email, "me@x.example");
    EXPECT_EQ(f.problem, "3) Urgent (6 hours)\r\nA&B broke\r\n") << "filed as typed";
    EXPECT_EQ(f.locationName, "1234500001 - STORE01");
    EXPECT_EQ(f.priority, "26");
    EXPECT_FALSE(tickets[0].dateCreated.empty());
}

TEST_F(HandlersTest, BarInProblemTextStaysInTheProblem) {
    ask("h=1&hd=e@x|N|1|234|5000|S|a|b|c|555|O|STORE|24|");
    const auto t = db.tickets().at(0).fields;
    EXPECT_EQ(t.problem, "a|b|c");
    EXPECT_EQ(t.phone, "555");
    EXPECT_EQ(t.priority, "24");
}

TEST_F(HandlersTest, ShortTicketRecordGetsEmptyReplyAndNoTicket) {
    EXPECT_EQ(ask("h=1&hd=e@x|N|1|234|5000|S|P|555|O|STORE|24"), "") << "eleventh value not closed";
    EXPECT_EQ(ask("h=1&hd="), "");
    EXPECT_TRUE(db.tickets().empty());
}

TEST_F(HandlersTest, OnCallListAndAlert) {
    EXPECT_EQ(ask("h=1&oncall=1"), "oncall1@vorne.example|oncall2@vorne.example|");
    EXPECT_EQ(ask("h=1&alert=oncall1@vorne.example|A| |me@x&amp;y|I| |"), "");
    EXPECT_EQ(db.alerts(), std::vector<std::string>{"oncall1@vorne.example|A| |me@x&amp;y|I| |"});
}

TEST_F(HandlersTest, UploadFolderKeepsOneRecordPerStation) {
    EXPECT_EQ(ask("getupload=AABB|"), Handlers::noUploadRecord);
    ask("insertupload=AABB|C:\\data\\out|");
    const auto first = split(ask("getupload=AABB|"));
    ASSERT_EQ(first.size(), 3u);
    EXPECT_EQ(first[0], "C:\\data\\out");
    EXPECT_NE(first[1], "65535");

    ask("setupload=AABB|D:\\x&amp;y|");
    const auto second = split(ask("getupload=AABB"));
    EXPECT_EQ(second[0], "D:\\x&amp;y");
    EXPECT_EQ(second[1], first[1]) << "the record number must not change";
    EXPECT_EQ(ask("getupload=OTHER|"), Handlers::noUploadRecord);
}

TEST_F(HandlersTest, VersionReportIsRecordedPerStation) {
    EXPECT_EQ(ask("updlast=2.1.14|AABB|"), "");
    const auto versions = db.versions();
    ASSERT_EQ(versions.size(), 1u);
    EXPECT_EQ(versions[0][0], "AABB");
    EXPECT_EQ(versions[0][1], "2.1.14");
}

TEST_F(HandlersTest, UnknownOrMalformedBodiesGetEmptyReply) {
    for (const auto& body : std::vector<std::string>{"nothing", "", "MAC=AABB", "h=1&unknown=1", {"mac\0=x", 6}})
        EXPECT_EQ(ask(body), "") << body;
}

} // namespace
} // namespace devservice
