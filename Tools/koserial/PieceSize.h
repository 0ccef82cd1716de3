#pragma once

#include <chrono>
#include <cstdint>

namespace KoTool
{

/// How many bytes to send in one write, so that it ends soon on a slow line and a fast line is kept busy: it grows
/// while writes take less than 50 ms and shrinks when they take more than 100 ms.
class PieceSize
{
public:
    static constexpr std::uint32_t SMALLEST = 1;
    static constexpr std::uint32_t LARGEST = 16384;

    std::uint32_t Get() const { return mSize; }

    /// Learns how long the write of a piece of that size took.
    void Learn(std::uint32_t aSize, std::chrono::steady_clock::duration aTook);

private:
    std::uint32_t mSize = 16;
};

} // namespace KoTool
