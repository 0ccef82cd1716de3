#include <KuUtilsLib/Result.h>

#include "CanCompare.h"
#include "CodeNames.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using KuUtilsLib::Result;

TEST(ResultTest, HasNoTextUnlessOneIsGiven)
{
    const Result result(KoResult::TIMEOUT);

    EXPECT_EQ(result.GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(result.GetDescription(), nullptr);
}

TEST(ResultTest, TakesNullAndTheEmptyTextForNoText)
{
    EXPECT_EQ(Result(KoResult::TIMEOUT, nullptr).GetDescription(), nullptr);
    EXPECT_EQ(Result(KoResult::TIMEOUT, "").GetDescription(), nullptr);
}

TEST(ResultTest, KeepsACopyOfItsText)
{
    std::string source = "too late";
    const Result result(KoResult::TIMEOUT, source.c_str());
    source = "in time!";

    EXPECT_STREQ(result.GetDescription(), "too late");
}

TEST(ResultTest, NamesEveryCode)
{
    for (const auto& [code, name] : CODE_NAMES)
    {
        EXPECT_STREQ(Result(code).GetCodeString(), name);
    }
}

TEST(ResultTest, NamesAnUnknownCodeToo)
{
    EXPECT_STREQ(Result(4711U).GetCodeString(), "UNKNOWN_ERROR");
}

TEST(ResultTest, GivesItsTextToCopies)
{
    Result copy(KoResult::OK);
    {
        const Result original(KoResult::STATE_ERROR, "not now");
        copy = original;
    }

    EXPECT_EQ(copy.GetCode(), KoResult::STATE_ERROR);
    EXPECT_STREQ(copy.GetDescription(), "not now");
}

TEST(ResultTest, ComparesWithACodeOnEitherSide)
{
    const Result late(KoResult::TIMEOUT, "too late");

    EXPECT_TRUE(late == KoResult::TIMEOUT);
    EXPECT_TRUE(KoResult::TIMEOUT == late);
    EXPECT_FALSE(late != KoResult::TIMEOUT);
    EXPECT_FALSE(KoResult::TIMEOUT != late);
    EXPECT_FALSE(late == KoResult::OK);
    EXPECT_FALSE(KoResult::OK == late);
    EXPECT_TRUE(late != KoResult::OK);
    EXPECT_TRUE(KoResult::OK != late);
}

TEST(ResultTest, ComparesWithNothingElse)
{
    EXPECT_FALSE(CAN_COMPARE_WITH_ZERO<Result>);
    EXPECT_FALSE((CanCompare<Result, int>()));
    EXPECT_FALSE((CanCompare<Result, bool>()));
    EXPECT_FALSE((CanCompare<Result, std::nullptr_t>()));
    EXPECT_FALSE((CanCompare<Result, Result>()));
    EXPECT_FALSE((CanCompare<Result, KoResult>()));
}

TEST(ResultTest, IsWrittenLikeTheResultOfAnOperation)
{
    std::ostringstream stream;
    stream << Result(KoResult::OK) << ", " << Result(KoResult::TIMEOUT, "too late") << ", " << Result(4711U);

    EXPECT_EQ(stream.str(), "OK, TIMEOUT: too late, UNKNOWN_ERROR 4711");
}
