#include "app/SystemPorts.h"

namespace station {

SystemPorts::SystemPorts(const std::string& singleInstanceName, const std::string& applicationTitle)
    : m_singleInstance(makeSingleInstance(singleInstanceName)), m_dialogs(makeDialogs(applicationTitle)) {}

bool SystemPorts::workStillRunning() const {
    return m_http.running() > 0 || m_spooler.busy() || m_textPrinter.busy() || m_downloader.running() > 0 ||
           m_ftp.running() > 0;
}

} // namespace station
