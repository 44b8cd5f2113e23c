#pragma once

#include <functional>
#include <future>

#include "serve/api/service_json.h"

namespace qiv {

/// Why a forecast is as it is, asked of another thread.
class ComingWhy {
 public:
  ComingWhy() : _coming(_answer.get_future()) {}

  /// Answers with what `explain` says or throws. To be called once.
  void answer(const std::function<Why()>& explain);

  /// Waits for the answer, for two seconds at most. Throws what `explain` threw.
  Why wait();

 private:
  std::promise<Why> _answer;
  std::future<Why> _coming;
};

}  // namespace qiv
