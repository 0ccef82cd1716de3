#pragma once

#include <KoResult.h>
#include <KoString.h>
#include <KuUtilsLib/Logger.h>
#include <KuUtilsLib/Result.h>

/// Category of every log entry of this library.
#define KO_LOG_CATEGORY "KoSerialLib"

/// Records a printf-style entry together with the place of the call. aLogger is a reference.
#define KO_LOG(aLogger, aLevel, ...) KO_LOG_IN(__func__, aLogger, aLevel, __VA_ARGS__)

/// As KO_LOG, for a helper that works on behalf of the operation named aFunction.
#define KO_LOG_IN(aFunction, aLogger, aLevel, ...)                                                                     \
    (aLogger).Log(KuUtilsLib::aLevel, __FILE__, __LINE__, aFunction, __VA_ARGS__)

/// As KO_LOG at LOG_DEBUG; formats nothing and evaluates no argument when tracing is off.
#define KO_TRACE(aLogger, ...) KO_TRACE_IN(__func__, aLogger, __VA_ARGS__)

/// As KO_TRACE, for a helper that works on behalf of the operation named aFunction.
#define KO_TRACE_IN(aFunction, aLogger, ...)                                                                           \
    do                                                                                                                 \
    {                                                                                                                  \
        if ((aLogger).IsPriorityEnabled(KuUtilsLib::LOG_DEBUG))                                                        \
        {                                                                                                              \
            KO_LOG_IN(aFunction, aLogger, LOG_DEBUG, __VA_ARGS__);                                                     \
        }                                                                                                              \
    } while (false)

/// Records a failure together with the place of the call; yields the KoResult to return.
#define KO_FAIL(aLogger, aCode, ...) KO_FAIL_IN(__func__, aLogger, aCode, __VA_ARGS__)

/// As KO_FAIL, for a helper that fails on behalf of the operation named aFunction.
#define KO_FAIL_IN(aFunction, aLogger, aCode, ...)                                                                     \
    KoSerialLib::ToKoResult((aLogger).LogResult(aCode, __FILE__, __LINE__, aFunction, __VA_ARGS__))

/// As KO_FAIL for a logger that is a pointer, NULL when there is none; yields the KuUtilsLib::Result to return.
#define KO_FAIL_RESULT(aLogger, aCode, ...) KO_FAIL_RESULT_IN(__func__, aLogger, aCode, __VA_ARGS__)

/// As KO_FAIL_RESULT, for a helper that fails on behalf of the operation named aFunction.
#define KO_FAIL_RESULT_IN(aFunction, aLogger, aCode, ...)                                                              \
    ((aLogger) == nullptr ? KuUtilsLib::Result(aCode)                                                                  \
                          : (aLogger)->LogResult(aCode, __FILE__, __LINE__, aFunction, __VA_ARGS__))

namespace KoSerialLib
{

/// The same code, with the text, if there is one, as the description.
inline KoResult ToKoResult(KuUtilsLib::Result&& aResult)
{
    const char* const description = aResult.GetDescription();
    return description == nullptr ? KoResult(aResult.GetCode()) : KoResult(aResult.GetCode(), KoString(description));
}

} // namespace KoSerialLib
