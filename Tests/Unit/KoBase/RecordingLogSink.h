#pragma once

#include <KuUtilsLib/LogSink.h>

#include <chrono>
#include <string>
#include <vector>

/// Keeps log entries. The logger makes one call at a time, so it needs no lock; read it when nobody logs any more.
class RecordingLogSink : public KuUtilsLib::ILogSink
{
public:
    struct Entry
    {
        std::chrono::system_clock::time_point mTime;
        KuUtilsLib::PriorityLevel mLevel;
        std::uint32_t mCode;
        std::string mCategory;
        bool mHasInstance;
        std::string mInstance;
        long mThreadId;
        std::string mFile;
        int mLine;
        std::string mFunction;
        std::string mMessage;
    };

    void Write(const KuUtilsLib::LogRecord& aRecord) override
    {
        mEntries.push_back({aRecord.mTime, aRecord.mLevel, aRecord.mCode, aRecord.mCategory,
                            aRecord.mInstance != nullptr, aRecord.mInstance == nullptr ? "" : aRecord.mInstance,
                            aRecord.mThreadId, aRecord.mFile, aRecord.mLine, aRecord.mFunction, aRecord.mMessage});
    }

    std::vector<Entry> mEntries;
};
