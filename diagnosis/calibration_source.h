#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calibration_file.h"
#include "calibration_format.h"

namespace blnits {

/// A number in a calibration file, as text. Valid as long as the CalibrationSource it comes from.
struct SourceValue {
  int line;          ///< From 1.
  const char* text;  ///< The text from which the library reads the number; null if it finds no text.
};

/// Names of nested elements, from the root's child inwards. The root itself is not in the path.
using Path = std::vector<const char*>;

/// The path of a measured table.
Path PathOf(const zarn::format::MeasuredTable& table);

/// The text of a calibration file, with line numbers. The library reads the numbers; this class has their text.
class CalibrationSource {
 public:
  /// Reads the file with the library's own loader. Load() gives the outcome.
  explicit CalibrationSource(std::string file);

  /// The path that was given.
  const std::string& File() const { return file_; }

  zarn::LoadResult Load() const { return load_; }

  /// The document. It has an error after kNotWellFormed.
  const tinyxml2::XMLDocument& Document() const { return document_; }

  /// The first element; null if the file is not loaded or has no element.
  const tinyxml2::XMLElement* Root() const { return root_; }

  /// The element that the library finds along the path; null if there is none.
  const tinyxml2::XMLElement* Find(const Path& path) const;

  /// The line of that element. If the element is missing: the line of the element that lacks it; 1 without a root.
  int LineOf(const Path& path) const;

  /// The values of the list at `path`; empty if the list is missing.
  std::vector<SourceValue> Values(const Path& path) const;

  /// An attribute of the root; empty if it is missing.
  std::optional<SourceValue> Attribute(const char* name) const;

  /// The line of that attribute; if it is missing, the line of the root; 1 without a root.
  int LineOfAttribute(const char* name) const;

 private:
  std::string file_;
  tinyxml2::XMLDocument document_;
  zarn::LoadResult load_;
  const tinyxml2::XMLElement* root_ = nullptr;
};

}  // namespace blnits
