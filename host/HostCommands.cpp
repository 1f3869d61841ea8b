#include "host/HostCommands.h"

#include "core/Text.h"

namespace station {

std::vector<std::string_view> splitCommands(std::string_view data) {
    std::vector<std::string_view> out;
    auto start = data.find('/');
    while (start != std::string_view::npos) {
        const auto next = data.find('/', start + 1);
        out.push_back(data.substr(start, next == std::string_view::npos ? std::string_view::npos : next - start));
        start = next;
    }
    return out;
}

HostCommandKind commandKind(std::string_view command) {
    if (command.size() < 3 || command[0] != '/' || command[2] != '=')
        return HostCommandKind::Other;
    switch (command[1]) {
    case 'D':
    case 'd':
        return HostCommandKind::Display;
    case 'R':
    case 'r':
        return HostCommandKind::Request;
    case 'P':
    case 'p':
        return HostCommandKind::Poll;
    case '3':
        return HostCommandKind::Print;
    case 'M':
    case 'm':
        return HostCommandKind::Message;
    default:
        return HostCommandKind::Other;
    }
}

std::vector<std::string> displayLines(std::string_view command) {
    return text::split(command.size() > 5 ? command.substr(5) : std::string_view{}, '~');
}

std::optional<ReportRequest> reportRequest(std::string_view command) {
    const auto fields = text::split(commandPayload(command), '|');
    if (fields.size() < 2)
        return std::nullopt;
    return ReportRequest{fields[0].substr(0, 10), fields[1]};
}

std::string_view commandPayload(std::string_view command) {
    return command.size() > 3 ? command.substr(3) : std::string_view{};
}

} // namespace station
