#pragma once

#include <KoSim/FaultInjectingAdapter.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The calls that one operation of the library made, for a model to go through in the order that it expects.
class FaultSweepCalls
{
public:
    using Entries = std::vector<KoSim::FaultInjectingAdapter::LogEntry>;

    explicit FaultSweepCalls(Entries aEntries) : mEntries(std::move(aEntries)) {}

    /// Takes the next call, which must be aCall or begin with its words. True when no fault made it fail.
    bool Ok(const std::string& aCall)
    {
        if (mNext == mEntries.size())
        {
            Complain("nothing where \"" + aCall + "\" should be");
            return true;
        }
        const KoSim::FaultInjectingAdapter::LogEntry& entry = mEntries[mNext++];
        if (entry.mCall != aCall && entry.mCall.compare(0, aCall.size() + 1, aCall + ' ') != 0)
        {
            Complain("\"" + entry.GetText() + "\" where \"" + aCall + "\" should be");
        }
        return !entry.IsFailed();
    }

    bool HasNext() const { return mNext < mEntries.size(); }

    /// The result of the call that was taken last, which failed.
    std::uint32_t GetCode() const { return mEntries[mNext - 1].mFault->mCode; }
    std::string GetDescription() const { return "Injected into " + mEntries[mNext - 1].mCall; }

    /// What differs from what was expected; empty when nothing does and every call was taken.
    std::string GetComplaint()
    {
        if (HasNext())
        {
            Complain("\"" + mEntries[mNext].GetText() + "\" where nothing more should be");
        }
        return mComplaint;
    }

private:
    void Complain(const std::string& aText)
    {
        if (mComplaint.empty())
        {
            mComplaint = aText;
        }
    }

    const Entries mEntries;
    std::size_t mNext = 0;
    std::string mComplaint;
};
