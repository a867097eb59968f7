#pragma once

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace blnits {

/// The HTML page of report.html, filled. The same arguments give the same bytes. One thread at a time.
/// The member "panels": [{"name": ...}] of `figures` is the section PANELS, repeated, with the variable PANELS_NAME:
/// - an object or an array is a section, once or for each element;
/// - true is a section that is shown;
/// - null, false and an array without elements are the section NO_<NAME>, shown;
/// - a text or a number is a variable. Texts may be foreign: they are made printable, and the template escapes them.
/// \param pictures variables that the page shows unchanged: elements from InlineSvg. Each also shows <NAME>_PICTURE.
/// \throws Failure if the template cannot be filled.
std::string FilledPage(const nlohmann::ordered_json& figures, const std::map<std::string, std::string>& pictures);

}  // namespace blnits
