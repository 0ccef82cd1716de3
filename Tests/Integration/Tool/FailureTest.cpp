#include <Failure.h>

#include <gtest/gtest.h>

#include <cerrno>

using namespace KoTool;

TEST(Failure, OfADeviceTellsCodeAndDescription)
{
    const Failure failure =
        MakeDeviceFailure("cannot open uart0", KoResult(KoResult::GENERIC_ERROR, KoString("It is in use.")));
    EXPECT_STREQ(failure.what(), "cannot open uart0: GENERIC_ERROR: It is in use.");
    EXPECT_EQ(failure.GetExitStatus(), 1);
}

TEST(Failure, OfADeviceWithoutDescriptionTellsTheCode)
{
    EXPECT_STREQ(MakeDeviceFailure("cannot open bulk0", KoResult(KoResult::NOT_SUPPORTED)).what(),
                 "cannot open bulk0: NOT_SUPPORTED");
}

TEST(Failure, OfASystemCallTellsTheReason)
{
    const Failure failure = MakeSystemFailure("cannot open a.txt", ENOENT);
    EXPECT_STREQ(failure.what(), "cannot open a.txt: No such file or directory");
    EXPECT_EQ(failure.GetExitStatus(), 1);
}

TEST(Failure, OfUsageHasAStatusOfItsOwn)
{
    EXPECT_EQ(MakeUsageFailure("no").GetExitStatus(), 2);
}

TEST(Failure, DoesNotPassControlCharactersOn)
{
    EXPECT_STREQ(MakeUsageFailure(std::string("no '\0\x1b[2J' here\nor there", 21)).what(), "no '??[2J' here\nor th");
}
