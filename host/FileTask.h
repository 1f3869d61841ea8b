#pragma once
// Tasks 1 and 2: the caller has the user pick a file. Task line: field 0 the task (1 a file to
// open, 2 a file name to save under), field 1 the result file, field 2 the folder (task 1) or
// the suggested file name (task 2), field 3 the filter ("Description | *.ext" pairs); fields 2
// and 3 may be left out. The result file has the same layout as a card read: the task number
// line, then the chosen path as one entry (five-digit length, then the path; "00000" when the
// dialog was cancelled). Lines end in CR LF.
#include "host/TaskLine.h"
#include "platform/Dialogs.h"

namespace station {

/// True when the line names task 1 or 2 and its result file was written.
bool runFileTask(const TaskLine& line, Dialogs& dialogs);

} // namespace station
