#pragma once
#include "platform/Browser.h"
#include "platform/ClientWindows.h"
#include "platform/Clock.h"
#include "platform/Dialogs.h"
#include "platform/HostSocket.h"
#include "platform/HttpClient.h"
#include "platform/NetworkAdapters.h"
#include "platform/Ports.h"
#include "platform/ProcessLauncher.h"
#include "platform/SingleInstance.h"
#include "platform/Spooler.h"
#include "platform/TextPrinter.h"
#include "platform/Yield.h"

#include <chrono>
#include <memory>
#include <string>

class QWidget;

namespace station {

/// Bounds of every HTTP transfer.
struct HttpTimeouts {
    std::chrono::milliseconds connect{10'000};
    std::chrono::milliseconds total{60'000};
    /// Extra trusted CA bundle (PEM); empty uses the system's store. Verification stays on.
    std::string caFile;
};

// Factories of the real adapters of this platform (chosen at build time).
std::unique_ptr<HttpClient> makeHttpClient(HttpTimeouts timeouts = {});
std::unique_ptr<NetworkAdapters> makeNetworkAdapters();
/// `name` tells programs apart; one guard per user session.
std::unique_ptr<SingleInstance> makeSingleInstance(const std::string& name);
std::unique_ptr<Browser> makeBrowser();
std::unique_ptr<Dialogs> makeDialogs(const std::string& applicationTitle);
std::unique_ptr<Yield> makeYield();
std::unique_ptr<Clock> makeClock();
std::unique_ptr<ClientWindows> makeClientWindows();
std::unique_ptr<ProcessLauncher> makeProcessLauncher();
std::unique_ptr<HostSocket> makeHostSocket();
std::unique_ptr<Spooler> makeSpooler();
std::unique_ptr<TextPrinter> makeTextPrinter();

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
    Ports m_ports;
};

} // namespace station
