#include "tests/e2e/support/Peers.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QRegularExpression>
#include <QThread>
#include <stdexcept>

namespace station::test {

QString binDir() {
    return QStringLiteral(STATION_BIN_DIR);
}

PeerProcess::~PeerProcess() {
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(3000)) {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
}

void PeerProcess::start(const QString& program, const QStringList& args, const QProcessEnvironment& env) {
    if (!env.isEmpty())
        m_process.setProcessEnvironment(env);
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    m_process.start(program, args);
    if (!m_process.waitForStarted(5000))
        throw std::runtime_error("cannot start " + program.toStdString());
}

QString PeerProcess::waitForOutput(const QString& pattern, int timeoutMs) {
    const QRegularExpression re(pattern);
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        m_output += QString::fromLocal8Bit(m_process.readAllStandardOutput());
        if (const auto m = re.match(m_output); m.hasMatch())
            return m.lastCapturedIndex() >= 1 ? m.captured(1) : m.captured(0);
        if (m_process.state() == QProcess::NotRunning)
            break;
        m_process.waitForReadyRead(50);
    }
    return {};
}

DevService::DevService() {
    const auto program = binDir() + QStringLiteral("/devservice");
    admin({QStringLiteral("seed")});
    m_server.start(program, {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"),
                             QStringLiteral("--db"), database(), QStringLiteral("--files"), files()});
    m_port = m_server.waitForOutput(QStringLiteral("listening on 127\\.0\\.0\\.1:(\\d+)")).toInt();
    if (m_port == 0)
        throw std::runtime_error("devservice did not start: " +
                                 QString::fromLocal8Bit(m_server.process().readAllStandardError()).toStdString());
}

QString DevService::admin(const QStringList& args) const {
    QProcess p;
    QStringList all = args;
    all.insert(1, QStringLiteral("--db"));
    all.insert(2, database());
    if (args.value(0) == QStringLiteral("seed"))
        all << QStringLiteral("--files") << files();
    p.start(binDir() + QStringLiteral("/devservice"), all);
    if (!p.waitForFinished(10'000) || p.exitCode() != 0)
        throw std::runtime_error("devservice " + args.join(QLatin1Char(' ')).toStdString() +
                                 " failed: " + QString::fromLocal8Bit(p.readAllStandardError()).toStdString());
    return QString::fromLocal8Bit(p.readAllStandardOutput());
}

QString DevService::baseUrl() const {
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port);
}

VirtualDisplay::VirtualDisplay() {
    // Xvfb picks a free display and writes its number to the inherited descriptor when ready.
    const auto file = m_dir.filePath(QStringLiteral("display"));
    m_server.start(QStringLiteral("/bin/sh"),
                   {QStringLiteral("-c"), QStringLiteral("exec Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp "
                                                         "-noreset 3>'%1' 2>/dev/null")
                                              .arg(file)});
    QDeadlineTimer deadline(10'000);
    while (!deadline.hasExpired()) {
        QFile f(file);
        if (f.open(QIODevice::ReadOnly)) {
            const auto number = QString::fromLatin1(f.readAll()).trimmed();
            if (!number.isEmpty()) {
                m_display = QLatin1Char(':') + number;
                return;
            }
        }
        QThread::msleep(20);
    }
}

VirtualDisplay::~VirtualDisplay() = default;

} // namespace station::test
