#include "PieceSize.h"

#include <algorithm>

namespace KoTool
{

void PieceSize::Learn(std::uint32_t aSize, std::chrono::steady_clock::duration aTook)
{
    if (aTook > std::chrono::milliseconds(100))
    {
        mSize = std::max(mSize / 2, SMALLEST);
    }
    else if (aSize == mSize && aTook < std::chrono::milliseconds(50))
    {
        mSize = std::min(mSize * 2, LARGEST);
    }
}

} // namespace KoTool
