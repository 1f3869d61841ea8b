#include "tools/devservice/WireText.h"

#include <gtest/gtest.h>

namespace devservice {
namespace {

struct BodyCase {
    std::string body, key, value;
};
class RequestBodyTest : public testing::TestWithParam<BodyCase> {};

TEST_P(RequestBodyTest, SplitsKeyAndRawValue) {
    const auto parsed = splitRequestBody(GetParam().body);
    EXPECT_EQ(parsed.key, GetParam().key);
    EXPECT_EQ(parsed.value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, RequestBodyTest,
    testing::Values(BodyCase{"mac=001A2B3C4D5E", "mac=", "001A2B3C4D5E"}, BodyCase{"mac=", "mac=", ""},
                    // The value keeps every later "=", "&amp;", "|", "%" and "+" as sent.
                    BodyCase{"prtupt=A&amp;B|x=y|%20+|", "prtupt=", "A&amp;B|x=y|%20+|"},
                    BodyCase{"h=1&hd=a@b|n=1|", "h=1&hd=", "a@b|n=1|"}, BodyCase{"h=1&oncall=1", "h=1&oncall=", "1"},
                    BodyCase{"h=1&alert=x&y=z", "h=1&alert=", "x&y=z"},
                    // Only a body starting with the helpdesk field gets the longer key.
                    BodyCase{"h=1", "h=", "1"}, BodyCase{"x=h=1&hd=2", "x=", "h=1&hd=2"}, BodyCase{"h=1&", "", ""},
                    BodyCase{"no key at all", "", ""}, BodyCase{"", "", ""}, BodyCase{"=v", "=", "v"}));

struct FieldsCase {
    std::string value;
    std::vector<std::string> fields;
};
class EndedFieldsTest : public testing::TestWithParam<FieldsCase> {};

TEST_P(EndedFieldsTest, TakesOnlyFieldsClosedByABar) {
    EXPECT_EQ(endedFields(GetParam().value), GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(Values, EndedFieldsTest,
                         testing::Values(FieldsCase{"", {}}, FieldsCase{"open", {}}, FieldsCase{"a|b|", {"a", "b"}},
                                         FieldsCase{"a|b|tail", {"a", "b"}}, FieldsCase{"||", {"", ""}}));

} // namespace
} // namespace devservice
