#pragma once

#include <KoSim/ILineEnd.h>
#include <KoSim/KoSimExport.h>

#include <string>

namespace KoSim
{

/// A small line-oriented instrument: a motorised lens with zoom and focus.
///
/// A command is a line that ends in CR, LF or both; empty lines are passed over. Every command is answered with one
/// line that ends in CR LF:
///
/// | command | answer |
/// |---|---|
/// | `id?` | `KoSim motorised lens 1.0` |
/// | `zoom?`, `focus?` | the position, 0 to 1000 |
/// | `zoom N`, `focus N` | `ok`; moves there |
/// | `status?` | `ready zoom=N focus=N` |
/// | anything else | `error: ` and what is wrong |
class KO_SIM_API CommandConsole : public ILineEnd
{
public:
    void Attach(ILine& aLine) override;
    void Detach() override;
    void Receive(const std::uint8_t* aData, std::size_t aLength) override;

private:
    void TakeByte(char aByte);
    std::string Execute(const std::string& aCommand);
    std::string Move(int& aAxis, const std::string& aPosition);

    ILine* mLine = nullptr;
    std::string mCommand;
    bool mCommandTooLong = false;
    int mZoom = 0;
    int mFocus = 500;
};

} // namespace KoSim
