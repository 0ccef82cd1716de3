#include <KuUtilsLib/Event.h>

#include <KoResult.h>

#include <chrono>

namespace KuUtilsLib
{

Event::Event(bool aManualReset) : mManualReset(aManualReset) {}

Result Event::Set()
{
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mSet = true;
    }
    if (mManualReset)
    {
        mCondition.notify_all();
    }
    else
    {
        mCondition.notify_one();
    }
    return Result(KoResult::OK);
}

Result Event::Reset()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mSet = false;
    return Result(KoResult::OK);
}

Result Event::Wait_ms(std::uint32_t aTimeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(aTimeoutMs);
    std::unique_lock<std::mutex> lock(mMutex);
    if (!mCondition.wait_until(lock, deadline, [this] { return mSet; }))
    {
        return Result(KoResult::TIMEOUT);
    }
    mSet = mManualReset;
    return Result(KoResult::OK);
}

} // namespace KuUtilsLib
