// The sums of each set of instructions against the plain formulas, to the last bit.

#include "exact.h"

#include "lanes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "History.h"
#include "TileReader.h"
#include "differential/Draw.h"

namespace {

using differential::RandomDraw;
using lanes::Increments;
using lanes::Instructions;
using lanes::Observation;
using lanes::TilePosition;

const double infinity = std::numeric_limits<double>::infinity();
const double not_a_number = std::numeric_limits<double>::quiet_NaN();

/// All bits; of a NaN none, since the language leaves open which of two an operation passes on.
std::string bits(double value) {
  if (value != value) return "nan";
  char text[64];
  std::uint64_t pattern = 0;
  std::memcpy(&pattern, &value, sizeof pattern);
  std::snprintf(text, sizeof text, "%a (%016llx)", value, static_cast<unsigned long long>(pattern));
  return text;
}

std::vector<std::string> bits(const double* values, unsigned int count) {
  std::vector<std::string> result;
  for (unsigned int i = 0; i < count; ++i) result.push_back(bits(values[i]));
  return result;
}

/// A store and positions on it, in the terms of the plain formulas and in those of the tiles.
struct Scene {
  Scene(unsigned int nb_trajectories, unsigned int nb_positions, RandomDraw& draw, bool hostile)
      : history(nb_trajectories, History::ring) {
    const unsigned int length = 2 + draw.below(7);
    for (unsigned int k = 0; k < nb_trajectories; ++k) {
      std::vector<int> times;
      // Up to 65535 the store keeps times in cells of half the width.
      const int late = draw.one_in(20) ? 64000 : 0;
      int time = hostile ? draw.of<int>({-2147483647 - 1, -5, 0, 0}) : late;
      for (unsigned int i = 0; i < length; ++i) {
        times.push_back(time);
        if (time < 1000000) time += hostile && draw.one_in(5) ? 2000000000 : draw.between(0, 900);
      }
      history.push_back(times);
      weights.push_back(hostile ? draw.of<double>({0.0, 1.0, 0.3, 1e-300, infinity, not_a_number})
                                : draw.below(1000) / 999.0);
    }
    const std::vector<double> fractions = {0.0,  -0.0, 1.0,    5e-324,       1e-320,  1e-160,
                                           1e-3, 1.25, -1e300, not_a_number, infinity};
    for (unsigned int j = 0; j <= nb_positions; ++j) {
      indices.push_back(draw.one_in(9) ? 0 : 1 + draw.below(length - 1));
      linears.push_back(hostile && draw.one_in(3) ? draw.of(fractions)
                                                  : draw.below(65536) / 65536.3);
      elapsed.push_back(hostile && draw.one_in(3) ? draw.of<double>({0.0, 9.3e18, -9.3e18, 1.0})
                                                  : draw.below(4000));
    }
  }

  TilePosition position(unsigned int j) const { return TilePosition(indices[j], linears[j]); }
  double time(unsigned int k, unsigned int j) const {
    if (indices[j] == 0) return 0.0;
    const double prior = history[k][indices[j] - 1];
    const double item = history[k][indices[j]];
    return product(item - prior, linears[j]) + prior;
  }

  History history;
  std::vector<double> weights;
  std::vector<unsigned int> indices;
  std::vector<double> linears;
  std::vector<double> elapsed;
};

class LanesTest : public testing::TestWithParam<Instructions> {
 protected:
  void SetUp() override {
    if (!lanes::has(GetParam())) GTEST_SKIP() << "not on this processor";
    lanes::use(GetParam());
  }

  static std::vector<std::string> distances(const Scene& scene, unsigned int count,
                                            double bandwidth) {
    Observation observations[lanes::batch_size] = {};
    for (unsigned int j = 0; j < count; ++j) {
      observations[j] = {scene.position(j), scene.elapsed[j]};
    }
    std::vector<double> weights = scene.weights;
    lanes::operations().subtract_distances(TileReader::read(scene.history), observations, count,
                                           bandwidth, weights.data());
    return bits(weights.data(), scene.history.size());
  }

  static std::vector<std::string> plain_distances(const Scene& scene, unsigned int count,
                                                  double bandwidth) {
    const unsigned int n = scene.history.size();
    std::vector<double> weights = scene.weights;
    for (unsigned int j = 0; j < count; ++j) {
      double mean = 0.0;
      double var = 0.0;
      for (unsigned int k = 0; k < n; ++k) {
        mean += scene.time(k, j);
        var += product(scene.time(k, j), scene.time(k, j));
      }
      var = var / n - product(mean, mean) / (n * n);
      if (var < 1.0) var = 1.0;
      const double scale = product(var, bandwidth);
      for (unsigned int k = 0; k < n; ++k) {
        const double distance = scene.time(k, j) - scene.elapsed[j];
        weights[k] -= product(distance / scale, distance);
      }
    }
    return bits(weights.data(), n);
  }

  static std::vector<std::string> increments(const Scene& scene, unsigned int count,
                                             Increments increments) {
    TilePosition positions[1 + lanes::batch_size] = {};
    for (unsigned int j = 0; j <= count; ++j) positions[j] = scene.position(j);
    lanes::IncrementSums sums;
    lanes::operations().sum_increments(TileReader::read(scene.history), scene.weights.data(),
                                       positions, count, increments, sums);
    std::vector<std::string> result = bits(sums.mean, count);
    for (const std::string& square : bits(sums.square, count)) result.push_back(square);
    return result;
  }

