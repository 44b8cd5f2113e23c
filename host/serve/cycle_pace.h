#pragma once

#include <chrono>

namespace qiv {

/// When cycles begin. One that takes positions begins as soon as they come, at least `cycle` after
/// the one before that took some; while none come, cycles follow each other every `cycle`. Where
/// positions come about as often as that, they are waited for a little longer, so that cycles
/// follow the source's beat.
class CyclePace {
 public:
  using Time = std::chrono::steady_clock::time_point;

  explicit CyclePace(std::chrono::milliseconds cycle) : _cycle(cycle) {}

  /// A cycle begins `now`, with positions to take or without.
  void begin(Time now, bool with_positions);

  /// When the next cycle is to begin, given that positions are there already or that none are. Long
  /// past before the first.
  Time due(bool with_positions) const;

 private:
  std::chrono::milliseconds _cycle;
  Time _last{};         ///< cycle
  Time _last_taking{};  ///< that took positions
};

}  // namespace qiv
