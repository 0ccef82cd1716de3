#pragma once

#include <KoSim/ILineEnd.h>
#include <KoSim/KoSimExport.h>

#include <cstdint>
#include <memory>
#include <string>

namespace KoSim
{

class PtyTerminal;

/// A far end that any program can open: a pseudo-terminal, in raw mode.
///
/// Nothing is lost as long as both sides keep going. Bytes that the device sends wait for the program; when there are
/// 1 MiB of them the line is held back until the program has read half, as hardware flow control does it. Bytes that
/// the program writes wait until the device takes them. When the line is detached, what waits for the program is held
/// for it as long as it keeps reading.
class KO_SIM_API PtyLine : public ILineEnd
{
public:
    /// Opens a pseudo-terminal.
    /// @param aLink path of a symbolic link to make to the terminal, removed on destruction; empty for none. A link to
    ///        a pseudo-terminal that no PtyLine has open is replaced; anything else there is left alone.
    /// @throws std::system_error when there is no terminal to be had or the link cannot be made
    explicit PtyLine(const std::string& aLink = std::string());

    /// In a child of the process that opened the terminal this does nothing: the terminal and its link are the
    /// parent's. The child must not use its copy otherwise.
    ~PtyLine() override;

    PtyLine(const PtyLine&) = delete;
    PtyLine& operator=(const PtyLine&) = delete;

    /// Path of the terminal, to be opened by the other program.
    const std::string& GetPath() const;

    /// Number of bytes from the device that the program had not read when the line was detached.
    std::uint64_t GetLostBytes() const;

    void Attach(ILine& aLine) override;

    /// Blocks until the program has read what waits for it, or has read nothing for one second.
    void Detach() override;

    void Receive(const std::uint8_t* aData, std::size_t aLength) override;

private:
    std::unique_ptr<PtyTerminal> mTerminal;
};

} // namespace KoSim
