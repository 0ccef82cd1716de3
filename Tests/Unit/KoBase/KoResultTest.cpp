#include <KoResult.h>

#include "CanCompare.h"
#include "CodeNames.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace
{

KoResult RunOutOfTime()
{
    return KoResult::TIMEOUT;
}

std::string Write(const KoResult& aResult)
{
    std::ostringstream stream;
    stream << aResult << '.';
    return stream.str();
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

TEST(KoResultTest, ComparesWithACodeOnEitherSide)
{
    const KoResult late(KoResult::TIMEOUT, "too late");

    EXPECT_TRUE(late == KoResult::TIMEOUT);
    EXPECT_TRUE(KoResult::TIMEOUT == late);
    EXPECT_FALSE(late != KoResult::TIMEOUT);
    EXPECT_FALSE(KoResult::TIMEOUT != late);
    EXPECT_FALSE(late == KoResult::OK);
    EXPECT_FALSE(KoResult::OK == late);
    EXPECT_TRUE(late != KoResult::OK);
    EXPECT_TRUE(KoResult::OK != late);
    EXPECT_TRUE(KoResult(KoResult::OK) == KoResult::OK);
}

TEST(KoResultTest, ComparesWithNothingElse)
{
    EXPECT_FALSE(CAN_COMPARE_WITH_ZERO<KoResult>);
    EXPECT_FALSE((CanCompare<KoResult, int>()));
    EXPECT_FALSE((CanCompare<KoResult, std::uint32_t>()));
    EXPECT_FALSE((CanCompare<KoResult, bool>()));
    EXPECT_FALSE((CanCompare<KoResult, std::nullptr_t>()));
    EXPECT_FALSE((CanCompare<KoResult, const char*>()));
    EXPECT_FALSE((CanCompare<KoResult, KoResult>()));
    EXPECT_TRUE((CanCompare<KoResult, KoResult::Code>()));
}

TEST(KoResultTest, LeavesTheComparisonOfPlainCodesAlone)
{
    const std::uint32_t code = RunOutOfTime().GetCode();

    EXPECT_TRUE(code == KoResult::TIMEOUT);
    EXPECT_TRUE(KoResult::OK != code);
    EXPECT_TRUE(KoResult::OK == 0);
}

TEST(KoResultTest, WritesTheNameOfItsCode)
{
    EXPECT_EQ(Write(KoResult(KoResult::OK)), "OK.");
    EXPECT_EQ(Write(KoResult(KoResult::TIMEOUT)), "TIMEOUT.");
}

TEST(KoResultTest, WritesItsDescriptionBehindTheName)
{
    EXPECT_EQ(Write(KoResult(KoResult::TIMEOUT, "too late")), "TIMEOUT: too late.");
}

TEST(KoResultTest, WritesTheNumberOfAnUnknownCode)
{
    EXPECT_EQ(Write(KoResult(4711U)), "UNKNOWN_ERROR 4711.");
    EXPECT_EQ(Write(KoResult(4711U, "odd")), "UNKNOWN_ERROR 4711: odd.");
}
