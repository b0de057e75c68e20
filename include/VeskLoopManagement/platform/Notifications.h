// The notification centre and the main queue.
// The main thread is the one that the host declares, by default the process's first. Work for it waits in a queue that
// the host drains (drainMainQueue) or hooks into its event loop (setMainQueueWakeUp). Every function here may be called
// from any thread.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vesk {

LC_EXPORT void declareMainThread();  // the calling thread is the main one from now on
LC_EXPORT bool isMainThread();
LC_EXPORT void performOnMainQueue(std::function<void()> work);
// Runs what is waiting, in order, on the calling thread, which is the main one; returns how many pieces ran.
// Work that is queued meanwhile waits for the next call.
LC_EXPORT size_t drainMainQueue();
// `wakeUp` is called, on the queueing thread, each time work is queued; empty: none.
LC_EXPORT void setMainQueueWakeUp(std::function<void()> wakeUp);

class LC_EXPORT NotificationCenter {
 public:
  using Observer = std::function<void(const std::string& name)>;
  using Token = uint64_t;

  static NotificationCenter& shared();

  // Observes `name`, or every notification when `name` is empty. The observer runs on the posting thread.
  Token addObserver(std::string_view name, Observer observer);
  void removeObserver(Token token);  // an unknown token is ignored; a post that is under way may still reach it
  void post(std::string_view name);  // on the calling thread, observers in the order in which they were added
  // Posts at once when on the main thread, else through the main queue.
  void postOnMainThread(std::string_view name);

 private:
  NotificationCenter() = default;
};

}  // namespace vesk
