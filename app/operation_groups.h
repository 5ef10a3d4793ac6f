// The rows of the table of operations, by what they are about.

#ifndef MOVRA_APP_OPERATION_GROUPS_H_
#define MOVRA_APP_OPERATION_GROUPS_H_

#include <vector>

#include "app/operations.h"

namespace movra::app {

[[nodiscard]] std::vector<Operation> LifecycleOperations();
[[nodiscard]] std::vector<Operation> CaptureOperations();
[[nodiscard]] std::vector<Operation> PreviewOperations();
[[nodiscard]] std::vector<Operation> EncodingOperations();
[[nodiscard]] std::vector<Operation> CustomOperations();
[[nodiscard]] std::vector<Operation> EffectOperations();
[[nodiscard]] std::vector<Operation> SharingOperations();

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATION_GROUPS_H_
