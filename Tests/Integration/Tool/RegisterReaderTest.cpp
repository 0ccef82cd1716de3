#include <RegisterReader.h>

#include <gtest/gtest.h>

#include <deque>
#include <utility>

using namespace KoTool;

namespace
{

/// Registers that hold the low byte of their number. The next answers are only as long as they are told to be.
class LateRegisters
{
public:
    explicit LateRegisters(std::deque<std::uint32_t> aLengths) : mLengths(std::move(aLengths)) {}

    Bytes Read(std::uint32_t aFirst, std::uint32_t aCount)
    {
        ++mReadCount;
        std::uint32_t length = aCount;
        if (!mLengths.empty())
        {
            length = mLengths.front();
            mLengths.pop_front();
        }
        Bytes bytes;
        for (std::uint32_t i = 0; i < length; ++i)
        {
            bytes.push_back(static_cast<std::uint8_t>(aFirst + i));
        }
        return bytes;
    }

    Registers ReadAll(std::uint32_t aFirst, std::uint32_t aCount)
    {
        return ReadRegisters([this](std::uint32_t aStart, std::uint32_t aLength) { return Read(aStart, aLength); },
                             aFirst, aCount);
    }

    unsigned GetReadCount() const { return mReadCount; }

private:
    std::deque<std::uint32_t> mLengths;
    unsigned mReadCount = 0;
};

/// As LateRegisters::ReadAll() should return it when everything from aMissing on is missing, up to aFound.
Registers Expect(std::uint32_t aFirst, std::uint32_t aCount, std::uint32_t aMissing, std::uint32_t aFound)
{
    Registers registers;
    for (std::uint32_t i = aFirst; i < aFirst + aCount; ++i)
    {
        const bool isMissing = i >= aMissing && i < aFound;
        registers.push_back(isMissing ? std::nullopt : std::optional(static_cast<std::uint8_t>(i)));
    }
    return registers;
}

} // namespace

TEST(RegisterReader, ReadsPieceByPiece)
{
    LateRegisters registers({});
    EXPECT_EQ(registers.ReadAll(100, 600), Expect(100, 600, 0, 0));
    EXPECT_EQ(registers.GetReadCount(), 3U);
}

TEST(RegisterReader, GoesOnBehindWhatCameInTime)
{
    LateRegisters registers({0, 10, 0});
    EXPECT_EQ(registers.ReadAll(0, 300), Expect(0, 300, 0, 0));
    EXPECT_EQ(registers.GetReadCount(), 5U);
}

TEST(RegisterReader, LeavesOutWhatDoesNotComeAfterSeveralAttempts)
{
    LateRegisters registers({256, 0, 10, 20, 0});
    EXPECT_EQ(registers.ReadAll(0, 600), Expect(0, 600, 256 + 30, 512));
    EXPECT_EQ(registers.GetReadCount(), 6U);
}

TEST(RegisterReader, EndsWithAPieceOfWhichNothingComes)
{
    LateRegisters registers({256, 0, 0, 0, 0});
    EXPECT_EQ(registers.ReadAll(0, 65536), Expect(0, 65536, 256, 65536));
    EXPECT_EQ(registers.GetReadCount(), 5U);
}
