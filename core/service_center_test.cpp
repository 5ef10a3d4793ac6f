#include "core/service_center.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace core {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr ServiceId kId{9};

// A base before the service type, so that a service and its complete object differ in address.
struct Padding {
  virtual ~Padding() = default;
  int filler = 0;
};

class FakeService {
 public:
  virtual ~FakeService() = default;
  virtual std::shared_ptr<FakeService> GetSelf() = 0;
  virtual void Init() = 0;
};

std::vector<std::string> events;
bool can_be_made = true;
bool gives_itself = true;
bool leaves_when_asked = false;

class FakeServiceImpl : public Padding,
                        public FakeService,
                        public std::enable_shared_from_this<FakeServiceImpl> {
 public:
  ~FakeServiceImpl() override { events.push_back("destroy"); }
  std::shared_ptr<FakeService> GetSelf() override {
    events.push_back("GetSelf");
    if (leaves_when_asked) ServiceCenter::Instance().Clear();
    return gives_itself ? shared_from_this() : nullptr;
  }
  void Init() override {
    events.push_back("Init");
    std::shared_ptr<FakeService> registered;
    is_registered_during_init = ServiceCenter::Instance().GetService(kId, registered);
  }

  bool is_registered_during_init = true;
};

}  // namespace

template <>
std::shared_ptr<void> ServiceCenter::MakeService<FakeService>() {
  // While a service initialises itself it looks for itself, and a second one cannot be made.
  const bool is_nested = !events.empty() && events.back() == "Init";
  events.push_back("Make");
  if (is_nested || !can_be_made) return nullptr;
  return std::shared_ptr<FakeService>(std::make_shared<FakeServiceImpl>());
}

namespace {

static_assert(sizeof(ServiceId) == 4);
static_assert(ServiceId{9} == ServiceId{9} && ServiceId{9} != ServiceId{8});
static_assert(ServiceId{} == ServiceId{0});

class ServiceCenterTest : public ::testing::Test {
 protected:
  ServiceCenterTest() { Reset(); }
  ~ServiceCenterTest() override { Reset(); }

  static void Reset() {
    ServiceCenter::Instance().Clear();
    can_be_made = true;
    gives_itself = true;
    leaves_when_asked = false;
    events.clear();
  }

