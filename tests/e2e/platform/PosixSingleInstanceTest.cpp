// The lock-file guard as other processes see it.
#include "platform/Adapters.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <unistd.h>

#include <optional>

namespace station {
namespace {

class LockFileGuard : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (qEnvironmentVariableIsSet("TMPDIR"))
            m_savedTmp = qgetenv("TMPDIR");
        qputenv("TMPDIR", m_temp.path().toLocal8Bit());
        if (GetParam())
            qputenv("XDG_RUNTIME_DIR", m_runtime.path().toLocal8Bit());
        else
            qunsetenv("XDG_RUNTIME_DIR");
    }
    void TearDown() override {
        qunsetenv("XDG_RUNTIME_DIR");
        if (m_savedTmp)
            qputenv("TMPDIR", *m_savedTmp);
        else
            qunsetenv("TMPDIR");
    }

    /// Where the guard must be: the session's runtime folder when there is one, else the temp folder.
    QString lockFile() const {
        const auto file = QString::fromStdString(name + "-" + std::to_string(getuid()) + ".lock");
        return (GetParam() ? m_runtime : m_temp).filePath(file);
    }

    /// Whether another process finds the lock taken, asked through util-linux flock(1).
    bool heldForOthers() const {
        QProcess probe;
        probe.start(QStringLiteral("flock"), {QStringLiteral("-n"), QStringLiteral("-E"), QStringLiteral("42"),
                                              lockFile(), QStringLiteral("true")});
        EXPECT_TRUE(probe.waitForFinished(10'000));
        return probe.exitCode() == 42;
    }

    const std::string name = "vorne-guard";

private:
    QTemporaryDir m_runtime, m_temp;
    std::optional<QByteArray> m_savedTmp;
};

TEST_P(LockFileGuard, HeldForOtherProcessesWhileTheHolderLives) {
    auto guard = makeSingleInstance(name);
    ASSERT_TRUE(guard->acquire());
    ASSERT_TRUE(QFile::exists(lockFile()));
    EXPECT_TRUE(heldForOthers());
    guard.reset();
    EXPECT_FALSE(heldForOthers());
}

TEST_P(LockFileGuard, ProgramsStartedByTheHolderDoNotKeepIt) {
    auto guard = makeSingleInstance(name);
    ASSERT_TRUE(guard->acquire());
    QProcess child;
    child.start(QStringLiteral("sleep"), {QStringLiteral("30")});
    ASSERT_TRUE(child.waitForStarted());

    guard.reset();
    EXPECT_TRUE(makeSingleInstance(name)->acquire()) << "the started program inherited the lock";
    child.kill();
    child.waitForFinished();
}

INSTANTIATE_TEST_SUITE_P(Folders, LockFileGuard, testing::Bool(),
                         [](const auto& p) { return p.param ? "RuntimeFolder" : "TempFolder"; });

} // namespace
} // namespace station
