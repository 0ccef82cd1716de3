#include "FunctionCaps.h"

#include <KuUtilsLib/LockScope.h>

namespace KoSerialLib
{

std::set<std::string> sFunctionCapsNSSet;
KuUtilsLib::Mutex sFunctionCapsNSSetMutex(nullptr, nullptr);

bool IsFunctionCapsNS(const char* aDeviceId)
{
    const KuUtilsLib::LockScope lock(&sFunctionCapsNSSetMutex);
    return sFunctionCapsNSSet.count(aDeviceId) != 0;
}

void ReportFunctionCapsNS(const char* aDeviceId)
{
    const KuUtilsLib::LockScope lock(&sFunctionCapsNSSetMutex);
    sFunctionCapsNSSet.insert(aDeviceId);
}

} // namespace KoSerialLib
