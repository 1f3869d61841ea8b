#include "platform/FtpListing.h"
#include "platform/RegistryText.h"

#include <gtest/gtest.h>

namespace station {
namespace {

struct ListingCase {
    const char* what;
    std::string listing;
    std::vector<std::string> names;
};

void PrintTo(const ListingCase& c, std::ostream* out) {
    *out << c.what;
}

class Listing : public ::testing::TestWithParam<ListingCase> {};

TEST_P(Listing, NamesAreTakenWholeFromEachEntryLine) {
    EXPECT_EQ(ftpEntryNames(GetParam().listing), GetParam().names);
}

INSTANTIATE_TEST_SUITE_P(
    Ftp, Listing,
    ::testing::Values(
        ListingCase{"unix",
                    "total 8\r\n-rw-r--r--   1 administrator 65534   6 Nov 23 19:10 a.txt\r\n"
                    "drwxr-xr-x   2 administrator 65534 4096 Jan  2  2025 old.d\r\n",
                    {"a.txt", "old.d"}},
        ListingCase{"unix names with blanks",
                    "-rw-r--r-- 1 u g 6 Nov 23 19:10 two  blanks .txt\n-rw-r--r-- 1 u g 6 Nov 23 19:10  lead.txt\n",
                    {"two  blanks .txt", " lead.txt"}},
        ListingCase{"unix without group, names that look like dates",
                    "-rw-r--r-- 1 owner 1234 Dec 01 2024 Nov 23 19:10 x.txt\n",
                    {"Nov 23 19:10 x.txt"}},
        ListingCase{"unix link", "lrwxrwxrwx 1 u g 6 Nov 23 19:10 latest.csv -> 2026/11.csv\n", {"latest.csv"}},
        ListingCase{"dos",
                    "11-23-26  07:00PM       <DIR>          sub folder\r\n"
                    "11-23-26  07:01PM                 1234 Sales Report.xls\r\n"
                    "01-02-2025  10:00AM                0 a.txt\r\n",
                    {"sub folder", "Sales Report.xls", "a.txt"}},
        ListingCase{"dots, blanks and lines of no known style",
                    "drwxr-xr-x 2 u g 4096 Nov 23 19:10 .\ndrwxr-xr-x 2 u g 4096 Nov 23 19:10 ..\n\n"
                    "garbage line\n-rw-r--r-- 1 u g 6 Nov 23 19:10\n11-23-26 07:00PM junk name\n",
                    {}},
        ListingCase{"last line without end", "-rw-r--r-- 1 u g 6 Nov 23 19:10 end.txt", {"end.txt"}}),
    [](const auto& param) {
        std::string name = param.param.what;
        for (auto& c : name)
            if (!std::isalnum(static_cast<unsigned char>(c)))
                c = '_';
        return name;
    });

TEST(NameListing, OneNameALineWithoutFolderPartsOrDots) {
    EXPECT_EQ(ftpNames("a.txt\r\n two blanks .txt\r\nuploads/12345/b.csv\r\n.\r\n..\r\n\r\nlast"),
              (std::vector<std::string>{"a.txt", " two blanks .txt", "b.csv", "last"}));
}

TEST(RegistryText, StringsEndAtTheirNulNumbersReadAsTheStationAlwaysHas) {
    const std::vector<std::uint8_t> path{'C', ':', '\\', 'x', 0, 'y'};
    EXPECT_EQ(registryValueText(registryString, path), "C:\\x");
    EXPECT_EQ(registryValueText(registryString, {'a', 'b'}), "ab");
    EXPECT_EQ(registryValueText(registryNumber, {0x05, 0, 0, 0}), "5");
    EXPECT_EQ(registryValueText(registryNumber, {0x34, 0x12, 0, 0}), "4660");
    // Each byte's digits without a leading zero: 0x0100 reads as "&h0010".
    EXPECT_EQ(registryValueText(registryNumber, {0x00, 0x01, 0, 0}), "16");
    EXPECT_EQ(registryValueText(registryNumber, {0xff, 0xff, 0xff, 0xff}), "-1");
    EXPECT_EQ(registryValueText(registryNumber, {0x01, 0x02}), std::nullopt);
    EXPECT_EQ(registryValueText(3, {0x01}), std::nullopt);
}

} // namespace
} // namespace station
