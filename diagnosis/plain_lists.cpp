#include "plain_lists.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <utility>

#include "calibration_format.h"

namespace blnits {
namespace {

// The end of the markup at `start`, which is well formed.
char* EndOfMarkup(char* start) {
  for (const auto& [opening, closing] :
       {std::pair{"<!--", "-->"}, std::pair{"<![CDATA[", "]]>"}, std::pair{"<?", "?>"}, std::pair{"<!", ">"}}) {
    const size_t size = std::strlen(opening);
    if (std::strncmp(start, opening, size) == 0) {
      char* const end = std::strstr(start + size, closing);
      return end != nullptr ? end + std::strlen(closing) : start + std::strlen(start);
    }
  }
  char quote = '\0';
  for (; *start != '\0' && (quote != '\0' || *start != '>'); ++start) {
    if (*start == quote) {
      quote = '\0';
    } else if (quote == '\0' && (*start == '"' || *start == '\'')) {
      quote = *start;
    }
  }
  return *start != '\0' ? start + 1 : start;
}

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// \param end behind the tag.
bool IsStartOfList(const char* tag, const char* end) {
  const char* const name_end = std::find_if(tag, end, [](char c) { return IsSpace(c) || c == '>'; });
  return tag < name_end && end[-2] != '/' && IsList({tag + 1, static_cast<size_t>(name_end - tag - 1)});
}

/// Cuts a text from its start to its end.
class Cutter {
 public:
  explicit Cutter(std::string* text) : at_(text->data()) { cut_.rest.reserve(text->size()); }

  CutText Cut() {
    const char* kept = at_;
    for (GoTo(std::strchr(at_, '<')); *at_ != '\0'; GoTo(std::strchr(at_, '<'))) {
      const char* const tag = at_;
      const int line = line_;
      GoTo(EndOfMarkup(at_));
      if (IsStartOfList(tag, at_)) {
        const char* const values_start = at_;
        const int first_line = line_;
        std::vector<SourceValue> values;
        if (TakeValues(&values)) {
          cut_.rest.append(kept, values_start).append(static_cast<size_t>(line_ - first_line), '\n');
          cut_.lists.push_back({line, std::move(values)});
          kept = at_;
        }
      }
    }
    cut_.rest.append(kept);
    return std::move(cut_);
  }

 private:
  // Null: to the end of the text.
  void GoTo(char* place) {
    char* const end = place != nullptr ? place : at_ + std::strlen(at_);
    line_ += static_cast<int>(std::count(at_, end, '\n'));
    at_ = end;
  }

  void SkipSpace() {
    for (; IsSpace(*at_); ++at_) {
      line_ += *at_ == '\n' ? 1 : 0;
    }
  }

  // Takes values with the name of the first one. False if the list is not plain.
  bool TakeValues(std::vector<SourceValue>* values) {
    SkipSpace();
    const std::string start = PlainTag(at_);
    const std::string end = start.empty() ? "" : "</" + start.substr(1);
    while (!start.empty() && std::strncmp(at_, start.data(), start.size()) == 0) {
      const char* const text = at_ + start.size();
      const size_t size = PlainSize(text);
      if (size == 0 || std::strncmp(text + size, end.data(), end.size()) != 0) {
        return false;
      }
      values->push_back({line_, text});
      at_ += start.size() + size + end.size();
      SkipSpace();
    }
    return at_[0] == '<' && at_[1] == '/';
  }

  // "<name>" if it begins there; otherwise nothing.
  static std::string PlainTag(const char* at) {
    const char* end = at + (*at == '<' ? 1 : 0);
    while (std::isalpha(static_cast<unsigned char>(*end)) != 0 || *end == '_') {
      ++end;
    }
    return end - at > 1 && *end == '>' ? std::string(at, end + 1) : "";
  }

  // The size of the text up to the next tag; 0 if the XML reader drops or changes it: a reference, or white space at the
  // start or other than blanks.
  static size_t PlainSize(const char* text) {
    const char* end = text;
    while (*end != '<' && *end != '&' && static_cast<unsigned char>(*end) >= ' ') {
      ++end;
    }
    return *text != ' ' && *end == '<' ? static_cast<size_t>(end - text) : 0;
  }

  char* at_;
  int line_ = 1;
  CutText cut_;
};

}  // namespace

bool IsList(std::string_view element) {
  const auto has = [&](const zarn::format::Lists& lists) { return element == lists.first || element == lists.second; };
  return has(zarn::format::kLinearTable) || has(zarn::format::kPoints);
}

CutText CutPlainLists(std::string* text) {
  CutText cut = Cutter(text).Cut();
  for (const PlainList& list : cut.lists) {
    for (const SourceValue& value : list.values) {
      (*text)[text->find('<', static_cast<size_t>(value.text - text->data()))] = '\0';
    }
  }
  return cut;
}

}  // namespace blnits
