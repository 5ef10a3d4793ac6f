#include "media/dynamic/imported_function.h"

#include <dlfcn.h>

namespace movra::media {

void LibraryLoader::Open(const std::string& name) {
  if (!error_.empty()) return;
  // All at once: a library that lacks something of its own shall fail here and not in a call.
  library_ = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) error_ = std::string("cannot load a library: ") + dlerror();
}

void* LibraryLoader::Find(const char* name) {
  if (!error_.empty() || library_ == nullptr) return nullptr;
  void* const found = dlsym(library_, name);
  if (found == nullptr) error_ = std::string("cannot load a library: ") + dlerror();
  return found;
}

}  // namespace movra::media
