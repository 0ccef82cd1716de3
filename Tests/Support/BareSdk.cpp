#include "HostRecorder.h"

#include <KoResult.h>
#include <KuUtilsLib/Event.h>
#include <KuUtilsLib/Mutex.h>
#include <KuUtilsLib/Thread.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>

namespace
{

const char* NameOf(std::uint32_t aCode)
{
    switch (aCode)
    {
    case KoResult::OK:
        return "OK";
    case KoResult::NOT_CONNECTED:
        return "NOT_CONNECTED";
    case KoResult::NOT_FOUND:
        return "NOT_FOUND";
    case KoResult::NOT_SUPPORTED:
        return "NOT_SUPPORTED";
    case KoResult::BUFFER_TOO_SMALL:
        return "BUFFER_TOO_SMALL";
    case KoResult::STATE_ERROR:
        return "STATE_ERROR";
    case KoResult::TIMEOUT:
        return "TIMEOUT";
    case KoResult::NOT_OPENED:
        return "NOT_OPENED";
    case KoResult::GENERIC_ERROR:
        return "GENERIC_ERROR";
    case KoResult::INVALID_PARAMETER:
        return "INVALID_PARAMETER";
    default:
        return "UNKNOWN";
    }
}

std::string Format(const char* aFormat, std::va_list aArguments)
{
    char text[512];
    std::vsnprintf(text, sizeof(text), aFormat, aArguments);
    return text;
}

} // namespace

const char* KoResult::GetCodeString() const
{
    return NameOf(mCode);
}

KoResult::operator const char*() const
{
    return IsOK() || HostRecorder::Current().mFailuresConvertToText ? GetCodeString() : nullptr;
}

namespace KuUtilsLib
{

const char* Result::GetCodeString() const
{
    return HostRecorder::Current().mResultsCarryCodeString ? NameOf(mCode) : nullptr;
}

Event::Event(bool aManualReset) : mManualReset(aManualReset)
{
    HostRecorder::Current().mEventsMade.push_back(aManualReset);
}

Result Event::Set()
{
    HostRecorder::Current().mEventSets.push_back(this);
    mSet = true;
    return Result(KoResult::OK);
}

Result Event::Reset()
{
    HostRecorder::Current().mEventResets.push_back(this);
    mSet = false;
    return Result(KoResult::OK);
}

Result Event::Wait_ms(std::uint32_t aTimeoutMs)
{
    HostRecorder::Current().Wait(aTimeoutMs, mSet);
    const bool signalled = mSet;
    mSet = mSet && mManualReset;
    return Result(signalled ? KoResult::OK : KoResult::TIMEOUT);
}

Mutex::Mutex(bool* aAlreadyExists, const char* aName)
{
    EXPECT_EQ(aAlreadyExists, nullptr);
    EXPECT_EQ(aName, nullptr);
}

Result Mutex::Wait()
{
    HostRecorder::Current().Take(this);
    return Result(KoResult::OK);
}

void Mutex::Release()
{
    HostRecorder::Current().Release(this);
}

void Thread::Sleep(std::uint32_t aTimeMs)
{
    HostRecorder::Current().Sleep(aTimeMs);
}

std::uint64_t Thread::GetTickCount()
{
    return HostRecorder::Current().ReadClock();
}

Logger* Logger::Create(const char* aCategory, const char* aInstance, std::uint32_t aFlags)
{
    EXPECT_EQ(aFlags, 0U);
    auto* const logger = new Logger(aCategory, aInstance);
    ++HostRecorder::Current().mHeapLoggers;
    logger->mOnHeap = true;
    return logger;
}

void Logger::Free(Logger*& aLogger)
{
    --HostRecorder::Current().mHeapLoggers;
    delete aLogger;
    aLogger = nullptr;
}

Logger::Logger(const char* aCategory, const char* aInstance) : mCategory(aCategory)
{
    EXPECT_EQ(aInstance, nullptr);
}

bool Logger::IsPriorityEnabled(PriorityLevel aLevel) const
{
    return aLevel <= HostRecorder::Current().mEnabledLevel;
}

void Logger::Log(PriorityLevel aLevel, const char* aFile, int /*aLine*/, const char* aFunction, const char* aFormat,
                 ...)
{
    std::va_list arguments;
    va_start(arguments, aFormat);
    const std::string text = Format(aFormat, arguments);
    va_end(arguments);
    HostRecorder::Current().Record({aLevel, KoResult::OK, mCategory, aFile, aFunction, aFormat, text, mOnHeap});
}

Result Logger::LogResult(std::uint32_t aCode, const char* aFile, int /*aLine*/, const char* aFunction,
                         const char* aFormat, ...)
{
    std::va_list arguments;
    va_start(arguments, aFormat);
    const std::string text = Format(aFormat, arguments);
    va_end(arguments);
    HostRecorder& host = HostRecorder::Current();
    host.Record({LOG_ERROR, aCode, mCategory, aFile, aFunction, aFormat, text, mOnHeap});
    const std::uint32_t code = aCode + host.mResultCodeOffset;
    return host.mResultsCarryText ? Result(code, text.c_str()) : Result(code);
}

} // namespace KuUtilsLib
