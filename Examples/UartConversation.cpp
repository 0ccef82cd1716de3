// Opens the first UART of a device, asks the instrument behind it for its name and prints the answer.
//
// The device is a simulated one. With your own, pass your IKoDeviceAdapter to Open() and leave out the first block.

#include <KoDeviceSerialPort.h>
#include <KoSim/CommandConsole.h>
#include <KoSim/SimulatedDevice.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace
{

int Fail(const char* aWhat, const KoResult& aResult)
{
    std::fprintf(stderr, "%s: %s %s\n", aWhat, aResult.GetCodeString(), aResult.GetDescription().GetAscii());
    return 1;
}

/// Reads up to the end of a line; the bytes of an answer may arrive in several pieces.
KoResult ReadLine(KoDeviceSerialPort& aPort, std::string& aLine)
{
    while (aLine.find('\n') == std::string::npos)
    {
        std::array<std::uint8_t, 64> buffer{};
        std::uint32_t count = 0;
        KoResult result = aPort.Read(buffer.data(), static_cast<std::uint32_t>(buffer.size()), count, 1000);
        if (!result.IsOK())
        {
            return result;
        }
        aLine.append(buffer.begin(), buffer.begin() + count);
    }
    return KoResult::OK;
}

} // namespace

int main()
{
    KoSim::SimulatedDevice device;
    device.SetLineEnd(KoSim::Port::Uart0, std::make_shared<KoSim::CommandConsole>());

    KoDeviceSerialPort port;
    const KoResult opened = port.Open(&device, KoDeviceSerialUart0);
    if (!opened.IsOK())
    {
        return Fail("cannot open the port", opened);
    }

    const std::string question = "id?\r\n";
    std::uint32_t written = 0;
    const KoResult sent = port.Write(reinterpret_cast<const std::uint8_t*>(question.data()),
                                     static_cast<std::uint32_t>(question.size()), written);
    if (!sent.IsOK())
    {
        return Fail("cannot write", sent);
    }

    std::string answer;
    const KoResult read = ReadLine(port, answer);
    if (!read.IsOK())
    {
        return Fail("no answer", read);
    }
    std::fputs(answer.c_str(), stdout);

    const KoResult closed = port.Close();
    return closed.IsOK() ? 0 : Fail("cannot close the port", closed);
}
