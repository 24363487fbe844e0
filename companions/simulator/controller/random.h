#pragma once

#include <cstdint>
#include <initializer_list>

namespace controller {

/**
 * Random numbers by splitmix64. They are the same for the same seed with every library, unlike
 * those of the standard distributions.
 */
class Random {
  public:
    explicit Random(uint64_t seed) : i_state(seed) {}

    uint64_t next() {
        uint64_t mixed = i_state += 0x9E3779B97F4A7C15U;
        mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBU;
        return mixed ^ mixed >> 31;
    }
    uint32_t below(uint32_t bound) { return static_cast<uint32_t>(next() % bound); }
    bool oneIn(uint32_t number) { return below(number) == 0; }
    uint32_t oneOf(std::initializer_list<uint32_t> numbers) {
        return numbers.begin()[below(static_cast<uint32_t>(numbers.size()))];
    }

  private:
    uint64_t i_state;
};

}  // namespace controller
