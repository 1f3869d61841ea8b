#pragma once
#include "platform/Browser.h"
#include "platform/ClientWindows.h"
#include "platform/Clock.h"
#include "platform/Dialogs.h"
#include "platform/FileDownloader.h"
#include "platform/FtpClient.h"
#include "platform/HostSocket.h"
#include "platform/HttpClient.h"
#include "platform/MicrReader.h"
#include "platform/NetworkAdapters.h"
#include "platform/ProcessLauncher.h"
#include "platform/Registry.h"
#include "platform/SharedLibraries.h"
#include "platform/SignatureVerifier.h"
#include "platform/SingleInstance.h"
#include "platform/Spooler.h"
#include "platform/TextPrinter.h"
#include "platform/Yield.h"

namespace station {

/// The outside world as the station's logic and forms see it: one reference per port, each named
/// where a bundle is built (app/SystemPorts from the real adapters, tests from fakes), so that a
/// bundle missing a port does not compile.
struct Ports {
    HttpClient& http;
    NetworkAdapters& adapters;
    SingleInstance& singleInstance;
    Browser& browser;
    Dialogs& dialogs;
    Yield& yield;
    Clock& clock;
    ClientWindows& clientWindows;
    ProcessLauncher& processLauncher;
    HostSocket& hostSocket;
    Spooler& spooler;
    TextPrinter& textPrinter;
    SharedLibraries& libraries;
    MicrReader& micrReader;
    FtpSessions& ftp;
    Registry& registry;
    FileDownloader& downloader;
    SignatureVerifier& signatures;
};

} // namespace station
