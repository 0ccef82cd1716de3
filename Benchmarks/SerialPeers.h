#pragma once

#include "Peers.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A pseudo-terminal in raw mode: what is sent into it comes out at the end that has a path, as from a serial port of
/// this computer.
class PtyPair
{
public:
    explicit PtyPair(std::uint32_t aEventSize);

    void Send();

    /// Bytes that lie ready to be read.
    std::uint32_t GetReadyCount() const;

    int GetTerminal() const { return mTerminal.Get(); }
    const std::string& GetPath() const { return mPath; }

private:
    const std::vector<std::uint8_t> mEvent;
    const KoSim::FileDescriptor mMaster;
    const std::string mPath;
    const KoSim::FileDescriptor mTerminal;
};

/// Read with poll and read.
class PtyPeer : public PtyPair
{
public:
    using PtyPair::PtyPair;

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize)
    {
        return PollAndRead(GetTerminal(), aBuffer, aSize);
    }
};

/// Read with libserialport, at the end without a path: the only one that it takes for a serial port.
class LibserialportPeer
{
public:
    explicit LibserialportPeer(std::uint32_t aEventSize);
    ~LibserialportPeer();
    LibserialportPeer(const LibserialportPeer&) = delete;
    LibserialportPeer& operator=(const LibserialportPeer&) = delete;

    void Send();
    std::uint32_t GetReadyCount() const;
    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize);

private:
    struct Port;

    const std::vector<std::uint8_t> mEvent;
    const std::unique_ptr<Port> mPort;
};

/// Read with Boost.Asio.
class AsioPeer : public PtyPair
{
public:
    explicit AsioPeer(std::uint32_t aEventSize);
    ~AsioPeer();
    AsioPeer(const AsioPeer&) = delete;
    AsioPeer& operator=(const AsioPeer&) = delete;

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize);

private:
    struct Port;

    const std::unique_ptr<Port> mPort;
};
