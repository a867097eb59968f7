#pragma once

#include <string>
#include <string_view>

namespace blnits {

/// Makes text from outside (a file name, a cell, an element, a message that quotes one) safe to print: a terminal
/// executes nothing in it, keeps its order and keeps it on one line. Escapes
/// - control characters (C0, DEL and the C1 controls U+0080 to U+009F): "\xHH";
/// - characters that hide, reorder or break text (zero width, bidirectional controls, line separators, tags), and code
///   points that XML forbids as characters: "\uHHHH";
/// - bytes that are not UTF-8: "\xHH".
/// Does not change other text. Any thread.
std::string Printable(std::string_view text);

/// The same, shortened to the first `characters` with "..." after them if the text is longer.
std::string Shown(std::string_view text, size_t characters = 24);

/// Printable text in quotes, as a cell of a CSV file. A spreadsheet takes a cell that begins with '=', '+', '-' or '@'
/// for a formula, so these get an apostrophe in front. Any thread.
std::string CsvCell(std::string_view text);

}  // namespace blnits
