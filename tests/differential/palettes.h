#ifndef QIV_TESTS_DIFFERENTIAL_PALETTES_H
#define QIV_TESTS_DIFFERENTIAL_PALETTES_H

#include <cmath>
#include <limits>
#include <vector>

/// Values that collide with one another often (tame) or that break careless arithmetic (wild).

namespace differential {

template <class Number>
using Limits = std::numeric_limits<Number>;

inline const std::vector<double> tame_offsets = {0.0,   1.0,   5.0,   10.0,  50.0,  99.5, 100.0,
                                                 100.5, 150.0, 200.0, 250.0, 300.0, 1e6,  0.1};
inline const std::vector<double> wild_offsets = {Limits<double>::quiet_NaN(),
                                                 std::copysign(Limits<double>::quiet_NaN(), -1.0),
                                                 Limits<double>::infinity(),
                                                 -Limits<double>::infinity(),
                                                 -0.0,
                                                 Limits<double>::denorm_min(),
                                                 -Limits<double>::denorm_min(),
                                                 Limits<double>::min(),
                                                 Limits<double>::max(),
                                                 -Limits<double>::max(),
                                                 -1.0,
                                                 -100.0,
                                                 1e-300,
                                                 1e300,
                                                 4503599627370496.5,
                                                 99.99999999999999,
                                                 300.00000000000006};
inline const std::vector<int> tame_times = {0, 1, 30, 60, 61, 100, 130, 200, 400, 3600, -5};
inline const std::vector<int> wild_times = {
    Limits<int>::min(), Limits<int>::max(), Limits<int>::min() + 1, -1, 46341, 1000000000};
inline const std::vector<long long> tame_stamps = {0,   1,   2,   10,   100,  101, 110,
                                                   120, 130, 200, 1000, 5000, -1,  -100};
inline const std::vector<long long> wild_stamps = {Limits<long long>::min(),
                                                   Limits<long long>::min() + 1,
                                                   Limits<long long>::max(),
                                                   Limits<long long>::max() - 1,
                                                   9007199254740993,
                                                   -9007199254740993,
                                                   1LL << 62};
}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_PALETTES_H
