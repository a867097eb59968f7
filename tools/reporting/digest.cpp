#include "reporting/digest.h"

// libmd's sha2.h needs both first.
#include <fmt/format.h>
#include <sha2.h>
#include <sys/types.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "support/failure.h"

namespace blnits {

std::string Sha256Of(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    throw Failure(
        fmt::format("{}: is not a regular file, which a report needs: it reads the file several times", path));
  }
  std::array<char, SHA256_DIGEST_STRING_LENGTH> digest = {};
  if (SHA256File(path.c_str(), digest.data()) == nullptr) {
    throw Failure(fmt::format("{}: cannot be read: {}", path, std::generic_category().message(errno)));
  }
  return digest.data();
}

}  // namespace blnits
