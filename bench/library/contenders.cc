#include "library/contenders.h"

#include <stdexcept>

#include "lanes.h"

namespace bench {

namespace {

lanes::Instructions instructions_of(Contender contender) {
  switch (contender) {
    case Contender::sse2:
      return lanes::Instructions::sse2;
    case Contender::avx2:
      return lanes::Instructions::avx2;
    case Contender::avx512:
      return lanes::Instructions::avx512;
    default:
      return lanes::Instructions::portable;
  }
}

const Contender all[] = {Contender::twin, Contender::portable, Contender::sse2, Contender::avx2,
                         Contender::avx512};

}  // namespace

std::string name_of(Contender contender) {
  const char* const names[] = {"twin", "portable", "sse2", "avx2", "avx512"};
  return names[static_cast<int>(contender)];
}

std::vector<Contender> contenders() {
  std::vector<Contender> result;
  for (const Contender contender : all) {
    if (contender == Contender::twin || lanes::has(instructions_of(contender))) {
      result.push_back(contender);
    }
  }
  return result;
}

void choose(Contender contender) {
  if (contender != Contender::twin) lanes::use(instructions_of(contender));
}

Contender contender_named(const std::string& name) {
  for (const Contender contender : all) {
    if (name_of(contender) == name) return contender;
  }
  throw std::invalid_argument("no contender is named " + name);
}

}  // namespace bench
