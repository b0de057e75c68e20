// Snapshot: a value that any number of threads read while others replace it. A reading sees one whole value from
// beginning to end and never waits: it costs two counts. Replacing shows the new value to all later readings, waits for
// those that may still look at the old one, and frees that: between two replacements there is one value only.
// Replacements take turns. A reading must be short and must not replace, or it would wait for itself.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace lc {

template <typename Value>
class Snapshot {
 public:
  explicit Snapshot(Value value) : m_current(new Value(std::move(value))) {}
  ~Snapshot() { delete m_current.load(); }
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  // What `look` answers for the value, which it must copy out: the value is gone some time after the reading.
  template <typename Look>
  auto read(Look look) const {
    const Reading reading(m_readings[m_turn.load() & 1]);
    return look(*m_current.load());
  }

  // `change` is given the value and answers another one, or nullopt to leave everything as it was.
  template <typename Change>
  void replace(Change change) {
    const std::lock_guard turn(m_replacing);
    std::optional<Value> changed = change(*m_current.load());
    if (!changed) return;
    const std::unique_ptr<const Value> old(m_current.exchange(new Value(std::move(*changed))));
    waitForReadings();
  }

 private:
  class Reading {
   public:
    explicit Reading(std::atomic<int64_t>& count) : m_count(count) { ++m_count; }
    ~Reading() { --m_count; }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

   private:
    std::atomic<int64_t>& m_count;
  };

  // A reading counts itself before it asks for the value, so one that got the old value is in one of the two counts.
  // New readings are sent to the other count before one is watched, so that each falls to zero however many follow.
  void waitForReadings() {
    for (int watched = 0; watched < 2; ++watched) {
      const unsigned left = m_turn++ & 1;
      while (m_readings[left].load() != 0) std::this_thread::yield();
    }
  }

  std::atomic<const Value*> m_current;  // owned
  mutable std::array<std::atomic<int64_t>, 2> m_readings{};
  std::atomic<unsigned> m_turn{0};
  std::mutex m_replacing;
};

}  // namespace lc
