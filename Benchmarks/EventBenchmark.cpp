// An event that is set and waited for when nobody sleeps: what every transfer pays that needs no hand-over.

#include "SecondThread.h"
#include "Signals.h"

#include <KoResult.h>
#include <KuUtilsLib/Event.h>

#include <benchmark/benchmark.h>

namespace
{

void SetAndWait(benchmark::State& aState)
{
    StartASecondThread();
    KuUtilsLib::Event event(false);
    for (auto _ : aState)
    {
        event.Set();
        Check(event.Wait_ms(READ_TIMEOUT_MS).GetCode() == KoResult::OK, "an event was not set");
    }
}
BENCHMARK(SetAndWait)->Name("event/koserial");

void SetAndWaitForCondition(benchmark::State& aState)
{
    StartASecondThread();
    ConditionSignal event;
    for (auto _ : aState)
    {
        event.Send();
        event.Wait();
    }
}
BENCHMARK(SetAndWaitForCondition)->Name("event/condition_variable");

} // namespace
