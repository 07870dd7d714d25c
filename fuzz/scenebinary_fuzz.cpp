// Reads the bytes as the binary form of a scene, behind its first line.

#include "scenefuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return scenefuzz::run(data, size, false);
}
