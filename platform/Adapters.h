#pragma once
// Factories of the real adapters. Each backend folder defines the ones it provides; the build
// links the backends of the system it builds for.
#include "platform/Ports.h"

#include <chrono>
#include <memory>
#include <string>

namespace station {

/// Bounds of every HTTP transfer.
struct HttpTimeouts {
    std::chrono::milliseconds connect{10'000};
    std::chrono::milliseconds total{60'000};
    /// Extra trusted CA bundle (PEM); empty uses the system's store. Verification stays on.
    std::string caFile;
};

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
std::unique_ptr<SharedLibraries> makeSharedLibraries();

} // namespace station
