#include "testing/named.h"

#include <map>
#include <mutex>

namespace movra::testing {
namespace {

struct Names {
  std::mutex mutex;
  std::map<const void*, std::string> by_address;  // Guarded by mutex.
};

Names& AllNames() {
  static Names names;
  return names;
}

}  // namespace

void SetNameOfWhole(const void* whole, std::string name) {
  Names& names = AllNames();
  const std::lock_guard lock(names.mutex);
  names.by_address[whole] = std::move(name);
}

std::string NameOfWhole(const void* whole) {
  Names& names = AllNames();
  const std::lock_guard lock(names.mutex);
  const auto found = names.by_address.find(whole);
  return found == names.by_address.end() ? "unnamed" : found->second;
}

void ForgetNames() {
  Names& names = AllNames();
  const std::lock_guard lock(names.mutex);
  names.by_address.clear();
}

}  // namespace movra::testing
