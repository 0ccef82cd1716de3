#pragma once

#include "UartFixture.h"

#include <KoDeviceSerial.h>
#include <KoSim/SimulatedDevice.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// A bulk port of a simulated device, with the engine that runs a bus there.
struct BusPort
{
    const char* mName;
    KoSim::DeviceProfile (*mProfile)();
    KoDeviceSerial mPort;
};

/// Keeps pointers, which differ from run to run, out of the names of tests.
inline void PrintTo(const BusPort& aPort, std::ostream* aStream)
{
    *aStream << aPort.mName;
}

inline std::string GetBusPortName(const ::testing::TestParamInfo<BusPort>& aInfo)
{
    return aInfo.param.mName;
}

inline KoSim::Port ToSimulatedPort(KoDeviceSerial aPort)
{
    return static_cast<KoSim::Port>(aPort);
}

/// Chooses what a bulk port is, as an application does with its device.
inline void SetBulkMode(KoSim::SimulatedDevice& aDevice, KoDeviceSerial aPort, const char* aMode)
{
    const std::string name = "Bulk" + std::to_string(aPort - KoDeviceSerialBulk0);
    if (aDevice.IsGenEnumPresent("BulkSelector"))
    {
        ASSERT_TRUE(aDevice.SetGenEnumValue("BulkSelector", name.c_str()).IsOK());
    }
    ASSERT_TRUE(aDevice.SetGenEnumValue("BulkMode", aMode).IsOK());
}

/// As MakeText().
inline Bytes MakeBytes(std::size_t aLength, std::uint32_t aSeed = 1)
{
    const std::string text = MakeText(aLength, aSeed);
    return {text.begin(), text.end()};
}
