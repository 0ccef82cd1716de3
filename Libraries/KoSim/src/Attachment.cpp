#include "Attachment.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <stdexcept>

namespace KoSim
{
namespace
{

struct Place
{
    const void* mPlace;
    std::size_t mCount;
};

std::mutex sMutex; ///< guards sPlaces

/// Where things are plugged in, by thing. It is never destroyed: a device may end after every other static object.
std::map<const void*, Place>& sPlaces = *new std::map<const void*, Place>();

} // namespace

Attachment::Attachment(const void* aThing, const void* aPlace, const char* aRefusal) : mThing(aThing)
{
    if (mThing == nullptr)
    {
        return;
    }
    const std::lock_guard<std::mutex> lock(sMutex);
    Place& place = sPlaces.emplace(mThing, Place{aPlace, 0}).first->second;
    if (place.mPlace != aPlace)
    {
        throw std::invalid_argument(aRefusal);
    }
    ++place.mCount;
}

Attachment::~Attachment()
{
    const std::lock_guard<std::mutex> lock(sMutex);
    const auto place = sPlaces.find(mThing);
    if (place != sPlaces.end() && --place->second.mCount == 0)
    {
        sPlaces.erase(place);
    }
}

} // namespace KoSim
