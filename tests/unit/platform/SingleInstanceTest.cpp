// The single-copy guard of this platform, used the way the program uses it.
#include "platform/Adapters.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace station {
namespace {

class SingleInstanceGuard : public testing::Test {
protected:
    // Lock files of the tests go to a folder of their own and vanish with it.
    void SetUp() override { qputenv("XDG_RUNTIME_DIR", m_runtime.path().toLocal8Bit()); }
    void TearDown() override { qunsetenv("XDG_RUNTIME_DIR"); }

    std::string name = "vorne-test-" + std::to_string(QCoreApplication::applicationPid());

private:
    QTemporaryDir m_runtime;
};

TEST_F(SingleInstanceGuard, OneHolderPerNameUntilItIsDestroyed) {
    auto first = makeSingleInstance(name);
    ASSERT_TRUE(first->acquire());
    EXPECT_TRUE(first->acquire()) << "the holder asking again is not a second copy";
    EXPECT_FALSE(makeSingleInstance(name)->acquire());
    EXPECT_TRUE(makeSingleInstance(name + "-other")->acquire());

    first.reset();
    EXPECT_TRUE(makeSingleInstance(name)->acquire());
}

TEST_F(SingleInstanceGuard, NamesWithPathCharactersStayDistinctGuards) {
    auto slashed = makeSingleInstance(name + "/a\\b");
    ASSERT_TRUE(slashed->acquire());
    EXPECT_FALSE(makeSingleInstance(name + "/a\\b")->acquire());
    EXPECT_TRUE(makeSingleInstance(name + "-a")->acquire());
}

} // namespace
} // namespace station
