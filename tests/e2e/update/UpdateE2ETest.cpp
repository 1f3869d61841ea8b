// Program updates against the reference service: the station's real sequencing and its real
// HTTP, download, signature and process adapters; only the window and the message box are
// stand-ins. The installer is a script that records that it ran.
#include "platform/Adapters.h"
#include "platform/OffThread.h"
#include "service/Codec.h"
#include "shell/StationController.h"
#include "shell/frmTerminal.h"
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"
#include "tests/support/FakeStationView.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

namespace station {
namespace {

using test::fileBytes;

/// The release tool itself: `minisign ARGS`, which must succeed.
void minisign(const QStringList& args) {
    QProcess p;
    p.start(QStringLiteral("minisign"), args);
    EXPECT_TRUE(p.waitForFinished(10'000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0)
        << "minisign " << args.join(QLatin1Char(' ')).toStdString();
}

class UpdateE2ETest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        service.admin({QStringLiteral("set-update"), service.baseUrl() + QStringLiteral("/rdp")});
        // A script that notes its start, then bytes of every value that the shell never reads.
        installer = "#!/bin/sh\necho ran >> '" + marker().toUtf8() + "'\nexit 0\n";
        // Larger than the digest's ring, and not a multiple of any piece size.
        QByteArray blob((9 << 20) + 12345, '\0');
        QRandomGenerator gen(7);
        for (auto& b : blob)
            b = static_cast<char>(gen.bounded(256));
        installer += blob;
        test::writeFile(path(QStringLiteral("installer.bin")), installer);
    }

    QString path(const QString& name) const { return dir.filePath(name); }
    QString marker() const { return path(QStringLiteral("installer-ran.txt")); }
    QString program() const { return path(QStringLiteral("program")); }
    QString installed(const char* name) const { return program() + QStringLiteral("/_Install/") + QLatin1String(name); }

    /// A new minisign key pair without a password: the secret key file; the public key text
    /// goes to publicKey.
    QString newKey() {
        const auto secret = path(QStringLiteral("release.sec"));
        const auto pub = path(QStringLiteral("release.pub"));
        minisign({QStringLiteral("-G"), QStringLiteral("-W"), QStringLiteral("-p"), pub, QStringLiteral("-s"), secret});
        publicKey = QString::fromLatin1(fileBytes(pub));
        return secret;
    }

    /// Signs the served installer with minisign itself, beside it as setup.exe.minisig.
    void signWithMinisign(const QString& secret, const QString& comment) {
        minisign({QStringLiteral("-S"), QStringLiteral("-s"), secret, QStringLiteral("-m"),
                  service.files() + QStringLiteral("/rdp/setup.exe"), QStringLiteral("-t"), comment});
    }

    void publish(const QStringList& extra = {}) {
        service.admin(QStringList{QStringLiteral("publish"), QStringLiteral("--files"), service.files(),
                                  QStringLiteral("--version"), QStringLiteral("2.02"), QStringLiteral("--installer"),
                                  path(QStringLiteral("installer.bin"))} +
                      extra);
    }

    /// The station, as the main window runs it, with the update key `key` built in.
    StationController& station(const QString& key = {}) {
        config.serviceUrl = service.serviceUrl().toStdString();
        config.serverList = "127.0.0.1";
        config.updatePublicKey = key.toStdString();
        m_controller = std::make_unique<StationController>(ports, config, client, view, program().toStdString() + "/");
        return *m_controller;
    }

    bool installerRan(int waitMs = 5000) const {
        return test::waitUntil([this] { return QFile::exists(marker()); }, waitMs);
    }

    QStringList installerRequests() const {
        QStringList out;
        for (const auto& line : service.admin({QStringLiteral("requests")}).split(QLatin1Char('\n')))
            if (line.contains(QStringLiteral("\t/rdp/setup.exe\t")))
                out << line.section(QLatin1Char('\t'), 3, 3);
        return out;
    }

    QTemporaryDir dir;
    test::DevService service;
    QByteArray installer;
    QString publicKey;

    std::unique_ptr<Waiter> waiter = makeWaiter();
    std::unique_ptr<HttpClient> http = makeHttpClient();
    OffThreadFileDownloader downloader{makeFileDownloader(), *waiter, limits::downloadCap};
    std::unique_ptr<SignatureVerifier> signatures = makeSignatureVerifier();
    std::unique_ptr<ProcessLauncher> launcher = makeProcessLauncher();
    test::FakePorts fake;
    Ports ports = test::portsOver(fake, {.http = http.get(),
                                         .processLauncher = launcher.get(),
                                         .downloader = &downloader,
                                         .signatures = signatures.get()});
    IdentityCodec codec;
    StationConfig config;
    ServiceClient client{*http, codec, service.serviceUrl().toStdString()};
    test::FakeStationView view;

private:
    std::unique_ptr<StationController> m_controller;
};

TEST_F(UpdateE2ETest, ANewerReleaseSignedWithMinisignIsDownloadedByteForByteStartedAndTheProgramEnds) {
    const auto key = newKey();
    publish();
    signWithMinisign(key, QStringLiteral("version=2.02"));
    auto& c = station(publicKey);
    c.tick();

    EXPECT_TRUE(view.ended);
    EXPECT_EQ(fileBytes(installed("Setup.exe")), installer);
    EXPECT_EQ(fileBytes(installed("Readme.txt")), QByteArray("VORNE Terminal 2.02\r\n"));
    ASSERT_EQ(fake.dialogs.shown.size(), 1u);
    EXPECT_EQ(fake.dialogs.shown[0].title, "New Update to Install");
    EXPECT_TRUE(installerRan());
    EXPECT_EQ(view.progressValue, static_cast<int>(installer.size()));
}

TEST_F(UpdateE2ETest, ABrokenTransferIsResumedByTheNextCheckAndItsSignatureCoversTheWholeFile) {
    publish({QStringLiteral("--sign"), newKey()});
    service.admin(
        {QStringLiteral("cut-download"), QStringLiteral("--files"), service.files(), QStringLiteral("1000000")});
    auto& c = station(publicKey);
    c.tick();
    EXPECT_FALSE(view.ended);
    EXPECT_EQ(view.panels[StationView::Panel::Message], "Downloading a new release...");
    const auto partial = fileBytes(program() + QStringLiteral("/_Install/Setup.exe.partial"));
    ASSERT_GT(partial.size(), 0);
    ASSERT_LT(partial.size(), installer.size());
    EXPECT_EQ(partial, installer.left(partial.size()));
    EXPECT_FALSE(QFile::exists(marker()));

    for (int tick = 2; tick <= 13; ++tick) // the next check
        c.tick();
    EXPECT_TRUE(view.ended);
    EXPECT_EQ(fileBytes(installed("Setup.exe")), installer);
    EXPECT_EQ(installerRequests(), (QStringList{QStringLiteral("200"), QStringLiteral("206")}));
    EXPECT_TRUE(installerRan());
}

TEST_F(UpdateE2ETest, TheMainWindowWritesItsSettingsBackAfterTheHandOverBeforeItEnds) {
    publish();
    // The window's program folder is this test program's, which has a build folder of its own.
    const QString install = QCoreApplication::applicationDirPath() + QStringLiteral("/_Install");
    QDir(install).removeRecursively();
    config.serviceUrl = service.serviceUrl().toStdString();
    config.serverList = "127.0.0.1";
    config.tickMs = 24 * 3600 * 1000;
    frmTerminal window(ports, config, client);
    ASSERT_TRUE(window.Form_Load());
    window.show();
    window.Timer1_Timer();
    EXPECT_TRUE(installerRan());
    EXPECT_FALSE(window.isVisible());
    QDir(install).removeRecursively();
    // The window ended the application, which stops every later wait at once: start it afresh
    // for the cases run after this one in the same process.
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();

    // Columns: id, method, path, status, key, value. The read-me is the last thing the hand-over
    // fetches; the unload's settings write must follow it.
    const auto logged = service.admin({QStringLiteral("requests")}).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    qsizetype readMe = -1, write = -1;
    for (qsizetype i = 0; i < logged.size(); ++i) {
        const auto fields = logged[i].split(QLatin1Char('\t'));
        if (fields.value(2).contains(QStringLiteral("readme"), Qt::CaseInsensitive))
            readMe = i;
        if ((fields.value(4) + fields.value(5)).startsWith(QStringLiteral("prtupt=")))
            write = i;
    }
    ASSERT_GE(readMe, 0) << logged.join(QLatin1Char('\n')).toStdString();
    EXPECT_GT(write, readMe) << logged.join(QLatin1Char('\n')).toStdString();
}

} // namespace
} // namespace station
