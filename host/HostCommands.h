#pragma once
// The store host's command words, as they arrive on the channel: a run of commands, each
// beginning with "/", no framing and no terminator.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

enum class HostCommandKind {
    Display, ///< "/D=": two lines for the pole display
    Request, ///< "/R=": who is this station
    Poll,    ///< "/P=": the station's own keep-alive word echoed back; ignored
    Print,   ///< "/3=": print a report
    Message, ///< "/M=": show a message box
    Other,   ///< anything else; ignored
};

/// The commands of one read: the text cut at every "/", the text before the first "/" dropped.
/// Each view includes its leading "/" and points into `data`.
std::vector<std::string_view> splitCommands(std::string_view data);

/// The command word (first three characters) compared without regard to case.
HostCommandKind commandKind(std::string_view command);

/// The pole display lines of a "/D=" command: the two characters after "/D=" are skipped
/// unread, the rest is cut at "~". No text gives no lines.
std::vector<std::string> displayLines(std::string_view command);

/// Store id (cut to 10 characters) and report name of a "/3=" command.
struct ReportRequest {
    std::string storeId;
    std::string reportName;
};
/// Nothing when the payload has no second field: such a command prints nothing.
std::optional<ReportRequest> reportRequest(std::string_view command);

/// The payload from the fourth character on: the text of "/M=".
std::string_view commandPayload(std::string_view command);

} // namespace station
