#pragma once

namespace KoSim
{

/// Says that a thing outside of the devices, a far end or a chip, is plugged in at one place. As long as it is, nobody
/// in the process can plug it in elsewhere. Any thread may make and destroy attachments.
class Attachment
{
public:
    /// @param aThing NULL for nothing, which may be plugged in everywhere
    /// @param aPlace where it is plugged in, several times if it must be
    /// @param aRefusal what the exception says
    /// @throws std::invalid_argument when the thing is plugged in elsewhere
    Attachment(const void* aThing, const void* aPlace, const char* aRefusal);
    ~Attachment();

    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;

private:
    const void* const mThing;
};

} // namespace KoSim
