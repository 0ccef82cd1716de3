#include <KoSim/PtyLine.h>

#include "PtyTerminal.h"

namespace KoSim
{

PtyLine::PtyLine(const std::string& aLink) : mTerminal(std::make_unique<PtyTerminal>(aLink)) {}

PtyLine::~PtyLine()
{
    if (mTerminal->IsLeft())
    {
        [[maybe_unused]] const PtyTerminal* const leftToTheParent = mTerminal.release();
    }
}

const std::string& PtyLine::GetPath() const
{
    return mTerminal->GetPath();
}

std::uint64_t PtyLine::GetLostBytes() const
{
    return mTerminal->GetLostBytes();
}

void PtyLine::Attach(ILine& aLine)
{
    mTerminal->Start(aLine);
}

void PtyLine::Detach()
{
    mTerminal->Stop();
}

void PtyLine::Receive(const std::uint8_t* aData, std::size_t aLength)
{
    mTerminal->Queue(aData, aLength);
}

} // namespace KoSim
