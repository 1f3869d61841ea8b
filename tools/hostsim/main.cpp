// hostsim: a store host for tests and the demo. It listens for the station's command channel,
// sends host commands from a script (or standard input, line by line) and logs every byte the
// station sends back, with a timestamp.
//
//   hostsim [--bind ADDRESS] [--port N] [--script FILE] [--log FILE]
//
// Defaults: 127.0.0.1, port 47000, commands from standard input, log to standard error.
// Prints "listening on ADDRESS:PORT" once it listens. Script lines:
//   send TEXT          send TEXT to the newest station line (escapes: \xNN \n \r \t \f \\);
//                      waits up to 10 s for a station to connect first
//   sendclose TEXT     send TEXT and close the line at once
//   sleep MS           pause, still logging what arrives
//   wait [MS]          wait for a station to be connected (default 10000)
//   expect TEXT [MS]   wait until the bytes received so far hold TEXT (default 10000)
//   close              close every station line
//   refuse             stop listening: dials are refused
//   listen             listen again
//   flap N [MS]        N times: wait for a station to be connected (up to MS, default 30000) and
//                      close its line at once
//   quit               end
// Lines starting with "#" and empty lines are skipped. At the end of the script hostsim keeps
// serving and logging until it is stopped or reads "quit".
#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QHostAddress>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <atomic>
#include <cctype>
#include <cstdio>
#include <deque>
#include <fstream>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string escapeBytes(const QByteArray& bytes) {
    static constexpr char hex[] = "0123456789abcdef";
    std::string out;
    for (const char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (b == '\\') {
            out += "\\\\";
        } else if (b >= 0x20 && b < 0x7f) {
            out += c;
        } else {
            out += "\\x";
            out += hex[b >> 4];
            out += hex[b & 0xF];
        }
    }
    return out;
}

QByteArray unescape(const std::string& text) {
    QByteArray out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c != '\\' || i + 1 >= text.size()) {
            out += c;
            continue;
        }
        const char n = text[++i];
        switch (n) {
        case 'n':
            out += '\n';
            break;
        case 'r':
            out += '\r';
            break;
        case 't':
            out += '\t';
            break;
        case 'f':
            out += '\f';
            break;
        case 'x':
            if (i + 2 < text.size() && std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
                std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
                out += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
                i += 2;
            } else {
                out += "\\x";
            }
            break;
        default:
            out += n;
        }
    }
    return out;
}

class Host : public QObject {
public:
    Host(QHostAddress address, quint16 port, std::ostream& log) : m_address(address), m_port(port), m_log(log) {
        QObject::connect(&m_server, &QTcpServer::newConnection, this, [this] { accept(); });
    }

    ~Host() override {
        // The lines go down with the server; their events must not reach a host half torn down.
        for (auto& socket : m_lines)
            if (socket)
                socket->disconnect(this);
        m_server.close();
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    bool listen() {
        if (m_server.isListening())
            return true;
        if (!m_server.listen(m_address, m_port)) {
            note("! cannot listen: " + m_server.errorString().toStdString());
            return false;
        }
        // A port of 0 takes a free one; later "listen" lines reuse it.
        m_port = m_server.serverPort();
        return true;
    }
    void refuse() {
        m_server.close();
        note("* refusing");
    }
    quint16 port() const { return m_port; }

    void run(const std::string& line) {
        std::istringstream in(line);
        std::string word;
        in >> word;
        std::string rest;
        std::getline(in, rest);
        if (!rest.empty() && rest[0] == ' ')
            rest.erase(0, 1);
        if (word == "send" || word == "sendclose") {
            if (!waitFor([this] { return newest() != nullptr; }, 10'000)) {
                note("! no station to send to");
                return;
            }
            const auto bytes = unescape(rest);
            newest()->write(bytes);
            newest()->flush();
            note("> " + escapeBytes(bytes));
            if (word == "sendclose")
                closeAll();
        } else if (word == "sleep") {
            pump(std::atoi(rest.c_str()));
        } else if (word == "wait") {
            if (!waitFor([this] { return newest() != nullptr; }, rest.empty() ? 10'000 : std::atoi(rest.c_str())))
                note("! no station connected");
        } else if (word == "expect") {
            auto text = rest;
            int ms = 10'000;
            if (const auto space = rest.rfind(' '); space != std::string::npos) {
                const auto tail = rest.substr(space + 1);
                if (!tail.empty() && tail.find_first_not_of("0123456789") == std::string::npos) {
                    ms = std::atoi(tail.c_str());
                    text = rest.substr(0, space);
                }
            }
            const auto wanted = unescape(text);
            if (!waitFor([this, &wanted] { return m_received.contains(wanted); }, ms))
                note("! expected text did not arrive: " + escapeBytes(wanted));
        } else if (word == "close") {
            closeAll();
        } else if (word == "refuse") {
            refuse();
        } else if (word == "listen") {
            if (listen())
                note("* listening");
        } else if (word == "flap") {
            std::istringstream args(rest);
            int count = 0;
            int ms = 30'000;
            args >> count >> ms;
            for (int i = 0; i < count; ++i) {
                if (!waitFor([this] { return newest() != nullptr; }, ms)) {
                    note("! flap " + std::to_string(i + 1) + ": no station came");
                    return;
                }
                closeAll();
            }
            note("* flapped " + std::to_string(count));
        } else if (word == "quit") {
            m_quit = true;
        } else {
            note("! unknown line: " + line);
        }
    }

    bool quitting() const { return m_quit; }

    /// Lets the network run for `ms` milliseconds.
    void pump(int ms) {
        QEventLoop loop;
        QTimer::singleShot(std::max(ms, 0), &loop, &QEventLoop::quit);
        loop.exec();
    }

    void note(const std::string& text) {
        m_log << QDateTime::currentDateTime().toString(Qt::ISODateWithMs).toStdString() << ' ' << text << '\n';
        m_log.flush();
    }

private:
    template <typename Done> bool waitFor(Done done, int ms) {
        QElapsedTimer timer;
        timer.start();
        while (!done()) {
            if (timer.elapsed() >= ms)
                return false;
            pump(5);
        }
        return true;
    }

    void accept() {
        while (auto* socket = m_server.nextPendingConnection()) {
            m_lines.push_back(socket);
            note("* connected " + socket->peerAddress().toString().toStdString() + ":" +
                 std::to_string(socket->peerPort()));
            QObject::connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
                const auto bytes = socket->readAll();
                m_received += bytes;
                note("< " + escapeBytes(bytes));
            });
            QObject::connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                note("* station closed");
                forget(socket);
            });
        }
    }

