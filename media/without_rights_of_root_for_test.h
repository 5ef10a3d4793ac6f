#ifndef MOVRA_MEDIA_WITHOUT_RIGHTS_OF_ROOT_FOR_TEST_H_
#define MOVRA_MEDIA_WITHOUT_RIGHTS_OF_ROOT_FOR_TEST_H_

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>

namespace movra::media {

// Takes from this thread, for a scope, what lets root write everywhere.
class WithoutRightsOfRoot {
 public:
  WithoutRightsOfRoot() {
    EXPECT_EQ(syscall(SYS_capget, &header_, before_.data()), 0);
    auto without = before_;
    without[0].effective &= ~(1U << CAP_DAC_OVERRIDE);
    EXPECT_EQ(syscall(SYS_capset, &header_, without.data()), 0);
  }
  ~WithoutRightsOfRoot() { EXPECT_EQ(syscall(SYS_capset, &header_, before_.data()), 0); }
  WithoutRightsOfRoot(const WithoutRightsOfRoot&) = delete;
  WithoutRightsOfRoot& operator=(const WithoutRightsOfRoot&) = delete;

 private:
  __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> before_{};
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_WITHOUT_RIGHTS_OF_ROOT_FOR_TEST_H_
