// The process launcher where it needs no peer: a program that is not there, and one that is.
#include "platform/Adapters.h"

#include <QTemporaryDir>
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

} // namespace
} // namespace station
