#include <KuUtilsLib/Result.h>

#include "CodeNames.h"

#include <gtest/gtest.h>

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
