#ifndef QIV_BENCH_LIBRARY_CONTENDERS_H
#define QIV_BENCH_LIBRARY_CONTENDERS_H

#include <string>
#include <vector>

namespace bench {

/// The plain twin, and the library by each set of instructions.
enum class Contender { twin, portable, sse2, avx2, avx512 };

std::string name_of(Contender contender);

/// Those that this processor can run, the twin first and the widest vectors last.
std::vector<Contender> contenders();

/// Makes the library use the contender's instructions; nothing for the twin.
void choose(Contender contender);

/// The contender of that name. Throws `std::invalid_argument` for a name that none has.
Contender contender_named(const std::string& name);

}  // namespace bench

#endif  // QIV_BENCH_LIBRARY_CONTENDERS_H
