// The host line over QTcpSocket. Events are raised the way the station's channel expects them:
// a host that closes a line that was up gives `closed` (never an error), a line that the station
// closes itself gives nothing.
//
// Every event reaches the channel from a queued call, never from inside the socket's own signal.
// Qt does not raise readyRead again while a readyRead slot is still running, so a command that
// opens a message box or prints a report from inside that slot would leave whatever arrives
// meanwhile unread until the host sent more. Here the slot only takes the bytes and returns;
// the channel gets them as soon as pending events run, even in the middle of a command.
//
// Such a delivery inside a command may itself run events and take the next read, and so on; past
// a few levels a read waits for the delivery below it to finish its current event, so that a
// host sending without pause cannot pile up nested calls until the stack runs out.
#include "platform/Adapters.h"

#include <QTcpSocket>
#include <deque>
#include <functional>

namespace station {
namespace {

/// How deep deliveries may nest inside the commands of deliveries below them.
constexpr int maxNesting = 4;

class QtHostSocket final : public HostSocket {
public:
    QtHostSocket() {
        // Qt stops reading from the system when this much waits in its own buffer.
        m_socket.setReadBufferSize(static_cast<qint64>(limits::hostReadAhead));
        QObject::connect(&m_socket, &QTcpSocket::connected, &m_socket, [this] {
            m_up = true;
            m_socket.setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, limits::hostSystemSendBuffer);
            raise([this] {
                if (m_events.connected)
                    m_events.connected();
            });
        });
        QObject::connect(&m_socket, &QTcpSocket::disconnected, &m_socket, [this] {
            if (!m_up || m_closing)
                return;
            m_up = false;
            raise([this] {
                if (m_events.closed)
                    m_events.closed();
            });
        });
        QObject::connect(&m_socket, &QTcpSocket::readyRead, &m_socket, [this] { takeBytes(); });
        QObject::connect(&m_socket, &QTcpSocket::errorOccurred, &m_socket, [this](QAbstractSocket::SocketError e) {
            // The host closing the line is reported as `closed` when the line drops.
            if (e == QAbstractSocket::RemoteHostClosedError || m_closing)
                return;
            reportError(m_socket.errorString().toStdString());
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
        // What the old line still had on its way to the channel belongs to a line that is gone.
        m_pending.clear();
        m_unread.clear();
        m_readRaised = false;
        if (m_socket.state() == QAbstractSocket::UnconnectedState)
            return;
        m_closing = true;
        m_socket.abort();
        m_closing = false;
    }

    bool isConnected() const override { return m_socket.state() == QAbstractSocket::ConnectedState; }

    void send(const std::string& data) override {
        m_socket.write(data.data(), static_cast<qint64>(data.size()));
        // A host that stopped reading would let its answers pile up here without end. What the
        // system takes at once does not count: only what it refuses.
        if (static_cast<std::size_t>(m_socket.bytesToWrite()) <= limits::hostSendBuffer)
            return;
        m_socket.flush();
        if (static_cast<std::size_t>(m_socket.bytesToWrite()) <= limits::hostSendBuffer)
            return;
        m_up = false;
        m_closing = true;
        m_socket.abort();
        m_closing = false;
        reportError("The store host has stopped reading: more than " + std::to_string(limits::hostSendBuffer >> 10) +
                    " KiB wait unsent, so the line was closed.");
    }

    std::string remoteHost() const override { return m_host; }

private:
    /// Takes what the socket holds into the read on its way to the channel, up to the read-ahead.
    void takeBytes() {
        const auto room = static_cast<qint64>(limits::hostReadAhead) - static_cast<qint64>(m_unread.size());
        if (room <= 0)
            return; // the rest waits in the socket until the channel has taken these
        const auto bytes = m_socket.read(room);
        if (bytes.isEmpty())
            return;
        m_unread.append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
        // Bytes that arrive before the channel took the last ones go with them in one read.
        if (m_readRaised)
            return;
        m_readRaised = true;
        raise([this] {
            m_readRaised = false;
            auto data = std::move(m_unread);
            m_unread.clear();
            if (m_events.received)
                m_events.received(data);
        });
    }

    /// Queues one event for the channel, behind those raised before it.
    void raise(std::function<void()> event) {
        m_pending.push_back(std::move(event));
        // The socket is the context: a call still queued when it goes is dropped with it.
        QMetaObject::invokeMethod(
            &m_socket, [this] { deliver(); }, Qt::QueuedConnection);
    }

    void deliver() {
        // Too deep: the delivery below takes these events once its current one returns.
        if (m_depth >= maxNesting)
            return;
        ++m_depth;
        while (!m_pending.empty()) {
            auto event = std::move(m_pending.front());
            m_pending.pop_front();
            event();
            // Bytes held back by the read-ahead raise no new readyRead of their own.
            if (m_socket.bytesAvailable() > 0)
                takeBytes();
        }
        --m_depth;
    }

    void reportError(const std::string& description) {
        raise([this, description] {
            if (m_events.error)
                m_events.error(description);
        });
    }

    QTcpSocket m_socket;
    Events m_events;
    std::string m_host;
    std::deque<std::function<void()>> m_pending; ///< events raised, not yet delivered
    std::string m_unread;                        ///< bytes read, not yet given to the channel
    bool m_readRaised = false;
    int m_depth = 0; ///< deliveries running, each inside a command of the one below
    bool m_up = false;
    bool m_closing = false;
};

} // namespace

std::unique_ptr<HostSocket> makeHostSocket() {
    return std::make_unique<QtHostSocket>();
}

} // namespace station
