#pragma once
// What the helpdesk window decides: the store and urgency items it offers, the checks a ticket
// must pass, the record the service files and the alert that tells the people on call.
#include "core/StationState.h"
#include "platform/Dialogs.h"
#include "platform/NetworkAdapters.h"
#include "platform/Yield.h"
#include "service/ServiceClient.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// The urgency items in list order; the first is preselected.
inline constexpr std::array<const char*, 4> urgencyItems{
    "1) Not urgent (24 hours)",
    "2) Needs to be looked at (12 hours)",
    "3) Urgent (6 hours)",
    "4) Critical (3 hours)",
};

/// The helpdesk's code for an urgency item, from its first character: "1" to "4" give "24" to
/// "27", anything else "00".
std::string priorityCode(std::string_view urgencyItem);

/// One item per store-list slot whose serial number is not empty: serial " - " store name.
std::vector<std::string> storeItems(const StoreTable& stores);

/// The window's fields as typed (UTF-8 from the controls is encoded for the wire by the caller).
struct TicketForm {
    std::string name;
    std::string email;
    std::string phone;
    std::string subject;
    std::string problem;
    std::string store;   ///< the chosen store item, empty when none
    std::string urgency; ///< the chosen urgency item
};

/// Every failed check's message followed by CR LF, in the order the window checks them; empty
/// when the ticket may be submitted.
std::string validateTicket(const TicketForm& form);

/// The eleven values the service files as a ticket, each followed by "|", untrimmed.
std::string ticketRecord(const TicketForm& form, std::string_view version);

/// The alert text: one item per person on call (marker "A") and one for the person who wrote the
/// ticket (marker "I"), each "entry|marker ".
std::string alertText(const std::vector<std::string>& onCall, std::string_view email);

inline constexpr const char* ticketFailedText =
    "An error occured when submitting your ticket, this could be caused by a internet outage, please try again "
    "or call our helpdesk at 800-555-0100";
inline constexpr const char* ticketSubmittedText = "Your Helpdesk ticket has been submitted and was assigned ticket # ";

/// Submits a validated ticket: files the record, tells the people on call and shows the outcome.
/// The window closes afterwards whatever became of it.
void submitTicket(const TicketForm& form, StationState& state, NetworkAdapters& adapters, const ServiceClient& service,
                  Dialogs& dialogs, Yield& yield);

} // namespace station
