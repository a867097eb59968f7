#pragma once

#include <tinyxml2.h>

#include <cstddef>
#include <string>

namespace zarn {

/// What a calibration file may be at the most: it is read inside the display service, whoever wrote it. Real files have a
/// few kilobytes. A file beyond these bounds is not loaded.
constexpr size_t kMaxFileBytes = size_t{32} << 20;  ///< The document takes up to about thirty times as much memory.
constexpr size_t kMaxTagBytes = 2048;  ///< One tag with its attributes; the time for it grows with their square.

/// Whether `path` is a regular file that can be opened for reading. Waits for nothing, whatever it is.
bool IsReadableFile(const std::string& path);

/// Why a file is not loaded.
enum class LoadFault { kNone, kUnreadable, kTooLarge, kTagTooLong, kNotWellFormed };

struct LoadResult {
  LoadFault fault;
  int line;  ///< Where, from 1; 0 without a fault or where no line is to blame.
};

/// Loads `path` into `document`. kUnreadable is said of what is missing or no regular file, too. After a fault it is
/// unspecified what the document holds; after kNotWellFormed it has an error of its own.
LoadResult LoadCalibrationFile(const std::string& path, tinyxml2::XMLDocument* document);

}  // namespace zarn
