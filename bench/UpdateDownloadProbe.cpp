// Runs one update check of the station against the service the environment names, with the real
// adapters (off-thread download to disk, the window's waiting loop), and prints how long the
// check took, how many bytes it wrote and how far its resident memory rose. The message box is
// answered at once and the installer is not started. bench/update_vs_curl.sh sets the figures
// against `curl -o` of the same file, measured in the same run.
#include "app/SystemPorts.h"
#include "platform/StationConfig.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/StationController.h"
#include "tests/support/FakePorts.h"
#include "tests/support/FakeStationView.h"

#include <QApplication>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

/// A line of /proc/self/status in kB ("VmRSS", "VmHWM").
long statusKb(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind(key + ":", 0) == 0)
            return std::stol(line.substr(key.size() + 1));
    return -1;
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: update_download_probe PROGRAM_FOLDER\n");
        return 2;
    }
    const auto config = station::StationConfig::fromEnvironment();
    station::SystemPorts system("VORNETerminalUpdateProbe" + std::to_string(getpid()), "probe");
    station::test::FakeDialogs dialogs;
    station::test::FakeProcessLauncher launcher;
    station::Ports ports = system.ports();
    station::Ports probePorts{.http = ports.http,
                              .adapters = ports.adapters,
                              .singleInstance = ports.singleInstance,
                              .browser = ports.browser,
                              .dialogs = dialogs,
                              .yield = ports.yield,
                              .clock = ports.clock,
                              .clientWindows = ports.clientWindows,
                              .processLauncher = launcher,
                              .hostSocket = ports.hostSocket,
                              .spooler = ports.spooler,
                              .textPrinter = ports.textPrinter,
                              .libraries = ports.libraries,
                              .micrReader = ports.micrReader,
                              .ftp = ports.ftp,
                              .registry = ports.registry,
                              .downloader = ports.downloader,
                              .signatures = ports.signatures};
    station::IdentityCodec codec;
    station::ServiceClient service(ports.http, codec, config.serviceUrl);
    station::test::FakeStationView view;
    const std::string folder = std::string(argv[1]) + "/";
    station::StationController controller(probePorts, config, service, view, folder);

    // The peak of the whole resident size comes from the kernel; how much of it was anonymous
    // memory (heap, buffers) rather than pages of mapped files is sampled.
    const long before = statusKb("VmRSS");
    const long anonBefore = statusKb("RssAnon");
    std::atomic<bool> sampling{true};
    std::atomic<long> anonPeak{anonBefore};
    std::thread sampler([&] {
        while (sampling) {
            anonPeak = std::max(anonPeak.load(), statusKb("RssAnon"));
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    const auto start = std::chrono::steady_clock::now();
    controller.tick();
    const auto ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    sampling = false;
    sampler.join();
    std::error_code ec;
    const auto bytes = std::filesystem::file_size(std::filesystem::path(folder) / "_Install" / "Setup.exe", ec);
    std::printf("ms=%.1f bytes=%llu rss_before_kb=%ld rss_peak_kb=%ld anon_growth_kb=%ld started=%zu\n", ms,
                static_cast<unsigned long long>(ec ? 0 : bytes), before, statusKb("VmHWM"), anonPeak - anonBefore,
                launcher.started.size());
    return view.ended ? 0 : 1;
}
