#include "FeatureTree.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace KoSim
{
namespace
{

const std::string NO_SELECTOR;
const std::string NO_ENTRY;

constexpr std::int64_t WORD_SIZE = 4;

} // namespace

std::int64_t Block::GetPaddedLength() const
{
    const std::int64_t beyondLastWord = mLength % WORD_SIZE;
    const std::int64_t padding = beyondLastWord > 0 ? WORD_SIZE - beyondLastWord : 0;
    return mLength > std::numeric_limits<std::int64_t>::max() - padding ? mLength : mLength + padding;
}

const Enumeration* FeatureTree::FindEnumeration(const std::string& aName) const
{
    const auto found = mEnumerations.find(aName);
    return found == mEnumerations.end() ? nullptr : &found->second;
}

Enumeration* FeatureTree::FindEnumeration(const std::string& aName)
{
    const auto found = mEnumerations.find(aName);
    return found == mEnumerations.end() ? nullptr : &found->second;
}

bool FeatureTree::IsEntryAvailable(const std::string& aName, const std::string& aEntry) const
{
    const Enumeration* const enumeration = FindEnumeration(aName);
    return enumeration != nullptr && enumeration->mUnavailable.count(aEntry) == 0 &&
           std::count(enumeration->mEntries.begin(), enumeration->mEntries.end(), aEntry) != 0;
}

const std::string& FeatureTree::GetEnumValue(const std::string& aName) const
{
    const Enumeration* const enumeration = FindEnumeration(aName);
    return enumeration == nullptr ? NO_ENTRY : GetEnumValue(aName, GetSelected(*enumeration));
}

const std::string& FeatureTree::GetEnumValue(const std::string& aName, const std::string& aSelected) const
{
    const Enumeration* const enumeration = FindEnumeration(aName);
    if (enumeration == nullptr)
    {
        return NO_ENTRY;
    }
    const bool isSwitched = FindEnumeration(enumeration->mSelector) != nullptr;
    const auto value = enumeration->mValues.find(isSwitched ? aSelected : NO_SELECTOR);
    return value == enumeration->mValues.end() ? enumeration->mDefault : value->second;
}

void FeatureTree::SetEnumValue(const std::string& aName, const std::string& aEntry)
{
    Enumeration* const enumeration = FindEnumeration(aName);
    if (enumeration == nullptr)
    {
        return;
    }
    enumeration->mValues[GetSelected(*enumeration)] = aEntry;
    Invalidate(aName);
    for (const auto& [name, other] : mEnumerations)
    {
        if (other.mSelector == aName)
        {
            Invalidate(name);
        }
    }
}

void FeatureTree::SetInteger(const std::string& aName, std::int64_t aValue)
{
    const auto found = mIntegers.find(aName);
    if (found != mIntegers.end())
    {
        found->second = aValue;
    }
}

std::int64_t FeatureTree::GetBlockLength(const std::string& aName) const
{
    const auto found = mBlocks.find(aName);
    return found == mBlocks.end() ? 0 : found->second.mLength;
}

void FeatureTree::Remove(const std::string& aName)
{
    mIntegers.erase(aName);
    mEnumerations.erase(aName);
    mBlocks.erase(aName);
}

bool FeatureTree::Watch(const std::string& aName)
{
    if (!Has(aName))
    {
        return false;
    }
    ++mWatched[aName];
    return true;
}

bool FeatureTree::Unwatch(const std::string& aName)
{
    const auto watched = mWatched.find(aName);
    if (watched == mWatched.end())
    {
        return false;
    }
    if (--watched->second == 0)
    {
        mWatched.erase(watched);
    }
    return true;
}

void FeatureTree::Invalidate(const std::string& aName)
{
    if (mWatched.count(aName) != 0)
    {
        mInvalidated.push_back(aName);
    }
}

std::vector<std::string> FeatureTree::TakeInvalidated()
{
    return std::exchange(mInvalidated, {});
}

const std::string& FeatureTree::GetSelected(const Enumeration& aEnumeration) const
{
    return FindEnumeration(aEnumeration.mSelector) == nullptr ? NO_SELECTOR : GetEnumValue(aEnumeration.mSelector);
}

bool FeatureTree::Has(const std::string& aName) const
{
    return mIntegers.count(aName) + mEnumerations.count(aName) + mBlocks.count(aName) != 0;
}

} // namespace KoSim
