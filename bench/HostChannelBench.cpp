// Host channel figures: the "/R=" → "/L=" round trip on loopback as a ratio to a raw TCP echo
// measured side by side, and the parse-and-dispatch rate of short commands.
#include "host/HostChannel.h"
#include "platform/Adapters.h"

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>
#include <benchmark/benchmark.h>
#include <chrono>

namespace {

using namespace station;

class NullView : public ChannelView {
public:
    std::string panelText() const override { return text; }
    void setPanelText(const std::string&) override {}
    void setPanelToolTip(const std::string&) override {}
    void showPanel() override {}
    void showPole() override {}
    void setPoleLine(int, const std::string&) override {}
    std::string text = "Open 127.0.0.1";
};

class NullPorts : public Dialogs, public Yield, public HostSocket {
public:
    Answer message(const std::string&, Icon, Buttons, const std::optional<std::string>&) override { return Answer::Ok; }
    std::string input(const std::string&) override { return {}; }
    std::string openFile(const std::string&, const std::string&) override { return {}; }
    std::string saveFile(const std::string&, const std::string&) override { return {}; }
    void yield() override {}
    void pause(std::chrono::milliseconds) override {}
    void setEvents(Events) override {}
    void connectTo(const std::string&, std::uint16_t) override {}
    void close() override {}
    bool isConnected() const override { return true; }
    void send(const std::string& data) override { sent += data.size(); }
    std::string remoteHost() const override { return "127.0.0.1"; }
    std::size_t sent = 0;
};

void BM_ParseAndDispatch(benchmark::State& state) {
    StationState station;
    station.stationId = "00-11-22-33-44-55";
    station.settings.open();
    station.settings.addRow();
    NullPorts ports;
    NullView view;
    HostChannel channel(station, ports, ports, ports, view, [](const std::string&, const std::string&) {});
    std::string read;
    const int repeats = 256;
    for (int i = 0; i < repeats; ++i)
        read += "/P=/R=/D=12a~b/X=";
    for (auto _ : state) {
        channel.received(read);
        benchmark::DoNotOptimize(ports.sent);
    }
    state.SetItemsProcessed(state.iterations() * repeats * 4);
}
BENCHMARK(BM_ParseAndDispatch);

template <typename Done> void pumpUntil(Done done) {
    while (!done())
        QCoreApplication::processEvents(QEventLoop::AllEvents);
}

/// Both round trips over loopback in the same run: the host's "/R=" answered by the station's
/// channel, and three bytes echoed by a bare socket.
void BM_RoundTripRatio(benchmark::State& state) {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);

    // Station side: the real socket adapter and channel logic.
    StationState station;
    station.stationId = "00-11-22-33-44-55";
    station.serverList = {"127.0.0.1"};
    station.channelPort = server.serverPort();
    station.reconnectPending = true;
    station.settings.open();
    auto socket = makeHostSocket();
    auto yield = makeYield();
    NullPorts quiet;
    NullView view;
    HostChannel channel(station, *socket, quiet, *yield, view, [](const std::string&, const std::string&) {});
    channel.attach();
    channel.redialStep();
    pumpUntil([&] { return server.hasPendingConnections(); });
    QTcpSocket* toStation = server.nextPendingConnection();
    pumpUntil([&] { return socket->isConnected(); });

    // Echo side: a bare socket pair that sends back what it reads.
    QTcpSocket echoClient;
    echoClient.connectToHost(QHostAddress::LocalHost, server.serverPort());
    pumpUntil([&] { return server.hasPendingConnections(); });
    QTcpSocket* echo = server.nextPendingConnection();
    QObject::connect(echo, &QTcpSocket::readyRead, echo, [echo] { echo->write(echo->readAll()); });
    pumpUntil([&] { return echoClient.state() == QAbstractSocket::ConnectedState; });

    const qint64 answer = 3 + static_cast<qint64>(station.stationId.size());
    double stationNs = 0, echoNs = 0;
    using Clock = std::chrono::steady_clock;
    for (auto _ : state) {
        auto t0 = Clock::now();
        toStation->write("/R=");
        pumpUntil([&] { return toStation->bytesAvailable() >= answer; });
        toStation->readAll();
        auto t1 = Clock::now();
        echoClient.write("/R=");
        pumpUntil([&] { return echoClient.bytesAvailable() >= 3; });
        echoClient.readAll();
        auto t2 = Clock::now();
        stationNs += std::chrono::duration<double, std::nano>(t1 - t0).count();
        echoNs += std::chrono::duration<double, std::nano>(t2 - t1).count();
    }
    const auto n = static_cast<double>(state.iterations());
    state.counters["station_us"] = stationNs / n / 1000;
    state.counters["echo_us"] = echoNs / n / 1000;
    state.counters["ratio"] = stationNs / echoNs;
}
BENCHMARK(BM_RoundTripRatio)->Iterations(2000);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
