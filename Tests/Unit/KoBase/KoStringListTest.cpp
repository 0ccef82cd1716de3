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

TEST(KoStringListTest, LetsItsTextsBeChangedInPlace)
{
    KoStringList list;
    list.Add("Uart0");
    *list.GetFirst() = KoString("Uart1");

    EXPECT_EQ(Walk(list), std::vector<std::string>{"Uart1"});
}
