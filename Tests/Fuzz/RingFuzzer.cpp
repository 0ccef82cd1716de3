// Operations on the receive ring, in any order, against a queue.

#include "Expect.h"

#include <SerialPort.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <deque>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t LARGEST_RING = 300;
constexpr std::size_t LONGEST_BATCH = 700;

class Port : public KoSerialLib::SerialPort
{
public:
    using SerialPort::PushBatchToRxBuffer;

    bool IsOpened() override { return false; }
    KoResult Write(const std::uint8_t* /*aData*/, std::uint32_t /*aSize*/, std::uint32_t& /*aWritten*/) override
    {
        return KoResult(KoResult::OK);
    }
};

/// What a ring of a size holds: one byte less, the newest ones.
class Model
{
public:
    void Resize(std::uint32_t aSize)
    {
        mCapacity = aSize - 1;
        mBytes.clear();
    }
    void Push(std::uint8_t aByte)
    {
        mBytes.push_back(aByte);
        if (mBytes.size() > mCapacity)
        {
            mBytes.pop_front();
        }
    }
    void Flush() { mBytes.clear(); }
    std::size_t GetCount() const { return mBytes.size(); }
    Bytes Take(std::size_t aCount)
    {
        const auto end = mBytes.begin() + static_cast<std::ptrdiff_t>(std::min(aCount, mBytes.size()));
        Bytes taken(mBytes.begin(), end);
        mBytes.erase(mBytes.begin(), end);
        return taken;
    }

private:
    std::deque<std::uint8_t> mBytes;
    std::size_t mCapacity = 16383;
};

void PushBatch(Port& aPort, Model& aModel, const Bytes& aBytes, std::uint32_t aStride)
{
    const auto count = static_cast<std::uint32_t>(aBytes.size() / aStride);
    aPort.PushBatchToRxBuffer(aBytes.data(), count, aStride);
    for (std::size_t i = 0; i < count; ++i)
    {
        aModel.Push(aBytes[i * aStride]);
    }
}

void Read(Port& aPort, Model& aModel, std::uint32_t aSize)
{
    // A size of 0 takes a byte nevertheless.
    const Bytes expected = aModel.Take(std::max(aSize, 1U));
    Bytes bytes(std::max(aSize, 1U));
    std::uint32_t count = 0;
    const KoResult result = aPort.Read(bytes.data(), aSize, count, 0);
    bytes.resize(count);
    EXPECT_THAT_ALWAYS(result.IsOK() == !expected.empty());
    EXPECT_THAT_ALWAYS(bytes == expected);
}

void Step(Port& aPort, Model& aModel, FuzzedDataProvider& aInput)
{
    switch (aInput.ConsumeIntegralInRange(0, 5))
    {
    case 0:
    {
        const auto size = aInput.ConsumeIntegralInRange<std::uint32_t>(1, LARGEST_RING);
        EXPECT_THAT_ALWAYS(aPort.SetRxBufferSize(size).IsOK());
        aModel.Resize(size);
        break;
    }
    case 1:
        aPort.FlushRxBuffer();
        aModel.Flush();
        break;
    case 2:
    {
        const auto byte = aInput.ConsumeIntegral<std::uint8_t>();
        aPort.PushToRxBuffer(byte, true);
        aModel.Push(byte);
        break;
    }
    case 3:
        PushBatch(aPort, aModel,
                  aInput.ConsumeBytes<std::uint8_t>(aInput.ConsumeIntegralInRange<std::size_t>(0, LONGEST_BATCH)), 1);
        break;
    case 4:
        PushBatch(aPort, aModel,
                  aInput.ConsumeBytes<std::uint8_t>(aInput.ConsumeIntegralInRange<std::size_t>(0, LONGEST_BATCH)), 4);
        break;
    default:
        Read(aPort, aModel, aInput.ConsumeIntegralInRange<std::uint32_t>(0, LARGEST_RING));
        break;
    }
    std::uint32_t ready = 0;
    aPort.GetRxBytesReady(ready);
    EXPECT_THAT_ALWAYS(ready == aModel.GetCount());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* aData, std::size_t aSize)
{
    FuzzedDataProvider input(aData, aSize);
    Port port;
    Model model;
    while (input.remaining_bytes() > 0)
    {
        Step(port, model, input);
    }
    return 0;
}
