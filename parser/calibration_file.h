#pragma once

#include <tinyxml2.h>

#include <string>

namespace zarn {

/// Whether `path` is a regular file that can be opened for reading. Never blocks.
bool IsReadableFile(const std::string& path);

/// Why a file is not loaded. The bounds are those of calibration_format.h.
enum class LoadFault {
  kNone,
  kUnreadable,         ///< It is missing, is not a regular file, or cannot be read.
  kTooLarge,           ///< It has more than format::kMaxFileBytes.
  kTagTooLong,         ///< A tag has more than format::kMaxTagBytes.
  kReferenceTooLong,   ///< Neither ";" nor the end of its text or tag within format::kMaxReferenceBytes after "&#".
  kNestedTooDeep,      ///< An element is nested in format::kMaxDepth others.
  kTooManyNodes,       ///< It has more than format::kMaxNodes.
  kTooManyAttributes,  ///< It has more than format::kMaxAttributes.
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
