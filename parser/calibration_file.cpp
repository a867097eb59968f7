#include "calibration_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>

namespace zarn {
namespace {

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// Null for anything but a regular file: a FIFO or a device could keep the display service waiting for ever. Without
// O_NONBLOCK the open itself would wait for a FIFO's writer.
File OpenRegularFile(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) {
    return nullptr;
  }
  struct stat status = {};
  File file;
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
    file.reset(fdopen(descriptor, "rb"));
  }
  if (file == nullptr) {
    close(descriptor);
  }
  return file;
}

// Up to one byte more than a file may have. By what was read, not by the size that the file system tells: the file may
// grow. False when reading fails.
bool Read(FILE* file, std::string* text) {
  char block[65536];
  size_t got = 0;
  while (text->size() <= kMaxFileBytes && (got = std::fread(block, 1, sizeof block, file)) > 0) {
    text->append(block, got);
  }
  return std::ferror(file) == 0;
}

// Where the tag that begins at `start` ends: behind the first '>' outside quotes.
size_t EndOfTag(std::string_view text, size_t start) {
  char quote = '\0';
  for (size_t at = start; at < text.size(); ++at) {
    const char c = text[at];
    if (quote != '\0') {
      quote = c == quote ? '\0' : quote;
    } else if (c == '>') {
      return at + 1;
    } else if (c == '"' || c == '\'') {
      quote = c;
    }
  }
  return text.size();
}

// Where the markup that begins with "<!" or "<?" at `start` ends: behind "-->" for a comment, likewise for the others.
size_t EndOfOtherMarkup(std::string_view text, size_t start) {
  for (const auto& [opening, closing] : {std::pair<std::string_view, std::string_view>{"<!--", "-->"},
                                         {"<![CDATA[", "]]>"},
                                         {"<?", "?>"},
                                         {"<!", ">"}}) {
    if (text.compare(start, opening.size(), opening) == 0) {
      const size_t end = text.find(closing, start + opening.size());
      return end == std::string_view::npos ? text.size() : end + closing.size();
    }
  }
  return text.size();
}

// Where the first tag that is too long begins; npos when none is.
size_t FindLongTag(std::string_view text) {
  for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
    const char next = at + 1 < text.size() ? text[at + 1] : '\0';
    const bool is_tag = next != '!' && next != '?';
    const size_t end = is_tag ? EndOfTag(text, at) : EndOfOtherMarkup(text, at);
    if (is_tag && end - at > kMaxTagBytes) {
      return at;
    }
    at = end;
  }
  return std::string_view::npos;
}

}  // namespace

bool IsReadableFile(const std::string& path) { return OpenRegularFile(path) != nullptr; }

LoadResult LoadCalibrationFile(const std::string& path, tinyxml2::XMLDocument* document) {
  const File file = OpenRegularFile(path);
  std::string text;
  if (file == nullptr || !Read(file.get(), &text)) {
    return {LoadFault::kUnreadable, 0};
  }
  if (text.size() > kMaxFileBytes) {
    return {LoadFault::kTooLarge, 0};
  }
  const size_t long_tag = FindLongTag(text);
  if (long_tag != std::string::npos) {
    const auto start = text.begin();
    return {LoadFault::kTagTooLong,
            1 + static_cast<int>(std::count(start, start + static_cast<ptrdiff_t>(long_tag), '\n'))};
  }
  if (document->Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
    return {LoadFault::kNotWellFormed, document->ErrorLineNum()};
  }
  return {LoadFault::kNone, 0};
}

}  // namespace zarn