  static std::vector<std::string> plain_increments(const Scene& scene, unsigned int count,
                                                   Increments increments) {
    std::vector<double> means;
    std::vector<double> squares;
    for (unsigned int j = 1; j <= count; ++j) {
      const unsigned int from = increments == Increments::from_first ? 0 : j - 1;
      double mean = 0.0;
      double square = 0.0;
      for (unsigned int k = 0; k < scene.history.size(); ++k) {
        const double increment = scene.time(k, j) - scene.time(k, from);
        const double weighted = product(scene.weights[k], increment);
        mean += weighted;
        square += product(increment, weighted);
      }
      means.push_back(mean);
      squares.push_back(square);
    }
    std::vector<std::string> result = bits(means.data(), count);
    for (const std::string& square : bits(squares.data(), count)) result.push_back(square);
    return result;
  }
};

TEST_P(LanesTest, EveryNumberOfTrajectoriesAndOfPositions) {
  RandomDraw draw(1);
  for (unsigned int n = 1; n <= 25; ++n) {
    for (unsigned int count = 1; count <= 18; ++count) {
      const Scene scene(n, count, draw, false);
      SCOPED_TRACE(std::to_string(n) + " trajectories, " + std::to_string(count) + " positions");
      ASSERT_EQ(distances(scene, count, 3.7), plain_distances(scene, count, 3.7));
      for (const Increments kind : {Increments::from_first, Increments::from_previous}) {
        ASSERT_EQ(increments(scene, count, kind), plain_increments(scene, count, kind));
      }
    }
  }
}

TEST_P(LanesTest, WholeBatches) {
  RandomDraw draw(2);
  const Scene scene(203, lanes::batch_size, draw, false);
  EXPECT_EQ(distances(scene, lanes::batch_size, 20.0),
            plain_distances(scene, lanes::batch_size, 20.0));
  EXPECT_EQ(increments(scene, lanes::batch_size, Increments::from_first),
            plain_increments(scene, lanes::batch_size, Increments::from_first));
}

// Subnormal, huge, infinite and NaN fractions, weights and bandwidths; times at the ends of int.
TEST_P(LanesTest, HostileValues) {
  RandomDraw draw(3);
  const std::vector<double> bandwidths = {1.0,    0.3,   1e-5,  1e300,    1e-300,      5e-324,
                                          1e-120, 1e120, 1e-13, infinity, not_a_number};
  for (unsigned int i = 0; i < 3000; ++i) {
    const unsigned int count = 1 + draw.below(20);
    const Scene scene(1 + draw.below(30), count, draw, true);
    const double bandwidth = draw.of(bandwidths);
    SCOPED_TRACE(i);
    ASSERT_EQ(distances(scene, count, bandwidth), plain_distances(scene, count, bandwidth));
    for (const Increments kind : {Increments::from_first, Increments::from_previous}) {
      ASSERT_EQ(increments(scene, count, kind), plain_increments(scene, count, kind));
    }
  }
}

/// A double in [1, 2) with a significand at one of the ends or anywhere.
double significand(RandomDraw& draw) {
  const std::uint64_t ones = (1ULL << 52) - 1;
  const std::uint64_t near = draw.below(8);
  std::uint64_t pattern = static_cast<std::uint64_t>(draw.below(1u << 16)) << 36 |
                          static_cast<std::uint64_t>(draw.below(1u << 16)) << 20 |
                          draw.below(1u << 16) << 4;
  if (draw.one_in(4)) pattern = near;
  if (draw.one_in(4)) pattern = ones - near;
  pattern |= 1023ULL << 52;
  double result = 0.0;
  std::memcpy(&result, &pattern, sizeof result);
  return result;
}

// One trajectory has the variance 1, so that the bandwidth is the divisor; times 0 and 1 make the
// fraction the dividend.
TEST_P(LanesTest, QuotientsAreRoundedAsDivisionsRoundThem) {
  RandomDraw draw(4);
  History history(1, History::ring);
  history.push_back({0, 1});
  Observation observations[lanes::tile_width] = {};
  for (unsigned int i = 0; i < 400000; ++i) {
    const double dividend = std::ldexp(significand(draw), -1 - draw.between(0, i % 3 ? 8 : 1060));
    const double divisor =
        std::ldexp(significand(draw), draw.between(i % 5 ? -8 : -1070, i % 5 ? 8 : 1020));
    observations[0] = {TilePosition(1, dividend), 0.0};
    double weight = 0.0;
    lanes::operations().subtract_distances(TileReader::read(history), observations, 1, divisor,
                                           &weight);
    ASSERT_EQ(bits(weight), bits(0.0 - product(dividend / divisor, dividend)))
        << bits(dividend) << " divided by " << bits(divisor);
  }
}

std::string instructions_name(const testing::TestParamInfo<Instructions>& info) {
  const char* const names[] = {"portable", "sse2", "avx2", "avx512"};
  return names[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Each, LanesTest,
                         testing::Values(Instructions::portable, Instructions::sse2,
                                         Instructions::avx2, Instructions::avx512),
                         instructions_name);

TEST(Lanes, PortableOperationsAreAlwaysThere) {
  EXPECT_TRUE(lanes::has(Instructions::portable));
}

TEST(Lanes, ChosenOperationsStay) {
  lanes::use(Instructions::portable);
  EXPECT_EQ(&lanes::operations(), lanes::portable_operations());
}

}  // namespace
