#ifndef QIV_BENCH_LIBRARY_ANSWERS_H
#define QIV_BENCH_LIBRARY_ANSWERS_H

#include "library/contenders.h"
#include "library/scene.h"

namespace bench {

/// Ends the process with a message when the contender's weights or forecasts for the size differ
/// from the twin's in any bit.
void check_answers(const Size& size, Contender contender);

}  // namespace bench

#endif  // QIV_BENCH_LIBRARY_ANSWERS_H
