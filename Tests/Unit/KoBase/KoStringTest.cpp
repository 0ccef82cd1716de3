#include <KoString.h>

#include <gtest/gtest.h>

#include <string>

TEST(KoStringTest, IsEmptyAfterConstruction)
{
    const KoString text;

    EXPECT_STREQ(text.GetAscii(), "");
    EXPECT_EQ(text.GetLength(), 0U);
}

TEST(KoStringTest, TakesNullForTheEmptyText)
{
    const char* const none = nullptr;
    const KoString text(none);

    EXPECT_STREQ(text.GetAscii(), "");
    EXPECT_EQ(text.GetLength(), 0U);
    EXPECT_TRUE(text == none);
    EXPECT_TRUE(KoString("x") != none);
}

TEST(KoStringTest, CopiesTheTextThatItIsMadeFrom)
{
    std::string source = "zoom";
    const KoString text(source.c_str());
    source = "focus";

    EXPECT_STREQ(text.GetAscii(), "zoom");
    EXPECT_EQ(text.GetLength(), 4U);
}

TEST(KoStringTest, ConvertsToTheTextThatGetAsciiGives)
{
    const KoString text("zoom");
    const char* const converted = text;

    EXPECT_EQ(converted, text.GetAscii());
}

TEST(KoStringTest, KeepsACopyWhenTheOriginalIsAssignedAnother)
{
    KoString original("zoom");
    const KoString copy(original);
    original = KoString("focus");

    EXPECT_STREQ(copy.GetAscii(), "zoom");
    EXPECT_STREQ(original.GetAscii(), "focus");
}

TEST(KoStringTest, ComparesByText)
{
    const KoString text("zoom");

    EXPECT_TRUE(text == KoString("zoom"));
    EXPECT_FALSE(text != KoString("zoom"));
    EXPECT_TRUE(text != KoString("Zoom"));
    EXPECT_FALSE(text == KoString("zoom "));
}

TEST(KoStringTest, ComparesWithPlainTexts)
{
    const KoString text("zoom");

    EXPECT_TRUE(text == "zoom");
    EXPECT_FALSE(text != "zoom");
    EXPECT_TRUE(text != "zoo");
    EXPECT_TRUE(KoString() == "");
}
