#include "StateStack.h"

#include <KoResult.h>

namespace KoSerialLib
{

StateStack::StateStack(IKoDeviceAdapter* aDevice) : mDevice(aDevice) {}

StateStack::~StateStack()
{
    while (!mStates.empty())
    {
        const State& last = mStates.back();
        mDevice->SetGenEnumValue(last.name, last.value);
        mStates.pop_back();
    }
}

KuUtilsLib::Result StateStack::SetValue(const KoString& aName, const KoString& aValue)
{
    KoString current;
    const bool mustChange = mDevice->GetGenEnumValue(aName, current).IsOK() && current != aValue;
    if (!mustChange)
    {
        return KuUtilsLib::Result(KoResult::OK);
    }
    const KoResult set = mDevice->SetGenEnumValue(aName, aValue);
    if (set.IsOK())
    {
        mStates.push_back({aName, aValue});
    }
    return KuUtilsLib::Result(set.GetCode());
}

} // namespace KoSerialLib
