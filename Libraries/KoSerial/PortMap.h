#pragma once

#include <KoDeviceSerial.h>
#include <KuUtilsLib/Logger.h>
#include <KuUtilsLib/Mutex.h>

#include <list>
#include <map>
#include <memory>
#include <string>

namespace KoSerialLib
{

/// Which ports of which devices are held in this process, so that no two engines hold the same one.
///
/// Devices are told apart by their identity text. A device that was seen once keeps its list, so the map grows with the
/// number of distinct devices only. Lock() and Release() may be called from any thread.
class PortMap : private std::map<std::string, std::unique_ptr<std::list<KoDeviceSerial>>>
{
public:
    PortMap();
    virtual ~PortMap();

    PortMap(const PortMap&) = delete;
    PortMap& operator=(const PortMap&) = delete;

    /// Takes a port. False when it was held already. aDeviceKey must not be NULL (std::logic_error).
    bool Lock(const char* aDeviceKey, KoDeviceSerial aPort);

    /// Gives a port back. False when it was not held. aDeviceKey must not be NULL (std::logic_error).
    bool Release(const char* aDeviceKey, KoDeviceSerial aPort);

    /// The ports held on a device, in the order of locking; created empty for a new device. The caller holds mMutex;
    /// the map keeps ownership.
    std::list<KoDeviceSerial>* GetPortList(const std::string& aDeviceKey);

    /// The logger of the map, created by the first call. The map keeps ownership.
    KuUtilsLib::Logger* GetLogger();

protected:
    KuUtilsLib::Logger* mLogger = nullptr;
    KuUtilsLib::Mutex mMutex;
};

/// The one map of the process.
extern PortMap sPortMap;

} // namespace KoSerialLib
