#pragma once

#include <KoDeviceSerial.h>

#include <cstdint>

class IKoDeviceAdapter;

namespace KoTool
{

/// Number of bytes that a bulk port takes in one piece, in a frame after a header of that many bytes. What is longer
/// goes out in several frames, each of which a bus takes for a transfer of its own.
/// @param aLimit most bytes, whatever the device says; also the answer when the port has no frames
std::uint32_t GetFramePayload(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort, std::uint32_t aHeaderSize,
                              std::uint32_t aLimit);

} // namespace KoTool
