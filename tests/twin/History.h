#ifndef QIV_TESTS_TWIN_HISTORY_H
#define QIV_TESTS_TWIN_HISTORY_H

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace twin {

typedef std::int16_t category_t;

class History {
 public:
  enum Replace { random = 0, ring = 1 };

  History(unsigned int max_size, Replace strategy);

  unsigned int size() const;
  unsigned int max_size() const;
  unsigned int length() const;
  bool is_compatible(unsigned int length) const;
  void push_back(const std::vector<int>& trajectory);
  const std::vector<int>& operator[](unsigned int k) const;
  double interpolate(unsigned int k, unsigned int index, double linear) const;

  std::deque<std::vector<int>> _history;
  unsigned int _max_size;
  Replace _strategy;
};

class AllHistories {
 public:
  void initialize(unsigned int max_size, const std::string& strategy);
  void push_back(category_t category, const std::vector<int>& trajectory);
  History* operator[](category_t category);
  bool is_initialized();
  unsigned int length();
  bool is_compatible(unsigned int length);
  void remove_all_histories();

  std::map<category_t, std::unique_ptr<History>> _history;
  unsigned int _max_size = 0;
  History::Replace _strategy = History::random;
};

}  // namespace twin

#endif  // QIV_TESTS_TWIN_HISTORY_H
