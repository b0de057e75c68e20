// An open file of the system, closed at its end. Owns the descriptor; -1 when there is none.
#pragma once

#include <unistd.h>

#include <utility>

namespace vesk {

class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
  }
  ~FileDescriptor() {
    if (isOpen()) ::close(m_descriptor);
  }
  bool isOpen() const { return m_descriptor >= 0; }
  int get() const { return m_descriptor; }

 private:
  int m_descriptor;
};

}  // namespace vesk
