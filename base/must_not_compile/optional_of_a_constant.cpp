#include "base/optional.h"

#ifdef MOVRA_MISUSE
using Stored = const int;  // Could never be assigned.
#else
using Stored = int;
#endif

movra_base::Optional<Stored> Make() { return {}; }
