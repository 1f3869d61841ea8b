// The main window's host command channel: the line to the store host, its redial and the
// commands the host sends.
#include "shell/frmTerminal.h"

namespace station {

void frmTerminal::sendWinsock(const std::string&) {}

void frmTerminal::redialStep() {}

} // namespace station
