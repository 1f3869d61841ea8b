// Connection files: what we write loads in the format's readers, and what its writers write
// loads here, by namespace and by field name in any case.
#include "connection/ConnectionFile.h"

#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <tuple>

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

// --- the forms the real writer produces, in every combination ---

enum class SchemaForm { Nested, Older };
enum class Placement { Plain, Inserted, Updated, AfterADeletedRow };

struct Form {
    SchemaForm schema;
    Placement placement;
    bool upperCaseNames;
    bool aliased; ///< columns written as c0..c4 with the field name in rs:name
};

// A file in the real writer's byte style in the given form. Its current row holds "O'Brien",
// "pw", ".", "10.0.0.5" and "7", padded to 30; rows it must not take hold other values.
std::string writerFile(const Form& f) {
    const std::array<std::string, 5> names = {"Username", "password", "domain", "ip", "station"};
    const std::array<std::string, 5> values = {"O&#x27;Brien", "pw", ".", "10.0.0.5", "7"};
    const std::array<std::string, 5> old = {"Old&#x27;Nam", "old", "OLD", "10.9.9.9", "9"};
    const auto name = [&](std::size_t i) {
        std::string n = names.at(i);
        if (f.upperCaseNames)
            for (auto& c : n)
                c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return n;
    };
    const auto column = [&](std::size_t i) { return f.aliased ? "c" + std::to_string(i) : name(i); };
    // `changedOnly`: as the current row of a change, which carries only the values that changed.
    const auto row = [&](const std::string& indent, const std::array<std::string, 5>& v, bool changedOnly) {
        std::string out = indent + "<z:row";
        for (std::size_t i = 0; i < 5; ++i)
            if (!changedOnly || v.at(i) != old.at(i))
                out += " " + column(i) + "='" + pad(v.at(i), i == 0 ? 7 : v.at(i).size()) + "'";
        return out + "/>\n";
    };
    const auto attributeType = [&](const std::string& indent, std::size_t i) {
        const std::string alias = f.aliased ? " rs:name='" + name(i) + "'" : "";
        return indent + "<s:AttributeType name='" + column(i) + "'" + alias + " rs:number='" + std::to_string(i + 1) +
               "' rs:write='true'>\n" + indent +
               "\t<s:datatype dt:type='string' rs:dbtype='str' dt:maxLength='30' rs:precision='0'\n" + indent +
               "\t rs:fixedlength='true' rs:maybenull='false'/>\n" + indent + "</s:AttributeType>\n";
    };

    std::string file = "<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882'\n"
                       "\txmlns:dt='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882'\n"
                       "\txmlns:rs='urn:schemas-microsoft-com:rowset'\n"
                       "\txmlns:z='#RowsetSchema'>\n"
                       "<s:Schema id='RowsetSchema'>\n"
                       "\t<s:ElementType name='row' content='eltOnly' rs:updatable='true'>\n";
    for (std::size_t i = 0; i < 5; ++i)
        file +=
            f.schema == SchemaForm::Nested ? attributeType("\t\t", i) : "\t\t<s:attribute type='" + column(i) + "'/>\n";
    file += "\t\t<s:extends type='rs:rowbase'/>\n\t</s:ElementType>\n";
    if (f.schema == SchemaForm::Older)
        for (std::size_t i = 5; i-- > 0;) // described in another order than referred to
            file += attributeType("\t", i);
    file += "</s:Schema>\n<rs:data>\n";
    switch (f.placement) {
    case Placement::Plain:
        file += row("\t", values, false);
        break;
    case Placement::Inserted:
        file += "\t<rs:insert>\n" + row("\t\t", values, false) + "\t</rs:insert>\n";
        break;
    case Placement::Updated:
        file += "\t<rs:update>\n\t\t<rs:original>\n" +
                row("\t\t\t", {old[0], values[1], values[2], old[3], values[4]}, false) + "\t\t</rs:original>\n" +
                row("\t\t", {values[0], old[1], old[2], values[3], old[4]}, true) + "\t</rs:update>\n";
        break;
    case Placement::AfterADeletedRow:
        file += "\t<rs:delete>\n" + row("\t\t", old, false) + "\t</rs:delete>\n\t<rs:insert>\n" +
                row("\t\t", values, false) + "\t</rs:insert>\n";
        break;
    }
    return file + "</rs:data>\n</xml>";
}

