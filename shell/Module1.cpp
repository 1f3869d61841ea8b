#include "shell/Module1.h"

#include "about/frmSplash.h"
#include "core/StartupTrace.h"
#include "host/frmFileSelection.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/StartMode.h"
#include "shell/frmTerminal.h"

#include <QApplication>
#include <QEvent>
#include <memory>

namespace station::Module1 {
namespace {

/// Puts the main window's first paint into the start-up trace.
class FirstPaint : public QObject {
public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            startupMark("first paint with the stores");
        }
        return false;
    }
};

} // namespace

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
    startupMark("splash");
    frmTerminal terminal(ports, config, service);
    startupMark("main window built");
    const bool loaded = terminal.Form_Load();
    splash.reset();
    if (!loaded)
        return 0;
    FirstPaint firstPaint;
    terminal.installEventFilter(&firstPaint);
    return QApplication::exec();
}

} // namespace station::Module1
