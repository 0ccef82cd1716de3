#pragma once

#include "LaidOpen.h"

#include <SerialPortIPEngine.h>

constexpr std::uint32_t INTENABLE = 0xB838;
constexpr std::uint32_t UART0_DATA = 0xB84C;
constexpr std::uint32_t UART1_DATA = 0xB850;
constexpr std::uint16_t SERIAL_INTERRUPT = 0x9000;

/// The UART engine with its state laid open.
using TestUart = LaidOpen<KoSerialLib::SerialPortIPEngine>;

/// A UART engine on a scripted device that offers two UARTs.
class UartTest : public BareHostTest
{
protected:
    ~UartTest() override
    {
        if (mUart.IsOpened())
        {
            mDevice.mConnected = true;
            mUart.Close();
        }
    }

    /// Opens the port and forgets the calls and entries that this took.
    void Open(KoDeviceSerial aPort)
    {
        ASSERT_TRUE(mUart.Open(&mDevice, aPort).IsOK());
        mDevice.TakeCalls();
        mHost.mLog.clear();
        mHost.mTaken.clear();
    }

    TestUart mUart;
};
