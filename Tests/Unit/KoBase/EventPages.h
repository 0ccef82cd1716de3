#pragma once

#include <KuUtilsLib/Event.h>

#include <csignal>
#include <cstdint>

/// Memory in which an event lies across the border of two pages, with the word that holds its signal at the start of
/// the second, to find out when its other part is read. One at a time.
class EventPages
{
public:
    explicit EventPages(bool aManualReset);
    ~EventPages();
    EventPages(const EventPages&) = delete;
    EventPages& operator=(const EventPages&) = delete;

    KuUtilsLib::Event& GetEvent() { return *mEvent; }

    /// Takes the first page away until something reads it.
    void ForbidAllButTheSignal();

    /// True when the first page was read while the signal was another one than at the call above.
    bool WasReadAfterTheSignal() const;

private:
    static void GiveBack(int aSignal);

    std::uint8_t* const mMemory;
    KuUtilsLib::Event* const mEvent;
    struct sigaction mHandlerBefore = {};
};
