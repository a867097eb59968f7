#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calibration_file.h"
#include "calibration_format.h"

namespace blnits {

/// A number as it stands in a calibration file. Valid as long as its source.
struct SourceValue {
  int line;          ///< From 1.
  const char* text;  ///< What the library reads a number from; null where it finds no text.
};

/// Names of elements, each in the one before it; the root, in which the first is, is not named.
using Path = std::vector<const char*>;

/// Where a measured table stands.
Path PathOf(const zarn::format::MeasuredTable& table);

/// The text of a calibration file: what stands in which line. Numbers are the library's to read; here is their text.
class CalibrationSource {
 public:
  /// Reads the file with the library's own loader; Load() tells the outcome.
  explicit CalibrationSource(std::string file);

  /// The path that was given.
  const std::string& File() const { return file_; }

  zarn::LoadResult Load() const { return load_; }

  /// The document, for its error after kNotWellFormed.
  const tinyxml2::XMLDocument& Document() const { return document_; }

  /// The first element; null when the file is not loaded or has none.
  const tinyxml2::XMLElement* Root() const { return root_; }

  /// The element that the library finds from the root along these names; null when there is none.
  const tinyxml2::XMLElement* Find(const Path& path) const;

  /// The line of that element or, where it is missing, of the one in which it is missed; 1 without a root.
  int LineOf(const Path& path) const;

  /// The values of the list at `path`; none when it is missing.
  std::vector<SourceValue> Values(const Path& path) const;

  /// An attribute of the root; nothing when it is missing.
  std::optional<SourceValue> Attribute(const char* name) const;

  /// The line of that attribute or, where it is missing, of the root; 1 without a root.
  int LineOfAttribute(const char* name) const;

 private:
  std::string file_;
  tinyxml2::XMLDocument document_;
  zarn::LoadResult load_;
  const tinyxml2::XMLElement* root_ = nullptr;
};

}  // namespace blnits
