#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The fuzz targets, one function each, so the fuzzers and the replay of the
// kept inputs in the test suite run exactly the same code.
namespace orvan::fuzz {

// The bytes as a tuning file: written to a file, parsed, validated, and every
// record it yields printed.
int tuningFile(const uint8_t* data, size_t size);

// The bytes as the text of a value list or a single value, through every
// integer reader, which must agree with one another.
int valueText(const uint8_t* data, size_t size);

// The first byte picks the operation and the output capacity, the rest is a
// parameter blob for setTevParam or getTevParam of an initialised service.
int serviceBlob(const uint8_t* data, size_t size);
// Stops the service serviceBlob() started, if any.
void stopService();

// A directory of this process for scratch files, removed at exit.
std::string scratchDirectory();

}  // namespace orvan::fuzz
