#pragma once

#include <functional>
#include <string>

/// The message of the failure that an action ends with, which must have that exit status.
std::string GetComplaint(int aExitStatus, const std::function<void()>& aAction);
