#include "tools/devservice/WireText.h"

namespace devservice {

namespace {
constexpr std::string_view helpdeskPrefix = "h=1&";
}

RequestBody splitRequestBody(std::string_view body) {
    const std::size_t keyStart = body.starts_with(helpdeskPrefix) ? helpdeskPrefix.size() : 0;
    const std::size_t eq = body.find('=', keyStart);
    if (eq == std::string_view::npos)
        return {};
    return {std::string(body.substr(0, eq + 1)), std::string(body.substr(eq + 1))};
}

std::vector<std::string> endedFields(std::string_view value) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (std::size_t bar = value.find('|'); bar != std::string_view::npos; bar = value.find('|', start)) {
        fields.emplace_back(value.substr(start, bar - start));
        start = bar + 1;
    }
    return fields;
}

std::string joinEnded(const std::vector<std::string>& fields) {
    std::string out;
    for (const auto& field : fields) {
        out += field;
        out += '|';
    }
    return out;
}

std::string stripDashes(std::string_view stationId) {
    std::string out;
    for (char c : stationId)
        if (c != '-')
            out += c;
    return out;
}

std::string escapeForLine(std::string_view text) {
    std::string out;
    for (char c : text) {
        switch (c) {
        case '\\':
            out += "\\\\";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\n':
            out += "\\n";
            break;
        default:
            out += c;
        }
    }
    return out;
}

} // namespace devservice
