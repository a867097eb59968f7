#include <fmt/format.h>

#include <algorithm>

#include "foreign_text.h"
#include "readings/readers.h"
#include "support/failure.h"

namespace blnits {
namespace {

constexpr const char* kBlanks = " \t\r\n";

bool StartsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

/// The name of the first element; empty if there is none in `head`.
std::string_view RootIn(std::string_view head) {
  for (size_t at = head.find('<'); at < head.size(); at = head.find('<', at)) {
    const std::string_view rest = head.substr(at);
    if (StartsWith(rest, "<!--")) {
      at = head.find("-->", at);
    } else if (StartsWith(rest, "<!") || StartsWith(rest, "<?")) {
      ++at;
    } else {
      return rest.substr(1, rest.find_first_of(" \t\r\n/>", 1) - 1);
    }
  }
  return {};
}

std::string KindOfXml(const std::string& path, std::string_view head) {
  const std::string_view root = RootIn(head);
  if (root == kDisplayConfigRoot) {
    return "displayconfig";
  }
  if (root == kResourcesRoot) {
    return "arrays";
  }
  throw Failure(fmt::format("{}: found {}, expected {} or {} as the first element of XML", path,
                            root.empty() ? "no element" : fmt::format("the element \"{}\"", Shown(root)),
                            kDisplayConfigRoot, kResourcesRoot));
}

bool HasSpotreadLine(std::string_view head) {
  for (size_t at = 0; at < head.size();) {
    const size_t end = std::min(head.find_first_of("\r\n", at), head.size());
    if (IsSpotreadLine(head.substr(at, end - at))) {
      return true;
    }
    at = end + 1;
  }
  return false;
}

}  // namespace

std::string KindOf(const std::string& path, std::string_view head) {
  const size_t first = head.find_first_not_of(kBlanks);
  if (first != std::string_view::npos && head[first] == '<') {
    return KindOfXml(path, head.substr(first));
  }
  return HasSpotreadLine(head) ? "spotread" : "csv";
}

}  // namespace blnits
