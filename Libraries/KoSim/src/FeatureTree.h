#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace KoSim
{

/// One enumeration feature.
struct Enumeration
{
    std::vector<std::string> mEntries{}; ///< in the order in which the device lists them
    std::string mDefault{};
    std::string mSelector{}; ///< enumeration that switches between values of this one; empty for none
    bool mReadable = true;
    bool mWritable = true;
    std::set<std::string> mUnavailable{}; ///< entries that cannot be chosen now
    std::map<std::string, std::string>
        mValues{}; ///< current entry by entry of the selector, where it is not the default
};

/// One register feature: a raw block of bytes of the device, seen by its length.
struct Block
{
    std::int64_t mLength = 0;

    /// The length of the register behind the feature, which has whole words.
    std::int64_t GetPaddedLength() const;
};

/// The GenICam features of a device, by name, and which of them are watched.
///
/// What the features mean is not known here: this is the tree as a host walks it.
class FeatureTree
{
public:
    std::map<std::string, std::int64_t> mIntegers;
    std::map<std::string, Enumeration> mEnumerations;
    std::map<std::string, Block> mBlocks;

    /// The enumeration of that name, or NULL.
    const Enumeration* FindEnumeration(const std::string& aName) const;
    Enumeration* FindEnumeration(const std::string& aName);

    /// True when the enumeration exists and the entry can be chosen now.
    bool IsEntryAvailable(const std::string& aName, const std::string& aEntry) const;

    /// The current entry of an enumeration, empty when there is no such enumeration; of one that is switched by a
    /// selector, for the selected case or for aSelected.
    const std::string& GetEnumValue(const std::string& aName) const;
    const std::string& GetEnumValue(const std::string& aName, const std::string& aSelected) const;

    /// Chooses an entry of an enumeration, and invalidates what depends on it; does nothing when there is no such
    /// enumeration.
    void SetEnumValue(const std::string& aName, const std::string& aEntry);

    /// True when there is a feature of that name.
    bool Has(const std::string& aName) const;

    /// Gives an integer a value; does nothing when there is no such integer.
    void SetInteger(const std::string& aName, std::int64_t aValue);

    /// Length of a block; 0 when there is no such block.
    std::int64_t GetBlockLength(const std::string& aName) const;

    /// Takes a feature away.
    void Remove(const std::string& aName);

    /// Watches a feature, or stops it; a feature may be watched several times. False when there is no such feature, or
    /// it was not watched.
    bool Watch(const std::string& aName);
    bool Unwatch(const std::string& aName);

    /// Marks a feature as changed; watched features end up in TakeInvalidated().
    void Invalidate(const std::string& aName);

    /// Takes out the names of the watched features that have changed, oldest first.
    std::vector<std::string> TakeInvalidated();

private:
    const std::string& GetSelected(const Enumeration& aEnumeration) const;
    std::map<std::string, int> mWatched;
    std::vector<std::string> mInvalidated;
};

} // namespace KoSim
