#pragma once
// Task mode: the program is started with a task line, does the one job it names and ends.
#include "host/DocumentPrinting.h"

#include <string>
#include <string_view>
#include <vector>

namespace station {

struct TaskLine {
    int task = 0;                    ///< field 0 read as a number; 0 when it is none
    std::vector<std::string> fields; ///< all fields, field 0 included

    /// Field `index`, empty when the line has fewer fields.
    std::string field(std::size_t index) const { return index < fields.size() ? fields[index] : std::string(); }
};

/// Splits the command line on ",".
TaskLine parseTaskLine(std::string_view commandLine);

/// The print task a task number names, if it is one.
std::optional<DocumentKind> printTaskKind(int task);

/// Runs print task 5, 6 or 7: field 1 is the store id, field 2 the document name; the printer
/// comes from the service's printer reply for `stationId`. A fault on the way is shown with its
/// number. False when the line names no print task.
bool runPrintTask(const TaskLine& line, DocumentPrinting& printing, const ServiceClient& service,
                  const std::string& stationId, Dialogs& dialogs);

} // namespace station
