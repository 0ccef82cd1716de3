#pragma once

#include <KuUtilsLib/Mutex.h>

#include <set>
#include <string>

namespace KoSerialLib
{

/// Identities of the devices whose function capabilities register is known to be unreadable ("not supported"), and
/// their guard.
extern std::set<std::string> sFunctionCapsNSSet;
extern KuUtilsLib::Mutex sFunctionCapsNSSetMutex;

/// True when that device is among them.
/// Any thread may ask. aDeviceId must not be NULL; the empty text is an identity like any other.
bool IsFunctionCapsNS(const char* aDeviceId);

/// Remembers, until the process ends, that the function capabilities register of that device cannot be read.
/// Any thread may report. aDeviceId must not be NULL.
void ReportFunctionCapsNS(const char* aDeviceId);

} // namespace KoSerialLib
