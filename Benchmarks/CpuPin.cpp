#include "CpuPin.h"

namespace
{

std::vector<int> FindCpus()
{
    cpu_set_t set{};
    ::sched_getaffinity(0, sizeof(set), &set);
    std::vector<int> cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
    {
        if (CPU_ISSET(cpu, &set))
        {
            cpus.push_back(cpu);
        }
    }
    return cpus;
}

} // namespace

const std::vector<int>& GetCpus()
{
    static const std::vector<int> sCpus = FindCpus();
    return sCpus;
}

CpuPin::CpuPin(std::size_t aIndex)
{
    const std::vector<int>& cpus = GetCpus();
    ::sched_getaffinity(0, sizeof(mPrevious), &mPrevious);
    cpu_set_t wanted{};
    CPU_SET(cpus[aIndex % cpus.size()], &wanted);
    ::sched_setaffinity(0, sizeof(wanted), &wanted);
}

CpuPin::~CpuPin()
{
    ::sched_setaffinity(0, sizeof(mPrevious), &mPrevious);
}
