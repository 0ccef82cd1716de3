#pragma once

#include <KoSim/ILineEnd.h>
#include <KoSim/KoSimExport.h>

namespace KoSim
{

/// A plug that connects the device's transmitter with its receiver: every byte comes back.
class KO_SIM_API Loopback : public ILineEnd
{
public:
    void Attach(ILine& aLine) override;
    void Detach() override;
    void Receive(const std::uint8_t* aData, std::size_t aLength) override;

private:
    ILine* mLine = nullptr;
};

} // namespace KoSim
