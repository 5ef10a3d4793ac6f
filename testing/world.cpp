#include "testing/world.h"

#include "testing/named.h"
#include "testing/track_double.h"

namespace movra::testing {
namespace {

World* current = nullptr;

}  // namespace

World::World() {
  if (current != nullptr) throw std::logic_error("a world exists already");
  current = this;
}

World::~World() {
  current = nullptr;
  ForgetNames();
}

World& World::Current() {
  if (current == nullptr) throw std::logic_error("a double's factory was called without a world");
  return *current;
}

World* World::Find() { return current; }

std::string World::UniqueName(const std::string& name) {
  const int number = ++names_[name];
  return number == 1 ? name : name + "#" + std::to_string(number);
}

TrackDouble& World::Track(const std::string& name) const {
  for (std::size_t i = tracks.count(); i > 0; --i) {
    const auto track = tracks.Find(i - 1);
    if (track != nullptr && track->track_name() == name) return *track;
  }
  throw std::logic_error("no track is named " + name);
}

}  // namespace movra::testing
