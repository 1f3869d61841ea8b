// Soak: the host line dropped and redialled many times over (default 1000) with the real socket
// adapter and channel, a host that sends "/R=" and closes the line at once. Prints the open
// descriptors and resident memory before and after, side by side, with their ratio.
//   bench_host_flap [CYCLES]
#include "host/HostChannel.h"
#include "platform/Adapters.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>

namespace {

using namespace station;

class NullView : public ChannelView {
public:
    std::string panelText() const override { return text; }
    void setPanelText(const std::string& t) override { text = t; }
    void setPanelToolTip(const std::string&) override {}
    void showPanel() override {}
    void showPole() override {}
    void setPoleLine(int, const std::string&) override {}
    std::string text;
};

class NoDialogs : public Dialogs {
public:
    Answer message(const std::string&, Icon, Buttons, const std::optional<std::string>&) override { return Answer::Ok; }
    std::string input(const std::string&) override { return {}; }
    std::string openFile(const std::string&, const std::string&) override { return {}; }
    std::string saveFile(const std::string&, const std::string&) override { return {}; }
};

long descriptors() {
    return static_cast<long>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator{}));
}

long residentKiB() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const auto& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int cycles = argc > 1 ? std::atoi(argv[1]) : 1000;

    QTcpServer host;
    if (!host.listen(QHostAddress::LocalHost, 0)) {
        std::fprintf(stderr, "cannot listen\n");
        return 1;
    }
    int lines = 0, answers = 0;
    QObject::connect(&host, &QTcpServer::newConnection, &host, [&] {
        while (auto* line = host.nextPendingConnection()) {
            ++lines;
            QObject::connect(line, &QTcpSocket::readyRead, line, [&, line] {
                if (line->readAll().contains("/L="))
                    ++answers;
                line->disconnectFromHost();
            });
            QObject::connect(line, &QTcpSocket::disconnected, line, &QObject::deleteLater);
            line->write("/R=");
        }
    });

    StationState state;
    state.stationId = "00-11-22-33-44-55";
    state.serverList = {"127.0.0.1"};
    state.channelPort = host.serverPort();
    state.reconnectPending = true;
    auto socket = makeHostSocket();
    auto yield = makeYield();
    NoDialogs dialogs;
    NullView view;
    HostChannel channel(state, *socket, dialogs, *yield, view, [](const std::string&, const std::string&) {});
    channel.attach();

    // The supervision tick, much faster than the station's.
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, &tick, [&] { channel.redialStep(); });
    tick.start(1);

    const auto runUntilLines = [&](int count) {
        while (lines < count)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    };
    // Warm up: the first lines load what stays loaded.
    runUntilLines(20);
    const long fdBefore = descriptors(), rssBefore = residentKiB();
    QElapsedTimer clock;
    clock.start();
    runUntilLines(20 + cycles);
    const double seconds = static_cast<double>(clock.elapsed()) / 1000.0;
    tick.stop();
    for (int i = 0; i < 50; ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    const long fdAfter = descriptors(), rssAfter = residentKiB();

    std::printf("%d line drops in %.1f s, %d answered before the drop\n", cycles, seconds, answers);
    std::printf("%-22s %10s %10s %8s\n", "", "before", "after", "ratio");
    std::printf("%-22s %10ld %10ld %8.2f\n", "open descriptors", fdBefore, fdAfter,
                static_cast<double>(fdAfter) / static_cast<double>(fdBefore));
    std::printf("%-22s %10ld %10ld %8.2f\n", "resident memory (KiB)", rssBefore, rssAfter,
                static_cast<double>(rssAfter) / static_cast<double>(rssBefore));
    return 0;
}
