#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace kestrane::campaign {

/// Random numbers that are the same with every compiler and library: SplitMix64 (Steele, Lea,
/// Flood, Fast splittable pseudorandom number generators, OOPSLA 2014).
class Draw {
public:
    /// Streams of different seed, purpose or index have nothing in common.
    Draw(std::uint64_t seed, std::uint64_t purpose, std::uint64_t index)
        : state_(seed * 0x9e3779b97f4a7c15u) {
        state_ = next() ^ (purpose + 0x632be59bd9b4e019u);
        state_ = next() ^ index;
        next();
    }
    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9e3779b97f4a7c15u);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return z ^ (z >> 31);
    }
    /// In [0, 1).
    double uniform() { return static_cast<double>(next() >> 11) * 0x1p-53; }
    double uniform(double low, double high) { return low + (high - low) * uniform(); }
    /// Equally likely per decade.
    double log_uniform(double low, double high) { return low * std::pow(high / low, uniform()); }
    bool chance(double probability) { return uniform() < probability; }
    std::size_t below(std::size_t n) { return static_cast<std::size_t>(next() % n); }
    double sign() { return chance(0.5) ? 1.0 : -1.0; }

private:
    std::uint64_t state_;
};

}  // namespace kestrane::campaign
