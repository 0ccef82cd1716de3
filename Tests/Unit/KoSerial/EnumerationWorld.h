#pragma once

#include "EmptyAdapter.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// The enumerations of a device, in plain texts, and the calls that were made on them.
///
/// With "BulkSelector" present, every other feature whose name begins with "Bulk" has a value for each selected port.
struct EnumerationWorld
{
    struct Feature
    {
        bool mPresent = false;
        bool mReadable = true;
        bool mWritable = true;
        std::vector<std::string> mEntries;
    };

    bool Has(const std::string& aName) { return Answer("Has " + aName) && Find(aName).mPresent; }

    bool CanRead(const std::string& aName)
    {
        return Answer("CanRead " + aName) && Find(aName).mPresent && Find(aName).mReadable;
    }

    bool CanWrite(const std::string& aName)
    {
        return Answer("CanWrite " + aName) && Find(aName).mPresent && Find(aName).mWritable;
    }

    bool Read(const std::string& aName, std::string& aValue)
    {
        if (!Answer("Read " + aName) || !Find(aName).mPresent || !Find(aName).mReadable)
        {
            aValue = mSpoilsOutput ? "Spoilt" : aValue;
            return false;
        }
        aValue = Show(aName);
        return true;
    }

    bool Write(const std::string& aName, const std::string& aValue)
    {
        const Feature& feature = Find(aName);
        const bool accepted = Answer("Write " + aName + ' ' + aValue) && feature.mPresent && feature.mWritable &&
                              std::count(feature.mEntries.begin(), feature.mEntries.end(), aValue) != 0;
        if (accepted)
        {
            mValues[Key(aName)] = aValue;
        }
        return accepted;
    }

    bool List(const std::string& aName, std::vector<std::string>& aEntries)
    {
        const bool listed = Answer("List " + aName) && Find(aName).mPresent;
        if (listed)
        {
            aEntries = Find(aName).mEntries;
        }
        return listed;
    }

    bool Watch(const std::string& aName) { return Answer("Watch " + aName); }
    bool Unwatch(const std::string& aName) { return Answer("Unwatch " + aName); }

    /// What a feature shows now; its first entry when it was never set.
    std::string Show(const std::string& aName)
    {
        const auto value = mValues.find(Key(aName));
        return value == mValues.end() ? Find(aName).mEntries.front() : value->second;
    }

    std::vector<std::string> TakeCalls() { return std::exchange(mCalls, {}); }

    std::map<std::string, Feature> mFeatures;
    std::map<std::string, std::string> mValues;
    std::set<std::size_t> mFailing; ///< the numbers of the calls that fail, from 0
    bool mSpoilsOutput = false;     ///< whether a read that fails changes its output

private:
    const Feature& Find(const std::string& aName) { return mFeatures[aName]; }

    std::string Key(const std::string& aName)
    {
        const bool isSelected = aName.compare(0, 4, "Bulk") == 0 && aName != "BulkSelector";
        return isSelected && Find("BulkSelector").mPresent ? Show("BulkSelector") + ' ' + aName : aName;
    }

    bool Answer(const std::string& aCall)
    {
        mCalls.push_back(aCall);
        return mFailing.count(mCount++) == 0;
    }

    std::vector<std::string> mCalls;
    std::size_t mCount = 0;
};

/// These enumerations as the library reaches them.
class EnumerationAdapter : public EmptyAdapter
{
public:
    explicit EnumerationAdapter(EnumerationWorld& aWorld) : mWorld(aWorld) {}

    bool IsGenEnumPresent(const KoString& aName) override { return mWorld.Has(aName.GetAscii()); }
    bool IsGenEnumReadable(const KoString& aName) override { return mWorld.CanRead(aName.GetAscii()); }
    bool IsGenEnumWritable(const KoString& aName) override { return mWorld.CanWrite(aName.GetAscii()); }

    KoResult GetGenEnumEntries(const KoString& aName, KoStringList& aEntries) override
    {
        std::vector<std::string> entries;
        const bool listed = mWorld.List(aName.GetAscii(), entries);
        for (const std::string& entry : entries)
        {
            aEntries.Add(KoString(entry.c_str()));
        }
        return ToResult(listed);
    }

    KoResult GetGenEnumValue(const KoString& aName, KoString& aValue) override
    {
        std::string value = aValue.GetAscii();
        const bool read = mWorld.Read(aName.GetAscii(), value);
        aValue = KoString(value.c_str());
        return ToResult(read);
    }

    KoResult SetGenEnumValue(const KoString& aName, const KoString& aValue) override
    {
        return ToResult(mWorld.Write(aName.GetAscii(), aValue.GetAscii()));
    }

    KoResult RegisterGenInvalidator(const KoString& aName) override { return ToResult(mWorld.Watch(aName.GetAscii())); }

    KoResult UnregisterGenInvalidator(const KoString& aName) override
    {
        return ToResult(mWorld.Unwatch(aName.GetAscii()));
    }

private:
    static KoResult ToResult(bool aDone) { return aDone ? Ok() : KoResult(4711, KoString("The device is on fire.")); }

    EnumerationWorld& mWorld;
};
