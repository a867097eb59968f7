#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace blnits {

/// Writes a file completely or not at all: the old content of `path` stays until the new text is complete.
/// - "-" is standard output. Writes directly to a device, a FIFO or another file that is not regular.
/// - Follows a symbolic link and replaces its target. Refuses a link of another user in a folder that is sticky and
///   writable by everybody.
/// - An existing file keeps its mode, and its owner and group if the user may set them. A new file gets mode 0666 minus
///   the umask.
/// - The text goes into a temporary file in the same folder, which replaces the old file once it is on the disk. Every
///   failure and SIGINT, SIGTERM and SIGHUP remove the temporary file. If the folder does not allow new files but the
///   file is writable, writes in place.
/// Call it from one thread at a time.
/// \param write receives the stream to write to, once it is known that `path` is writable. Its exceptions pass through.
/// \throws Failure that names `path` and the reason if `path` cannot be written.
void WriteWhole(const std::string& path, const std::function<void(std::ostream& text)>& write);

/// \throws Failure if `output` is the same file as one of `inputs`. Any thread.
void KeepInputs(const std::vector<std::string>& inputs, const std::string& output);

/// Whether WriteWhole makes or replaces a regular file at `path`, which can be read afterwards.
bool IsRegularOutput(const std::string& path);

}  // namespace blnits
