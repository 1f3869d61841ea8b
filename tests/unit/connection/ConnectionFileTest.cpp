// Connection files: what we write loads in the format's readers, and what its writers write
// loads here, by namespace and by field name in any case.
#include "connection/ConnectionFile.h"

#include <gtest/gtest.h>

namespace station {
namespace {

std::string pad(const std::string& value, std::size_t characters) {
    return value + std::string(30 - characters, ' ');
}

std::string paddedRow() {
    return "Username='" + pad("O&#x27;Brien", 7) + "' password='" + pad("pw", 2) + "' domain='" + pad(".", 1) +
           "' ip='" + pad("10.0.0.5", 8) + "' station='" + pad("7", 1) + "'";
}

// The real writer's layout: tabs, wrapped tags, single quotes, the apostrophe as a character
// reference. Prefixes and the schema namespace vary per case.
std::string realFile(const std::string& schemaNs = "uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882",
                     const std::string& s = "s", const std::string& rs = "rs",
                     const std::string& firstField = "Username", const std::string& rowAttributes = paddedRow()) {
    return "<xml xmlns:" + s + "='" + schemaNs +
           "'\n\txmlns:dt='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882'\n\txmlns:" + rs +
           "='urn:schemas-microsoft-com:rowset'\n\txmlns:z='#RowsetSchema'>\n<" + s +
           ":Schema id='RowsetSchema'>\n\t<" + s + ":ElementType name='row' content='eltOnly'>\n" +
           [&] {
               std::string fields;
               int n = 1;
               for (const std::string& name : {firstField, std::string("password"), std::string("domain"),
                                               std::string("ip"), std::string("station")})
                   fields += "\t\t<" + s + ":AttributeType name='" + name + "' " + rs + ":number='" +
                             std::to_string(n++) + "' " + rs + ":write='true'>\n\t\t\t<" + s +
                             ":datatype dt:type='string' " + rs + ":dbtype='str' dt:maxLength='30' " + rs +
                             ":precision='0'\n\t\t\t " + rs + ":fixedlength='true' " + rs +
                             ":maybenull='false'/>\n\t\t</" + s + ":AttributeType>\n";
               return fields;
           }() +
           "\t\t<" + s + ":extends type='" + rs + ":rowbase'/>\n\t</" + s + ":ElementType>\n</" + s + ":Schema>\n<" +
           rs + ":data>\n\t<z:row " + rowAttributes + "/>\n</" + rs + ":data>\n</xml>";
}

struct ReadCase {
    const char* name;
    std::string file;
    ConnectionRow expected;
};

class ReadsFilesOfTheFormat : public testing::TestWithParam<ReadCase> {};

TEST_P(ReadsFilesOfTheFormat, ValuesComeOutAsStored) {
    const auto row = readConnectionFile(GetParam().file);
    const auto& e = GetParam().expected;
    EXPECT_EQ(row.username, e.username);
    EXPECT_EQ(row.password, e.password);
    EXPECT_EQ(row.domain, e.domain);
    EXPECT_EQ(row.ip, e.ip);
    EXPECT_EQ(row.station, e.station);
}

const ConnectionRow padded{fixedLength("O'Brien", 30), fixedLength("pw", 30), fixedLength(".", 30),
                           fixedLength("10.0.0.5", 30), fixedLength("7", 30)};

INSTANTIATE_TEST_SUITE_P(
    Table, ReadsFilesOfTheFormat,
    testing::Values(
        ReadCase{"AsTheRealWriterWritesIt", realFile(), padded},
        ReadCase{"WithTheOtherSchemaNamespace", realFile("uuid:BDC6E3F0-6DA3-11d1-A2A3-00805FC79235"), padded},
        ReadCase{"WithOtherPrefixes", realFile("uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882", "sch", "r"), padded},
        ReadCase{"WithAFieldNameInOtherCase",
                 realFile("uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882", "s", "rs", "USERNAME",
                          "USERNAME='u' password='p' domain='d' ip='i' station='s'"),
                 ConnectionRow{"u", "p", "d", "i", "s"}},
        ReadCase{"WithMissingValues",
                 realFile("uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882", "s", "rs", "Username", "Username='' ip='i'"),
                 ConnectionRow{"", std::nullopt, std::nullopt, "i", std::nullopt}},
        ReadCase{"WithEntitiesInAnyForm",
                 realFile("uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882", "s", "rs", "Username",
                          "Username='&apos;&#39;&#x27;&quot;&lt;&gt;&amp;' password='' "
                          "domain='' ip='' station=''"),
                 ConnectionRow{"'''\"<>&", "", "", "", ""}}),
    [](const auto& param) { return std::string(param.param.name); });

TEST(ConnectionFile, AColumnWhoseNameIsNoXmlNameIsFoundByItsRowsetName) {
    auto file = realFile("uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882", "s", "rs", "Username",
                         "c0='u' password='p' domain='d' ip='i' station='s'");
    file.replace(file.find("name='Username'"), 15, "name='c0' rs:name='user name?'");
    EXPECT_THROW(readConnectionFile(file), ConnectionFileError) << "no field named username";
    file.replace(file.find("rs:name='user name?'"), 20, "rs:name='USERNAME'");
    EXPECT_EQ(readConnectionFile(file).username, "u");
}

struct BadCase {
    const char* name;
    std::string file;
    const char* reason;
};

class RefusesWhatIsNoConnectionFile : public testing::TestWithParam<BadCase> {};

TEST_P(RefusesWhatIsNoConnectionFile, WithTheReasonInWords) {
    try {
        readConnectionFile(GetParam().file);
        FAIL() << "read";
    } catch (const ConnectionFileError& e) {
        EXPECT_NE(std::string(e.what()).find(GetParam().reason), std::string::npos) << e.what();
    }
}

INSTANTIATE_TEST_SUITE_P(Table, RefusesWhatIsNoConnectionFile,
                         testing::Values(BadCase{"Empty", "", "not a readable XML file"},
                                         BadCase{"Truncated", realFile().substr(0, 300), "not a readable XML file"},
                                         BadCase{"OtherXml", "<root><row a='1'/></root>", "not a saved recordset"},
                                         BadCase{"SchemaInAnotherNamespace", realFile("urn:other"),
                                                 "not a saved recordset"},
                                         BadCase{"NoRow",
                                                 [] {
                                                     auto f = realFile();
                                                     const auto row = f.find("<z:row");
                                                     f.erase(row, f.find("/>", row) + 2 - row);
                                                     return f;
                                                 }(),
                                                 "holds no row"},
                                         BadCase{"NoStationField",
                                                 [] {
                                                     auto f = realFile();
                                                     f.replace(f.find("name='station'"), 14, "name='stations'");
                                                     return f;
                                                 }(),
                                                 "no field \"station\""}),
                         [](const auto& param) { return std::string(param.param.name); });

TEST(ConnectionFile, WritesTheRealFormatWithFieldsCutAndPaddedToThirtyCharacters) {
    const std::string longName(35, 'n');
    const std::string umlauts = [] {
        std::string s;
        for (int i = 0; i < 35; ++i)
            s += "\xC3\xA4"; // ä
        return s;
    }();
    const auto file = writeConnectionFile({longName, umlauts, "", "10.0.0.5 ", "O'B\"<&>"});
    EXPECT_EQ(file.rfind("<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882'", 0), 0u) << file;
    EXPECT_NE(file.find("<s:Schema id='RowsetSchema'>"), std::string::npos);
    for (const char* name : {"'Username'", "'password'", "'domain'", "'ip'", "'station'"})
        EXPECT_NE(file.find(std::string("<s:AttributeType name=") + name), std::string::npos) << name;
    EXPECT_NE(file.find("<rs:data>"), std::string::npos);

    const auto row = readConnectionFile(file);
    EXPECT_EQ(row.username, std::string(30, 'n'));
    EXPECT_EQ(row.password, umlauts.substr(0, 60)) << "cut after 30 characters, not bytes";
    EXPECT_EQ(row.domain, std::string(30, ' '));
    EXPECT_EQ(row.ip, "10.0.0.5" + std::string(22, ' '));
    EXPECT_EQ(row.station, "O'B\"<&>" + std::string(23, ' '));
}

} // namespace
} // namespace station
