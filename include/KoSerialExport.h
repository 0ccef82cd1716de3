#pragma once

/// Marks what libKoSerial offers to its users; everything else stays inside the library.
#define KO_SERIAL_API __attribute__((visibility("default")))
