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
#include <functional>
#include <gtest/gtest.h>

namespace station {
namespace {

using test::fileBytes;

void writeAll(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

struct Ran {
    int code = -1;
    QByteArray output;
};

Ran run(const QString& program, const QStringList& args) {
    QProcess p;
    p.start(program, args);
    p.waitForFinished(10'000);
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1, p.readAllStandardOutput()};
}

/// The release tool itself: `minisign ARGS`, which must succeed.
QByteArray minisign(const QStringList& args) {
    const auto ran = run(QStringLiteral("minisign"), args);
    EXPECT_EQ(ran.code, 0) << "minisign " << args.join(QLatin1Char(' ')).toStdString();
    return ran.output;
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
        writeAll(path(QStringLiteral("installer.bin")), installer);
    }

    QString path(const QString& name) const { return dir.filePath(name); }
    QString marker() const { return path(QStringLiteral("installer-ran.txt")); }
    QString program() const { return path(QStringLiteral("program")); }
    QString installed(const char* name) const { return program() + QStringLiteral("/_Install/") + QLatin1String(name); }

    /// A new minisign key pair without a password: the secret key file; the public key text
    /// goes to publicKeys.
    QString newKey(const QString& name) {
        const auto secret = path(name + QStringLiteral(".sec"));
        const auto pub = path(name + QStringLiteral(".pub"));
        minisign({QStringLiteral("-G"), QStringLiteral("-W"), QStringLiteral("-p"), pub, QStringLiteral("-s"), secret});
        publicKeys[name] = QString::fromLatin1(fileBytes(pub));
        return secret;
    }

    QString served(const char* name) const { return service.files() + QStringLiteral("/rdp/") + QLatin1String(name); }

    /// Signs the served installer with minisign itself, beside it as setup.exe.minisig.
    void signWithMinisign(const QString& secret, const QString& comment, const QStringList& extra = {}) {
        minisign(QStringList{QStringLiteral("-S"), QStringLiteral("-s"), secret, QStringLiteral("-m"),
                             served("setup.exe"), QStringLiteral("-t"), comment} +
                 extra);
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
    std::map<QString, QString> publicKeys;

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
    const auto key = newKey(QStringLiteral("release"));
    publish();
    signWithMinisign(key, QStringLiteral("version=2.02"));
    auto& c = station(publicKeys[QStringLiteral("release")]);
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
    publish({QStringLiteral("--sign"), newKey(QStringLiteral("release"))});
    service.admin(
        {QStringLiteral("cut-download"), QStringLiteral("--files"), service.files(), QStringLiteral("1000000")});
    auto& c = station(publicKeys[QStringLiteral("release")]);
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

TEST_F(UpdateE2ETest, AReleasePublishedWithSignIsAcceptedByMinisignAndByTheStation) {
    publish({QStringLiteral("--sign"), newKey(QStringLiteral("release"))});
    const auto verified = minisign({QStringLiteral("-V"), QStringLiteral("-p"), path(QStringLiteral("release.pub")),
                                    QStringLiteral("-m"), served("setup.exe")});
    EXPECT_TRUE(verified.contains("Trusted comment: version=2.02")) << verified.toStdString();
    station(publicKeys[QStringLiteral("release")]).tick();
    EXPECT_TRUE(installerRan());
}

class RefusedUpdates;

struct Refusal {
    const char* name;
    std::function<void(RefusedUpdates&)> publish;
    const char* status;
};

class RefusedUpdates : public UpdateE2ETest, public testing::WithParamInterface<Refusal> {
public:
    using UpdateE2ETest::newKey;
    using UpdateE2ETest::path;
    using UpdateE2ETest::publish;
    using UpdateE2ETest::served;
    using UpdateE2ETest::signWithMinisign;
};

TEST_P(RefusedUpdates, StartNothingDeleteTheInstallerAndSayWhy) {
    newKey(QStringLiteral("built-in"));
    GetParam().publish(*this);
    auto& c = station(publicKeys[QStringLiteral("built-in")]);
    c.tick();
    EXPECT_FALSE(view.ended);
    EXPECT_EQ(view.panels[StationView::Panel::Message], GetParam().status);
    EXPECT_FALSE(QFile::exists(installed("Setup.exe")));
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_TRUE(view.timerEnabled);
    EXPECT_FALSE(installerRan(300));
}

INSTANTIATE_TEST_SUITE_P(
    Signatures, RefusedUpdates,
    testing::Values(Refusal{"OtherKey",
                            [](RefusedUpdates& f) {
                                f.publish({QStringLiteral("--sign"), f.newKey(QStringLiteral("other"))});
                            },
                            "The new release was refused: it is signed with another key"},
                    Refusal{"Missing", [](RefusedUpdates& f) { f.publish(); },
                            "The new release was refused: it carries no signature"},
                    Refusal{"OlderRelease",
                            [](RefusedUpdates& f) {
                                f.publish();
                                f.signWithMinisign(f.path(QStringLiteral("built-in.sec")),
                                                   QStringLiteral("version=2.01"));
                            },
                            "The new release was refused: its signature is for version 2.01, not 2.02"},
                    Refusal{"Legacy",
                            [](RefusedUpdates& f) {
                                f.publish();
                                f.signWithMinisign(f.path(QStringLiteral("built-in.sec")),
                                                   QStringLiteral("version=2.02"), {QStringLiteral("-l")});
                            },
                            "The new release was refused: it is signed in the legacy form, which is not accepted"},
                    Refusal{"TamperedByte",
                            [](RefusedUpdates& f) {
                                f.publish({QStringLiteral("--sign"), f.path(QStringLiteral("built-in.sec"))});
                                auto bytes = fileBytes(f.served("setup.exe"));
                                bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
                                writeAll(f.served("setup.exe"), bytes);
                            },
                            "The new release was refused: the signature does not match the installer"}),
    [](const auto& param) { return std::string(param.param.name); });

TEST_F(UpdateE2ETest, ADescriptionWithoutAVersionLineIsIgnored) {
    publish();
    writeAll(service.files() + QStringLiteral("/rdp/rdpupdate.ini"),
             "[Update]\r\nReadMe={server}/rdp/readme.txt\r\nSize=5\r\nVersion=9.99\r\n");
    auto& c = station();
    c.tick();
    EXPECT_FALSE(view.ended);
    EXPECT_TRUE(installerRequests().isEmpty());
    EXPECT_FALSE(QFile::exists(installed("Setup.exe")));
    EXPECT_TRUE(view.timerEnabled);
}

} // namespace
} // namespace station
