// The time of day, as many seconds ahead as QIV_CLOCK_SHIFT_S says, for a program that has this
// library preloaded. The clock that only runs is left alone. Until when the Kafka client waits is
// translated back: the kernel measures it by its own time of day.

#include <dlfcn.h>
#include <sys/time.h>
#include <threads.h>
#include <time.h>

#include <cstdlib>

namespace {

/// The function of the C library that stands behind one of this name.
template <class Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

time_t shift_s() {
  const char* const text = std::getenv("QIV_CLOCK_SHIFT_S");
  return text == nullptr ? 0 : std::atol(text);
}

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* now) noexcept {
  static const auto function = real<int(clockid_t, timespec*)>("clock_gettime");
  const int result = function(clock, now);
  const bool is_time_of_day = clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
  if (result == 0 && is_time_of_day) now->tv_sec += shift_s();
  return result;
}

int gettimeofday(timeval* __restrict now, void* __restrict) noexcept {
  timespec precise{};
  clock_gettime(CLOCK_REALTIME, &precise);
  now->tv_sec = precise.tv_sec;
  now->tv_usec = precise.tv_nsec / 1000;
  return 0;
}

time_t time(time_t* now) noexcept {
  timespec precise{};
  clock_gettime(CLOCK_REALTIME, &precise);
  if (now != nullptr) *now = precise.tv_sec;
  return precise.tv_sec;
}

int timespec_get(timespec* now, int base) noexcept {
  return clock_gettime(CLOCK_REALTIME, now) == 0 ? base : 0;
}

int cnd_timedwait(cnd_t* condition, mtx_t* mutex, const timespec* until) {
  static const auto function = real<int(cnd_t*, mtx_t*, const timespec*)>("cnd_timedwait");
  timespec real_until = *until;
  real_until.tv_sec -= shift_s();
  return function(condition, mutex, &real_until);
}

}  // extern "C"
