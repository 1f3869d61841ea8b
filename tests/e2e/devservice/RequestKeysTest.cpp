// The reference service answers each request key the station sends, as the station reads it.
// The station's own end-to-end tests go through this service over HTTP; this table only makes
// sure that each key is wired to its handler and answers in its shape.
#include "tools/devservice/DemoData.h"
#include "tools/devservice/Handlers.h"

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <regex>

namespace devservice {
namespace {

struct KeyCase {
    const char* name;
    std::vector<std::string> before; ///< bodies asked first
    std::string body;
    std::string reply; ///< a regular expression the whole reply matches
    std::function<bool(Database&)> recorded = [](Database&) { return true; };
};

class RequestKey : public testing::TestWithParam<KeyCase> {
protected:
    RequestKey() : db(folder.file("service.db")), handlers(db) { seedReferenceRows(db); }

    test::TempFolder folder;
    Database db;
    Handlers handlers;
};

TEST_P(RequestKey, AnswersInItsShapeAndKeepsWhatItWasSent) {
    const auto& p = GetParam();
    db.setShutDown("STORE02", true);
    db.setUpdateBase("AABB", "http://upd.test/rdp/");
    for (const auto& body : p.before)
        handlers.reply(std::string_view(body));
    const auto reply = handlers.reply(std::string_view(p.body));
    EXPECT_TRUE(std::regex_match(reply, std::regex(p.reply))) << reply;
    EXPECT_TRUE(p.recorded(db));
}

const std::string settings = "A&amp;B|L1|P1|MICRImage|COM2|srv|";

INSTANTIATE_TEST_SUITE_P(
    Table, RequestKey,
    testing::Values(
        // Four demo stores of eleven fields each, every field ended by a bar.
        KeyCase{"mac", {}, "mac=001A2B3C4D5E", R"((001A2B3C4D5E\|[0-9]{10}\|([^|]*\|){9}){4})"},
        KeyCase{"updlast",
                {},
                "updlast=2.1.14|AABB|",
                "",
                [](Database& db) { return db.versions().size() == 1 && db.versions()[0][1] == "2.1.14"; }},
        KeyCase{"prt_none", {}, "prt=AABB", "none"}, KeyCase{"prtadd", {"prtadd=AABB"}, "prt=AABB", R"(\|{6})"},
        KeyCase{"prtupt", {"prtupt=" + settings + "AABB|"}, "prt=AABB", R"(A&amp;B\|L1\|P1\|MICRImage\|COM2\|srv\|)"},
        KeyCase{"store", {}, "store=1234500001", R"(STORE02\|)"},
        KeyCase{"upd1", {}, "upd1=AABB", R"(x\|http://upd\.test/rdp/\|)"},
        KeyCase{"report", {}, "report=dai", R"(Arial\|12\|P\|x)"},
        KeyCase{"hd",
                {},
                "h=1&hd=me@x|Ann|1|234|5000|Till|a|b|555|O|STORE01|26|",
                R"(10001\|)",
                [](Database& db) { return db.tickets().size() == 1 && db.tickets()[0].fields.problem == "a|b"; }},
        KeyCase{"oncall", {}, "h=1&oncall=1", R"(oncall1@vorne\.example\|oncall2@vorne\.example\|)"},
        KeyCase{"alert",
                {},
                "h=1&alert=oncall1@vorne.example|A| |",
                "",
                [](Database& db) { return db.alerts().size() == 1; }},
        KeyCase{"getupload_none", {}, "getupload=AABB|", "65535"},
        KeyCase{"insertupload", {"insertupload=AABB|C:\\out|"}, "getupload=AABB|", R"(C:\\out\|[0-9]+\|)"},
        KeyCase{"setupload",
                {"insertupload=AABB|C:\\out|", "setupload=AABB|D:\\in|"},
                "getupload=AABB|",
                R"(D:\\in\|[0-9]+\|)"},
        KeyCase{"unknown", {}, "MAC=AABB", ""}),
    [](const auto& p) { return std::string(p.param.name); });

} // namespace
} // namespace devservice
