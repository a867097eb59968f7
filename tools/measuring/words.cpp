#include "measuring/words.h"

#include <fmt/format.h>

#include <string_view>

#include "foreign_text.h"
#include "support/failure.h"

namespace blnits {

std::vector<std::string> WordsOf(const std::string& option, const std::string& command) {
  std::vector<std::string> words;
  bool in_word = false;
  char quote = '\0';
  for (const char c : command) {
    const bool blank = c == ' ' || c == '\t' || c == '\n';
    if (quote == '\0' && blank) {
      in_word = false;
      continue;
    }
    if (!in_word) {
      words.emplace_back();
      in_word = true;
    }
    if (quote == '\0' && (c == '\'' || c == '"')) {
      quote = c;
    } else if (c == quote) {
      quote = '\0';
    } else {
      words.back() += c;
    }
  }
  if (quote != '\0' || words.empty() || words.front().empty()) {
    throw Failure(fmt::format("{}: found \"{}\", expected a program and its arguments{}", option, Shown(command, 80),
                              quote != '\0' ? fmt::format("; the quote {} does not end", quote) : ""));
  }
  return words;
}

std::vector<std::string> WithLevel(std::vector<std::string> words, uint32_t level) {
  const std::string_view mark = kLevelWord;
  const std::string number = std::to_string(level);
  for (std::string& word : words) {
    for (size_t at = word.find(mark); at != std::string::npos; at = word.find(mark, at + number.size())) {
      word.replace(at, mark.size(), number);
    }
  }
  return words;
}

}  // namespace blnits
