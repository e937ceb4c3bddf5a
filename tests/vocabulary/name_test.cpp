#include "tqamsg/vocabulary/name.h"

#include "tqamsg/vocabulary/word_ids.h"

#include <gtest/gtest.h>

namespace {

using tqa::Name;

TEST(Name, IsMadeFromAnIdOrAWord) {
    EXPECT_EQ(Name(5).id(), 5);
    EXPECT_EQ(Name(tqa::Tag_veid).id(), tqa::Tag_veid);
    EXPECT_EQ(Name("veid").id(), tqa::Tag_veid);
    EXPECT_EQ(Name(std::string("veid")).id(), tqa::Tag_veid);
    EXPECT_EQ(Name(std::string_view("veids", 4)).id(), tqa::Tag_veid);
}

TEST(Name, TagsAndAttributesAreDifferentWords) {
    EXPECT_EQ(Name("priority").id(), tqa::Tag_priority);
    EXPECT_EQ(Name::attribute("priority").id(), tqa::Attr_priority);
}

TEST(Name, AnUnknownWordHasTheIdZero) {
    EXPECT_EQ(Name("nosuchword").id(), 0);
    EXPECT_EQ(Name::attribute("veid").id(), 0);
    EXPECT_EQ(Name("").id(), 0);
}

}  // namespace
