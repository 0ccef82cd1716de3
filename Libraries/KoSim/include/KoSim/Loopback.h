#pragma once

#include <KoSim/ILineEnd.h>
#include <KoSim/KoSimExport.h>

namespace KoSim
{

/// A plug that connects the device's transmitter with its receiver: every byte comes back.
class KO_SIM_API Loopback : public ILineEnd
{
public:
    /// A plug with settings of its own, as an instrument has them, or without any.
    explicit Loopback(const std::optional<LineSettings>& aSettings = std::nullopt) : mSettings(aSettings) {}

    std::optional<LineSettings> GetSettings() const override { return mSettings; }
    void Attach(ILine& aLine) override;
    void Detach() override;
    void Receive(const std::uint8_t* aData, std::size_t aLength) override;

private:
    const std::optional<LineSettings> mSettings;
    ILine* mLine = nullptr;
};

} // namespace KoSim
