#include "PortMap.h"

#include "Logging.h"

#include <KuUtilsLib/LockScope.h>

#include <algorithm>

namespace KoSerialLib
{

PortMap sPortMap;

PortMap::PortMap() : mMutex(nullptr, nullptr) {}

PortMap::~PortMap()
{
    if (mLogger != nullptr)
    {
        KuUtilsLib::Logger::Free(mLogger);
    }
}

bool PortMap::Lock(const char* aDeviceKey, KoDeviceSerial aPort)
{
    const KuUtilsLib::LockScope lock(&mMutex);
    std::list<KoDeviceSerial>& ports = *GetPortList(std::string(aDeviceKey));
    if (std::find(ports.begin(), ports.end(), aPort) != ports.end())
    {
        if (mLogger != nullptr && mLogger->IsPriorityEnabled(KuUtilsLib::LOG_INFO))
        {
            KO_LOG(*mLogger, LOG_INFO, "Could not read MAC address from device node map.");
        }
        return false;
    }
    ports.push_back(aPort);
    return true;
}

bool PortMap::Release(const char* aDeviceKey, KoDeviceSerial aPort)
{
    const KuUtilsLib::LockScope lock(&mMutex);
    std::list<KoDeviceSerial>& ports = *GetPortList(std::string(aDeviceKey));
    const auto held = std::find(ports.begin(), ports.end(), aPort);
    if (held == ports.end())
    {
        return false;
    }
    ports.erase(held);
    return true;
}

std::list<KoDeviceSerial>* PortMap::GetPortList(const std::string& aDeviceKey)
{
    auto& ports = (*this)[aDeviceKey];
    if (ports == nullptr)
    {
        ports = std::make_unique<std::list<KoDeviceSerial>>();
    }
    return ports.get();
}

KuUtilsLib::Logger* PortMap::GetLogger()
{
    if (mLogger == nullptr)
    {
        mLogger = KuUtilsLib::Logger::Create("LOG_CATEGORY", nullptr, 0);
    }
    return mLogger;
}

} // namespace KoSerialLib
