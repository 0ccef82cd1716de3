#pragma once

namespace KoTool
{

/// Closes a port or a bus if it is open, or gives it up when its device is gone.
template <typename Object>
void CloseOrAbandon(Object& aObject)
{
    if (aObject.IsOpened() && !aObject.Close().IsOK())
    {
        aObject.Abandon();
    }
}

} // namespace KoTool
