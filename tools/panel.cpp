#include "panel.h"

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace blnits {
namespace {

namespace fs = std::filesystem;

bool IsPath(const std::string& argument) {
  return argument.find('/') != std::string::npos || fs::path(argument).extension() == ".xml";
}

std::string PanelNameIn(const fs::path& path) {
  const std::string start = "backlight_calib_";
  const std::string stem = path.stem().string();
  if (path.extension() != ".xml" || stem.compare(0, start.size(), start) != 0) {
    throw UsageError(
        fmt::format("{}: expected a panel's name or a file named backlight_calib_<panel>.xml", path.string()));
  }
  return stem.substr(start.size());
}

/// Another working folder for as long as it lives: the only way to point the library at a folder.
class InFolder {
 public:
  explicit InFolder(const fs::path& folder) : before_(fs::current_path()) { fs::current_path(folder); }
  InFolder(const InFolder&) = delete;
  InFolder& operator=(const InFolder&) = delete;
  ~InFolder() {
    std::error_code ignored;
    fs::current_path(before_, ignored);
  }

 private:
  fs::path before_;
};

}  // namespace

Panel::Panel(const std::string& argument, CapturedLog* log) : log_(log), name_(argument), file_(argument) {
  if (IsPath(argument)) {
    OpenByPath(argument);
    return;
  }
  Check(InitEngine(&file_), "the calibration cannot be loaded");
}

// The library tells the file that it chose in a line of Info.
int Panel::InitEngine(std::string* chosen_file) {
  engine_ = GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf(name_);
  log_->Take();
  const int ret = engine_->Init();
  *chosen_file = log_->InfoAfter("BackLightNitsParserImp::BackLightNitsParserImp: file_name ");
  return ret;
}

void Panel::OpenByPath(const std::string& path) {
  name_ = PanelNameIn(path);
  const fs::path folder = fs::absolute(path).parent_path();
  std::error_code error;
  if (!fs::is_directory(folder, error)) {
    throw Failure(fmt::format("{}: there is no folder {}", path, folder.string()));
  }
  int ret = 0;
  std::string chosen;
  {
    const InFolder in_folder(folder);
    ret = InitEngine(&chosen);
  }
  if (chosen != fs::path(path).filename() && !fs::equivalent(chosen, path, error)) {
    throw Failure(fmt::format("{}: the library reads {} instead, since that is where panel {} is searched first", path,
                              chosen, name_));
  }
  Check(ret, "the calibration cannot be loaded");
}

double Panel::ToNits(uint32_t level, uint32_t coverage, bool hdr) {
  zarn::BlBackLight in;
  in.percentage = coverage;
  in.bl = level;
  in.hdr = hdr;
  return Process(zarn::kBLToNits, in, fmt::format("level {} at {} % coverage cannot be converted", level, coverage))
      .nits;
}

uint32_t Panel::ToLevel(double nits, uint32_t coverage, bool hdr) {
  zarn::BlNitsValue in;
  in.percentage = coverage;
  in.nits = nits;
  in.hdr = hdr;
  return Process(zarn::kNitsToBL, in, fmt::format("{} nits at {} % coverage cannot be converted", nits, coverage)).bl;
}

template <class In>
zarn::BlNitsValue Panel::Process(zarn::BLNitOps op, const In& in, const std::string& failure) {
  zarn::GenericPayload in_payload;
  zarn::GenericPayload out_payload;
  zarn::BlNitsValue* out = nullptr;
  in_payload.CopyPayload(in);
  out_payload.CreatePayload(out);
  log_->Take();
  Check(engine_->ProcessOps(op, in_payload, &out_payload), failure);
  return *out;
}

void Panel::Check(int ret, const std::string& what) const {
  if (ret == 0) {
    return;
  }
  std::string reason = log_->Reason();
  if (reason.empty()) {
    reason =
        fmt::format("result {}, without a reason; while dimming is on, only LUTs give luminances their levels", ret);
  }
  // The library says "file not found" of everything that it cannot load.
  std::error_code error;
  if (ret == -ENOENT && fs::exists(file_, error)) {
    reason += " (the file is there: it cannot be read, or is not well-formed XML)";
  }
  throw Failure(fmt::format("{}: {}: {}", file_, what, reason));
}

}  // namespace blnits
