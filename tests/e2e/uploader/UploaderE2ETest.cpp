// The uploader window against real peers: ProFTPD with the station's account (and pyftpdlib for the
// cases about the server's listing), the reference service for the saved folder, and the real FTP
// adapter off the UI thread.
#include "platform/Adapters.h"
#include "platform/OffThreadFtpClient.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "tests/e2e/support/FtpPeer.h"
#include "tests/e2e/support/Rig.h"
#include "uploader/frmUploader.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

namespace station {
namespace {

FtpLimits shortLimits() {
    FtpLimits limits;
    limits.connect = std::chrono::seconds(2);
    limits.response = std::chrono::seconds(3);
    limits.stall = std::chrono::seconds(3);
    return limits;
}

QByteArray randomBytes(qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator rng(static_cast<quint32>(size));
    for (auto& b : bytes)
        b = static_cast<char>(rng.bounded(256));
    return bytes;
}

using test::fileBytes;
using test::writeFile;

QStringList texts(const QListWidget* list) {
    QStringList out;
    for (int i = 0; i < list->count(); ++i)
        out << list->item(i)->text();
    return out;
}

/// The real FTP adapter behind its off-thread decorator, the real service client, and scripted
/// message boxes.
using Server = test::FtpPeer::Server;

struct Rig {
    explicit Rig(const QString& ftpExtra = {}, Server server = Server::ProFtpd)
        : ftp(47620, 47659, ftpExtra, test::FtpPeer::Tls::None, server) {
        state.stationId = "00-11-22-33-44-55";
        state.stores.at(0).serialNumber = "1234567";
        state.stores.at(0).storeName = "Main Street";
        state.stores.at(1).serialNumber = "12340000";
        state.stores.at(1).storeName = "Chain Office";
    }
    QString storeFolder() const { return ftp.root() + QStringLiteral("/uploads/12345/1234567/"); }
    QString local(const QString& name) const { return localDir.filePath(name); }
    std::unique_ptr<frmUploader> open(int store = 0, const QString& host = {}) {
        auto window = std::make_unique<frmUploader>(state, ports, client,
                                                    (host.isEmpty() ? ftp.host() : host).toStdString(), store);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->Dir1_Change(localDir.path());
        window->show();
        return window;
    }
    void select(frmUploader& window, const QStringList& names) {
        for (const auto& name : names) {
            const auto found = window.List1->findItems(name, Qt::MatchExactly);
            ASSERT_EQ(found.size(), 1) << name.toStdString();
            found[0]->setSelected(true);
        }
    }
    void answers(std::vector<Dialogs::Answer> list) {
        fake.dialogs.whileShown = [this, list, i = std::size_t{0}](const std::string&) mutable {
            fake.dialogs.answer = list.at(i++);
        };
    }

