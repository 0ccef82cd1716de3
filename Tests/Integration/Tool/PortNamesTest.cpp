#include <PortNames.h>

#include <Failure.h>

#include "Support/Complaint.h"

#include <gtest/gtest.h>

using namespace KoTool;

TEST(PortNames, NameEveryPort)
{
    EXPECT_STREQ(GetPortName(KoDeviceSerialUart0), "uart0");
    EXPECT_STREQ(GetPortName(KoDeviceSerialUart1), "uart1");
    EXPECT_STREQ(GetPortName(KoDeviceSerialBulk0), "bulk0");
    EXPECT_STREQ(GetPortName(KoDeviceSerialBulk7), "bulk7");
}

TEST(PortNames, AreReadAsTheyAreWritten)
{
    for (const KoDeviceSerial port : ALL_PORTS)
    {
        EXPECT_EQ(ParsePortName(GetPortName(port)), port);
    }
}

TEST(PortNames, AreReadInUpperAndLowerCase)
{
    EXPECT_EQ(ParsePortName("UART1"), KoDeviceSerialUart1);
    EXPECT_EQ(ParsePortName("Bulk3"), KoDeviceSerialBulk3);
}

TEST(PortNames, AreListedWhenOneIsUnknown)
{
    for (const std::string name : {"", "uart", "uart2", "uart00", "bulk8", "0"})
    {
        try
        {
            ParsePortName(name);
            ADD_FAILURE() << name;
        }
        catch (const Failure& failure)
        {
            EXPECT_EQ(failure.GetExitStatus(), STATUS_USAGE);
            EXPECT_EQ(failure.what(), "unknown port '" + name +
                                          "': the ports are uart0, uart1, bulk0, bulk1, bulk2, bulk3, bulk4, bulk5, "
                                          "bulk6 and bulk7");
        }
    }
}

TEST(PortNames, TellBulkPortsFromUarts)
{
    EXPECT_EQ(ParseBulkPortName("bulk0"), KoDeviceSerialBulk0);
    EXPECT_EQ(ParseBulkPortName("Bulk7"), KoDeviceSerialBulk7);
    EXPECT_EQ(GetComplaint(STATUS_USAGE, [] { ParseBulkPortName("UART1"); }),
              "uart1 is a UART: buses run on the ports bulk0 to bulk7");
    EXPECT_THROW(ParseBulkPortName("bulk8"), Failure);
}
