// The lock-file guard as other processes see it.
#include "platform/Adapters.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
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

enum class Obstacle { None, Folder, DanglingLink, LinkToFile };

/// Whatever stands where the lock file belongs, one copy holds the guard and a second is refused.
class UnusableLockPath : public testing::TestWithParam<Obstacle> {
protected:
    void SetUp() override {
        qputenv("XDG_RUNTIME_DIR", m_runtime.path().toLocal8Bit());
        const auto path = m_runtime.filePath(QString::fromStdString(name + "-" + std::to_string(getuid()) + ".lock"));
        switch (GetParam()) {
        case Obstacle::None:
            break;
        case Obstacle::Folder:
            ASSERT_TRUE(QDir().mkpath(path));
            break;
        case Obstacle::DanglingLink:
            ASSERT_TRUE(QFile::link(m_runtime.filePath(QStringLiteral("gone")), path));
            break;
        case Obstacle::LinkToFile: {
            QFile target(m_runtime.filePath(QStringLiteral("target")));
            ASSERT_TRUE(target.open(QIODevice::WriteOnly));
            ASSERT_TRUE(QFile::link(target.fileName(), path));
            break;
        }
        }
    }
    void TearDown() override { qunsetenv("XDG_RUNTIME_DIR"); }

    const std::string name = "vorne-obstacle-" + std::to_string(getpid());

private:
    QTemporaryDir m_runtime;
};

TEST_P(UnusableLockPath, SecondCopyIsStillRefused) {
    auto first = makeSingleInstance(name);
    ASSERT_TRUE(first->acquire());
    EXPECT_FALSE(makeSingleInstance(name)->acquire());
    first.reset();
    EXPECT_TRUE(makeSingleInstance(name)->acquire()) << "the guard outlived its holder";
}

std::string obstacleName(const testing::TestParamInfo<Obstacle>& info) {
    constexpr std::array<const char*, 4> names{"Free", "Folder", "DanglingLink", "LinkToFile"};
    return names.at(static_cast<std::size_t>(info.param));
}

INSTANTIATE_TEST_SUITE_P(LockPaths, UnusableLockPath,
                         testing::Values(Obstacle::None, Obstacle::Folder, Obstacle::DanglingLink,
                                         Obstacle::LinkToFile),
                         obstacleName);

} // namespace
} // namespace station
