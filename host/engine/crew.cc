#include "engine/crew.h"

namespace qiv {

Crew::Crew(std::size_t size) {
  for (std::size_t number = 1; number < size; ++number) {
    _threads.emplace_back([this, number](const std::stop_token& stop) { serve(number, stop); });
  }
}

Crew::~Crew() {
  for (std::jthread& thread : _threads) thread.request_stop();
}

void Crew::together(const std::function<void(std::size_t)>& work) {
  if (_threads.empty()) {
    work(0);
    return;
  }
  {
    const std::lock_guard lock(_mutex);
    _work = &work;
    _missing = _threads.size();
    _failure = nullptr;
    ++_call;
  }
  _called.notify_all();
  do_part(0);
  std::unique_lock lock(_mutex);
  _done.wait(lock, [&] { return _missing == 0; });
  if (_failure) std::rethrow_exception(_failure);
}

void Crew::serve(std::size_t number, const std::stop_token& stop) {
  std::size_t answered = 0;
  for (;;) {
    {
      std::unique_lock lock(_mutex);
      if (!_called.wait(lock, stop, [&] { return _call != answered; })) return;
      answered = _call;
    }
    do_part(number);
    {
      const std::lock_guard lock(_mutex);
      --_missing;
    }
    _done.notify_one();
  }
}

void Crew::do_part(std::size_t number) {
  try {
    (*_work)(number);
  } catch (...) {
    const std::lock_guard lock(_mutex);
    if (!_failure) _failure = std::current_exception();
  }
}

}  // namespace qiv
