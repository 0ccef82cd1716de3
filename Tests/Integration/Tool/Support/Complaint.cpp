#include "Support/Complaint.h"

#include <Failure.h>

#include <gtest/gtest.h>

std::string GetComplaint(int aExitStatus, const std::function<void()>& aAction)
{
    try
    {
        aAction();
    }
    catch (const KoTool::Failure& failure)
    {
        EXPECT_EQ(failure.GetExitStatus(), aExitStatus) << failure.what();
        return failure.what();
    }
    ADD_FAILURE() << "no failure";
    return "";
}
