#pragma once

#include <string>
#include <string_view>

namespace blnits {

/// Text from outside (a file's name, a cell, an element, a message that quotes one) as it may be printed: a terminal obeys
/// nothing in it, reads nothing in another order, and it stays in its line. Escaped are
/// - control characters (C0, DEL and the C1 controls U+0080 to U+009F): "\xHH";
/// - characters that hide, reorder or break text (zero width, bidirectional controls, line separators, tags), and code
///   points that are no characters, which XML forbids: "\uHHHH";
/// - bytes that are no part of UTF-8: "\xHH".
/// Everything else stays as it is. Any thread.
std::string Printable(std::string_view text);

/// The same, shortened to its first `characters`, with "..." behind them, where it is longer than that.
std::string Shown(std::string_view text, size_t characters = 24);

/// Printable text between quotes, as a cell of a CSV file. A spreadsheet takes a cell that begins with '=', '+', '-' or
/// '@' for a formula: an apostrophe stands in front of these. Any thread.
std::string CsvCell(std::string_view text);

}  // namespace blnits
