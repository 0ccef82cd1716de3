#pragma once

#include "BareHostTest.h"

/// An engine that lays open what it shares with the other engines.
template <typename Engine>
class LaidOpen : public Engine
{
public:
    using Engine::Engine;
    using Engine::mDevice;
    using Engine::mLogger;
    using Engine::mMutex;
    using Engine::mPort;
    using Engine::mPortName;
    using Engine::mRxHead;
    using Engine::mRxTail;

    /// Takes out all unread bytes, up to aSize.
    Bytes ReadAll(std::uint32_t aSize = 16384)
    {
        Bytes bytes(aSize);
        std::uint32_t count = 0;
        this->Read(bytes.data(), aSize, count, 0);
        bytes.resize(count);
        return bytes;
    }

    void ExpectProgress(std::uint32_t aDone, std::uint32_t aTotal)
    {
        std::uint32_t done = 0;
        std::uint32_t total = 0;
        EXPECT_TRUE(this->GetWriteProgress(done, total).IsOK());
        EXPECT_EQ(done, aDone);
        EXPECT_EQ(total, aTotal);
    }
};
