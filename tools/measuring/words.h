#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace blnits {

/// The words of a command. Blanks separate them. Between single or double quotes, everything is text; a quote of the
/// other kind, too. There are no variables, no escapes and no operators, so that a program's argument is exactly the
/// text in the option. \param option that has the command, for messages.
/// \throws Failure if a quote does not end or if there is no word.
std::vector<std::string> WordsOf(const std::string& option, const std::string& command);

/// What stands for the level in the words of a command.
inline constexpr const char* kLevelWord = "{level}";

/// The words with each {level} replaced.
std::vector<std::string> WithLevel(std::vector<std::string> words, uint32_t level);

}  // namespace blnits
