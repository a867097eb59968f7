#pragma once

#include <string>

namespace blnits {

/// The texts that stand for a picture where it cannot be seen.
struct PictureTexts {
  std::string id;           ///< Unique in the page: "curves". Begins each id in the picture.
  std::string title;        ///< What it is. Printable, like the description.
  std::string description;  ///< What it shows.
};

/// The SVG element for an HTML page: without prologue, namespaces and links to other files, with its own ids and texts.
/// \param svg a picture from Drawn. \param origin receives the picture's own description, which names its program.
/// \throws Failure if it is no SVG. Any thread.
std::string InlineSvg(const std::string& svg, const PictureTexts& texts, std::string* origin);

}  // namespace blnits