    test::FtpPeer ftp;
    test::DevService service;
    QTemporaryDir localDir;
    std::unique_ptr<Waiter> waiter = makeWaiter();
    std::unique_ptr<HttpClient> http = makeHttpClient();
    std::unique_ptr<Yield> yield = makeYield();
    OffThreadFtpSessions sessions{
        makeFtpSessions(shortLimits()), *waiter, {std::chrono::seconds(10), std::chrono::seconds(60)}};
    test::FakePorts fake;
    Ports ports = test::portsOver(fake, {.http = http.get(), .yield = yield.get(), .ftp = &sessions});
    IdentityCodec codec;
    ServiceClient client{*http, codec, service.serviceUrl().toStdString()};
    StationState state;
};

/// The cases whose point is the server's listing, on ProFTPD, which reads "-lr *.*" as options and
/// a pattern, and on pyftpdlib, which refuses it as a path.
class UploaderOnServer : public testing::TestWithParam<Server> {};

TEST_P(UploaderOnServer, ListsTheStoreFolderSendsSelectedFilesAndKeepsOneLogin) {
    Rig rig({}, GetParam());
    rig.ftp.seed(QStringLiteral("uploads/12345/1234567/existing report.txt"), "old");
    rig.ftp.seed(QStringLiteral("uploads/12345/1234567/b.csv"), "b");
    rig.ftp.seed(QStringLiteral("uploads/12345/1234567/noext"), "not matched by *.*");
    const auto first = randomBytes(300'000), second = randomBytes(1'500'000);
    writeFile(rig.local(QStringLiteral("a one.txt")), first);
    writeFile(rig.local(QStringLiteral("b two.bin")), second);
    writeFile(rig.local(QStringLiteral("c.txt")), "stays here");

    auto window = rig.open();
    EXPECT_EQ(window->windowTitle().toStdString(), "Upload Data to Main Street - 1234567");
    auto listed = texts(window->List2);
    listed.sort();
    // Only ProFTPD's "*.*" leaves out a name without a dot; the plain listing has every entry.
    if (GetParam() == Server::ProFtpd)
        EXPECT_EQ(listed, (QStringList{QStringLiteral("b.csv"), QStringLiteral("existing report.txt")}));
    else
        EXPECT_EQ(listed, (QStringList{QStringLiteral("b.csv"), QStringLiteral("existing report.txt"),
                                       QStringLiteral("noext")}));

    rig.select(*window, {QStringLiteral("a one.txt"), QStringLiteral("b two.bin")});
    window->cmdTransfer_Click();
    EXPECT_TRUE(rig.fake.dialogs.shown.empty()) << rig.fake.dialogs.shown[0].text;
    EXPECT_EQ(fileBytes(rig.storeFolder() + QStringLiteral("a one.txt")), first);
    EXPECT_EQ(fileBytes(rig.storeFolder() + QStringLiteral("b two.bin")), second);
    EXPECT_FALSE(QFile::exists(rig.storeFolder() + QStringLiteral("c.txt")));
    EXPECT_TRUE(window->List1->selectedItems().isEmpty());
    EXPECT_TRUE(texts(window->List2).contains(QStringLiteral("b two.bin")));
    EXPECT_TRUE(window->Label3->text().isEmpty());
    EXPECT_TRUE(window->cmdExit->isEnabled());
    EXPECT_EQ(rig.ftp.logins(), 1) << "the session keeps its login between operations";

    // The folder was saved for this station on first use; the next window opens on it.
    EXPECT_TRUE(rig.service.admin({QStringLiteral("uploads")}).contains(QStringLiteral("001122334455")));
    window.reset();
    auto again = std::make_unique<frmUploader>(rig.state, rig.ports, rig.client, rig.ftp.host().toStdString(), 0);
    again->setAttribute(Qt::WA_DeleteOnClose, false);
    again->Dir1_Change(QDir::tempPath());
    again->show();
    EXPECT_EQ(again->folder(), QDir::cleanPath(rig.localDir.path()).toStdString());
}

TEST_P(UploaderOnServer, OverwriteQuestionAnsweredBothWaysAndCaseOnlyDifferenceIsAnotherFile) {
    Rig rig({}, GetParam());
    rig.ftp.seed(QStringLiteral("uploads/12345/1234567/replace.txt"), "old one");
    rig.ftp.seed(QStringLiteral("uploads/12345/1234567/keep.txt"), "old two");
    rig.ftp.seed(QStringLiteral("uploads/12345/1234567/DATA.TXT"), "upper");
    for (const auto* name : {"replace.txt", "keep.txt", "data.txt"})
        writeFile(rig.local(QString::fromLatin1(name)), QByteArray("new ") + name);

    auto window = rig.open();
    // Files go in list order: keep.txt is asked about first.
    rig.answers({Dialogs::Answer::Cancel, Dialogs::Answer::Ok});
    rig.select(*window, {QStringLiteral("replace.txt"), QStringLiteral("keep.txt"), QStringLiteral("data.txt")});
    window->cmdTransfer_Click();

    ASSERT_EQ(rig.fake.dialogs.shown.size(), 2u) << rig.fake.dialogs.shown[0].text;
    EXPECT_EQ(rig.fake.dialogs.shown[0].text, "File already exist on remote store.  Delete the remote file?");
    EXPECT_EQ(fileBytes(rig.storeFolder() + QStringLiteral("replace.txt")), "new replace.txt");
    EXPECT_EQ(fileBytes(rig.storeFolder() + QStringLiteral("keep.txt")), "old two");
    EXPECT_EQ(fileBytes(rig.storeFolder() + QStringLiteral("data.txt")), "new data.txt");
    EXPECT_EQ(fileBytes(rig.storeFolder() + QStringLiteral("DATA.TXT")), "upper");
    EXPECT_EQ(window->List1->selectedItems().size(), 1) << "the skipped file stays selected";
}

TEST_P(UploaderOnServer, ChainLevelStoreUploadsIntoItsExcelFolderMadeOnFirstUse) {
    Rig rig({}, GetParam());
    writeFile(rig.local(QStringLiteral("sales.xls")), "sales");
    auto window = rig.open(1);
    rig.select(*window, {QStringLiteral("sales.xls")});
    window->cmdTransfer_Click();
    EXPECT_TRUE(rig.fake.dialogs.shown.empty()) << rig.fake.dialogs.shown[0].text;
    EXPECT_EQ(fileBytes(rig.ftp.root() + QStringLiteral("/reports/12340/12340000/excel/sales.xls")), "sales");
    EXPECT_EQ(texts(window->List2), QStringList{QStringLiteral("sales.xls")});
}

INSTANTIATE_TEST_SUITE_P(UploaderE2E, UploaderOnServer, testing::Values(Server::ProFtpd, Server::PyFtpdLib),
                         [](const auto& param) {
                             return std::string(param.param == Server::ProFtpd ? "ProFTPD" : "pyftpdlib");
                         });

TEST(UploaderE2E, ServerGoingAwayMidTransferEndsTheUploadWithItsReason) {
    // Slow enough on loopback that the server can be stopped halfway.
    Rig rig(QStringLiteral("TransferRate STOR 256"));
    writeFile(rig.local(QStringLiteral("big.bin")), randomBytes(4 << 20));
    auto window = rig.open();
    rig.select(*window, {QStringLiteral("big.bin")});

    QStringList seen;
    bool exitDisabledWhileBusy = false;
    QTimer watch;
    watch.setInterval(20);
    QObject::connect(&watch, &QTimer::timeout, [&] {
        const auto text = window->Label3->text();
        if (text.isEmpty() || text.startsWith(QStringLiteral("0  of")))
            return;
        seen << text;
        exitDisabledWhileBusy = !window->cmdExit->isEnabled();
        rig.ftp.kill();
        watch.stop();
    });
    watch.start();
    QElapsedTimer clock;
    clock.start();
    window->cmdTransfer_Click();

    ASSERT_FALSE(seen.isEmpty()) << "progress was shown while the upload ran";
    EXPECT_TRUE(seen[0].contains(QStringLiteral("  of 4194304"))) << seen[0].toStdString();
    EXPECT_TRUE(exitDisabledWhileBusy);
    EXPECT_LT(clock.elapsed(), 15'000);
    ASSERT_EQ(rig.fake.dialogs.shown.size(), 1u)
        << rig.fake.dialogs.shown[0].text << " / " << rig.fake.dialogs.shown[1].text;
    EXPECT_FALSE(rig.fake.dialogs.shown[0].text.empty());
    EXPECT_TRUE(window->Label3->text().isEmpty());
    EXPECT_TRUE(window->cmdExit->isEnabled());
}

TEST(UploaderE2E, ServerThatOffersOrRequiresTlsIsSpokenToOverTls) {
    for (const auto tls : {test::FtpPeer::Tls::Offered, test::FtpPeer::Tls::Required}) {
        test::FtpPeer ftp(47620, 47659, {}, tls);
        ftp.seed(QStringLiteral("uploads/12345/1234567/old.txt"), "old");
        auto limits = shortLimits();
        limits.caFile = ftp.certificate().toStdString();
        auto session = makeFtpSessions(limits)->open();
        ASSERT_TRUE(session->login(ftp.host().toStdString(), "administrator", "lantern")) << session->lastError();
        ASSERT_TRUE(session->changeFolder("uploads/12345/1234567")) << session->lastError();
        EXPECT_EQ(session->list("-lr *.*"), std::vector<std::string>{"old.txt"});
        QTemporaryDir local;
        writeFile(local.filePath(QStringLiteral("new.bin")), randomBytes(100'000));
        EXPECT_TRUE(session->store(local.filePath(QStringLiteral("new.bin")).toStdString(), "new.bin", {}))
            << session->lastError();
        EXPECT_EQ(fileBytes(ftp.root() + QStringLiteral("/uploads/12345/1234567/new.bin")), randomBytes(100'000));
        EXPECT_TRUE(session->remove("old.txt")) << session->lastError();
        EXPECT_FALSE(QFile::exists(ftp.root() + QStringLiteral("/uploads/12345/1234567/old.txt")));
        EXPECT_TRUE(ftp.tlsUsed());
    }
}

TEST(UploaderE2E, ServerNotThereOrSilentIsReportedWithinItsBounds) {
    Rig rig;
    QTcpServer silent; // accepts connections (the system does) and never says a word
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 0));
    QTcpServer probe;
    ASSERT_TRUE(probe.listen(QHostAddress::LocalHost, 0));
    const auto closed = QStringLiteral("127.0.0.1:%1").arg(probe.serverPort());
    probe.close();

    const auto quiet = QStringLiteral("127.0.0.1:%1").arg(silent.serverPort());
    for (const auto& host : {closed, quiet}) {
        rig.fake.dialogs.shown.clear();
        QElapsedTimer clock;
        clock.start();
        auto window = rig.open(0, host);
        EXPECT_LT(clock.elapsed(), 8'000) << host.toStdString();
        ASSERT_EQ(rig.fake.dialogs.shown.size(), 1u) << host.toStdString();
        EXPECT_FALSE(rig.fake.dialogs.shown[0].text.empty());
        // The box names the bound that ended the wait: the connection's (2 s here).
        if (host == quiet) {
            EXPECT_EQ(rig.fake.dialogs.shown[0].text, "the FTP server did not answer within 2 s");
        }
        EXPECT_EQ(window->List2->count(), 0);
    }
}

} // namespace
} // namespace station
