#include "calibration_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include "calibration_format.h"

namespace zarn {
namespace {

// A descriptor that is closed at the end. There is no stream around it, because a stream would allocate: an allocation
// that fails must not look like a file that cannot be read.
class File {
 public:
  explicit File(int descriptor) : descriptor_(descriptor) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (descriptor_ >= 0) {
      close(descriptor_);
    }
  }
  int Descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

// Without O_NONBLOCK, the open would wait for a FIFO's writer.
int OpenForReading(const std::string& path) { return open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }

// The size of a regular file; -1 for anything else: a FIFO or a device could block the display service for ever.
off_t SizeOf(const File& file) {
  struct stat status = {};
  const bool regular = file.Descriptor() >= 0 && fstat(file.Descriptor(), &status) == 0 && S_ISREG(status.st_mode);
  return regular ? status.st_size : -1;
}

// Reads the file, but at most one block more than the limit. Counts the bytes read, because the file may grow; its
// `size` only saves copies of the text. False if reading fails. The block is small, because clients call from threads
// with small stacks.
bool Read(const File& file, off_t size, std::string* text) {
  char block[4096];
  text->reserve(std::min(static_cast<size_t>(size), format::kMaxFileBytes + sizeof block));
  while (text->size() <= format::kMaxFileBytes) {
    const ssize_t got = read(file.Descriptor(), block, sizeof block);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got <= 0) {
      return got == 0;
    }
    text->append(block, static_cast<size_t>(got));
  }
  return true;
}

struct Tag {
  size_t end;         // After the first '>' outside quotes.
  size_t attributes;  // The number of values in quotes.
};

Tag ReadTag(std::string_view text, size_t start) {
  Tag tag{text.size(), 0};
  char quote = '\0';
  for (size_t at = start; at < text.size(); ++at) {
    const char c = text[at];
    if (quote != '\0') {
      quote = c == quote ? '\0' : quote;
    } else if (c == '>') {
      tag.end = at + 1;
      break;
    } else if (c == '"' || c == '\'') {
      quote = c;
      ++tag.attributes;
    }
  }
  return tag;
}

// The end of the markup that begins with "<!" or "<?" at `start`: after "-->" for a comment, and so on for the others.
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

// The start of the first reference that is too long; npos if there is none.
size_t FindLongReference(std::string_view text) {
  for (size_t at = text.find("&#"); at != std::string_view::npos; at = text.find("&#", at + 2)) {
    const std::string_view reference = text.substr(at, format::kMaxReferenceBytes + 1);
    if (reference.size() > format::kMaxReferenceBytes && reference.find(';') >= format::kMaxReferenceBytes) {
      return at;
    }
  }
  return std::string_view::npos;
}

// As isspace in the C locale.
bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Scans a file's text as the XML reader does, and finds what would cost the reader too much time, memory or stack. The
// scan may find a fault after the place where the reader stops at an error; the file is refused in either case.
class Scan {
 public:
  explicit Scan(std::string_view text) : text_(text), has_references_(text.find("&#") != std::string_view::npos) {}

  LoadResult FindFault() {
    LoadFault fault = LoadFault::kNone;
    while (at_ < text_.size() && fault == LoadFault::kNone) {
      place_ = at_;
      fault = text_[at_] != '<' ? TakeText() : IsTag() ? TakeTag() : TakeOther();
    }
    return {fault, fault != LoadFault::kNone ? Line() : 0};
  }

 private:
  bool IsTag() const {
    const char next = at_ + 1 < text_.size() ? text_[at_ + 1] : '\0';
    return next != '!' && next != '?';
  }

  // Scans the text from here to `end`, and continues there.
  std::string_view TakeUntil(size_t end) {
    const std::string_view taken = text_.substr(at_, end - at_);
    at_ = std::min(end, text_.size());
    return taken;
  }

  // The reader drops white space between two tags.
  LoadFault TakeText() {
    const std::string_view text = TakeUntil(text_.find('<', at_));
    if (std::all_of(text.begin(), text.end(), IsSpace)) {
      return LoadFault::kNone;
    }
    return HasLongReference(text) ? LoadFault::kReferenceTooLong : AddNode();
  }

  LoadFault TakeTag() {
    const Tag tag = ReadTag(text_, at_);
    const std::string_view text = TakeUntil(tag.end);
    if (text.size() > format::kMaxTagBytes) {
      return LoadFault::kTagTooLong;
    }
    if (HasLongReference(text)) {
      return LoadFault::kReferenceTooLong;
    }
    attributes_ += tag.attributes;
    return attributes_ > format::kMaxAttributes ? LoadFault::kTooManyAttributes : AddElement(text);
  }

  bool HasLongReference(std::string_view text) {
    if (!has_references_) {
      return false;
    }
    const size_t offset = FindLongReference(text);
    place_ += offset != std::string_view::npos ? offset : 0;
    return offset != std::string_view::npos;
  }

  // The reader takes "</a/>" for an empty element, and allows white space in front of the first slash.
  LoadFault AddElement(std::string_view tag) {
    const auto name = static_cast<size_t>(std::find_if_not(tag.begin() + 1, tag.end(), IsSpace) - tag.begin());
    const bool closing = name < tag.size() && tag[name] == '/';
    const bool empty = tag[tag.size() - std::min<size_t>(tag.size(), 2)] == '/';
    if (closing && !empty) {
      depth_ -= std::min<size_t>(depth_, 1);
      return LoadFault::kNone;
    }
    if (depth_ == format::kMaxDepth) {
      return LoadFault::kNestedTooDeep;
    }
    depth_ += empty ? 0 : 1;
    return AddNode();
  }

  LoadFault TakeOther() {
    TakeUntil(EndOfOtherMarkup(text_, at_));
    return AddNode();
  }

  LoadFault AddNode() { return ++nodes_ > format::kMaxNodes ? LoadFault::kTooManyNodes : LoadFault::kNone; }

  int Line() const {
    return 1 + static_cast<int>(std::count(text_.begin(), text_.begin() + static_cast<ptrdiff_t>(place_), '\n'));
  }

  const std::string_view text_;
  const bool has_references_;  // Few files have any, and a search in each short text takes time.
  size_t at_ = 0;
  size_t place_ = 0;  // After a fault: its place.
  size_t depth_ = 0;
  size_t nodes_ = 0;
  size_t attributes_ = 0;
};

}  // namespace

bool IsReadableFile(const std::string& path) { return SizeOf(File(OpenForReading(path))) >= 0; }

LoadResult LoadCalibrationFile(const std::string& path, tinyxml2::XMLDocument* document) {
  const File file(OpenForReading(path));
  std::string text;
  const off_t size = SizeOf(file);
  if (size < 0 || !Read(file, size, &text)) {
    return {LoadFault::kUnreadable, 0};
  }
  if (text.size() > format::kMaxFileBytes) {
    return {LoadFault::kTooLarge, 0};
  }
  const LoadResult found = Scan(text).FindFault();
  if (found.fault != LoadFault::kNone) {
    return found;
  }
  if (document->Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
    return {LoadFault::kNotWellFormed, document->ErrorLineNum()};
  }
  return {LoadFault::kNone, 0};
}

}  // namespace zarn
