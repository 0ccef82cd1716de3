#pragma once

/// Marks what libKoSim offers to its users; everything else stays inside the library.
#define KO_SIM_API __attribute__((visibility("default")))
