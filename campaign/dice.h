#pragma once

#include <cstddef>
#include <cstdint>

namespace campaign {

/** Random numbers that are the same everywhere, unlike the standard library's distributions. */
class Dice {
  public:
    explicit Dice(uint64_t seed) : i_state(seed) {}

    uint64_t roll() {
        i_state += 0x9E3779B97F4A7C15;
        uint64_t mixed = i_state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        return mixed ^ (mixed >> 31);
    }
    uint64_t below(uint64_t limit) { return roll() % limit; }
    bool oneIn(uint64_t chance) { return below(chance) == 0; }
    template <typename T, size_t Count>
    T oneOf(const T (&values)[Count]) {
        return values[below(Count)];
    }

  private:
    uint64_t i_state;
};

}  // namespace campaign
