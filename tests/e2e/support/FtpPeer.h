#pragma once
// An FTP server on loopback for the uploader: ProFTPD (tests/e2e/support/proftpd-peer) or pyftpdlib
// (tests/e2e/support/pyftpdlib-peer), with the account the station logs in with, in a temporary
// folder of its own.
#include "tests/e2e/support/Peers.h"

#include <QString>
#include <QTemporaryDir>

namespace station::test {

class FtpPeer {
public:
    /// Passive data ports come from [passiveFirst, passiveLast]: a range no other rig uses.
    /// `extraConfig` is added to ProFTPD's configuration; pyftpdlib takes "greeting-delay SECONDS"
    /// there. TLS is ProFTPD's only.
    enum class Tls { None, Offered, Required };
    enum class Server { ProFtpd, PyFtpdLib };
    explicit FtpPeer(int passiveFirst = 47620, int passiveLast = 47659, const QString& extraConfig = {},
                     Tls tls = Tls::None, Server server = Server::ProFtpd);
    ~FtpPeer();
    FtpPeer(const FtpPeer&) = delete;
    FtpPeer& operator=(const FtpPeer&) = delete;

    /// "127.0.0.1:PORT", as the station's FTP host setting is written.
    QString host() const { return QStringLiteral("127.0.0.1:%1").arg(m_port); }
    int port() const { return m_port; }
    /// The account's tree: what the station sees as "/".
    QString root() const { return m_dir.filePath(QStringLiteral("server/root")); }
    /// Puts a file into the account's tree (`path` relative to its root), its folders open to the
    /// sessions, which run as another user.
    void seed(const QString& path, const QByteArray& bytes) const;
    /// The server's certificate (PEM) when it speaks TLS: the CA a client trusts for it.
    QString certificate() const { return m_dir.filePath(QStringLiteral("server/cert.pem")); }
    /// Whether a client's control connection has been switched to TLS.
    bool tlsUsed() const;
    /// Successful logins so far, from the server's log.
    int logins() const;
    /// The server and every session it runs end at once, as a server that goes away.
    void kill();

private:
    QTemporaryDir m_dir;
    Server m_kind;
    PeerProcess m_server;
    int m_port = 0;
};

} // namespace station::test
