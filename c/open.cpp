#include <algorithm>
#include <clocale>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "arguments.h"
#include "backlight_nits_parser_imp.h"
#include "calibration_file.h"
#include "context.h"
#include "foreign_text.h"
#include "last_error.h"
#include "load_trouble.h"
#include "panel.h"
#include "path_factory.h"

using namespace blnits;

bln_panel::bln_panel(std::string path, const blnits::LogTarget& target)
    : file(std::move(path)), log(target), engine(zarn::EngineNameOf(file)) {}

namespace {

/// Numbers have a decimal point on this thread, from construction to destruction. Other threads are not affected.
class DecimalPoint {
 public:
  DecimalPoint() : locale_(newlocale(LC_NUMERIC_MASK, "C", nullptr)) {
    if (locale_ == nullptr) {
      throw std::bad_alloc();
    }
    before_ = uselocale(locale_);
  }
  DecimalPoint(const DecimalPoint&) = delete;
  DecimalPoint& operator=(const DecimalPoint&) = delete;
  ~DecimalPoint() {
    uselocale(before_);
    freelocale(locale_);
  }

 private:
  locale_t locale_;
  locale_t before_ = nullptr;
};

const blnits::LogTarget kNoLog;

const blnits::LogTarget& LogOf(const bln_context* context) { return context != nullptr ? context->log : kNoLog; }

bln_status FailToLoad(const std::string& file) {
  const blnits::CalibrationSource source(file);
  const std::vector<blnits::LoadTrouble> troubles = blnits::LoadTroubles(source);
  const blnits::LoadTrouble& first = troubles.front();
  const bln_status status = source.Load().fault == zarn::LoadFault::kUnreadable ? BLN_NOT_FOUND : BLN_BAD_FILE;
  const std::string line = first.line > 0 ? ":" + std::to_string(first.line) : "";
  return Fail(status, "%s%s: %s", Printable(file).c_str(), line.c_str(), first.text.c_str());
}

bln_status OpenFile(const bln_context* context, std::string path, bln_panel** panel) {
  auto opened = std::make_unique<bln_panel>(std::move(path), LogOf(context));
  const blnits::Logging logging(opened->log);
  const DecimalPoint decimal_point;
  if (opened->engine.Init() != 0) {
    return FailToLoad(opened->file);
  }
  *panel = opened.release();
  return BLN_OK;
}

/// The paths at which a panel's file may be, the device's own first.
std::vector<std::string> PathsOf(const bln_context* context, const std::string& name) {
  const blnits::Logging logging(LogOf(context));
  std::vector<std::string> paths = {zarn::BackLightNitsParserImp(name).FileName()};
  if (context != nullptr) {
    const std::string file_name = zarn::format::kFilePrefix + name + zarn::format::kFileSuffix;
    for (const std::string& folder : context->folders) {
      paths.push_back(folder);
      paths.back().append("/").append(file_name);
    }
  }
  return paths;
}

bln_status OpenPanel(const bln_context* context, const std::string& name, bln_panel** panel) {
  const std::vector<std::string> paths = PathsOf(context, name);
  const auto found = std::find_if(paths.begin(), paths.end(), zarn::IsReadableFile);
  if (found != paths.end()) {
    return OpenFile(context, *found, panel);
  }
  std::string searched;
  for (const std::string& path : paths) {
    searched += (searched.empty() ? "" : ", ") + Printable(path);
  }
  return Fail(BLN_NOT_FOUND, "panel %s: there is no calibration file that can be read; searched: %s",
              Printable(name).c_str(), searched.c_str());
}

}  // namespace

bln_status bln_panel_open(const bln_context* context, const char* name, bln_panel** panel) {
  const bln_status status = CheckNotNull(__func__, {{"name", name}, {"panel", panel}});
  if (status != BLN_OK) {
    return status;
  }
  if (*name == '\0' || std::string_view(name).find('/') != std::string_view::npos) {
    return Fail(BLN_INVALID_ARGUMENT,
                "%s: the panel's name must not be empty and have no slash; for a path, use bln_panel_open_file",
                __func__);
  }
  return Guarded([&] { return OpenPanel(context, name, panel); });
}

bln_status bln_panel_open_file(const bln_context* context, const char* path, bln_panel** panel) {
  const bln_status status = CheckNotNull(__func__, {{"path", path}, {"panel", panel}});
  return status != BLN_OK ? status : Guarded([&] { return OpenFile(context, path, panel); });
}

void bln_panel_free(bln_panel* panel) { delete panel; }
