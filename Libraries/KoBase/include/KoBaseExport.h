#pragma once

/// Marks what libKoBase offers to its users; everything else stays inside the library.
#define KO_BASE_API __attribute__((visibility("default")))
