#include "lanes.h"

#include <initializer_list>

namespace lanes {
namespace {

bool processor_has(Instructions instructions) {
#if defined(__x86_64__) && defined(__GNUC__)
  __builtin_cpu_init();
  if (instructions == Instructions::avx512) return __builtin_cpu_supports("avx512f") != 0;
  if (instructions == Instructions::avx2) {
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
  }
#endif
  return instructions == Instructions::portable || instructions == Instructions::sse2;
}

const Operations* compiled_operations(Instructions instructions) {
  switch (instructions) {
    case Instructions::portable:
      return portable_operations();
    case Instructions::sse2:
      return sse2_operations();
    case Instructions::avx2:
      return avx2_operations();
    case Instructions::avx512:
      return avx512_operations();
  }
  return nullptr;
}

const Operations* widest_operations() {
  for (const Instructions instructions :
       {Instructions::avx512, Instructions::avx2, Instructions::sse2}) {
    if (has(instructions)) return compiled_operations(instructions);
  }
  return portable_operations();
}

const Operations*& chosen_operations() {
  static const Operations* chosen = widest_operations();
  return chosen;
}

}  // namespace

const Operations& operations() {
  return *chosen_operations();
}

bool has(Instructions instructions) {
  return compiled_operations(instructions) != nullptr && processor_has(instructions);
}

void use(Instructions instructions) {
  chosen_operations() = compiled_operations(instructions);
}

}  // namespace lanes
