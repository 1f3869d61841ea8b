// The session's platform adapters where they need no peer: a program that is not there, and no
// display at all.
#include "platform/Adapters.h"

#include <QTemporaryDir>
#include <cstdlib>
#include <gtest/gtest.h>

namespace station {
namespace {

TEST(ProcessLauncher, MissingProgramIsNoStart) {
    auto launcher = makeProcessLauncher();
    QTemporaryDir dir;
    const auto missing = dir.filePath(QStringLiteral("gs_clnt.exe")).toStdString();
    EXPECT_FALSE(launcher->start(missing + " -b1 -x2", ProcessLauncher::Show::Normal));
    EXPECT_FALSE(launcher->start("", ProcessLauncher::Show::Normal));
    EXPECT_TRUE(launcher->start("/bin/true -b1 \"a b\"", ProcessLauncher::Show::Maximized));
}

TEST(ClientWindows, WithoutADisplayNothingIsFoundAndNothingBreaks) {
    const auto saved = qgetenv("DISPLAY");
    qunsetenv("DISPLAY");
    auto windows = makeClientWindows();
    EXPECT_EQ(windows->findByTitle("GS Telnet Client   10.0.0.5"), 0u);
    windows->show(1);
    windows->bringForward(1);
    windows->setConsoleFont(1, 3);
    if (!saved.isEmpty())
        qputenv("DISPLAY", saved);
}

} // namespace
} // namespace station
