#pragma once

#include <KuUtilsLib/Logger.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace KuUtilsLib
{
class Event;
class Mutex;
} // namespace KuUtilsLib

/// One entry that went to a logger.
struct LogEntry
{
    KuUtilsLib::PriorityLevel mLevel;
    std::uint32_t mCode; ///< code given to LogResult(), 0 for Log()
    std::string mCategory;
    std::string mFile;
    std::string mFunction;
    std::string mFormat;
    std::string mText;
    bool mFromHeapLogger;
    std::size_t mLocks = 0;  ///< locks held meanwhile
    std::size_t mResets = 0; ///< events reset before
};

/// The test's side of the bare host SDK: simulated time, and a record of what the library asked of its host.
///
/// Make one before anything of the library; the youngest one alive serves the SDK. Everything runs on one thread: what
/// another thread would do is scheduled with At() and happens while the library waits or sleeps. A mutex that is taken
/// twice, released without being held or held during a wait fails the test.
class HostRecorder
{
public:
    using Locks = std::vector<const KuUtilsLib::Mutex*>;
    using Events = std::vector<const KuUtilsLib::Event*>;

    HostRecorder();
    ~HostRecorder();

    HostRecorder(const HostRecorder&) = delete;
    HostRecorder& operator=(const HostRecorder&) = delete;

    static HostRecorder& Current();

    /// @name For tests
    /// @{

    /// Does aAction once aDelayMs of simulated time have passed.
    void At(std::uint32_t aDelayMs, std::function<void()> aAction);

    /// Makes room for what is noted of locks, events and waits, which then takes no memory, as on a real host.
    void Reserve();

    std::uint64_t Now() const { return mNow; }

    /// The mutexes held now, in the order in which they were taken.
    const Locks& GetHeld() const { return mHeld; }

    /// The texts of all entries of a level, in order.
    std::vector<std::string> GetTexts(KuUtilsLib::PriorityLevel aLevel) const;

    /// The texts of all entries, in order.
    std::vector<std::string> GetTexts() const;

    /// How many locks were held at each entry, in order.
    std::vector<std::size_t> GetLocks() const;

    KuUtilsLib::PriorityLevel mEnabledLevel = KuUtilsLib::LOG_DEBUG; ///< answer of IsPriorityEnabled()
    bool mResultsCarryText = true;                                   ///< whether LogResult() hands its text back
    std::uint32_t mResultCodeOffset = 0; ///< by how much the code that LogResult() hands back differs from its argument
    bool mFailuresConvertToText = false; ///< whether a failed KoResult converts to a text, like a successful one
    bool mResultsCarryCodeString = true; ///< whether GetCodeString() has a text to give
    std::uint64_t mTickStep = 0;         ///< how far the clock moves on after each look at it
    bool mSleepMovesClock = true;        ///< false: the clock is too coarse to notice a sleep
    std::function<void()> mBeforeNextLock;                ///< done once, when a mutex is about to be taken
    std::function<void()> mAfterNextRelease;              ///< done once, when a mutex has been released
    std::function<void(const LogEntry& aEntry)> mOnEntry; ///< done for each entry

    std::vector<LogEntry> mLog;         ///< every entry, also of levels that are not enabled
    std::vector<std::uint32_t> mWaits;  ///< time-out of every event wait
    std::vector<std::uint32_t> mSleeps; ///< every sleep
    std::vector<bool> mEventsMade;      ///< what every event was made with, in order
    Events mEventSets;                  ///< every event set, in order
    Events mEventResets;                ///< every event reset, in order
    std::size_t mClockReads = 0;
    Locks mTaken;         ///< every mutex taken, in order
    int mHeapLoggers = 0; ///< loggers created and not freed yet
    /// @}

    /// @name For the SDK
    /// @{
    void Take(const KuUtilsLib::Mutex* aMutex);
    void Release(const KuUtilsLib::Mutex* aMutex);
    void Wait(std::uint32_t aTimeoutMs, const bool& aUntil);
    void Sleep(std::uint32_t aTimeMs);
    std::uint64_t ReadClock();
    void Record(LogEntry aEntry);
    /// @}

private:
    void PassTime(std::uint32_t aTimeMs, const bool& aUntil);

    HostRecorder* const mOuter;
    std::uint64_t mNow = 1000;
    std::multimap<std::uint64_t, std::function<void()>> mSchedule;
    Locks mHeld;
};
