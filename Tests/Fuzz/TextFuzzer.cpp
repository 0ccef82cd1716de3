// What the tool takes from people: any text either means something or is refused with a message.

#include "Expect.h"

#include <Bytes.h>
#include <DeviceUri.h>
#include <Failure.h>
#include <I2cMessages.h>
#include <Numbers.h>
#include <PortSettings.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <sstream>
#include <string>
#include <vector>

namespace
{

using namespace KoTool;

template <typename Parse>
void ExpectValueOrRefusal(Parse aParse)
{
    try
    {
        aParse();
    }
    catch (const Failure& failure)
    {
        EXPECT_THAT_ALWAYS(std::string(failure.what()).size() > 5);
    }
}

void ParseWords(const std::string& aText)
{
    std::istringstream text(aText);
    std::vector<std::string> words;
    for (std::string word; text >> word;)
    {
        words.push_back(word);
    }
    for (const I2cMessage& message : ParseI2cMessages(words))
    {
        EXPECT_THAT_ALWAYS(message.mAddress <= I2C_ADDRESSES.mLast);
        EXPECT_THAT_ALWAYS(message.mIsRead ? message.mReadLength >= 1 : !message.mData.empty());
    }
}

void ParseAndFormatSettings(const std::string& aText)
{
    const PortSettings settings = ParseSettings("file", aText);
    EXPECT_THAT_ALWAYS(ParseSettings("copy", FormatSettings(settings)) == settings);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* aData, std::size_t aSize)
{
    FuzzedDataProvider input(aData, aSize);
    const int kind = input.ConsumeIntegralInRange(0, 4);
    const std::string text = input.ConsumeRemainingBytesAsString();
    ExpectValueOrRefusal(
        [&]
        {
            switch (kind)
            {
            case 0:
                EXPECT_THAT_ALWAYS(ParseNumber("number", text, {10, 1000}) >= 10);
                break;
            case 1:
                EXPECT_THAT_ALWAYS(ParseHexBytes("bytes", text).size() <= text.size() / 2);
                break;
            case 2:
                ParseWords(text);
                break;
            case 3:
                ParseAndFormatSettings(text);
                break;
            default:
                ParseDeviceUri(text);
                break;
            }
        });
    return 0;
}
