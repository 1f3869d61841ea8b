// The helpdesk window against the reference service: the ticket is filed and its number shown,
// the people on call are alerted.
#include "helpdesk/frmHelpdesk.h"
#include "platform/Adapters.h"
#include "service/Codec.h"
#include "tests/e2e/support/Peers.h"
#include "tests/support/FakePorts.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <gtest/gtest.h>

namespace station {
namespace {

struct Rig {
    explicit Rig(const std::string& serviceUrl) : client(*http, codec, serviceUrl) {
        fake.adapters.adapters = {{"eth0", {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}}};
        state.stores.at(0).serialNumber = "1234567";
        state.stores.at(0).storeName = "Main Street";
    }
    std::unique_ptr<frmHelpdesk> open() {
        auto window = std::make_unique<frmHelpdesk>(state, fake.ports, client);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->show();
        window->txtName->setText(QStringLiteral("Ann Smith"));
        window->txtEmail->setText(QStringLiteral("ann@store.example"));
        window->txtPhone->setText(QStringLiteral("555-0101"));
        window->txtSubject->setText(QStringLiteral("Printer jams"));
        window->txtProblem->setPlainText(QStringLiteral("Paper & toner\nboth fine"));
        window->cmbPriority->setCurrentIndex(3);
        return window;
    }
    std::unique_ptr<HttpClient> http = makeHttpClient();
    test::FakePorts fake;
    IdentityCodec codec;
    ServiceClient client;
    StationState state;
};

TEST(HelpdeskE2E, TicketIsFiledNumberShownAndOnCallAlerted) {
    test::DevService service;
    service.admin(
        {QStringLiteral("set-oncall"), QStringLiteral("first@vorne.example"), QStringLiteral("second@vorne.example")});
    Rig rig(service.serviceUrl().toStdString());
    auto window = rig.open();
    window->cmdSubmit_Click();

    ASSERT_EQ(rig.fake.dialogs.shown.size(), 1u);
    EXPECT_EQ(rig.fake.dialogs.shown[0].text,
              "Your Helpdesk ticket has been submitted and was assigned ticket # 10001");
    EXPECT_EQ(rig.fake.dialogs.shown[0].icon, Dialogs::Icon::Information);
    EXPECT_FALSE(window->isVisible());

    const auto tickets = service.admin({QStringLiteral("tickets")}).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(tickets.size(), 1);
    const auto columns = tickets[0].split(QLatin1Char('\t'));
    ASSERT_EQ(columns.size(), 13);
    EXPECT_EQ(columns[0], QStringLiteral("10001"));
    EXPECT_FALSE(columns[1].isEmpty()) << "the service dates the ticket";
    EXPECT_EQ(columns.mid(2, 6),
              (QStringList{QStringLiteral("ann@store.example"), QStringLiteral("Ann Smith"), QStringLiteral("1"),
                           QStringLiteral("345"), QStringLiteral("7 - "), QStringLiteral("Printer jams")}));
    EXPECT_TRUE(columns[8].startsWith(QStringLiteral("4) Critical (3 hours)\\r\\nPaper & toner\\r\\nboth fine\\r\\n")))
        << columns[8].toStdString();
    EXPECT_EQ(columns.mid(9), (QStringList{QStringLiteral("555-0101"), QStringLiteral("O"),
                                           QStringLiteral("1234567 - Main Street"), QStringLiteral("27")}));
    EXPECT_EQ(service.admin({QStringLiteral("alerts")}),
              QStringLiteral("first@vorne.example|A second@vorne.example|A ann@store.example|I \n"));
}

} // namespace
} // namespace station
