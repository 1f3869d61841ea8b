#include "shell/Module1.h"

#include "about/frmSplash.h"
#include "host/frmFileSelection.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/StartMode.h"
#include "shell/frmTerminal.h"

#include <QApplication>
#include <memory>

namespace station::Module1 {

int Main(const std::string& commandLine, Ports& ports, const StationConfig& config) {

    std::unique_ptr<Codec> codec;
    try {
        codec = loadCodec(config.codec, ports.libraries);
    } catch (const CodecLoadError& e) {
        ports.dialogs.message(e.what(), Dialogs::Icon::Critical);
        return 1;
    }
    ServiceClient service(ports.http, *codec, config.serviceUrl);

    if (decideStartMode(commandLine) == StartMode::Task) {
        // The task window does its one job and closes; the main window is never loaded.
        frmFileSelection task(commandLine, ports, config, service);
        task.exec();
        return 0;
    }
    // The station lives in the tray while its window is hidden: closing a child window must
    // not end it.
    QApplication::setQuitOnLastWindowClosed(false);
    // The splash stands while the main window loads its stores and settings from the service.
    auto splash = std::make_unique<frmSplash>();
    splash->show();
    QApplication::processEvents();
    frmTerminal terminal(ports, config, service);
    const bool loaded = terminal.Form_Load();
    splash.reset();
    if (!loaded)
        return 0;
    return QApplication::exec();
}

} // namespace station::Module1
