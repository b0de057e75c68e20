// Brings a file to another place without ever replacing what is there. Any thread. The error is that of the system;
// std::errc::file_exists says that the place is taken.
#pragma once

#include <string>
#include <system_error>

namespace lc {

// A copy keeps the time of the last change; one that failed leaves nothing behind.
std::error_code copyFile(const std::string& source, const std::string& destination);
// To another file system by copying. A file that failed to move is where it was.
std::error_code moveFile(const std::string& source, const std::string& destination);

}  // namespace lc
