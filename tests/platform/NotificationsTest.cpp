#include "platform/Notifications.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace vesk;

namespace {

// Removes its observers at its end, so that no test hears of another one's notifications.
class Recorder {
 public:
  Recorder() = default;
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;
  ~Recorder() {
    for (const auto token : tokens) NotificationCenter::shared().removeObserver(token);
  }
  void observe(std::string_view name, const std::string& mark) {
    tokens.push_back(NotificationCenter::shared().addObserver(
        name, [this, mark](const std::string& posted) { heard.push_back(mark + posted); }));
  }

  std::vector<NotificationCenter::Token> tokens;
  std::vector<std::string> heard;
};

}  // namespace

TEST(Notifications, ObserversHearInTheOrderInWhichTheyWereAdded) {
  Recorder recorder;
  recorder.observe("start", "1 ");
  recorder.observe("", "2 ");
  recorder.observe("finish", "3 ");
  recorder.observe("start", "4 ");
  NotificationCenter::shared().post("start");
  NotificationCenter::shared().removeObserver(recorder.tokens[0]);
  NotificationCenter::shared().post("start");
  NotificationCenter::shared().post("other");
  EXPECT_EQ(recorder.heard,
            (std::vector<std::string>{"1 start", "2 start", "4 start", "2 start", "4 start", "2 other"}));
}

TEST(Notifications, AnObserverMayAddAndRemoveObservers) {
  Recorder recorder;
  const auto token = NotificationCenter::shared().addObserver("start", [&recorder](const std::string&) {
    recorder.observe("start", "later ");
    NotificationCenter::shared().removeObserver(recorder.tokens.front());
  });
  NotificationCenter::shared().post("start");
  NotificationCenter::shared().removeObserver(token);
  EXPECT_TRUE(recorder.heard.empty());
}

TEST(Notifications, OtherThreadsReachTheMainThreadThroughItsQueue) {
  Recorder recorder;
  recorder.observe("start", "");
  ASSERT_TRUE(isMainThread());
  NotificationCenter::shared().postOnMainThread("start");
  EXPECT_EQ(recorder.heard.size(), 1u);  // at once
  size_t wakeUps = 0;
  setMainQueueWakeUp([&wakeUps] { ++wakeUps; });
  std::thread([] {
    EXPECT_FALSE(isMainThread());
    NotificationCenter::shared().postOnMainThread("start");
  }).join();
  setMainQueueWakeUp({});
  EXPECT_EQ(recorder.heard.size(), 1u);  // waits
  EXPECT_EQ(wakeUps, 1u);
  EXPECT_EQ(drainMainQueue(), 1u);
  EXPECT_EQ(recorder.heard.size(), 2u);
}

TEST(Notifications, WorkQueuedWhileDrainingWaitsForTheNextTime) {
  std::vector<int> order;
  performOnMainQueue([&order] {
    order.push_back(1);
    performOnMainQueue([&order] { order.push_back(3); });
  });
  performOnMainQueue([&order] { order.push_back(2); });
  EXPECT_EQ(drainMainQueue(), 2u);
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
  EXPECT_EQ(drainMainQueue(), 1u);
  EXPECT_EQ(drainMainQueue(), 0u);
}

TEST(Notifications, AHostMayDeclareAnotherThread) {
  std::thread([] {
    declareMainThread();
    EXPECT_TRUE(isMainThread());
  }).join();
  EXPECT_FALSE(isMainThread());
  declareMainThread();
  EXPECT_TRUE(isMainThread());
}
