#include "app/coming_why.h"

namespace qiv {

void ComingWhy::answer(const std::function<Why()>& explain) {
  try {
    _answer.set_value(explain());
  } catch (...) {
    _answer.set_exception(std::current_exception());
  }
}

Why ComingWhy::wait() {
  if (_coming.wait_for(std::chrono::seconds(2)) == std::future_status::ready) return _coming.get();
  return {std::nullopt, "the service is busy: ask again"};
}

}  // namespace qiv
