// The cost of one supervision tick of the station with a full store table (300 stores) while 200
// unrelated top-level windows exist on an X server (its own Xvfb), printed as a share of the
// 5000 ms tick interval. Ticks are spaced as in the program, so every tick walks the window tree
// afresh.
#include "platform/Adapters.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/frmTerminal.h"
#include "tests/support/FakePorts.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QTreeWidget>
#include <X11/Xlib.h>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <string>

namespace {

constexpr double intervalSeconds = 5.0;
constexpr int unrelatedWindows = 200;
constexpr int stores = 300;

void BM_SupervisionTick(benchmark::State& state) {
    Display* x = XOpenDisplay(nullptr);
    if (!x) {
        state.SkipWithError("no X display");
        return;
    }
    for (int i = 0; i < unrelatedWindows; ++i) {
        const auto w = XCreateSimpleWindow(x, DefaultRootWindow(x), i, i, 100, 50, 0, 0, 0);
        XStoreName(x, w, ("Unrelated window " + std::to_string(i)).c_str());
        XMapWindow(x, w);
    }
    XSync(x, False);

    station::test::FakePorts fake;
    fake.adapters.adapters = {{"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}};
    fake.http.handler = [](const station::test::FakeHttp::Call& call) {
        return station::test::FakeHttp::ok(call.body.starts_with("mac=") ? station::test::storeListReply(stores) : "");
    };
    auto clientWindows = station::makeClientWindows();
    auto yield = station::makeYield();
    station::Ports ports = station::test::portsOver(fake, {.yield = yield.get(), .clientWindows = clientWindows.get()});
    station::StationConfig config;
    config.serverList = "127.0.0.1";
    config.tickMs = 24 * 3600 * 1000; // the benchmark ticks by itself
    station::IdentityCodec codec;
    station::ServiceClient service(fake.http, codec, "http://svc/terminal2secure.asp");
    station::frmTerminal window(ports, config, service);
    window.Form_Load();
    if (window.ListView1->topLevelItemCount() != stores) {
        state.SkipWithError("store list not filled");
        return;
    }

    double total = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        window.Timer1_Timer();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(took.count());
        total += took.count();
        // Let the window search's cache of one tick run out, as it does between real ticks.
        QThread::msleep(150);
    }
    const auto perTick = total / static_cast<double>(state.iterations());
    state.counters["percent_of_5000ms"] = perTick / intervalSeconds * 100.0;
    std::printf("tick with %d stores and %d other windows: %.2f ms = %.3f %% of the 5000 ms interval\n", stores,
                unrelatedWindows, perTick * 1000.0, perTick / intervalSeconds * 100.0);
    window.Form_Unload();
    XCloseDisplay(x);
}
BENCHMARK(BM_SupervisionTick)->UseManualTime()->Iterations(30)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    // The station's own window stays offscreen; the client windows live on a private Xvfb.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    const auto file = dir.filePath(QStringLiteral("display"));
    QProcess xvfb;
    xvfb.start(QStringLiteral("/bin/sh"),
               {QStringLiteral("-c"), QStringLiteral("exec Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp "
                                                     "-noreset 3>'%1' 2>/dev/null")
                                          .arg(file)});
    QDeadlineTimer deadline(10'000);
    QString display;
    while (display.isEmpty() && !deadline.hasExpired()) {
        QFile f(file);
        if (f.open(QIODevice::ReadOnly))
            display = QString::fromLatin1(f.readAll()).trimmed();
        QThread::msleep(20);
    }
    if (display.isEmpty()) {
        std::fprintf(stderr, "Xvfb did not start\n");
        return 1;
    }
    qputenv("DISPLAY", (QLatin1Char(':') + display).toLocal8Bit());

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    xvfb.terminate();
    xvfb.waitForFinished(5000);
    return 0;
}
