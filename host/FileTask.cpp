#include "host/FileTask.h"

#include "core/Text.h"
#include "host/CardReading.h"

namespace station {

bool runFileTask(const TaskLine& line, Dialogs& dialogs) {
    if (line.task != 1 && line.task != 2)
        return false;
    const auto filter = line.field(3).empty() ? std::string("All Files | *.*") : line.field(3);
    // The dialogs show user text: the task line's bytes are the Windows code page's.
    const auto start = text::fromWire(line.field(2));
    const auto chosen = line.task == 1 ? dialogs.openFile(start, text::fromWire(filter))
                                       : dialogs.saveFile(start, text::fromWire(filter));
    const std::string end(resultLineEnd);
    return writeResultFile(line.field(1), line.field(0) + end + resultEntry(text::toWire(chosen)) + end);
}

} // namespace station
