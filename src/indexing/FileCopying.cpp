#include "indexing/FileCopying.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

// A link that leads nowhere, too.
bool isAnythingAt(const std::string& path) {
  std::error_code error;
  return fs::exists(fs::symlink_status(path, error));
}

}  // namespace

namespace lc {

std::error_code copyFile(const std::string& source, const std::string& destination) {
  if (isAnythingAt(destination)) return std::make_error_code(std::errc::file_exists);
  std::error_code error, ignored;
  if (!fs::copy_file(source, destination, fs::copy_options::none, error)) {
    if (error != std::errc::file_exists) fs::remove(destination, ignored);
    return error;
  }
  const auto lastChange = fs::last_write_time(source, ignored);
  if (!ignored) fs::last_write_time(destination, lastChange, ignored);
  return {};
}

std::error_code moveFile(const std::string& source, const std::string& destination) {
  if (isAnythingAt(destination)) return std::make_error_code(std::errc::file_exists);
  std::error_code error;
  fs::rename(source, destination, error);
  if (error != std::errc::cross_device_link) return error;
  error = copyFile(source, destination);
  if (error) return error;
  fs::remove(source, error);
  std::error_code ignored;
  if (error) fs::remove(destination, ignored);
  return error;
}

}  // namespace lc
