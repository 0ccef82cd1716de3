#pragma once

#include "EnumerationWorld.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// What a DeviceSerialPortConfig must do, told once more in plain texts.
class ConfigModel
{
public:
    /// Code and text of a result; a success has neither.
    using Outcome = std::pair<std::uint32_t, std::string>;

    /// A setting of the port: where it is on the device, and what was saved of it.
    struct Setting
    {
        std::string mSuffix;
        std::string mFeature;
        std::string mSaved;
    };

    ConfigModel(EnumerationWorld& aWorld, bool aHasLogger, int aLevel)
        : mHasLogger(aHasLogger),
          mLevel(aLevel),
          mWorld(aWorld)
    {
    }

    void SetPort(int aPort)
    {
        mPort = aPort;
        Discover();
    }

    void Discover()
    {
        const bool isBulk = mPort >= 2 && mPort <= 9;
        const std::string bulk = "Bulk" + std::to_string(mPort - 2);
        std::string prefix = isBulk ? bulk : "Uart" + std::to_string(mPort);
        if (mPort < 0 || mPort > 9)
        {
            prefix.clear();
            Log("GetParameters [4] Unexpected port identifier.", 4);
        }
        mSelector.clear();
        mMode.mFeature.clear();
        mWatched.clear();
        if (isBulk)
        {
            mEntry = bulk;
            if (mWorld.Has("BulkSelector"))
            {
                mSelector = "BulkSelector";
                prefix = "Bulk";
            }
            Find(mMode, "");
        }
        for (Setting* const setting : {&mBaudRate, &mParity, &mStopBits})
        {
            Find(*setting, prefix);
        }
    }

    Outcome SyncBaudRate(bool aOnlyIfChanged)
    {
        if (mBaudRate.mFeature.empty() || (aOnlyIfChanged && mWantedRate == mConfirmedRate))
        {
            return {};
        }
        const char* const text = "Error setting device serial port baud rate.";
        return OnPort(
            "SyncBaudRate",
            [&]
            {
                const Outcome put = Put("SyncBaudRate", mBaudRate, "Baud" + std::to_string(mWantedRate), text, text);
                if (put.first == 0)
                {
                    Log("SyncBaudRate [6] Device port speed changed to " + std::to_string(mWantedRate) + " bps", 6);
                    mConfirmedRate = mWantedRate;
                }
                return put;
            });
    }

    Outcome SyncParity()
    {
        static const std::map<std::int64_t, std::string> sEntries = {{0, "None"}, {1, "Even"}, {2, "Odd"}};
        return PutIfWritable("SyncParity", mParity, sEntries, mWantedParity, "Unexpected parity value.");
    }

    Outcome SyncStopBits()
    {
        static const std::map<std::int64_t, std::string> sEntries = {{1, "One"}, {2, "Two"}};
        return PutIfWritable("SyncStopBits", mStopBits, sEntries, mWantedStopBits, "Unexpected stop bits value.");
    }

    Outcome SyncBulkMode()
    {
        if (mMode.mFeature.empty())
        {
            return {};
        }
        return OnPort("SyncBulkMode",
                      [&]
                      {
                          return Put("SyncBulkMode", mMode, "UART", "Error reading device serial bulk port mode.",
                                     "Error setting device serial bulk port to UART mode.");
                      });
    }

    Outcome SyncPortConfig()
    {
        static const std::set<std::uint32_t> sRates = {9600,  14400,  19200,  28800,  38400,
                                                       57600, 115200, 230400, 460800, 921600};
        if (mPort == -1)
        {
            return {};
        }
        if (sRates.count(mWantedRate) == 0 || mWantedParity < 0 || mWantedParity > 2 || mWantedByteSize < 7 ||
            mWantedByteSize > 8 || mWantedStopBits < 1 || mWantedStopBits > 2)
        {
            return Fail("SyncPortConfig", 16385,
                        "Could not configure device serial port, serial configuration is not valid.");
        }
        return OnPort("SyncPortConfig",
                      [&]
                      {
                          SyncBulkMode();
                          SyncParity();
                          SyncStopBits();
                          SyncBaudRate(false);
                          return Outcome();
                      });
    }

    Outcome Backup()
    {
        if (mPort == -1)
        {
            return {};
        }
        return OnPort("BackupPortConfig",
                      [&]
                      {
                          for (Setting* const setting : {&mBaudRate, &mParity, &mStopBits, &mMode})
                          {
                              if (!setting->mFeature.empty() && mWorld.CanRead(setting->mFeature))
                              {
                                  mWorld.Read(setting->mFeature, setting->mSaved);
                              }
                          }
                          return Outcome();
                      });
    }

    Outcome Restore()
    {
        if (mPort == -1)
        {
            return {};
        }
        return OnPort("RestorePortConfig",
                      [&]
                      {
                          for (const Setting* const setting : {&mBaudRate, &mParity, &mStopBits, &mMode})
                          {
                              const bool isWanted = !setting->mSaved.empty() || setting == &mMode;
                              if (isWanted && !setting->mFeature.empty() && mWorld.CanWrite(setting->mFeature))
                              {
                                  mWorld.Write(setting->mFeature, setting->mSaved);
                              }
                          }
                          return Outcome();
                      });
    }

