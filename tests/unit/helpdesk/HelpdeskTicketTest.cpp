#include "helpdesk/HelpdeskTicket.h"

#include "core/ProgramVersion.h"
#include "service/Codec.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

namespace station {
namespace {

TicketForm complete() {
    return {"Ann Smith", "ann@store.example",     "555-0101",           "Printer jams",
            "It jams.",  "1234567 - Main Street", "3) Urgent (6 hours)"};
}

const std::string nameLine = "Your name is a required field\r\n";
const std::string emailLine = "Email address not formatted correctly\r\n";
const std::string phoneLine = "A Call back phone number is required\r\n";
const std::string subjectLine = "Please supply a short description (50 chars or less) about the problem\r\n";
const std::string problemLine = "A Problem needs to be entered prior to submitting a helpdesk ticket\r\n";
const std::string storeLine = "Please Select a store from the drop down that is having this probelm\r\n";

struct ValidationCase {
    const char* what;
    TicketForm form;
    std::string errors;
};

void PrintTo(const ValidationCase& c, std::ostream* out) {
    *out << c.what;
}

class Validation : public ::testing::TestWithParam<ValidationCase> {};

TEST_P(Validation, ListsEveryFailedCheckInOrder) {
    EXPECT_EQ(validateTicket(GetParam().form), GetParam().errors);
}

TicketForm with(void (*change)(TicketForm&)) {
    auto form = complete();
    change(form);
    return form;
}

INSTANTIATE_TEST_SUITE_P(
    Helpdesk, Validation,
    ::testing::Values(
        ValidationCase{"complete", complete(), ""},
        ValidationCase{"all empty", TicketForm{{}, {}, {}, {}, {}, {}, "1) Not urgent (24 hours)"},
                       nameLine + emailLine + phoneLine + subjectLine + problemLine + storeLine},
        ValidationCase{"blanks only count as empty",
                       TicketForm{"  ", "@", " ", "   ", "  ", " ", "1) Not urgent (24 hours)"},
                       nameLine + phoneLine + subjectLine + problemLine + storeLine},
        ValidationCase{"an at-sign alone passes", with([](TicketForm& f) { f.email = "@"; }), ""},
        ValidationCase{"no at-sign fails alone", with([](TicketForm& f) { f.email = "ann.store.example"; }), emailLine},
        ValidationCase{"long subject accepted", with([](TicketForm& f) { f.subject = std::string(80, 'x'); }), ""}),
    [](const auto& param) {
        std::string name = param.param.what;
        for (auto& c : name)
            if (c == ' ' || c == '-')
                c = '_';
        return name;
    });

TEST(HelpdeskTicket, PriorityCodeComesFromTheItemsFirstCharacter) {
    const std::vector<std::pair<std::string, std::string>> cases{{"1) Not urgent (24 hours)", "24"},
                                                                 {"2) Needs to be looked at (12 hours)", "25"},
                                                                 {"3) Urgent (6 hours)", "26"},
                                                                 {"4) Critical (3 hours)", "27"},
                                                                 {"5) Other", "00"},
                                                                 {"", "00"}};
    for (const auto& [item, code] : cases)
        EXPECT_EQ(priorityCode(item), code) << item;
}

TEST(HelpdeskTicket, RecordHoldsElevenValuesWithStorePiecesAndVersionBlock) {
    auto form = complete();
    form.problem = "It jams & beeps.";
    const std::string problem =
        std::string("3) Urgent (6 hours)") + "\r\nIt jams & beeps.\r\n\r\n--------------\r\nVTERM Version: 2.1.14";
    EXPECT_EQ(ticketRecord(form, "2.1.14"), "ann@store.example|Ann Smith|1|345|7 - |Printer jams|" + problem +
                                                "|555-0101|O|1234567 - Main Street|26|");
}

TEST(HelpdeskTicket, RecordTakesShortStoreTextsAsFarAsTheyGo) {
    auto form = complete();
    form.store = "12";
    form.name = " Ann ";
    const auto record = ticketRecord(form, "1.0.0");
    EXPECT_EQ(record.substr(0, record.find("|Printer")), "ann@store.example| Ann |1||");
}

TEST(HelpdeskTicket, StoreItemsSkipEmptySlots) {
    StoreTable stores;
    stores.at(0).serialNumber = "1234567";
    stores.at(0).storeName = "Main Street";
    stores.at(299).serialNumber = "7654321";
    stores.at(299).storeName = "Harbour";
    stores.at(5).storeName = "no serial";
    EXPECT_EQ(storeItems(stores), (std::vector<std::string>{"1234567 - Main Street", "7654321 - Harbour"}));
}

struct SubmitRig {
    test::FakePorts fake;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://service/terminal2secure.asp"};
    StationState state;
    SubmitRig() { fake.adapters.adapters = {{"eth0", {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}}}; }
    void submit(const TicketForm& form) { submitTicket(form, state, fake.adapters, service, fake.dialogs, fake.yield); }
};

TEST(HelpdeskSubmit, FilesTicketEscapedThenAlertsOnCallAndWriter) {
    SubmitRig rig;
    rig.fake.http.replies = {test::FakeHttp::ok(" 10042 |"), test::FakeHttp::ok("a@x|b@x|"), test::FakeHttp::ok("")};
    auto form = complete();
    form.subject = "Fish & chips";
    rig.submit(form);

    const auto bodies = rig.fake.http.bodies();
    ASSERT_EQ(bodies.size(), 3u);
    EXPECT_EQ(bodies[0].rfind("h=1&hd=ann@store.example|", 0), 0u) << bodies[0];
    EXPECT_NE(bodies[0].find("|Fish &amp; chips|"), std::string::npos) << bodies[0];
    EXPECT_NE(bodies[0].find("VTERM Version: " + programVersion() + "|"), std::string::npos);
    EXPECT_EQ(bodies[1], "h=1&oncall=1");
    EXPECT_EQ(bodies[2], "h=1&alert=a@x|A b@x|A ann@store.example|I ");
    EXPECT_EQ(rig.state.stationId, "00-1A-2B-3C-4D-5E");
    ASSERT_EQ(rig.fake.dialogs.texts(),
              std::vector<std::string>{"Your Helpdesk ticket has been submitted and was assigned ticket # 10042"});
    EXPECT_EQ(rig.fake.dialogs.shown[0].icon, Dialogs::Icon::Information);
    EXPECT_EQ(rig.fake.yield.count, 2) << "events run between on-call entries";
}

TEST(HelpdeskSubmit, NoTicketNumberShowsCriticalMessageAndSendsNothingMore) {
    for (const auto& reply : {test::FakeHttp::failed(), test::FakeHttp::ok("10042"), test::FakeHttp::ok(" |")}) {
        SubmitRig rig;
        rig.fake.http.replies = {reply};
        rig.submit(complete());
        EXPECT_EQ(rig.fake.http.calls.size(), 1u);
        ASSERT_EQ(rig.fake.dialogs.texts(),
                  std::vector<std::string>{"An error occured when submitting your ticket, this could be caused by a "
                                           "internet outage, please try again or call our helpdesk at 800-555-0100"});
        EXPECT_EQ(rig.fake.dialogs.shown[0].icon, Dialogs::Icon::Critical);
    }
}

TEST(HelpdeskSubmit, StationWithoutIdentitySendsAnEmptyRecord) {
    SubmitRig rig;
    rig.fake.adapters.adapters.clear();
    rig.submit(complete());
    ASSERT_FALSE(rig.fake.http.bodies().empty());
    EXPECT_EQ(rig.fake.http.bodies()[0], "h=1&hd=");
}

} // namespace
} // namespace station
