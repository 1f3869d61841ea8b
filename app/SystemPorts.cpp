#include "app/SystemPorts.h"

namespace station {

SystemPorts::SystemPorts(const std::string& singleInstanceName, const std::string& applicationTitle)
    : m_singleInstance(makeSingleInstance(singleInstanceName)),
      m_dialogs(makeDialogs(applicationTitle)), m_ports{m_http,        *m_adapters,      *m_singleInstance,
                                                        *m_browser,    *m_dialogs,       *m_yield,
                                                        *m_clock,      *m_clientWindows, *m_processLauncher,
                                                        *m_hostSocket, m_spooler,        m_textPrinter,
                                                        *m_libraries,  *m_micrReader,    m_ftp,
                                                        *m_registry} {
    m_ports.downloader = &m_downloader;
    m_ports.signatures = m_signatures.get();
}

bool SystemPorts::workStillRunning() const {
    return m_http.running() > 0 || m_spooler.busy() || m_textPrinter.busy() || m_downloader.running() > 0 ||
           m_ftp.running() > 0;
}

} // namespace station