    Outcome Refresh()
    {
        static const std::map<std::string, std::uint32_t> sRates = {
            {"Baud9600", 9600}, {"Baud19200", 19200}, {"Baud115200", 115200}, {"Baud0x10", 16}, {"Baud010", 8}};
        mRates.clear();
        return OnPort("RefreshSupportedBaudRates",
                      [&]
                      {
                          std::vector<std::string> entries;
                          if (mBaudRate.mFeature.empty() || !mWorld.CanWrite(mBaudRate.mFeature))
                          {
                              return Fail("RefreshSupportedBaudRates", 25, "Device port baud rate is not readable.");
                          }
                          if (!mWorld.List(mBaudRate.mFeature, entries))
                          {
                              return Fail("RefreshSupportedBaudRates", 25,
                                          "Error reading device port baud rates count.");
                          }
                          for (const std::string& entry : entries)
                          {
                              const auto rate = sRates.find(entry);
                              if (rate != sRates.end())
                              {
                                  mRates.push_back(rate->second);
                              }
                          }
                          return Outcome();
                      });
    }

    void End()
    {
        Restore();
        for (const Setting* const setting : {&mBaudRate, &mParity, &mStopBits, &mMode})
        {
            if (!setting->mFeature.empty())
            {
                mWorld.Unwatch(setting->mFeature);
            }
        }
    }

    std::uint32_t mWantedRate = 9600;
    std::int32_t mWantedParity = 0;
    std::uint32_t mWantedByteSize = 8;
    std::uint32_t mWantedStopBits = 1;

    int mPort = -1;
    std::uint32_t mConfirmedRate = 0;
    std::string mSelector;
    std::string mEntry;
    Setting mBaudRate = {"BaudRate", "", ""};
    Setting mParity = {"Parity", "", ""};
    Setting mStopBits = {"NumOfStopBits", "", ""};
    Setting mMode = {"BulkMode", "", ""};
    std::vector<std::string> mWatched;
    std::vector<std::uint32_t> mRates;
    std::vector<std::string> mLog; ///< "<operation> [<level>] <text>", or "[<level> <code>]" for a failure

private:
    void Find(Setting& aSetting, const std::string& aPrefix)
    {
        const std::string name = aPrefix + aSetting.mSuffix;
        aSetting.mFeature.clear();
        if (mWorld.Has(name))
        {
            aSetting.mFeature = name;
            mWatched.push_back(name);
            mWorld.Watch(name);
        }
    }

    template <typename Body>
    Outcome OnPort(const char* aOperation, Body aBody)
    {
        std::string shown;
        const bool mustSwitch = !mSelector.empty() && mWorld.Read(mSelector, shown) && shown != mEntry;
        if (mustSwitch && !mWorld.Write(mSelector, mEntry))
        {
            return Fail(aOperation, 26, "Error setting Bulk selector.");
        }
        const Outcome outcome = aBody();
        if (mustSwitch)
        {
            mWorld.Write(mSelector, mEntry);
        }
        return outcome;
    }

    Outcome Put(const char* aOperation, const Setting& aSetting, const std::string& aWanted, const char* aReadText,
                const char* aWriteText)
    {
        std::string shown;
        if (!mWorld.Read(aSetting.mFeature, shown))
        {
            return Fail(aOperation, 26, aReadText);
        }
        const bool isThere = shown == aWanted || mWorld.Write(aSetting.mFeature, aWanted);
        return isThere ? Outcome() : Fail(aOperation, 26, aWriteText);
    }

    Outcome PutIfWritable(const char* aOperation, const Setting& aSetting,
                          const std::map<std::int64_t, std::string>& aEntries, std::int64_t aWanted,
                          const char* aBadValueText)
    {
        if (aSetting.mFeature.empty())
        {
            return {};
        }
        return OnPort(aOperation,
                      [&]
                      {
                          const auto entry = aEntries.find(aWanted);
                          if (!mWorld.CanWrite(aSetting.mFeature))
                          {
                              return Outcome();
                          }
                          return entry == aEntries.end() ? Fail(aOperation, 26, aBadValueText)
                                                         : Put(aOperation, aSetting, entry->second,
                                                               "Error reading device serial port parity.",
                                                               "Error setting device serial port parity.");
                      });
    }

    Outcome Fail(const std::string& aOperation, std::uint32_t aCode, const std::string& aText)
    {
        Log(aOperation + " [3 " + std::to_string(aCode) + "] " + aText, 0);
        return {aCode, mHasLogger ? aText : ""};
    }

    void Log(const std::string& aEntry, int aLevel)
    {
        if (mHasLogger && aLevel <= mLevel)
        {
            mLog.push_back(aEntry);
        }
    }

    const bool mHasLogger;
    const int mLevel;
    EnumerationWorld& mWorld;
};
