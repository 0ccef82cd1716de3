#pragma once

#include <IKoDeviceAdapter.h>
#include <KoString.h>
#include <KuUtilsLib/Result.h>

#include <list>

namespace KoSerialLib
{

/// Sets enumeration features of a device for the length of one operation, such as the selector that the other features
/// depend on.
///
/// What it has set is set once more when it goes, newest first. A feature does not get back the value from before: it
/// stays on the one that the operation needed.
class StateStack
{
public:
    /// @param aDevice not owned; must outlive this object; may be NULL as long as nothing is set
    explicit StateStack(IKoDeviceAdapter* aDevice);

    /// Sets every feature again that SetValue() has changed; failures are ignored.
    ~StateStack();

    StateStack(const StateStack&) = delete;
    StateStack& operator=(const StateStack&) = delete;

    /// Sets a feature unless it has that value already or cannot be read.
    /// @return OK; the code of the device when the write fails, without a text and without a log entry
    KuUtilsLib::Result SetValue(const KoString& aName, const KoString& aValue);

protected:
    struct State
    {
        KoString name;
        KoString value;
    };

    IKoDeviceAdapter* mDevice;
    std::list<State> mStates; ///< what was set, oldest first
};

} // namespace KoSerialLib