  static bool Get(std::shared_ptr<FakeService>& out, ServiceId id = kId) {
    return ServiceCenter::Instance().GetService(id, out);
  }
};

TEST(ServiceId, HashesToItsValue) {
  EXPECT_EQ(std::hash<ServiceId>()(ServiceId{9}), 9u);
  EXPECT_EQ(std::hash<ServiceId>()(ServiceId{-1}), static_cast<std::size_t>(-1));
}

TEST_F(ServiceCenterTest, TheFirstLookUpMakesInitialisesAndRegistersTheService) {
  std::shared_ptr<FakeService> service;
  EXPECT_TRUE(Get(service));
  ASSERT_NE(service, nullptr);
  EXPECT_THAT(events, ElementsAre("Make", "Init", "Make", "GetSelf"))
      << "the second one is the service's own look-up while it initialised itself";
}

TEST_F(ServiceCenterTest, TheSecondLookUpReturnsTheSameObjectWithoutInitialisingIt) {
  std::shared_ptr<FakeService> first;
  std::shared_ptr<FakeService> second;
  Get(first);
  events.clear();
  EXPECT_TRUE(Get(second));
  EXPECT_EQ(first, second);
  EXPECT_THAT(events, ElementsAre("GetSelf"));
}

TEST_F(ServiceCenterTest, HoldsTheServiceWhenNobodyElseDoes) {
  std::shared_ptr<FakeService> service;
  Get(service);
  const std::weak_ptr<FakeService> weak = service;
  service.reset();
  EXPECT_FALSE(weak.expired());
}

TEST_F(ServiceCenterTest, KeepsNoReferenceOfItsOwnLookUp) {
  std::shared_ptr<FakeService> service;
  Get(service);
  EXPECT_EQ(service.use_count(), 2) << "the registry's and this one";
}

TEST_F(ServiceCenterTest, EachIdHasItsOwnService) {
  std::shared_ptr<FakeService> nine;
  std::shared_ptr<FakeService> ten;
  Get(nine);
  Get(ten, ServiceId{10});
  EXPECT_NE(nine, ten);
}

TEST_F(ServiceCenterTest, AServiceThatCannotBeMadeYieldsFalseAndEmptiesTheResult) {
  std::shared_ptr<FakeService> service = std::make_shared<FakeServiceImpl>();
  can_be_made = false;
  EXPECT_FALSE(Get(service));
  EXPECT_EQ(service, nullptr);
  EXPECT_THAT(events, ElementsAre("destroy", "Make")) << "the result is emptied first";
}

TEST_F(ServiceCenterTest, AServiceThatCouldNotBeMadeIsTriedAgain) {
  std::shared_ptr<FakeService> service;
  can_be_made = false;
  EXPECT_FALSE(Get(service));
  can_be_made = true;
  EXPECT_TRUE(Get(service));
}

TEST_F(ServiceCenterTest, ANullEntryIsReplacedByANewService) {
  ServiceCenter::Instance().SetService(kId, nullptr);
  std::shared_ptr<FakeService> service;
  EXPECT_TRUE(Get(service));
  std::shared_ptr<FakeService> again;
  EXPECT_TRUE(Get(again));
  EXPECT_EQ(service, again);
}

TEST_F(ServiceCenterTest, AServiceThatDoesNotGiveItselfYieldsFalse) {
  std::shared_ptr<FakeService> service;
  gives_itself = false;
  EXPECT_FALSE(Get(service));
  EXPECT_EQ(service, nullptr);
  gives_itself = true;
  events.clear();
  EXPECT_TRUE(Get(service));
  EXPECT_THAT(events, ElementsAre("GetSelf")) << "it was registered nevertheless";
}

TEST_F(ServiceCenterTest, AServiceOfTheProcesssOwnIsReturnedWithoutInitialisingIt) {
  const auto own = std::make_shared<FakeServiceImpl>();
  ServiceCenter::Instance().SetService(kId, std::shared_ptr<FakeService>(own));
  std::shared_ptr<FakeService> service;
  EXPECT_TRUE(Get(service));
  EXPECT_EQ(service.get(), static_cast<FakeService*>(own.get()));
  EXPECT_THAT(events, ElementsAre("GetSelf"));
}

TEST_F(ServiceCenterTest, AServiceIsKeptAsWhatIsLookedUpFromWhicheverPointer) {
  const auto own = std::make_shared<FakeServiceImpl>();
  ASSERT_NE(static_cast<void*>(own.get()), static_cast<void*>(static_cast<FakeService*>(own.get())))
      << "otherwise any conversion would do";
  ServiceCenter::Instance().SetService(kId, own);
  std::shared_ptr<FakeService> service;
  EXPECT_TRUE(Get(service));
  EXPECT_EQ(service.get(), static_cast<FakeService*>(own.get()));
}

TEST_F(ServiceCenterTest, SettingReleasesTheServiceBefore) {
  ServiceCenter::Instance().SetService(
      kId, std::shared_ptr<FakeService>(std::make_shared<FakeServiceImpl>()));
  EXPECT_THAT(events, IsEmpty());
  ServiceCenter::Instance().SetService(kId, nullptr);
  EXPECT_THAT(events, ElementsAre("destroy"));
}

TEST_F(ServiceCenterTest, ClearReleasesAllServices) {
  std::shared_ptr<FakeService> service;
  Get(service);
  Get(service, ServiceId{10});
  service.reset();
  events.clear();
  ServiceCenter::Instance().Clear();
  EXPECT_THAT(events, ElementsAre("destroy", "destroy"));
}

TEST_F(ServiceCenterTest, AServiceThatLeavesTheRegistryWhileItIsAskedLivesUntilItsLastUserLetsGo) {
  std::shared_ptr<FakeService> service;
  Get(service);
  service.reset();
  events.clear();
  leaves_when_asked = true;
  EXPECT_TRUE(Get(service));
  EXPECT_THAT(events, ElementsAre("GetSelf")) << "it is not destroyed while it answers";
  service.reset();
  EXPECT_THAT(events, ElementsAre("GetSelf", "destroy"));
}

TEST_F(ServiceCenterTest, AServiceIsNotRegisteredWhileItInitialisesItself) {
  std::shared_ptr<FakeService> service;
  Get(service);
  EXPECT_FALSE(static_cast<FakeServiceImpl&>(*service).is_registered_during_init);
}

}  // namespace
}  // namespace core
