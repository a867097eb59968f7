#pragma once

#include <string>
#include <string_view>

namespace blnits {

/// Text from outside (a file's name, a cell, an element, a message that quotes one) as it may be printed: a terminal
/// obeys nothing in it, and it stays in its line. Control characters (C0, DEL, and the C1 controls U+0080 to U+009F)
/// become "\xHH", a byte that is no part of UTF-8 likewise; everything else stays as it is. Any thread.
std::string Printable(std::string_view text);

/// The same, shortened to its first characters, with "..." behind them, where it is longer than 24 of them.
std::string Shown(std::string_view text);

}  // namespace blnits
