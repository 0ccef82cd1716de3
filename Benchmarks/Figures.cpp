#include "Figures.h"

#include <utility>

namespace
{

using Figures = std::vector<Figure>;

const std::vector<std::string> SIZES = {"16", "128", "512", "1400"};

void AddTime(Figures& aFigures, const std::string& aText, const Measure& aOurs, const Measure& aOther, Aim aAim,
             double aLimit = 0)
{
    aFigures.push_back({aText, aOurs, Comparison::Time, aOther, aAim, aLimit});
}

void AddSpeed(Figures& aFigures, const std::string& aText, const std::string& aOurs, const std::string& aOther,
              Aim aAim, double aLimit = 0)
{
    aFigures.push_back({aText, {aOurs, "", 1}, Comparison::Speed, {aOther, "", 1}, aAim, aLimit});
}

void AddCounter(Figures& aFigures, const std::string& aText, const Measure& aOurs, Aim aAim, double aLimit)
{
    aFigures.push_back({aText, aOurs, Comparison::None, {}, aAim, aLimit});
}

void AddReceive(Figures& aFigures)
{
    for (const std::string& size : SIZES)
    {
        const std::string text = "receive " + size + " bytes, ";
        AddSpeed(aFigures, text + "bulk: speed against two locks and two `memcpy`", "receive/bulk/" + size,
                 "receive/locked_memcpy/" + size, Aim::AtLeast, 0.8);
        AddSpeed(aFigures, text + "bulk: speed against that and the lock and clock of an echo list",
                 "receive/bulk/" + size, "receive/locked_memcpy_echo/" + size, Aim::Reported);
        AddSpeed(aFigures, text + "UART: speed against two locks, picking each byte and a `memcpy`",
                 "receive/uart/" + size, "receive/locked_pick/" + size, Aim::AtLeast, 0.8);
        AddSpeed(aFigures, text + "UART: speed against two locks and two `memcpy`", "receive/uart/" + size,
                 "receive/locked_memcpy/" + size, Aim::Reported);
        AddSpeed(aFigures, text + "features: speed against two locks and two `memcpy`", "receive/feature/" + size,
                 "receive/locked_memcpy/" + size, Aim::AtLeast, 0.8);
        AddSpeed(aFigures, text + "bulk: speed against boost::lockfree::spsc_queue", "receive/bulk/" + size,
                 "receive/boost_spsc/" + size, size == "1400" ? Aim::AtLeast : Aim::Reported, 0.6);
        AddSpeed(aFigures, text + "bulk: speed against moodycamel::ReaderWriterQueue", "receive/bulk/" + size,
                 "receive/readerwriterqueue/" + size, Aim::Reported);
        AddSpeed(aFigures, text + "bulk: speed against a pipe with `poll`", "receive/bulk/" + size,
                 "receive/pipe/" + size, size == "512" ? Aim::AtLeast : Aim::Reported, 20);
    }
}

void AddSerialPeers(Figures& aFigures)
{
    for (const std::string size : {"16", "1400"})
    {
        const std::string text = "receive " + size + " bytes, UART: speed against ";
        AddSpeed(aFigures, text + "libserialport on a pseudo-terminal", "receive/uart/" + size,
                 "receive/libserialport/" + size, Aim::Reported);
        AddSpeed(aFigures, text + "Boost.Asio on a pseudo-terminal", "receive/uart/" + size, "receive/asio/" + size,
                 Aim::Reported);
    }
}

void AddReceiveFromThread(Figures& aFigures)
{
    for (const std::string& size : SIZES)
    {
        const std::string text = "receive " + size + " bytes from a device thread, ";
        AddSpeed(aFigures, text + "bulk: speed against boost::lockfree::spsc_queue, which spins",
                 "receive_2/bulk/" + size, "receive_2/boost_spsc/" + size, Aim::Reported);
        AddSpeed(aFigures, text + "bulk: speed against a pipe with `poll`", "receive_2/bulk/" + size,
                 "receive_2/pipe/" + size, Aim::Reported);
        AddSpeed(aFigures, text + "UART: speed against a pipe with `poll`", "receive_2/uart/" + size,
                 "receive_2/pipe/" + size, Aim::Reported);
        AddSpeed(aFigures, text + "features: speed against a pipe with `poll`", "receive_2/feature/" + size,
                 "receive_2/pipe/" + size, Aim::Reported);
    }
}

void AddReadReady(Figures& aFigures)
{
    const Measure ours = {"read_ready/uart", "", 1};
    AddTime(aFigures, "`Read` of 16 ready bytes: time against `poll` and `read` on a pseudo-terminal", ours,
            {"read_ready/pty", "", 1}, Aim::AtMost, 0.03);
    AddTime(aFigures, "lock and clock of the echo list: share of a `Read` of 16 ready bytes",
            {"read_ready/echo_list", "", 1}, ours, Aim::Reported);
    AddTime(aFigures, "`Read` of 16 ready bytes: time against libserialport", ours, {"read_ready/libserialport", "", 1},
            Aim::Reported);
    AddTime(aFigures, "`Read` of 16 ready bytes: time against Boost.Asio", ours, {"read_ready/asio", "", 1},
            Aim::Reported);
}

std::string GetTrips(const std::string& aName, const std::string& aCpus, const std::string& aTrips = "1")
{
    return "round_trip/" + aName + "/cpus:" + aCpus + "/trips:" + aTrips;
}

void AddHandOver(Figures& aFigures)
{
    AddTime(aFigures, "event set and waited for, nobody sleeps: time against mutex and condition variable",
            {"event/koserial", "", 1}, {"event/condition_variable", "", 1}, Aim::AtMost, 0.15);
    for (const std::string cpus : {"1", "2"})
    {
        const std::string text = "event to waiting `Read` and back, " + cpus + (cpus == "1" ? " CPU, " : " CPUs, ");
        const std::string ours = GetTrips("port", cpus);
        const std::string futex = GetTrips("futex", cpus);
        AddTime(aFigures, text + "p50: time against a raw futex", {ours, "p50", 1}, {futex, "p50", 1}, Aim::AtMost,
                cpus == "1" ? 1.1 : 1.05);
        AddTime(aFigures, text + "p99: time against a raw futex", {ours, "p99", 1}, {futex, "p99", 1}, Aim::Reported);
        AddTime(aFigures, text + "p50: time against mutex and condition variable", {ours, "p50", 1},
                {GetTrips("condition_variable", cpus), "p50", 1}, Aim::Reported);
        AddTime(aFigures, text + "p50: time against a pipe with `poll`", {ours, "p50", 1},
                {GetTrips("pipe", cpus), "p50", 1}, Aim::Reported);
    }
}

void AddUartWrite(Figures& aFigures)
{
    constexpr double BYTES = 1024;
    AddTime(aFigures,
            "UART `Write` per byte, confirmed inside the register write: time against mutex and condition variable",
            {"uart_write/koserial", "", BYTES}, {"uart_write/condition_variable", "", BYTES}, Aim::AtMost, 0.32);
    for (const std::string cpus : {"1", "2"})
    {
        AddTime(aFigures,
                "UART `Write` per byte, confirmed by a thread, " + cpus + (cpus == "1" ? " CPU" : " CPUs") +
                    ", p50: time against two raw futex hand-overs",
                {"uart_write/thread/cpus:" + cpus, "p50", 1}, {GetTrips("futex", cpus, "16"), "p50", 1}, Aim::AtMost,
                1.05);
    }
}

void AddTransmit(Figures& aFigures)
{
    AddSpeed(aFigures, "64 KiB in chunks of 128 bytes: speed against the calls of the device alone", "transmit/chunks",
             "transmit/chunk_calls", Aim::Reported);
    for (const std::string length : {"64", "512", "1024", "16384"})
    {
        AddSpeed(aFigures, "64 KiB in frames of " + length + " bytes: speed against a `memcpy` of each",
                 "transmit/frames/" + length, "transmit/frame_memcpy/" + length, Aim::Reported);
    }
}

void AddAllocations(Figures& aFigures)
{
    const std::vector<std::pair<std::string, std::string>> transfers = {
        {"transmit/uart", "UART `Write`"},
        {"transmit/chunks", "`Write` in chunks"},
        {"transmit/frames/1024", "`Write` in frames"},
        {"allocations/uart", "UART event and `Read`"},
        {"allocations/bulk", "bulk event and `Read`"},
        {"allocations/feature", "feature event and `Read`"}};
    for (const auto& [benchmark, text] : transfers)
    {
        AddCounter(aFigures, "heap allocations, " + text, {benchmark, "allocations", 1}, Aim::AtMost, 0);
    }
}

void AddLine(Figures& aFigures)
{
    const std::string uart = "bulk UART at 230400 bit/s, reserve 124";
    const std::string usrt = "bulk USRT at 1.04 Mbit/s, reserve 124";
    AddCounter(aFigures, "line busy, percent, " + uart, {"line/uart_230400", "busy_percent", 1}, Aim::AtLeast, 99.5);
    AddCounter(aFigures, "line busy, percent, " + usrt, {"line/usrt_1043750", "busy_percent", 1}, Aim::Reported, 0);
    AddCounter(aFigures, "most bytes lost of 64 KiB, " + uart, {"line/uart_230400", "lost_bytes", 1, "most"},
               Aim::AtMost, 0);
    AddCounter(aFigures, "most bytes lost of 64 KiB, " + usrt, {"line/usrt_1043750", "lost_bytes", 1, "most"},
               Aim::AtMost, 0);
}

void AddScale(Figures& aFigures)
{
    constexpr double EVENT_SIZE = 512;
    for (const std::string ports : {"2", "4", "8", "16"})
    {
        AddTime(aFigures, ports + " ports active, one thread: time per byte against 1 port",
                {"scale/ports/" + ports, "", std::stod(ports) * EVENT_SIZE}, {"scale/ports/1", "", EVENT_SIZE},
                ports == "16" ? Aim::AtMost : Aim::Reported, 1.2);
    }
    for (const std::string threads : {"2", "4", "8", "16"})
    {
        AddTime(aFigures, threads + " ports active, a thread each: elapsed time per byte against 1 port",
                {"scale/threads/threads:" + threads, "", EVENT_SIZE}, {"scale/threads/threads:1", "", EVENT_SIZE},
                Aim::Reported);
    }
    for (const std::string sinks : {"1", "4"})
    {
        AddTime(aFigures, "receive 512 bytes, UART, echo sinks registered " + sinks + ": time against none",
                {"scale/sinks/" + sinks, "", 1}, {"scale/sinks/0", "", 1}, Aim::Reported);
    }
    AddTime(aFigures,
            "2 ports active, a thread each, an echo sink that takes 10 us: elapsed time per event against 1 port",
            {"scale/slow_sink/threads:2", "", 1}, {"scale/slow_sink/threads:1", "", 1}, Aim::Reported);
}

} // namespace

std::vector<Figure> GetFigures()
{
    Figures figures;
    AddReceive(figures);
    AddSerialPeers(figures);
    AddReceiveFromThread(figures);
    AddReadReady(figures);
    AddHandOver(figures);
    AddUartWrite(figures);
    AddTransmit(figures);
    AddAllocations(figures);
    AddLine(figures);
    AddScale(figures);
    return figures;
}

std::vector<std::string> GetGroups()
{
    std::vector<std::string> groups;
    for (const std::string& size : SIZES)
    {
        groups.push_back("^receive/.*/" + size + "(/|$)");
        groups.push_back("^receive_2/.*/" + size + "(/|$)");
    }
    for (const std::string cpus : {"1", "2"})
    {
        groups.push_back("^(round_trip|uart_write)/.*cpus:" + cpus);
    }
    for (const std::string group : {"read_ready/", "event/", "uart_write/[^/]*$", "transmit/", "allocations/", "line/",
                                    "scale/ports", "scale/threads", "scale/s"})
    {
        groups.push_back("^" + group);
    }
    return groups;
}
