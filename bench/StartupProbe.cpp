// Starts either the station's main window (against the service the environment names) or a
// minimal Qt window, waits until it is shown, prints its resident memory and exits. Timing is done
// from outside, by bench/startup_ratio.sh, so process start-up counts too.
#include "app/SystemPorts.h"
#include "core/StationIdentity.h"
#include "platform/StationConfig.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/frmTerminal.h"

#include <QApplication>
#include <QMainWindow>
#include <QTest>
#include <QTreeWidget>
#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

long residentKb() {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

int runStation() {
    const auto config = station::StationConfig::fromEnvironment();
    station::SystemPorts system("VORNETerminalStartupProbe" + std::to_string(getpid()), "probe");
    auto& ports = system.ports();
    station::IdentityCodec codec;
    station::ServiceClient service(ports.http, codec, config.serviceUrl);
    station::frmTerminal window(ports, config, service);
    if (!window.Form_Load() || !QTest::qWaitForWindowExposed(&window))
        return 1;
    QApplication::processEvents();
    std::printf("rows=%d rss_kb=%ld\n", window.ListView1->topLevelItemCount(), residentKb());
    return 0;
}

int runMinimal() {
    QMainWindow window;
    auto* list = new QTreeWidget(&window);
    window.setCentralWidget(list);
    window.show();
    if (!QTest::qWaitForWindowExposed(&window))
        return 1;
    QApplication::processEvents();
    std::printf("rows=0 rss_kb=%ld\n", residentKb());
    return 0;
}

// The identity the station sends, so a script can give the reference service its settings row.
int printIdentity() {
    std::printf("%s\n", station::stripDashes(station::stationIdentity(station::makeNetworkAdapters()->list())).c_str());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "station")
        return runStation();
    if (mode == "minimal")
        return runMinimal();
    if (mode == "identity")
        return printIdentity();
    std::fprintf(stderr, "usage: startup_probe station|minimal|identity\n");
    return 2;
}
