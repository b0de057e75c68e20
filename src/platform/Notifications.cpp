#include "VeskLoopManagement/platform/Notifications.h"

#include <unistd.h>

#include <atomic>
#include <map>
#include <mutex>
#include <vector>

namespace vesk {

namespace {

// The thread that the host declared; 0 until then, which means the process's first, whose id is that of the process.
std::atomic<pid_t> declaredMainThread = 0;

struct MainQueue {
  std::mutex mutex;
  std::vector<std::function<void()>> waiting;
  std::function<void()> wakeUp;
};

// Never destroyed: threads may still queue work while the process ends.
MainQueue& mainQueue() {
  static auto& queue = *new MainQueue;
  return queue;
}

struct Registration {
  std::string name;  // empty: every notification
  NotificationCenter::Observer observer;
};

struct Registrations {
  std::mutex mutex;
  NotificationCenter::Token lastToken = 0;
  std::map<NotificationCenter::Token, Registration> byToken;  // tokens grow, so this is the order of adding
};

Registrations& registrations() {
  static auto& all = *new Registrations;
  return all;
}

std::vector<NotificationCenter::Observer> observersOf(const std::string& name) {
  std::vector<NotificationCenter::Observer> found;
  const std::lock_guard lock(registrations().mutex);
  for (const auto& [token, registration] : registrations().byToken) {
    if (registration.name.empty() || registration.name == name) found.push_back(registration.observer);
  }
  return found;
}

}  // namespace

void declareMainThread() {
  declaredMainThread = ::gettid();
}

bool isMainThread() {
  const pid_t declared = declaredMainThread;
  return ::gettid() == (declared != 0 ? declared : ::getpid());
}

void performOnMainQueue(std::function<void()> work) {
  std::function<void()> wakeUp;
  {
    const std::lock_guard lock(mainQueue().mutex);
    mainQueue().waiting.push_back(std::move(work));
    wakeUp = mainQueue().wakeUp;
  }
  if (wakeUp) wakeUp();
}

size_t drainMainQueue() {
  std::vector<std::function<void()>> ready;
  {
    const std::lock_guard lock(mainQueue().mutex);
    ready.swap(mainQueue().waiting);
  }
  for (const auto& work : ready) work();
  return ready.size();
}

void setMainQueueWakeUp(std::function<void()> wakeUp) {
  const std::lock_guard lock(mainQueue().mutex);
  mainQueue().wakeUp = std::move(wakeUp);
}

NotificationCenter& NotificationCenter::shared() {
  static NotificationCenter center;
  return center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string_view name, Observer observer) {
  const std::lock_guard lock(registrations().mutex);
  const Token token = ++registrations().lastToken;
  registrations().byToken.emplace(token, Registration{std::string(name), std::move(observer)});
  return token;
}

void NotificationCenter::removeObserver(Token token) {
  // The observer is destroyed outside of the lock, as what it holds may come back here.
  decltype(Registrations::byToken)::node_type removed;
  const std::lock_guard lock(registrations().mutex);
  removed = registrations().byToken.extract(token);
}

void NotificationCenter::post(std::string_view notification) {
  const std::string name(notification);
  for (const Observer& observer : observersOf(name)) observer(name);
}

void NotificationCenter::postOnMainThread(std::string_view name) {
  if (isMainThread()) {
    post(name);
    return;
  }
  performOnMainQueue([name = std::string(name)] { NotificationCenter::shared().post(name); });
}

}  // namespace vesk
