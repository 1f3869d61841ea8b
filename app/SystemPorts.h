#pragma once
#include "platform/Adapters.h"

#include <memory>
#include <string>

namespace station {

/// Every real adapter of this platform, owned in one place, and the port bundle over them.
class SystemPorts {
public:
    SystemPorts(const std::string& singleInstanceName, const std::string& applicationTitle);
    SystemPorts(const SystemPorts&) = delete;
    SystemPorts& operator=(const SystemPorts&) = delete;
    Ports& ports() { return m_ports; }

private:
    std::unique_ptr<HttpClient> m_http = makeHttpClient();
    std::unique_ptr<NetworkAdapters> m_adapters = makeNetworkAdapters();
    std::unique_ptr<SingleInstance> m_singleInstance;
    std::unique_ptr<Browser> m_browser = makeBrowser();
    std::unique_ptr<Dialogs> m_dialogs;
    std::unique_ptr<Yield> m_yield = makeYield();
    std::unique_ptr<Clock> m_clock = makeClock();
    std::unique_ptr<ClientWindows> m_clientWindows = makeClientWindows();
    std::unique_ptr<ProcessLauncher> m_processLauncher = makeProcessLauncher();
    std::unique_ptr<HostSocket> m_hostSocket = makeHostSocket();
    std::unique_ptr<Spooler> m_spooler = makeSpooler();
    std::unique_ptr<TextPrinter> m_textPrinter = makeTextPrinter();
    std::unique_ptr<SharedLibraries> m_libraries = makeSharedLibraries();
    Ports m_ports;
};

} // namespace station
