// The station program: builds the platform adapters and hands over to Module1::Main.
#include "platform/Adapters.h"
#include "platform/Ports.h"
#include "platform/StationConfig.h"
#include "shell/Module1.h"
#include "shell/ProgramVersion.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QString::fromLatin1(station::applicationTitle));

    // The command line as one text, the way the task lines and the "~~" prefix are written.
    std::string commandLine;
    for (int i = 1; i < argc; ++i) {
        if (i > 1)
            commandLine += ' ';
        commandLine += argv[i];
    }

    const auto config = station::StationConfig::fromEnvironment();
    auto http = station::makeHttpClient();
    auto adapters = station::makeNetworkAdapters();
    auto single = station::makeSingleInstance("VORNETerminal");
    auto browser = station::makeBrowser();
    auto dialogs = station::makeDialogs(station::applicationTitle);
    auto yield = station::makeYield();
    auto clock = station::makeClock();
    auto clientWindows = station::makeClientWindows();
    auto launcher = station::makeProcessLauncher();
    auto hostSocket = station::makeHostSocket();
    auto spooler = station::makeSpooler();
    auto textPrinter = station::makeTextPrinter();
    station::Ports ports{*http,  *adapters,      *single,   *browser,    *dialogs, *yield,
                         *clock, *clientWindows, *launcher, *hostSocket, *spooler, *textPrinter};
    return station::Module1::Main(commandLine, ports, config);
}
