#pragma once
// A private CUPS scheduler with raw socket queues whose listeners (socat) append what they
// receive to files, so a test can read the bytes that reached the "device".
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QThread>
#include <map>
#include <stdexcept>

namespace station::test {

class PrintRig {
public:
    PrintRig() {
        // Filters run as another user: the tree must be traversable.
        QFile::setPermissions(m_dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup |
                                                QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther);
        for (const char* sub : {"spool", "tmp", "cache", "state", "log"})
            QDir(m_dir.path()).mkpath(QString::fromLatin1(sub));
        const auto d = m_dir.path();
        write(QStringLiteral("cupsd.conf"), QStringLiteral("Listen %1/cups.sock\nBrowsing No\nLogLevel warn\n"
                                                           "<Location />\n  Order allow,deny\n  Allow all\n"
                                                           "</Location>\n<Policy default>\n  <Limit All>\n"
                                                           "    Order deny,allow\n  </Limit>\n</Policy>\n")
                                                .arg(d));
        write(QStringLiteral("cups-files.conf"),
              QStringLiteral("ServerRoot %1\nRequestRoot %1/spool\nTempDir %1/tmp\nCacheDir %1/cache\n"
                             "StateDir %1/state\nAccessLog %1/log/access_log\nErrorLog %1/log/error_log\n"
                             "PageLog %1/log/page_log\nFileDevice Yes\nSystemGroup root\n")
                  .arg(d));
        m_cupsd.start(QStringLiteral("cupsd"),
                      {QStringLiteral("-f"), QStringLiteral("-c"), d + QStringLiteral("/cupsd.conf"),
                       QStringLiteral("-s"), d + QStringLiteral("/cups-files.conf")});
        socketPath = d + QStringLiteral("/cups.sock");
        // Every CUPS call of this process and its children goes to this scheduler.
        qputenv("CUPS_SERVER", socketPath.toLocal8Bit());
        for (int i = 0; i < 200 && run(QStringLiteral("lpstat"), {QStringLiteral("-r")}) != 0; ++i)
            QThread::msleep(25);
    }

    /// Adds a raw queue whose output lands in output(name).
    void addQueue(const QString& name) {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        const auto port = probe.serverPort();
        probe.close();
        auto& sink = m_sinks[name];
        sink = std::make_unique<PeerProcess>();
        sink->start(QStringLiteral("socat"),
                    {QStringLiteral("-u"), QStringLiteral("TCP-LISTEN:%1,bind=127.0.0.1,reuseaddr,fork").arg(port),
                     QStringLiteral("OPEN:%1,creat,append").arg(outputPath(name))});
        // The scheduler answers before it has written the certificate that lets root administer
        // it; until then lpadmin is refused.
        const QStringList args{QStringLiteral("-p"),
                               name,
                               QStringLiteral("-E"),
                               QStringLiteral("-v"),
                               QStringLiteral("socket://127.0.0.1:%1").arg(port),
                               QStringLiteral("-m"),
                               QStringLiteral("raw")};
        for (int i = 0; run(QStringLiteral("lpadmin"), args) != 0; ++i) {
            if (i == 100)
                throw std::runtime_error("lpadmin failed");
            QThread::msleep(20);
        }
    }

    QString outputPath(const QString& name) const { return m_dir.filePath(name + QStringLiteral(".out")); }
    QByteArray output(const QString& name) const { return fileBytes(outputPath(name)); }

    static int run(const QString& program, const QStringList& args) {
        QProcess p;
        p.start(program, args);
        if (!p.waitForFinished(10'000))
            return -1;
        return p.exitCode();
    }

    QString socketPath;

private:
    void write(const QString& name, const QString& text) {
        QFile f(m_dir.filePath(name));
        if (!f.open(QIODevice::WriteOnly))
            throw std::runtime_error("cannot write " + name.toStdString());
        f.write(text.toLocal8Bit());
    }

    QTemporaryDir m_dir;
    PeerProcess m_cupsd;
    std::map<QString, std::unique_ptr<PeerProcess>> m_sinks;
};

} // namespace station::test
