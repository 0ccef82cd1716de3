#include <I2cDumpCommand.h>

#include <Failure.h>
#include <OpenI2cBus.h>
#include <SimulatedSetup.h>

#include <KoSim/II2cSlave.h>

#include <gtest/gtest.h>

using namespace KoTool;

namespace
{

constexpr std::uint8_t ADDRESS = 0x20;
constexpr std::uint32_t SIZE = 512;

/// A memory full of the letter a, with offsets of two bytes, that does not acknowledge every read.
class BusyMemory : public KoSim::II2cSlave
{
public:
    /// @param aRefusals how many reads it refuses before it works
    /// @param aEnd from here on it refuses all
    BusyMemory(unsigned aRefusals, std::uint32_t aEnd) : mRefusals(aRefusals), mEnd(aEnd) {}

    bool Start(bool aRead, KoSim::Time /*aNow*/) override
    {
        if (!aRead)
        {
            mOffset = 0;
            return true;
        }
        if (mRefusals > 0)
        {
            --mRefusals;
            return false;
        }
        return mOffset < mEnd;
    }

    bool Write(std::uint8_t aByte) override
    {
        mOffset = mOffset << 8 | aByte;
        return true;
    }

    std::uint8_t Read() override { return 'a'; }
    void Stop(KoSim::Time /*aNow*/) override {}

private:
    unsigned mRefusals;
    const std::uint32_t mEnd;
    std::uint32_t mOffset = 0;
};

class I2cDumpCommand : public testing::TestWithParam<KoDeviceSerial>
{
protected:
    I2cDumpCommand()
    {
        mOptions.mPort = GetParam();
        mOptions.mAddress = ADDRESS;
        mOptions.mOffsetSize = 2;
    }

    /// What is printed when registers of such a memory are shown.
    std::string Dump(unsigned aRefusals, std::uint32_t aEnd, std::uint32_t aCount)
    {
        mSetup.GetDevice().SetI2cSlave(static_cast<KoSim::Port>(GetParam()), ADDRESS,
                                       std::make_shared<BusyMemory>(aRefusals, aEnd));
        testing::internal::CaptureStdout();
        try
        {
            WithI2cBus(mSetup, GetParam(), true, [&](OpenI2cBus& aBus) { DumpRegisters(aBus, mOptions, aCount); });
        }
        catch (const Failure& failure)
        {
            EXPECT_EQ(failure.GetExitStatus(), STATUS_FAILURE);
            mFailure = failure.what();
        }
        return testing::internal::GetCapturedStdout();
    }

    SimulatedSetup mSetup{ParseDeviceUri("sim,timing=instant")};
    const std::string mPort = GetParam() == KoDeviceSerialBulk0 ? "bulk0" : "bulk3";
    DumpOptions mOptions;
    std::string mFailure;
};

INSTANTIATE_TEST_SUITE_P(Ports, I2cDumpCommand, testing::Values(KoDeviceSerialBulk0, KoDeviceSerialBulk3));

const std::string COLUMNS = "  0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n";

} // namespace

TEST_P(I2cDumpCommand, ReadsAgainWhatDidNotComeInTime)
{
    EXPECT_EQ(Dump(3, SIZE, 3), "   " + COLUMNS + "00: 61 61 61                                           aaa\n");
    EXPECT_EQ(mFailure, "");
}

TEST_P(I2cDumpCommand, ShowsWhatItHasReadAndMarksTheRest)
{
    mOptions.mStart = 0xF0;
    std::string dump = "     " + COLUMNS;
    for (const std::string row : {"00f0", "0100", "0110", "0120", "0130", "0140", "0150", "0160", "0170", "0180",
                                  "0190", "01a0", "01b0", "01c0", "01d0", "01e0"})
    {
        dump += row + ": 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61    aaaaaaaaaaaaaaaa\n";
    }
    dump += "01f0: XX XX                                              XX\n";
    EXPECT_EQ(Dump(0, 0x1F0, 258), dump);
    EXPECT_EQ(mFailure, "0x20 on " + mPort + " did not send 2 of 258 registers");
}

TEST_P(I2cDumpCommand, PrintsNullForWhatItCouldNotRead)
{
    mOptions.mJson = true;
    std::string data = "97";
    for (int i = 1; i < 256; ++i)
    {
        data += ",97";
    }
    EXPECT_EQ(Dump(0, 256, 258),
              R"({"port":")" + mPort + R"(","address":32,"start":0,"data":[)" + data + ",null,null]}\n");
    EXPECT_EQ(mFailure, "0x20 on " + mPort + " did not send 2 of 258 registers");
}

TEST_P(I2cDumpCommand, PrintsNothingWhenNothingCame)
{
    EXPECT_EQ(Dump(0, 0, 258), "");
    EXPECT_EQ(mFailure, "nothing answers at 0x20 on " + mPort);
}