    QTcpSocket* newest() const {
        for (auto it = m_lines.rbegin(); it != m_lines.rend(); ++it)
            if (*it && (*it)->state() == QAbstractSocket::ConnectedState)
                return *it;
        return nullptr;
    }

    void forget(QTcpSocket* socket) {
        std::erase_if(m_lines, [socket](const QPointer<QTcpSocket>& p) { return !p || p == socket; });
        socket->deleteLater();
    }

    void closeAll() {
        auto lines = m_lines;
        m_lines.clear();
        for (auto& socket : lines) {
            if (!socket)
                continue;
            socket->disconnect(this);
            socket->close();
            socket->deleteLater();
        }
        note("* closed");
    }

    QTcpServer m_server;
    QHostAddress m_address;
    quint16 m_port;
    std::ostream& m_log;
    std::vector<QPointer<QTcpSocket>> m_lines;
    QByteArray m_received;
    bool m_quit = false;
};

/// Lines from standard input, read on a thread of their own so the network keeps running.
class StdinLines {
public:
    StdinLines() {
        std::thread([this] {
            std::string line;
            while (std::getline(std::cin, line)) {
                std::lock_guard lock(m_mutex);
                m_lines.push_back(line);
            }
            m_eof = true;
        }).detach();
    }
    bool next(std::string& line) {
        std::lock_guard lock(m_mutex);
        if (m_lines.empty())
            return false;
        line = std::move(m_lines.front());
        m_lines.pop_front();
        return true;
    }
    bool eof() {
        std::lock_guard lock(m_mutex);
        return m_eof && m_lines.empty();
    }

private:
    std::mutex m_mutex;
    std::deque<std::string> m_lines;
    std::atomic<bool> m_eof{false};
};

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QString bind = QStringLiteral("127.0.0.1");
    int port = 47000;
    QString script;
    QString logPath;
    const auto args = QCoreApplication::arguments();
    for (int i = 1; i < args.size(); ++i) {
        const auto& a = args[i];
        const auto value = i + 1 < args.size() ? args[i + 1] : QString();
        if (a == QStringLiteral("--bind"))
            bind = value;
        else if (a == QStringLiteral("--port"))
            port = value.toInt();
        else if (a == QStringLiteral("--script"))
            script = value;
        else if (a == QStringLiteral("--log"))
            logPath = value;
        else {
            std::cerr << "usage: hostsim [--bind ADDRESS] [--port N] [--script FILE] [--log FILE]\n";
            return 2;
        }
        ++i;
    }
    const QHostAddress address(bind);
    if (address.isNull() || port < 0 || port > 65535) {
        std::cerr << "hostsim: bad address or port\n";
        return 2;
    }
    std::ofstream logFile;
    if (!logPath.isEmpty()) {
        logFile.open(logPath.toStdString(), std::ios::app | std::ios::binary);
        if (!logFile) {
            std::cerr << "hostsim: cannot open the log file\n";
            return 1;
        }
    }
    std::ostream& log = logPath.isEmpty() ? std::cerr : logFile;

    Host host(address, static_cast<quint16>(port), log);
    if (!host.listen())
        return 1;
    std::cout << "listening on " << bind.toStdString() << ":" << host.port() << std::endl;

    std::deque<std::string> fileLines;
    std::unique_ptr<StdinLines> stdinLines;
    if (!script.isEmpty()) {
        std::ifstream in(script.toStdString());
        if (!in) {
            std::cerr << "hostsim: cannot read the script\n";
            return 1;
        }
        for (std::string line; std::getline(in, line);)
            fileLines.push_back(line);
    } else {
        stdinLines = std::make_unique<StdinLines>();
    }

    while (!host.quitting()) {
        std::string line;
        if (stdinLines) {
            if (!stdinLines->next(line)) {
                host.pump(stdinLines->eof() ? 200 : 10);
                continue;
            }
        } else if (!fileLines.empty()) {
            line = std::move(fileLines.front());
            fileLines.pop_front();
        } else {
            host.pump(200);
            continue;
        }
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        host.run(line);
    }
    return 0;
}
