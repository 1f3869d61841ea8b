// The host line over QTcpSocket. Events are raised the way the station's channel expects them:
// a host that closes a line that was up gives `closed` (never an error), a line that the station
// closes itself gives nothing.
#include "platform/Adapters.h"

#include <QTcpSocket>

namespace station {
namespace {

class QtHostSocket final : public HostSocket {
public:
    QtHostSocket() {
        QObject::connect(&m_socket, &QTcpSocket::connected, &m_socket, [this] {
            m_up = true;
            if (m_events.connected)
                m_events.connected();
        });
        QObject::connect(&m_socket, &QTcpSocket::disconnected, &m_socket, [this] {
            if (!m_up || m_closing)
                return;
            m_up = false;
            if (m_events.closed)
                m_events.closed();
        });
        QObject::connect(&m_socket, &QTcpSocket::readyRead, &m_socket, [this] {
            const auto bytes = m_socket.readAll();
            if (!bytes.isEmpty() && m_events.received)
                m_events.received(std::string(bytes.constData(), static_cast<std::size_t>(bytes.size())));
        });
        QObject::connect(&m_socket, &QTcpSocket::errorOccurred, &m_socket, [this](QAbstractSocket::SocketError e) {
            // The host closing the line is reported as `closed` when the line drops.
            if (e == QAbstractSocket::RemoteHostClosedError || m_closing)
                return;
            if (m_events.error)
                m_events.error(m_socket.errorString().toStdString());
        });
    }

    ~QtHostSocket() override {
        // The owner of the events may be gone already: a line torn down here reports nothing.
        QObject::disconnect(&m_socket, nullptr, nullptr, nullptr);
        m_socket.abort();
    }
    QtHostSocket(const QtHostSocket&) = delete;
    QtHostSocket& operator=(const QtHostSocket&) = delete;

    void setEvents(Events events) override { m_events = std::move(events); }

    void connectTo(const std::string& host, std::uint16_t port) override {
        close();
        m_host = host;
        m_socket.connectToHost(QString::fromStdString(host), port);
    }

    void close() override {
        m_up = false;
        if (m_socket.state() == QAbstractSocket::UnconnectedState)
            return;
        m_closing = true;
        m_socket.abort();
        m_closing = false;
    }

    bool isConnected() const override { return m_socket.state() == QAbstractSocket::ConnectedState; }

    void send(const std::string& data) override { m_socket.write(data.data(), static_cast<qint64>(data.size())); }

    std::string remoteHost() const override { return m_host; }

private:
    QTcpSocket m_socket;
    Events m_events;
    std::string m_host;
    bool m_up = false;
    bool m_closing = false;
};

} // namespace

std::unique_ptr<HostSocket> makeHostSocket() {
    return std::make_unique<QtHostSocket>();
}

} // namespace station
