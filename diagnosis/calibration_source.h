#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calibration_file.h"
#include "calibration_format.h"
#include "plain_lists.h"

namespace blnits {

/// Names of nested elements, from the root's child inwards. The root itself is not in the path.
using Path = std::vector<const char*>;

/// The path of a measured table.
Path PathOf(const zarn::format::MeasuredTable& table);

/// The text of a calibration file, with line numbers. The library reads the numbers; this class has their text.
class CalibrationSource {
 public:
  /// Reads the file with the library's own loader. Load() gives the outcome.
  /// \param loads the library loads the file: plain lists then bypass the XML reader, which takes ten times the time
  /// and the memory. Document() has no values in them.
  explicit CalibrationSource(std::string file, bool loads = false);

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

  /// The same, once: a copy of a large list takes time. Values() finds no plain list any more.
  std::vector<SourceValue> TakeValues(const Path& path);

  /// An attribute of the root; empty if it is missing.
  std::optional<SourceValue> Attribute(const char* name) const;

  /// The line of that attribute; if it is missing, the line of the root; 1 without a root.
  int LineOfAttribute(const char* name) const;

 private:
  bool ReadWithoutPlainLists();

  std::string file_;
  std::string text_;  ///< Of the plain lists' values.
  std::vector<PlainList> plain_lists_;
  tinyxml2::XMLDocument document_;
  zarn::LoadResult load_ = {zarn::LoadFault::kNone, 0};
  const tinyxml2::XMLElement* root_ = nullptr;
};

}  // namespace blnits
