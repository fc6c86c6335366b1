// Numbers that look random and are the same on every machine, which the standard distributions are not.
#pragma once

#include <cstdint>

namespace iqrx::sample {

class Random {
public:
    // One stream of numbers per seed, purpose and index, so that any record can be made on its own.
    Random(unsigned seed, std::uint64_t purpose, long index)
        : state_(seed * 0x9E3779B97F4A7C15U + purpose * 0xD1B54A32D192ED03U +
                 static_cast<std::uint64_t>(index) * 0x8CB92BA72F3D8DD7U) {}

    long Below(long bound) { return static_cast<long>(Next() % static_cast<std::uint64_t>(bound)); }

    bool Chance(int percent) { return Below(100) < percent; }

private:
    std::uint64_t Next() {  // splitmix64
        state_ += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31U);
    }

    std::uint64_t state_;
};

}  // namespace iqrx::sample
