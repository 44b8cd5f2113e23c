#ifndef QIV_TESTS_DIFFERENTIAL_GENERATORS_H
#define QIV_TESTS_DIFFERENTIAL_GENERATORS_H

#include <algorithm>
#include <string>
#include <vector>

#include "differential/palettes.h"
#include "rapidcheck.h"

namespace differential {

inline rc::Gen<double> any_offset() {
  return rc::gen::weightedOneOf<double>(
      {{5, rc::gen::map(rc::gen::inRange(0, 3100), [](int tenths) { return 0.1 * tenths; })},
       {4, rc::gen::elementOf(tame_offsets)},
       {2, rc::gen::elementOf(wild_offsets)}});
}

inline rc::Gen<double> tame_offset() {
  return rc::gen::elementOf(tame_offsets);
}

inline rc::Gen<int> any_time() {
  return rc::gen::weightedOneOf<int>({{9, rc::gen::inRange(0, 4000)},
                                      {4, rc::gen::elementOf(tame_times)},
                                      {1, rc::gen::elementOf(wild_times)}});
}

inline rc::Gen<long long> any_stamp() {
  return rc::gen::weightedOneOf<long long>({{6, rc::gen::cast<long long>(rc::gen::inRange(0, 300))},
                                            {4, rc::gen::elementOf(tame_stamps)},
                                            {1, rc::gen::elementOf(wild_stamps)}});
}

template <class Value>
rc::Gen<std::vector<Value>> list_of(rc::Gen<Value> element) {
  return rc::gen::scale(0.15, rc::gen::container<std::vector<Value>>(element));
}

/// A list as the loaders of a journey let it pass, but for NaN among the offsets.
inline rc::Gen<std::vector<double>> route_offsets() {
  return rc::gen::map(list_of(any_offset()), [](std::vector<double> list) {
    std::vector<double> accepted;
    double last = -0.5;
    std::sort(list.begin(), list.end(), [](double l, double r) { return l < r; });
    for (const double offset : list) {
      if (offset <= last || offset < 0.0) continue;
      accepted.push_back(offset);
      last = offset;
    }
    while (accepted.size() < 2) accepted.push_back(500.0 * static_cast<double>(accepted.size()));
    return accepted;
  });
}

inline rc::Gen<std::string> any_name() {
  return rc::gen::element<std::string>("", "A", "B", "T17", "2024-05-01",
                                       "a longer name of a trip");
}

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_GENERATORS_H
