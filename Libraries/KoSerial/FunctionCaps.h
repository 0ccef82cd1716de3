#pragma once

namespace KoSerialLib
{

/// True when the function capabilities register of that device is known to be unreadable ("not supported").
/// Any thread may ask. aDeviceId must not be NULL; the empty text is an identity like any other.
bool IsFunctionCapsNS(const char* aDeviceId);

/// Remembers, until the process ends, that the function capabilities register of that device cannot be read.
/// Any thread may report. aDeviceId must not be NULL.
void ReportFunctionCapsNS(const char* aDeviceId);

} // namespace KoSerialLib
