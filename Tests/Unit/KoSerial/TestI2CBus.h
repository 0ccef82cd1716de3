#pragma once

#include <DeviceI2CBus.h>

inline const char* const UNOPENED = "%s failed. You must first call Open before using this function";

/// A bus that shows its engine and its logger.
class TestI2CBus : public KoSerialLib::DeviceI2CBus
{
public:
    using DeviceI2CBus::mEngine;
    using DeviceI2CBus::mLogger;
};
