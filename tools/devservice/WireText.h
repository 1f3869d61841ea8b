#pragma once
// The text shapes of the service endpoint: a body is a key and a raw value, replies are fields each
// ended by "|".
#include <string>
#include <string_view>
#include <vector>

namespace devservice {

struct RequestBody {
    std::string key; // ends with "=", or empty when the body has no "="
    std::string value;
};

/// Cuts a body into key and value. The key runs up to and including the first "="; helpdesk
/// requests carry a fixed first field, so a body starting with "h=1&" keeps that field and runs
/// on to the next "=". The value is taken raw: no percent-decoding, no "+" to blank.
RequestBody splitRequestBody(std::string_view body);

/// The fields of `value` that are ended by "|", in order. Text after the last "|" is not a field.
std::vector<std::string> endedFields(std::string_view value);

/// Each field followed by "|".
std::string joinEnded(const std::vector<std::string>& fields);

/// The station identity as the station sends it: every "-" removed.
std::string stripDashes(std::string_view stationId);

/// One line of a listing: tab, carriage return, line feed and backslash written as escapes, so
/// that a record holding line breaks stays on one line.
std::string escapeForLine(std::string_view text);

} // namespace devservice
