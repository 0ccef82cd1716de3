#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process, which is how a fuzzer reports, when a condition does not hold.
#define EXPECT_THAT_ALWAYS(aCondition)                                                                                 \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(aCondition))                                                                                             \
        {                                                                                                              \
            std::fprintf(stderr, "%s:%d: not true: %s\n", __FILE__, __LINE__, #aCondition);                            \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)
