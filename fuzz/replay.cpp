// Runs a fuzz target without a fuzzer: over each seed, its prefixes, and damaged copies of it. The damage comes
// from a fixed start value, so that a failure comes back.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace
{
using Bytes = std::vector<std::uint8_t>;

void run(const Bytes& bytes)
{
    // An exact copy on the heap lets the address sanitizer see a read of one byte too many.
    const Bytes exact(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

void damage(const Bytes& seed, std::mt19937& random, int rounds)
{
    for (int round = 0; round < rounds; ++round) {
        Bytes bytes = seed;
        const unsigned changes = 1 + random() % 4;
        for (unsigned change = 0; change < changes && !bytes.empty(); ++change) {
            const std::size_t at = random() % bytes.size();
            switch (random() % 4) {
            case 0:
                bytes[at] ^= std::uint8_t(1u << (random() % 8));
                break;
            case 1:
                bytes[at] = std::uint8_t(random());
                break;
            case 2:
                bytes.erase(bytes.begin() + std::ptrdiff_t(at));
                break;
            default:
                bytes.insert(bytes.begin() + std::ptrdiff_t(at), bytes[random() % bytes.size()]);
            }
        }
        run(bytes);
    }
}
} // namespace

int main(int argc, char** argv)
{
    constexpr std::size_t prefixes = 64;
    constexpr int rounds = 200;
    std::vector<std::filesystem::path> seeds;
    for (int i = 1; i < argc; ++i)
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i]))
            if (entry.is_regular_file())
                seeds.push_back(entry.path());
    if (seeds.empty()) {
        std::fprintf(stderr, "no seeds found\n");
        return 1;
    }
    std::sort(seeds.begin(), seeds.end());
    std::mt19937 random(20210417);
    for (const auto& path : seeds) {
        std::ifstream file(path, std::ios::binary);
        const Bytes seed((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        run(seed);
        for (std::size_t i = 0; i < std::min(prefixes, seed.size()); ++i)
            run(Bytes(seed.begin(), seed.begin() + std::ptrdiff_t(seed.size() * i / prefixes)));
        damage(seed, random, seed.size() > 65536 ? rounds / 20 : rounds);
    }
    std::printf("%zu seeds replayed\n", seeds.size());
    return 0;
}
