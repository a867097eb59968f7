#include "panel.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <system_error>

namespace blnits {
namespace {

namespace fs = std::filesystem;

bool IsPath(const std::string& argument) {
  return argument.find('/') != std::string::npos || fs::path(argument).extension() == ".xml";
}

// What the library would call the panel of this file.
std::string PanelNameOf(const fs::path& path) {
  const std::string start = "backlight_calib_";
  const std::string stem = path.stem().string();
  return stem.compare(0, start.size(), start) == 0 ? stem.substr(start.size()) : stem;
}

// The library has one engine for each name. False when this process has taken the name before.
bool TakeEngineName(const std::string& name) {
  static std::set<std::string> taken;
  return taken.insert(name).second;
}

/// A new folder that is the working folder for as long as it lives: the only way to point the library at a file. Files
/// can be put there by a link.
class LinkFolder {
 public:
  LinkFolder(const fs::path& file, const std::string& link) : before_(fs::current_path()) {
    std::string folder = (fs::temp_directory_path() / "blnits-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
      throw Failure(fmt::format("{}: no folder can be made there", fs::temp_directory_path().string()));
    }
    folder_ = folder;
    fs::create_symlink(fs::absolute(file), folder_ / link);
    fs::current_path(folder_);
  }
  LinkFolder(const LinkFolder&) = delete;
  LinkFolder& operator=(const LinkFolder&) = delete;
  ~LinkFolder() {
    std::error_code ignored;
    fs::current_path(before_, ignored);
    fs::remove_all(folder_, ignored);
  }

 private:
  fs::path before_;
  fs::path folder_;
};

}  // namespace

Panel::Panel(const std::string& argument, CapturedLog* log) : Panel(log) {
  if (IsPath(argument)) {
    OpenByPath(argument);
  } else {
    OpenByName(argument);
  }
}

Panel Panel::FromFile(const std::string& path, CapturedLog* log) {
  Panel panel(log);
  panel.OpenByPath(path);
  return panel;
}

void Panel::OpenByName(const std::string& name) {
  name_ = name;
  if (!TakeEngineName(name)) {
    throw Failure(fmt::format("{}: a panel of that name is open already; give the path of its file", name));
  }
  CheckLoaded(InitEngine(name, &file_));
}

void Panel::OpenByPath(const std::string& path) {
  name_ = PanelNameOf(path);
  file_ = path;
  std::string engine_name = name_;
  while (!TakeEngineName(engine_name)) {
    engine_name += '+';
  }
  const std::string link = fmt::format("backlight_calib_{}.xml", engine_name);
  int ret = 0;
  std::string chosen;
  {
    const LinkFolder folder(path, link);
    ret = InitEngine(engine_name, &chosen);
  }
  std::error_code error;
  if (chosen != link && !fs::equivalent(chosen, path, error)) {
    throw Failure(fmt::format("{}: the library reads {} instead, since that is where panel {} is searched first", path,
                              chosen, name_));
  }
  CheckLoaded(ret);
}

// The library tells the file that it chose in a line of Info.
int Panel::InitEngine(const std::string& engine_name, std::string* chosen_file) {
  engine_ = GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf(engine_name);
  log_->Take();
  const int ret = engine_->Init();
  *chosen_file = log_->InfoAfter("BackLightNitsParserImp::BackLightNitsParserImp: file_name ");
  return ret;
}

// Engines densify the table, parsers do not.
zarn::BLLinearTable Panel::SparseLinearTable() {
  const LinkFolder folder(file_, fmt::format("backlight_calib_{}.xml", name_));
  const auto parser = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser(name_);
  CheckLoaded(parser->Init());
  return GetFrom<zarn::BLLinearTable>(parser.get(), zarn::kBLLinearTable);
}

double Panel::ToNits(uint32_t level, uint32_t coverage, bool hdr) {
  const auto nits = TryToNits(level, coverage, hdr);
  Check(ret_, fmt::format("level {} at {} % coverage cannot be converted", level, coverage));
  return *nits;
}

uint32_t Panel::ToLevel(double nits, uint32_t coverage, bool hdr) {
  const auto level = TryToLevel(nits, coverage, hdr);
  Check(ret_, fmt::format("{} nits at {} % coverage cannot be converted", nits, coverage));
  return *level;
}

std::optional<double> Panel::TryToNits(uint32_t level, uint32_t coverage, bool hdr) {
  zarn::BlBackLight in;
  in.percentage = coverage;
  in.bl = level;
  in.hdr = hdr;
  zarn::BlNitsValue out;
  ret_ = Process(zarn::kBLToNits, in, &out);
  return ret_ == 0 ? std::optional(out.nits) : std::nullopt;
}

std::optional<uint32_t> Panel::TryToLevel(double nits, uint32_t coverage, bool hdr) {
  zarn::BlNitsValue in;
  in.percentage = coverage;
  in.nits = nits;
  in.hdr = hdr;
  zarn::BlNitsValue out;
  ret_ = Process(zarn::kNitsToBL, in, &out);
  return ret_ == 0 ? std::optional(out.bl) : std::nullopt;
}

template <class In>
int Panel::Process(zarn::BLNitOps op, const In& in, zarn::BlNitsValue* out) {
  zarn::GenericPayload in_payload;
  zarn::GenericPayload out_payload;
  zarn::BlNitsValue* result = nullptr;
  in_payload.CopyPayload(in);
  out_payload.CreatePayload(result);
  log_->Take();
  const int ret = engine_->ProcessOps(op, in_payload, &out_payload);
  *out = *result;
  return ret;
}

void Panel::CheckLoaded(int ret) const {
  if (ret != 0) {
    const std::string refusal = Refusal(ret, "the calibration cannot be loaded");
    throw LoadFailure(refusal, log_->Take());
  }
}

void Panel::Check(int ret, const std::string& what) const {
  if (ret != 0) {
    throw Failure(Refusal(ret, what));
  }
}

std::string Panel::Refusal(int ret, const std::string& what) const {
  std::string reason = log_->Reason();
  if (reason.empty()) {
    reason =
        fmt::format("result {}, without a reason; while dimming is on, only LUTs give luminances their levels", ret);
  }
  // The library says "file not found" of everything that it cannot load.
  std::error_code error;
  if (ret == -ENOENT && fs::exists(file_, error)) {
    reason += " (the file is there; blnits check says what is wrong with it)";
  }
  return fmt::format("{}: {}: {}", file_, what, reason);
}

}  // namespace blnits
