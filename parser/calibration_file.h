#pragma once

#include <tinyxml2.h>

#include <cstddef>
#include <string>

namespace zarn {

/// What a calibration file may be at the most: it is read inside the display service, whoever wrote it. A real file has a
/// few kilobytes, 5 attributes and 6 levels; one table of 1,000,000 points has 4,000,000 nodes. A file beyond these
/// bounds is not loaded. Within them, the time for a file grows with its size.
constexpr size_t kMaxFileBytes = size_t{32} << 20;
constexpr size_t kMaxTagBytes = 2048;       ///< One tag with its attributes; the time for it grows with their square.
constexpr size_t kMaxReferenceBytes = 64;   ///< "&#" to ";": the reader looks for the ";" of each "&#" anew.
constexpr size_t kMaxDepth = 64;            ///< Elements within each other, the root included; each takes stack.
constexpr size_t kMaxNodes = 5000000;       ///< Elements, texts, comments and the like; each takes up to 120 bytes.
constexpr size_t kMaxAttributes = 1000000;  ///< In the whole file; each is compared with those before it in its tag.

/// Whether `path` is a regular file that can be opened for reading. Waits for nothing, whatever it is.
bool IsReadableFile(const std::string& path);

/// Why a file is not loaded.
enum class LoadFault {
  kNone,
  kUnreadable,         ///< It is missing or no regular file, or reading it fails.
  kTooLarge,           ///< It has more than kMaxFileBytes.
  kTagTooLong,         ///< A tag has more than kMaxTagBytes.
  kReferenceTooLong,   ///< "&#" without a ";" within kMaxReferenceBytes, nor the end of the text or tag.
  kNestedTooDeep,      ///< An element stands in kMaxDepth others.
  kTooManyNodes,       ///< It has more than kMaxNodes.
  kTooManyAttributes,  ///< It has more than kMaxAttributes.
  kNotWellFormed,      ///< The XML reader refuses it.
};

struct LoadResult {
  LoadFault fault;
  int line;  ///< Where, from 1; 0 without a fault or where no line is to blame.
};

/// Loads `path` into `document`; tells the first fault in the text. After a fault it is unspecified what the document
/// holds; after kNotWellFormed it has an error of its own.
LoadResult LoadCalibrationFile(const std::string& path, tinyxml2::XMLDocument* document);

}  // namespace zarn
