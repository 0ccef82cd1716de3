#include <KoResult.h>

#include "CodeNames.h"

#include <gtest/gtest.h>

namespace
{

KoResult RunOutOfTime()
{
    return KoResult::TIMEOUT;
}

} // namespace

TEST(KoResultTest, NumbersItsCodesAsTheHostDoes)
{
    EXPECT_EQ(KoResult::OK, 0U);
    EXPECT_EQ(KoResult::NOT_CONNECTED, 23U);
    EXPECT_EQ(KoResult::NOT_FOUND, 25U);
    EXPECT_EQ(KoResult::NOT_SUPPORTED, 26U);
    EXPECT_EQ(KoResult::BUFFER_TOO_SMALL, 27U);
    EXPECT_EQ(KoResult::STATE_ERROR, 28U);
    EXPECT_EQ(KoResult::TIMEOUT, 30U);
    EXPECT_EQ(KoResult::NOT_OPENED, 0x605U);
    EXPECT_EQ(KoResult::GENERIC_ERROR, 0x4000U);
    EXPECT_EQ(KoResult::INVALID_PARAMETER, 0x4001U);
}

TEST(KoResultTest, IsASuccessForCodeZeroOnly)
{
    EXPECT_TRUE(KoResult(KoResult::OK).IsOK());
    EXPECT_FALSE(KoResult(1U).IsOK());
    EXPECT_FALSE(KoResult(KoResult::INVALID_PARAMETER).IsOK());
}

TEST(KoResultTest, StaysASuccessWithADescription)
{
    EXPECT_TRUE(KoResult(KoResult::OK, "by the way").IsOK());
}

TEST(KoResultTest, NamesEveryCode)
{
    for (const auto& [code, name] : CODE_NAMES)
    {
        EXPECT_STREQ(KoResult(code).GetCodeString(), name);
    }
}

TEST(KoResultTest, NamesAnUnknownCodeToo)
{
    EXPECT_STREQ(KoResult(4711U).GetCodeString(), "UNKNOWN_ERROR");
}

TEST(KoResultTest, ConvertsToItsNameForASuccessAndToNullForAFailure)
{
    const char* const success = KoResult(KoResult::OK);
    const char* const failure = KoResult(KoResult::TIMEOUT, "too late");

    EXPECT_STREQ(success, "OK");
    EXPECT_EQ(failure, nullptr);
}

TEST(KoResultTest, CarriesItsCodeAndDescription)
{
    const KoResult result(KoResult::NOT_FOUND, "no such port");

    EXPECT_EQ(result.GetCode(), KoResult::NOT_FOUND);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "no such port");
}

TEST(KoResultTest, HasAnEmptyDescriptionUnlessOneIsGiven)
{
    EXPECT_EQ(KoResult(KoResult::NOT_FOUND).GetDescription().GetLength(), 0U);
}

TEST(KoResultTest, CanBeReturnedAsACode)
{
    EXPECT_EQ(RunOutOfTime().GetCode(), KoResult::TIMEOUT);
}

TEST(KoResultTest, KeepsACopyWhenTheOriginalIsAssignedAnother)
{
    KoResult original(KoResult::NOT_FOUND, "no such port");
    const KoResult copy(original);
    original = KoResult(KoResult::OK);

    EXPECT_EQ(copy.GetCode(), KoResult::NOT_FOUND);
    EXPECT_STREQ(copy.GetDescription().GetAscii(), "no such port");
    EXPECT_TRUE(original.IsOK());
    EXPECT_EQ(original.GetDescription().GetLength(), 0U);
}
