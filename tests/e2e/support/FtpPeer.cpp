#include "tests/e2e/support/FtpPeer.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <csignal>
#include <stdexcept>

namespace station::test {

namespace {

int freePort() {
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0))
        throw std::runtime_error("no free port for the FTP server");
    return probe.serverPort();
}

bool accepts(int port) {
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
    return socket.waitForConnected(200);
}

} // namespace

FtpPeer::FtpPeer(int passiveFirst, int passiveLast, const QString& extraConfig, Tls tls, Server server)
    : m_kind(server) {
    // The sessions run as nobody and must reach the tree inside this folder.
    QFile::setPermissions(m_dir.path(),
                          QFile::permissions(m_dir.path()) | QFileDevice::ExeOther | QFileDevice::ReadOther);
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("PROFTPD_EXTRA"), extraConfig);
    env.insert(QStringLiteral("PYFTPDLIB_EXTRA"), extraConfig);
    if (tls != Tls::None)
        env.insert(QStringLiteral("PROFTPD_TLS"),
                   tls == Tls::Required ? QStringLiteral("required") : QStringLiteral("offered"));
    // A port picked free can be taken by another rig before the server binds it: try again.
    for (int attempt = 0; attempt < 5 && m_port == 0; ++attempt) {
        const int port = freePort();
        m_server.start(server == Server::ProFtpd
                           ? QStringLiteral(STATION_SOURCE_DIR "/tests/e2e/support/proftpd-peer")
                           : QStringLiteral(STATION_SOURCE_DIR "/tests/e2e/support/pyftpdlib-peer"),
                       {m_dir.filePath(QStringLiteral("server")), QString::number(port), QString::number(passiveFirst),
                        QString::number(passiveLast)},
                       env);
        QDeadlineTimer deadline(5000);
        while (!deadline.hasExpired() && m_server.process().state() == QProcess::Running && !accepts(port))
            QThread::msleep(20);
        if (m_server.process().state() == QProcess::Running && accepts(port))
            m_port = port;
    }
    if (m_port == 0)
        throw std::runtime_error("the FTP server did not start");
}

FtpPeer::~FtpPeer() {
    kill();
}

void FtpPeer::seed(const QString& path, const QByteArray& bytes) const {
    const QString full = root() + QLatin1Char('/') + path;
    QDir().mkpath(QFileInfo(full).absolutePath());
    for (QString folder = QFileInfo(full).absolutePath(); folder.startsWith(root()) && folder != root();
         folder = QFileInfo(folder).absolutePath())
        QFile::setPermissions(folder, QFileDevice::Permissions(0x7777));
    QFile file(full);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("cannot seed " + full.toStdString());
    file.setPermissions(QFileDevice::Permissions(0x6666));
}

bool FtpPeer::tlsUsed() const {
    QFile log(m_dir.filePath(QStringLiteral("server/tls.log")));
    return log.open(QIODevice::ReadOnly) && log.readAll().contains(" connection accepted");
}

int FtpPeer::logins() const {
    const bool proftpd = m_kind == Server::ProFtpd;
    QFile log(m_dir.filePath(proftpd ? QStringLiteral("server/proftpd.log") : QStringLiteral("server/ftpd.log")));
    if (!log.open(QIODevice::ReadOnly))
        return 0;
    return static_cast<int>(log.readAll().count(proftpd ? "Login successful" : "logged in."));
}

void FtpPeer::kill() {
    const auto pid = m_server.process().processId();
    if (pid <= 0 || m_server.process().state() != QProcess::Running)
        return;
    // Each session is a child of the server: they go first, so that no transfer outlives it.
    QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(pid));
    if (children.open(QIODevice::ReadOnly))
        for (const auto& child : children.readAll().split(' '))
            if (const int session = child.trimmed().toInt(); session > 0)
                ::kill(session, SIGKILL);
    m_server.process().kill();
    m_server.process().waitForFinished(3000);
}

} // namespace station::test
