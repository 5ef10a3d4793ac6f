#include <utility>

#include "base/once_callback.h"

movra_base::OnceClosure KeepIt(movra_base::OnceClosure& callback) {
#ifdef MOVRA_MISUSE
  movra_base::OnceClosure kept = callback;  // Two of them could run twice.
#else
  movra_base::OnceClosure kept = std::move(callback);
#endif
  return kept;
}
