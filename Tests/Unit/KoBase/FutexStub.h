#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <vector>

/// Answers the futex calls of one thread in place of the kernel as long as it lives: notes each, never sleeps and fails
/// with an error. Ends a thread that calls for ever.
class FutexStub
{
public:
    struct Call
    {
        int mOperation;
        std::uint32_t mValue;
        timespec mDeadline; ///< zero when the call has none
    };

    /// @param aError what errno tells after each call; 0 lets the calls succeed, and leaves errno as it was
    explicit FutexStub(int aError);
    ~FutexStub();
    FutexStub(const FutexStub&) = delete;
    FutexStub& operator=(const FutexStub&) = delete;

    long Answer(const Call& aCall);

    std::vector<Call> mCalls;
    std::function<void()> mWhileAsleep; ///< what others do while a call sleeps; may be empty

private:
    const int mError;
};
