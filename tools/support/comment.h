#pragma once

#include <string>

namespace blnits {

/// Text from outside as a comment of an XML file can hold it: printable, and without "--". Any thread.
std::string InXmlComment(const std::string& text);

/// The same for a comment between "/*" and "*/". Any thread.
std::string InCComment(const std::string& text);

}  // namespace blnits
