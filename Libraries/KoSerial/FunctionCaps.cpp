#include "FunctionCaps.h"

#include <KuUtilsLib/LockScope.h>
#include <KuUtilsLib/Mutex.h>

#include <set>
#include <string>

namespace KoSerialLib
{
namespace
{

std::set<std::string> sFunctionCapsNSSet;
KuUtilsLib::Mutex sFunctionCapsNSSetMutex(nullptr, nullptr);

} // namespace

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
