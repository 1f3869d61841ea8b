#include "helpdesk/HelpdeskTicket.h"

#include "core/ProgramVersion.h"
#include "core/StationIdentity.h"
#include "core/Text.h"

namespace station {

namespace {

constexpr std::string_view crlf = "\r\n";

/// `count` characters from the 1-based position `from`, as far as the text goes.
std::string_view middle(std::string_view text, std::size_t from, std::size_t count) {
    if (from - 1 >= text.size())
        return {};
    return text.substr(from - 1, count);
}

} // namespace

std::string priorityCode(std::string_view urgencyItem) {
    if (urgencyItem.empty())
        return "00";
    switch (urgencyItem.front()) {
    case '1':
        return "24";
    case '2':
        return "25";
    case '3':
        return "26";
    case '4':
        return "27";
    default:
        return "00";
    }
}

std::vector<std::string> storeItems(const StoreTable& stores) {
    std::vector<std::string> out;
    for (std::size_t i = 0; i < StoreTable::capacity; ++i) {
        const auto& entry = stores.at(i);
        if (!entry.serialNumber.empty())
            out.push_back(entry.serialNumber + " - " + entry.storeName);
    }
    return out;
}

std::string validateTicket(const TicketForm& form) {
    std::string errors;
    const auto check = [&](bool failed, std::string_view message) {
        if (failed)
            errors.append(message).append(crlf);
    };
    check(text::trim(form.name).empty(), "Your name is a required field");
    check(form.email.find('@') == std::string::npos, "Email address not formatted correctly");
    check(text::trim(form.phone).empty(), "A Call back phone number is required");
    check(text::trim(form.subject).empty(), "Please supply a short description (50 chars or less) about the problem");
    check(text::trim(form.problem).empty(), "A Problem needs to be entered prior to submitting a helpdesk ticket");
    check(text::trim(form.store).empty(), "Please Select a store from the drop down that is having this probelm");
    return errors;
}

std::string ticketRecord(const TicketForm& form, std::string_view version) {
    // The helpdesk reads urgency and program version from the problem text itself.
    std::string problem = form.urgency;
    problem.append(crlf).append(form.problem).append(crlf).append(crlf);
    problem.append("--------------").append(crlf).append("VTERM Version: ").append(version);

    const std::string_view store = form.store;
    const std::string code = priorityCode(form.urgency);
    std::string record;
    for (const std::string_view value :
         {std::string_view(form.email), std::string_view(form.name), middle(store, 1, 1), middle(store, 3, 3),
          middle(store, 7, 4), std::string_view(form.subject), std::string_view(problem), std::string_view(form.phone),
          std::string_view("O"), store, std::string_view(code)})
        record.append(value).append("|");
    return record;
}

std::string alertText(const std::vector<std::string>& onCall, std::string_view email) {
    std::string out;
    for (const auto& entry : onCall)
        if (!entry.empty())
            out.append(entry).append("|A ");
    out.append(email).append("|I ");
    return out;
}

void submitTicket(const TicketForm& form, StationState& state, NetworkAdapters& adapters, const ServiceClient& service,
                  Dialogs& dialogs, Yield& yield) {
    state.stationId = stationIdentity(adapters.list());
    // A station that cannot name itself files an empty record: the service answers it without a
    // number and the person is told to try again.
    const std::string record =
        text::trim(state.stationId).empty() ? std::string() : ticketRecord(form, programVersion());
    const std::string number = service.submitTicket(record);
    if (number.empty()) {
        dialogs.message(ticketFailedText, Dialogs::Icon::Critical);
        return;
    }
    std::vector<std::string> onCall;
    for (auto& entry : service.onCallList()) {
        onCall.push_back(std::move(entry));
        yield.yield();
    }
    const std::string alert = alertText(onCall, form.email);
    if (!text::trim(alert).empty())
        service.sendAlert(alert);
    dialogs.message(ticketSubmittedText + number, Dialogs::Icon::Information);
}

} // namespace station
