#include "platform/Utf8.h"

#include <gtest/gtest.h>

TEST(PathFromUtf8, SpellsTheSameNameAsThePathOfWideCharacters) {
    EXPECT_EQ(platform::pathFromUtf8("dir/Pr\xC3\xBC"
                                     "fung-\xE5\x8F\x91.hex"),
              std::filesystem::path(u"dir/Pr\u00fcfung-\u53d1.hex"));
    EXPECT_EQ(platform::pathFromUtf8("plain.hex"), std::filesystem::path("plain.hex"));
}

TEST(PathFromUtf8, OfNothingIsEmpty) {
    EXPECT_TRUE(platform::pathFromUtf8("").empty());
}

#if defined(_WIN32)
TEST(PathFromUtf8, OfWhatIsNotUtf8IsEmpty) {
    EXPECT_TRUE(platform::pathFromUtf8("a\xFF.hex").empty());
}
#else
TEST(PathFromUtf8, OfWhatIsNotUtf8KeepsItsBytes) {
    EXPECT_EQ(platform::pathFromUtf8("a\xFF.hex").string(), "a\xFF.hex");
}
#endif
