#include "tools/devservice/FileAccess.h"

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace devservice {
namespace {

class ResolveRefusedTest : public testing::TestWithParam<std::string> {};

TEST_P(ResolveRefusedTest, NeverNamesAFileOutsideOrAnOddPath) {
    EXPECT_FALSE(resolveInside("/srv/files/Reports", GetParam())) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Paths, ResolveRefusedTest,
                         testing::Values("", "..", "../secret", "12345/../../secret", "12345/./daily.txt",
                                         "/etc/passwd", "12345//daily.txt", "12345/", "..\\secret",
                                         "12345\\..\\..\\secret", "C:secret", "%2e%2e/secret",
                                         std::string("daily.txt\0.png", 14)));

TEST(ResolveInside, NamesTheFileBelowTheRoot) {
    const auto path = resolveInside("/srv/files/Reports", "12345/1234500001/daily.txt");
    ASSERT_TRUE(path);
    EXPECT_EQ(*path, std::filesystem::path("/srv/files/Reports/12345/1234500001/daily.txt"));
}

TEST(ResolveInside, RefusesALinkThatLeavesTheRoot) {
    test::TempFolder folder;
    std::filesystem::create_directories(folder.path() / "root");
    std::ofstream(folder.path() / "secret.txt") << "secret";
    std::filesystem::create_directory_symlink(folder.path(), folder.path() / "root" / "out");
    EXPECT_FALSE(resolveInside(folder.path() / "root", "out/secret.txt"));
}

struct AuthCase {
    std::string header;
    bool accepted;
};
class BasicAuthTest : public testing::TestWithParam<AuthCase> {};

TEST_P(BasicAuthTest, AcceptsOnlyTheReportsAccount) {
    EXPECT_EQ(basicAuthMatches(GetParam().header, "administrator", "lantern"), GetParam().accepted)
        << GetParam().header;
}

INSTANTIATE_TEST_SUITE_P(Headers, BasicAuthTest,
                         testing::Values(AuthCase{"Basic YWRtaW5pc3RyYXRvcjpsYW50ZXJu", true},
                                         AuthCase{"basic  YWRtaW5pc3RyYXRvcjpsYW50ZXJu ", true},
                                         AuthCase{"Basic " + base64Encode("administrator:lanterN"), false},
                                         AuthCase{"Basic " + base64Encode("admin:lantern"), false},
                                         AuthCase{"Bearer YWRtaW5pc3RyYXRvcjpsYW50ZXJu", false},
                                         AuthCase{"YWRtaW5pc3RyYXRvcjpsYW50ZXJu", false}, AuthCase{"", false}));

TEST(ReadWholeFile, KeepsEveryByteAndRefusesFolders) {
    test::TempFolder folder;
    const std::string bytes("\x1b@\0\xff\f\r\n", 7);
    std::ofstream(folder.path() / "r.prn", std::ios::binary) << bytes;
    EXPECT_EQ(readWholeFile(folder.path() / "r.prn"), bytes);
    EXPECT_FALSE(readWholeFile(folder.path()));
    EXPECT_FALSE(readWholeFile(folder.path() / "missing"));
}

} // namespace
} // namespace devservice
