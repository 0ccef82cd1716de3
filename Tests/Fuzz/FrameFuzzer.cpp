// Frames that a host writes downstream: any bytes into the parsers, and what they take for a frame built once more.

#include "DownstreamFrame.h"
#include "Expect.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

void AddWord(Bytes& aBytes, std::uint32_t aWord, bool aBigEndian)
{
    for (int i = 0; i < 4; ++i)
    {
        aBytes.push_back(static_cast<std::uint8_t>(aWord >> 8 * (aBigEndian ? 3 - i : i)));
    }
}

void AddPayload(Bytes& aBytes, const Bytes& aPayload)
{
    aBytes.insert(aBytes.end(), aPayload.begin(), aPayload.end());
    aBytes.resize((aBytes.size() + 3) / 4 * 4);
}

Bytes BuildBulkFrame(const KoSim::DownstreamFrame& aFrame, bool aBigEndian)
{
    Bytes bytes;
    AddWord(bytes, aFrame.mControl, aBigEndian);
    AddWord(bytes, static_cast<std::uint32_t>(aFrame.mPayload.size()), aBigEndian);
    AddPayload(bytes, aFrame.mPayload);
    return bytes;
}

Bytes BuildSpiFrame(const KoSim::DownstreamFrame& aFrame, bool aBigEndian)
{
    const auto count = static_cast<std::uint8_t>(aFrame.mPayload.size());
    Bytes bytes;
    AddWord(bytes, 0, aBigEndian);
    AddWord(bytes, static_cast<std::uint32_t>(aFrame.mPayload.size() + 4), aBigEndian);
    bytes.push_back(aFrame.mSimultaneous ? 0 : count);
    bytes.push_back(aFrame.mReadCount);
    bytes.push_back(aFrame.mSimultaneous ? count : 0);
    bytes.push_back(aFrame.mSpiControl ? 1 : 0);
    AddPayload(bytes, aFrame.mPayload);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* aData, std::size_t aSize)
{
    FuzzedDataProvider input(aData, aSize);
    const bool bigEndian = input.ConsumeBool();
    const Bytes frame = input.ConsumeRemainingBytes<std::uint8_t>();
    if (const auto bulk = KoSim::ParseBulkFrame(frame.data(), frame.size(), bigEndian))
    {
        // Only what lies after the payload may be anything.
        const Bytes built = BuildBulkFrame(*bulk, bigEndian);
        EXPECT_THAT_ALWAYS(built.size() == frame.size());
        EXPECT_THAT_ALWAYS(std::equal(
            built.begin(), built.begin() + 8 + static_cast<std::ptrdiff_t>(bulk->mPayload.size()), frame.begin()));
    }
    if (const auto spi = KoSim::ParseSpiFrame(frame.data(), frame.size(), bigEndian))
    {
        EXPECT_THAT_ALWAYS(BuildSpiFrame(*spi, bigEndian) == frame);
    }
    return 0;
}
