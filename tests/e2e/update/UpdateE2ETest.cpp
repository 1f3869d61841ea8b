// Program updates against the reference service: the station's real sequencing and its real
// HTTP, download, signature and process adapters; only the window and the message box are
// stand-ins. The installer is a script that records that it ran.
#include "platform/Adapters.h"
#include "platform/OffThread.h"
#include "service/Codec.h"
#include "shell/StationController.h"
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"
#include "tests/support/FakeStationView.h"

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace station {
namespace {

using test::fileBytes;

void writeAll(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

QByteArray run(const QString& program, const QStringList& args) {
    QProcess p;
    p.start(program, args);
    p.waitForFinished(10'000);
    return p.readAllStandardOutput();
}

class UpdateE2ETest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        service.admin({QStringLiteral("set-update"), service.baseUrl() + QStringLiteral("/rdp")});
        // A script that notes its start, then bytes of every value that the shell never reads.
        installer = "#!/bin/sh\necho ran >> '" + marker().toUtf8() + "'\nexit 0\n";
        QByteArray blob(3 << 20, '\0');
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

    /// A new Ed25519 key: the PEM private key file and the base64 raw public key.
    QString newKey(const QString& name) {
        const auto pem = path(name + QStringLiteral(".pem"));
        run(QStringLiteral("openssl"), {QStringLiteral("genpkey"), QStringLiteral("-algorithm"),
                                        QStringLiteral("ed25519"), QStringLiteral("-out"), pem});
        const auto der = run(QStringLiteral("openssl"),
                             {QStringLiteral("pkey"), QStringLiteral("-in"), pem, QStringLiteral("-pubout"),
                              QStringLiteral("-outform"), QStringLiteral("DER")});
        publicKeys[name] = QString::fromLatin1(der.right(32).toBase64());
        return pem;
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
    OffThreadSignatureVerifier signatures{makeSignatureVerifier(), *waiter, limits::verify};
    std::unique_ptr<ProcessLauncher> launcher = makeProcessLauncher();
    test::FakePorts fake;
    Ports ports = test::portsOver(
        fake,
        {.http = http.get(), .processLauncher = launcher.get(), .downloader = &downloader, .signatures = &signatures});
    IdentityCodec codec;
    StationConfig config;
    ServiceClient client{*http, codec, service.serviceUrl().toStdString()};
    test::FakeStationView view;

private:
    std::unique_ptr<StationController> m_controller;
};

TEST_F(UpdateE2ETest, ANewerReleaseIsDownloadedByteForByteStartedAndTheProgramEnds) {
    const auto key = newKey(QStringLiteral("release"));
    publish({QStringLiteral("--sign"), key});
    auto& c = station(publicKeys[QStringLiteral("release")]);
    c.tick();

    EXPECT_TRUE(view.ended);
    EXPECT_EQ(fileBytes(installed("Setup.exe")), installer);
    EXPECT_EQ(fileBytes(installed("Readme.txt")), QByteArray("VORNE Terminal 2.02\r\n"));
    ASSERT_EQ(fake.dialogs.shown.size(), 1u);
    EXPECT_EQ(fake.dialogs.shown[0].title, "New Update to Install");
    EXPECT_TRUE(installerRan());
    EXPECT_EQ(view.progressValue, static_cast<float>(installer.size()));
}

TEST_F(UpdateE2ETest, ABrokenTransferIsResumedByTheNextCheck) {
    publish();
    service.admin(
        {QStringLiteral("cut-download"), QStringLiteral("--files"), service.files(), QStringLiteral("1000000")});
    auto& c = station();
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

struct Refusal {
    const char* name;
    bool signWithOtherKey; ///< false: published unsigned
    const char* status;
};

class RefusedUpdates : public UpdateE2ETest, public testing::WithParamInterface<Refusal> {};

TEST_P(RefusedUpdates, StartNothingDeleteTheInstallerAndSayWhy) {
    newKey(QStringLiteral("built-in"));
    if (GetParam().signWithOtherKey)
        publish({QStringLiteral("--sign"), newKey(QStringLiteral("other"))});
    else
        publish();
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
    testing::Values(Refusal{"BadSignature", true,
                            "The new release was refused: the signature does not match the installer"},
                    Refusal{"MissingSignature", false, "The new release was refused: it carries no signature"}),
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
