#pragma once
// Factories of the real adapters. Each backend folder defines the ones it provides; the build
// links the backends of the system it builds for.
#include "platform/Limits.h"
#include "platform/Ports.h"
#include "platform/Waiter.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace station {

/// Bounds of every HTTP transfer; the defaults are the station's (platform/Limits.h). Tests
/// pass shorter ones.
struct HttpLimits {
    std::chrono::milliseconds connect = limits::connect;
    /// A whole POST, from dialling to the last byte of the reply.
    std::chrono::milliseconds request = limits::request;
    /// Extra trusted CA bundle (PEM); empty uses the system's store. Verification stays on.
    std::string caFile;
    /// A GET ends when no byte has moved for this long...
    std::chrono::milliseconds stall = limits::stall;
    /// ...or, making progress all the while, after this long.
    std::chrono::milliseconds downloadCap = limits::downloadCap;
    std::size_t maxReply = limits::maxReply;
    std::size_t maxDownload = limits::maxDownload;
};

std::unique_ptr<HttpClient> makeHttpClient(HttpLimits limits = {});
/// Downloads to disk with the connect, stall and cap bounds of `limits` and at most `maxBytes`.
std::unique_ptr<FileDownloader> makeFileDownloader(HttpLimits limits = {},
                                                   std::uint64_t maxBytes = limits::maxInstaller);
std::unique_ptr<SignatureVerifier> makeSignatureVerifier();
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
/// `spoolerCheck`, when given, runs before every call that reaches the spooler and throws
/// SpoolerUnavailable when it cannot be asked: the toolkit's own printer calls cannot tell a
/// spooler that is down from one without printers, and cannot be bounded in time.
std::unique_ptr<TextPrinter> makeTextPrinter(std::function<void()> spoolerCheck = {});
/// Waits that keep the window alive (platform/Waiter.h).
std::unique_ptr<Waiter> makeWaiter();
std::unique_ptr<SharedLibraries> makeSharedLibraries();
/// The card and check reader on a serial port (Qt SerialPort).
std::unique_ptr<MicrReader> makeMicrReader();

/// Bounds of every FTP session; the defaults are the station's (platform/Limits.h). Tests pass
/// shorter ones.
struct FtpLimits {
    std::chrono::milliseconds connect = limits::connect;
    std::chrono::milliseconds response = limits::ftpResponse;
    std::chrono::milliseconds stall = limits::ftpStall;
    std::chrono::milliseconds transferCap = limits::ftpTransferCap;
    /// Extra trusted CA bundle (PEM) for servers that offer TLS; empty uses the system's store.
    std::string caFile;
};
std::unique_ptr<FtpSessions> makeFtpSessions(FtpLimits limits = {});
std::unique_ptr<Registry> makeRegistry();

} // namespace station
