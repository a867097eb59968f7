#pragma once

#include <tinyxml2.h>

#include <cstddef>
#include <string>

namespace zarn {

/// The bounds of a calibration file. A file beyond them is not loaded, because the display service reads it and its
/// author is unknown. A real file has a few kilobytes, 5 attributes and 6 levels; one table of 1,000,000 points has
/// 4,000,000 nodes. Within the bounds, the time to load a file grows with its size.
constexpr size_t kMaxFileBytes = size_t{32} << 20;
constexpr size_t kMaxTagBytes = 2048;       ///< One tag with its attributes; its time grows with their square.
constexpr size_t kMaxReferenceBytes = 64;   ///< "&#" to ";": the reader looks for the ";" of each "&#" anew.
constexpr size_t kMaxDepth = 64;            ///< Nested elements, including the root; each needs stack.
constexpr size_t kMaxNodes = 5000000;       ///< Elements, texts, comments and the like; up to 120 bytes each.
constexpr size_t kMaxAttributes = 1000000;  ///< In the whole file; each is compared with the earlier ones in its tag.

/// Whether `path` is a regular file that can be opened for reading. Never blocks.
bool IsReadableFile(const std::string& path);

/// Why a file is not loaded.
enum class LoadFault {
  kNone,
  kUnreadable,         ///< It is missing, is not a regular file, or cannot be read.
  kTooLarge,           ///< It has more than kMaxFileBytes.
  kTagTooLong,         ///< A tag has more than kMaxTagBytes.
  kReferenceTooLong,   ///< Neither ";" nor the end of its text or tag within kMaxReferenceBytes after "&#".
  kNestedTooDeep,      ///< An element is nested in kMaxDepth others.
  kTooManyNodes,       ///< It has more than kMaxNodes.
  kTooManyAttributes,  ///< It has more than kMaxAttributes.
  kNotWellFormed,      ///< The XML reader refuses it.
};

struct LoadResult {
  LoadFault fault;
  int line;  ///< From 1; 0 without a fault, or if the fault belongs to no line.
};

/// Loads `path` into `document`. Returns the first fault in the text. After a fault the contents of the document are
/// unspecified; after kNotWellFormed the document has the reader's error.
LoadResult LoadCalibrationFile(const std::string& path, tinyxml2::XMLDocument* document);

}  // namespace zarn
