#pragma once

#include <chrono>
#include <thread>

/// Waits until aCondition() holds. False when it still does not after half a minute, which no sound test reaches.
template <typename Condition>
bool WaitUntil(Condition aCondition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!aCondition())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
