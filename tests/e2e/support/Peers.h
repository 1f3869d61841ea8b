#pragma once
// Real peers for end-to-end tests, each started on loopback in its own temporary folder and
// stopped when the object goes away.
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

namespace station::test {

/// Folder of the built programs (vorneterminal, devservice, the tools).
QString binDir();

/// A child process that is terminated and reaped on destruction.
class PeerProcess {
public:
    PeerProcess() = default;
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;
    ~PeerProcess();
    void start(const QString& program, const QStringList& args, const QProcessEnvironment& env = {});
    /// Waits until the standard output holds a line matching `pattern`; returns its first
    /// capture (or the whole match), empty on time-out or exit.
    QString waitForOutput(const QString& pattern, int timeoutMs = 10'000);
    QProcess& process() { return m_process; }
    QString output() const { return m_output; }

private:
    QProcess m_process;
    QString m_output;
};

/// The reference service on a free loopback port with its own database and files folder.
class DevService {
public:
    DevService();
    /// Runs an admin command of the service on the same database; returns its standard output.
    QString admin(const QStringList& args) const;
    int port() const { return m_port; }
    QString baseUrl() const;
    QString serviceUrl() const { return baseUrl() + QStringLiteral("/terminal2secure.asp"); }
    QString database() const { return m_dir.filePath(QStringLiteral("service.db")); }
    QString files() const { return m_dir.filePath(QStringLiteral("files")); }

private:
    QTemporaryDir m_dir;
    PeerProcess m_server;
    int m_port = 0;
};

/// An X server without a screen, for tests that need real top-level windows.
class VirtualDisplay {
public:
    VirtualDisplay();
    ~VirtualDisplay();
    /// ":N", empty when Xvfb could not start.
    QString display() const { return m_display; }

private:
    QTemporaryDir m_dir;
    PeerProcess m_server;
    QString m_display;
};

} // namespace station::test
