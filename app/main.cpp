// The station program: builds the platform adapters and hands over to Module1::Main.
#include "app/SystemPorts.h"
#include "core/ProgramVersion.h"
#include "core/StartupTrace.h"
#include "platform/StationConfig.h"
#include "shell/Module1.h"

#include <QApplication>
#include <cstdio>
#include <cstdlib>

int main(int argc, char* argv[]) {
    station::startupMark("main");
    QApplication app(argc, argv);
    station::startupMark("QApplication");
    QApplication::setApplicationName(QString::fromLatin1(station::applicationTitle));

    // The command line as one text, the way the task lines and the "~~" prefix are written.
    std::string commandLine;
    for (int i = 1; i < argc; ++i) {
        if (i > 1)
            commandLine += ' ';
        commandLine += argv[i];
    }

    const auto config = station::StationConfig::fromEnvironment();
    station::SystemPorts system("VORNETerminal", station::applicationTitle);
    station::startupMark("adapters");
    const int code = station::Module1::Main(commandLine, system.ports(), config);
    // A spooler call that was given up on may still be inside the spooler's library on its
    // worker thread, and would run into the toolkit as it is torn down: end here instead.
    if (system.workStillRunning()) {
        std::fflush(nullptr);
        std::_Exit(code);
    }
    return code;
}
