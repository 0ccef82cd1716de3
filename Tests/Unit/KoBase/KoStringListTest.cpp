#include <KoStringList.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

std::vector<std::string> Walk(KoStringList& aList)
{
    std::vector<std::string> texts;
    for (KoString* text = aList.GetFirst(); text != nullptr; text = aList.GetNext())
    {
        texts.emplace_back(text->GetAscii());
    }
    return texts;
}

} // namespace

TEST(KoStringListTest, GivesNullWhenItIsEmpty)
{
    KoStringList list;

    EXPECT_EQ(list.GetFirst(), nullptr);
    EXPECT_EQ(list.GetNext(), nullptr);
}

TEST(KoStringListTest, GivesTheTextsInTheOrderInWhichTheyWereAdded)
{
    KoStringList list;
    list.Add("Uart0");
    list.Add("");
    list.Add("Uart0");

    EXPECT_EQ(Walk(list), (std::vector<std::string>{"Uart0", "", "Uart0"}));
}

TEST(KoStringListTest, StaysAtTheEnd)
{
    KoStringList list;
    list.Add("Uart0");
    Walk(list);

    EXPECT_EQ(list.GetNext(), nullptr);
    EXPECT_EQ(list.GetNext(), nullptr);
}

TEST(KoStringListTest, StartsAgainWithEveryGetFirst)
{
    KoStringList list;
    list.Add("Uart0");
    list.Add("Uart1");
    Walk(list);

    EXPECT_EQ(Walk(list), (std::vector<std::string>{"Uart0", "Uart1"}));
}

TEST(KoStringListTest, GoesOnWithATextThatIsAddedAtTheEnd)
{
    KoStringList list;
    list.Add("Uart0");
    Walk(list);
    list.Add("Uart1");

    ASSERT_NE(list.GetNext(), nullptr);
    EXPECT_EQ(list.GetNext(), nullptr);
}

TEST(KoStringListTest, IsEmptyAfterClearAndTakesTextsAgain)
{
    KoStringList list;
    list.Add("Uart0");
    list.GetFirst();
    list.Clear();

    EXPECT_EQ(list.GetNext(), nullptr);
    EXPECT_EQ(list.GetFirst(), nullptr);
    list.Add("Uart1");
    EXPECT_EQ(Walk(list), std::vector<std::string>{"Uart1"});
}

TEST(KoStringListTest, StartsWithTheFirstTextAfterConstructionAndAfterClear)
{
    KoStringList list;
    list.Add("Uart0");
    list.Add("Uart1");

    ASSERT_NE(list.GetNext(), nullptr);
    EXPECT_STREQ(list.GetNext()->GetAscii(), "Uart1");
    list.Clear();
    list.Add("Bulk0");
    KoString* const first = list.GetNext();
    ASSERT_NE(first, nullptr);
    EXPECT_STREQ(first->GetAscii(), "Bulk0");
    EXPECT_EQ(list.GetNext(), nullptr);
}

TEST(KoStringListTest, TakesACopyOfEachTextAndGivesItsOwn)
{
    KoString text("Uart0");
    KoStringList list;
    list.Add(text);
    text = KoString("Uart1");
    KoString* const own = list.GetFirst();

    ASSERT_NE(own, nullptr);
    EXPECT_STREQ(own->GetAscii(), "Uart0");
    EXPECT_EQ(list.GetFirst(), own);
}

TEST(KoStringListTest, LetsItsTextsBeChangedInPlace)
{
    KoStringList list;
    list.Add("Uart0");
    *list.GetFirst() = KoString("Uart1");

    EXPECT_EQ(Walk(list), std::vector<std::string>{"Uart1"});
}