class ReadsEveryFormOfTheRealWriter : public testing::TestWithParam<std::tuple<SchemaForm, Placement, bool, bool>> {};

TEST_P(ReadsEveryFormOfTheRealWriter, TheFiveValues) {
    const auto [schema, placement, upper, aliased] = GetParam();
    const auto file = writerFile({schema, placement, upper, aliased});
    ConnectionRow row;
    ASSERT_NO_THROW(row = readConnectionFile(file)) << file;
    EXPECT_EQ(row.username, "O'Brien" + std::string(23, ' '));
    EXPECT_EQ(row.password, "pw" + std::string(28, ' '));
    EXPECT_EQ(row.domain, "." + std::string(29, ' '));
    EXPECT_EQ(row.ip, "10.0.0.5" + std::string(22, ' '));
    EXPECT_EQ(row.station, "7" + std::string(29, ' '));
}

std::string formName(const testing::TestParamInfo<std::tuple<SchemaForm, Placement, bool, bool>>& info) {
    const auto [schema, placement, upper, aliased] = info.param;
    const std::array<const char*, 4> placements = {"Plain", "Inserted", "Updated", "AfterADeletedRow"};
    return std::string(schema == SchemaForm::Nested ? "Nested" : "Older") +
           placements.at(static_cast<std::size_t>(placement)) + (upper ? "UpperCase" : "AsWritten") +
           (aliased ? "Aliased" : "");
}

INSTANTIATE_TEST_SUITE_P(Combinations, ReadsEveryFormOfTheRealWriter,
                         testing::Combine(testing::Values(SchemaForm::Nested, SchemaForm::Older),
                                          testing::Values(Placement::Plain, Placement::Inserted, Placement::Updated,
                                                          Placement::AfterADeletedRow),
                                          testing::Bool(), testing::Bool()),
                         formName);

// --- other variations of what other writers write ---

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

const ConnectionRow padded{"O'Brien" + std::string(23, ' '), "pw" + std::string(28, ' '), "." + std::string(29, ' '),
                           "10.0.0.5" + std::string(22, ' '), "7" + std::string(29, ' ')};

INSTANTIATE_TEST_SUITE_P(
    Table, ReadsFilesOfTheFormat,
    testing::Values(
        ReadCase{"WithTheOtherSchemaNamespace", realFile("uuid:BDC6E3F0-6DA3-11d1-A2A3-00805FC79235"), padded},
        ReadCase{"WithOtherPrefixes", realFile("uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882", "sch", "r"), padded},
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

TEST(ConnectionFile, WritesWhatOtherReadersRelyOnWithFieldsCutAndPaddedToThirtyCharacters) {
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
    const auto count = [&](const std::string& what) {
        std::size_t n = 0;
        for (auto at = file.find(what); at != std::string::npos; at = file.find(what, at + 1))
            ++n;
        return n;
    };
    // What readers elsewhere rely on: these names in this order, each a fixed-length string of
    // 30, and one row whose values are padded to 30.
    std::size_t previous = 0;
    for (const char* name : {"'Username'", "'password'", "'domain'", "'ip'", "'station'"}) {
        const auto at = file.find(std::string("<s:AttributeType name=") + name);
        ASSERT_NE(at, std::string::npos) << name;
        EXPECT_GT(at, previous) << name;
        previous = at;
    }
    EXPECT_EQ(count("<s:AttributeType "), 5u);
    EXPECT_EQ(count("dt:maxLength='30'"), 5u);
    EXPECT_EQ(count("rs:fixedlength='true'"), 5u);
    EXPECT_EQ(count("<z:row "), 1u);
    EXPECT_NE(file.find(" Username='" + std::string(30, 'n') + "'"), std::string::npos) << file;
    EXPECT_NE(file.find(" domain='" + std::string(30, ' ') + "'"), std::string::npos);
    EXPECT_NE(file.find(" ip='10.0.0.5" + std::string(22, ' ') + "'"), std::string::npos);

    const auto row = readConnectionFile(file);
    EXPECT_EQ(row.username, std::string(30, 'n'));
    EXPECT_EQ(row.password, umlauts.substr(0, 60)) << "cut after 30 characters, not bytes";
    EXPECT_EQ(row.domain, std::string(30, ' '));
    EXPECT_EQ(row.ip, "10.0.0.5" + std::string(22, ' '));
    EXPECT_EQ(row.station, "O'B\"<&>" + std::string(23, ' '));
}

} // namespace
} // namespace station
