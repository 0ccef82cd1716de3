#include <KoSim/Loopback.h>

namespace KoSim
{

void Loopback::Attach(ILine& aLine)
{
    mLine = &aLine;
}

void Loopback::Detach()
{
    mLine = nullptr;
}

void Loopback::Receive(const std::uint8_t* aData, std::size_t aLength)
{
    mLine->Send(aData, aLength);
}

} // namespace KoSim
