#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace blnits {

/// Writes a file as a whole or not at all: what was at `path` stays until the new text is complete.
/// - "-" is standard output. A device, a FIFO or another file that is not regular is written to.
/// - A symbolic link is followed, and its target replaced; not one that another user left in a folder for all
///   (sticky, writable by everybody).
/// - A file that is there keeps its mode, and its owner and group where the user may set them. A new one gets 0666
///   without the umask.
/// - The text goes into a temporary file in the same folder, which takes the file's place when it is on the disk. It is
///   removed on every failure and on SIGINT, SIGTERM and SIGHUP. Where the folder allows no new file but the file may be
///   written, it is written in place.
/// One call at a time in a process.
/// \param write is given the stream to write to, after it is known that `path` can be written. What it throws passes
/// through.
/// \throws Failure that names `path` and the reason when it cannot be written.
void WriteWhole(const std::string& path, const std::function<void(std::ostream& text)>& write);

/// Whether WriteWhole replaces `path` by a regular file or makes one, which can be read afterwards.
bool IsRegularOutput(const std::string& path);

}  // namespace blnits
