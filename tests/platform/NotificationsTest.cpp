#include "VeskLoopManagement/platform/Notifications.h"

#include <gtest/gtest.h>

#include <thread>

using namespace vesk;

namespace {

struct Notifications : testing::Test {
  ~Notifications() override {
    for (const auto token : tokens) center.removeObserver(token);
  }
  void observe(std::string_view name, const std::string& mark) {
    tokens.push_back(center.addObserver(name, [this, mark](const std::string& posted) { heard += mark + posted; }));
  }

  NotificationCenter& center = NotificationCenter::shared();
  std::vector<NotificationCenter::Token> tokens;
  std::string heard;
};

}  // namespace

TEST_F(Notifications, ObserversHearInTheOrderInWhichTheyWereAdded) {
  observe("start", " 1");
  observe("", " 2");
  observe("finish", " 3");
  observe("start", " 4");
  center.post("start");
  center.removeObserver(tokens[0]);
  center.post("start");
  center.post("other");
  EXPECT_EQ(heard, " 1start 2start 4start 2start 4start 2other");
}

TEST_F(Notifications, AnObserverMayAddAndRemoveObservers) {
  tokens.push_back(center.addObserver("start", [this](const std::string&) {
    observe("start", "later ");
    center.removeObserver(tokens.front());
  }));
  center.post("start");
  EXPECT_EQ(heard, "");
  center.post("start");
  EXPECT_EQ(heard, "later start");
}

TEST_F(Notifications, OtherThreadsReachTheMainThreadThroughItsQueue) {
  observe("start", "");
  center.postOnMainThread("start");
  EXPECT_EQ(heard, "start");  // at once
  size_t wakeUps = 0;
  setMainQueueWakeUp([&wakeUps] { ++wakeUps; });
  std::thread([this] { center.postOnMainThread("start"); }).join();
  setMainQueueWakeUp({});
  EXPECT_EQ(heard, "start");  // waits
  EXPECT_EQ(wakeUps, 1u);
  EXPECT_EQ(drainMainQueue(), 1u);
  EXPECT_EQ(heard, "startstart");
  std::thread([] { declareMainThread(); }).join();  // a host may declare another thread
  EXPECT_FALSE(isMainThread());
  declareMainThread();
  EXPECT_TRUE(isMainThread());
}

TEST_F(Notifications, WorkQueuedWhileDrainingWaitsForTheNextTime) {
  performOnMainQueue([this] {
    performOnMainQueue([this] { heard += "3"; });
    heard += "1";
  });
  performOnMainQueue([this] { heard += "2"; });
  EXPECT_EQ(drainMainQueue(), 2u);
  EXPECT_EQ(heard, "12");
  EXPECT_EQ(drainMainQueue(), 1u);
}
