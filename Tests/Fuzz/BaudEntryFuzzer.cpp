// Entries of a baud rate enumeration with any text.

#include "EmptyAdapter.h"
#include "Expect.h"

#include <DeviceSerialPortConfig.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace
{

/// A device with a baud rate that can be written, and whatever entries the input has.
class Device : public EmptyAdapter
{
public:
    bool IsGenEnumPresent(const KoString& aName) override { return std::string(aName.GetAscii()) == "Uart0BaudRate"; }
    bool IsGenEnumWritable(const KoString&) override { return true; }
    KoResult GetGenEnumEntries(const KoString&, KoStringList& aEntries) override
    {
        for (const std::string& entry : mEntries)
        {
            aEntries.Add(KoString(entry.c_str()));
        }
        return Ok();
    }

    std::vector<std::string> mEntries;
};

/// The number after "Baud", in decimal, hexadecimal or octal; nothing when there is none.
std::optional<long> GetNumber(const std::string& aEntry)
{
    if (aEntry.compare(0, 4, "Baud") != 0)
    {
        return std::nullopt;
    }
    const char* const begin = aEntry.c_str() + 4;
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(begin, &end, 0);
    return end == begin ? std::nullopt : std::optional(number);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* aData, std::size_t aSize)
{
    FuzzedDataProvider input(aData, aSize);
    Device device;
    std::size_t numbers = 0;
    std::optional<long> last;
    while (input.remaining_bytes() > 0)
    {
        // Texts of the device end at the first zero.
        device.mEntries.emplace_back(input.ConsumeRandomLengthString(64).c_str());
        if (const std::optional<long> number = GetNumber(device.mEntries.back()))
        {
            ++numbers;
            last = number;
        }
    }
    KoSerialLib::DeviceSerialPortConfig config;
    config.SetPort(&device, KoDeviceSerialUart0);
    EXPECT_THAT_ALWAYS(config.RefreshSupportedBaudRates().GetCode() == KoResult::OK);
    const std::uint32_t count = config.GetSupportedBaudRateCount();
    // "0x" alone is a zero to one parser and nothing to the other; everything else they read alike.
    EXPECT_THAT_ALWAYS(count <= numbers);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        EXPECT_THAT_ALWAYS(config.IsBaudRateSupported(config.GetSupportedBaudRate(i)));
    }
    if (last && count == numbers)
    {
        EXPECT_THAT_ALWAYS(config.GetSupportedBaudRate(count - 1) == static_cast<std::uint32_t>(*last));
    }
    return 0;
}
