// Invalidations of any feature, with registers and counts of any length, into the engine of the features.

#include "EmptyAdapter.h"
#include "Expect.h"

#include <KoDeviceSerialPort.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

const std::string BUFFER = "EventBulk3UpstreamDataBuffer";
const std::string LENGTH = "EventBulk3UpstreamDataLength";
const std::string DOWNSTREAM = "Bulk3DownstreamData";

/// More than any device has, and little enough for a fuzzer's memory.
constexpr std::int64_t LARGEST_BUFFER = 4096;

/// A device with bulk port 3 in features, which claims whatever the input says.
class Device : public EmptyAdapter
{
public:
    bool IsGenIntegerPresent(const KoString& aName) override { return aName.GetAscii() == LENGTH; }
    bool IsGenEnumPresent(const KoString&) override { return true; }
    bool IsGenRegisterPresent(const KoString& aName) override
    {
        return mHasRegisters && (aName.GetAscii() == BUFFER || aName.GetAscii() == DOWNSTREAM);
    }
    KoResult GetGenIntegerValue(const KoString&, std::int64_t& aValue) override
    {
        aValue = mCount;
        return mFails ? NotFound() : Ok();
    }
    KoResult GetGenRegisterLength(const KoString&, std::int64_t& aLength) override
    {
        aLength = mLength;
        return mFails ? NotFound() : Ok();
    }
    KoResult GetGenRegisterData(const KoString&, std::uint8_t* aBuffer, std::int64_t aLength) override
    {
        std::fill_n(aBuffer, aLength, mFill);
        return mFails ? NotFound() : Ok();
    }
    KoResult GetGenEnumValue(const KoString&, KoString& aValue) override
    {
        aValue = KoString("Off");
        return Ok();
    }
    KoResult SetGenEnumValue(const KoString&, const KoString&) override { return Ok(); }
    KoResult RegisterGenInvalidator(const KoString&) override { return Ok(); }
    KoResult UnregisterGenInvalidator(const KoString&) override { return Ok(); }

    bool mHasRegisters = true;
    bool mFails = false;
    std::int64_t mLength = 0;
    std::int64_t mCount = 0;
    std::uint8_t mFill = 0;
};

std::int64_t ConsumeLength(FuzzedDataProvider& aInput)
{
    if (aInput.ConsumeBool())
    {
        return aInput.ConsumeIntegralInRange<std::int64_t>(-2, LARGEST_BUFFER);
    }
    constexpr std::int64_t FIRST_TOO_LONG = std::int64_t{std::numeric_limits<std::uint32_t>::max()} + 1;
    return aInput.PickValueInArray<std::int64_t>(
        {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(), FIRST_TOO_LONG, -1, 0, 1});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* aData, std::size_t aSize)
{
    FuzzedDataProvider input(aData, aSize);
    Device device;
    KoDeviceSerialPort port;
    EXPECT_THAT_ALWAYS(port.Open(&device, KoDeviceSerialBulk3).IsOK());
    while (input.remaining_bytes() > 0)
    {
        device.mHasRegisters = input.ConsumeBool();
        device.mFails = input.ConsumeBool();
        device.mLength = ConsumeLength(input);
        device.mCount = ConsumeLength(input);
        device.mFill = input.ConsumeIntegral<std::uint8_t>();
        const std::string name = input.ConsumeBool() ? BUFFER : input.ConsumeRandomLengthString(40);

        port.FlushRxBuffer();
        device.mSink->NotifyInvalidatedGenParameter(KoString(name.c_str()));
        const bool isBlock = device.IsGenRegisterPresent(KoString(name.c_str())) && device.mCount >= 1 &&
                             device.mCount <= device.mLength &&
                             device.mLength <= std::numeric_limits<std::uint32_t>::max();
        std::uint32_t ready = 0;
        port.GetRxBytesReady(ready);
        EXPECT_THAT_ALWAYS(ready == (isBlock ? device.mCount : 0));
    }
    device.mHasRegisters = true;
    EXPECT_THAT_ALWAYS(port.Close().IsOK());
    return 0;
}
