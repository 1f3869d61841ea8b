#pragma once
#include "platform/Adapters.h"
#include "platform/OffThread.h"
#include "platform/OffThreadFtpClient.h"

#include <memory>
#include <string>

namespace station {

/// Every real adapter of this platform, owned in one place, and the port bundle over them.
///
/// Ports whose calls wait on a peer (service, reports area, spooler, printer) are the real
/// adapters wrapped so that each call runs off the UI thread while the UI thread waits with the
/// window alive, each within the bounds of platform/Limits.h.
class SystemPorts {
public:
    SystemPorts(const std::string& singleInstanceName, const std::string& applicationTitle);
    SystemPorts(const SystemPorts&) = delete;
    SystemPorts& operator=(const SystemPorts&) = delete;
    Ports& ports() { return m_ports; }

    /// True while a call that was given up on still runs on its worker thread, inside a
    /// library that will not let it go yet. Tearing down the toolkit under it is not safe: the
    /// program then ends without its usual clean-up.
    bool workStillRunning() const;

private:
    std::unique_ptr<Waiter> m_waiter = makeWaiter();
    OffThreadHttpClient m_http{makeHttpClient(),
                               *m_waiter,
                               // The client bounds every transfer itself; these only catch an overrun.
                               {limits::request + limits::overrun, limits::downloadCap + limits::overrun}};
    std::unique_ptr<NetworkAdapters> m_adapters = makeNetworkAdapters();
    std::unique_ptr<SingleInstance> m_singleInstance;
    std::unique_ptr<Browser> m_browser = makeBrowser();
    std::unique_ptr<Dialogs> m_dialogs;
    std::unique_ptr<Yield> m_yield = makeYield();
    std::unique_ptr<Clock> m_clock = makeClock();
    std::unique_ptr<ClientWindows> m_clientWindows = makeClientWindows();
    std::unique_ptr<ProcessLauncher> m_processLauncher = makeProcessLauncher();
    std::unique_ptr<HostSocket> m_hostSocket = makeHostSocket();
    std::shared_ptr<Spooler> m_rawSpooler = makeSpooler();
    OffThreadSpooler m_spooler{m_rawSpooler, *m_waiter, limits::spoolerCall};
    // The toolkit's printer calls cannot tell a spooler that is down from one without printers
    // and cannot be bounded: the spooler adapter, which can, is asked first.
    OffThreadTextPrinter m_textPrinter{makeTextPrinter([spooler = m_rawSpooler] { spooler->printers(); }), *m_waiter,
                                       limits::spoolerCall, limits::printJob};
    std::unique_ptr<SharedLibraries> m_libraries = makeSharedLibraries();
    std::unique_ptr<MicrReader> m_micrReader = makeMicrReader();
    // Program updates: the installer goes to disk off the UI thread, its digest taken there as it
    // arrives; what is left to verify then is a few bytes, checked where it is asked.
    OffThreadFileDownloader m_downloader{makeFileDownloader(), *m_waiter, limits::downloadCap + limits::overrun};
    std::unique_ptr<SignatureVerifier> m_signatures = makeSignatureVerifier();
    // The uploader's sessions bound themselves; these only catch an overrun.
    OffThreadFtpSessions m_ftp{
        makeFtpSessions(), *m_waiter, {limits::ftpCommand + limits::overrun, limits::ftpTransferCap + limits::overrun}};
    std::unique_ptr<Registry> m_registry = makeRegistry();
    Ports m_ports{.http = m_http,
                  .adapters = *m_adapters,
                  .singleInstance = *m_singleInstance,
                  .browser = *m_browser,
                  .dialogs = *m_dialogs,
                  .yield = *m_yield,
                  .clock = *m_clock,
                  .clientWindows = *m_clientWindows,
                  .processLauncher = *m_processLauncher,
                  .hostSocket = *m_hostSocket,
                  .spooler = m_spooler,
                  .textPrinter = m_textPrinter,
                  .libraries = *m_libraries,
                  .micrReader = *m_micrReader,
                  .ftp = m_ftp,
                  .registry = *m_registry,
                  .downloader = m_downloader,
                  .signatures = *m_signatures};
};

} // namespace station
