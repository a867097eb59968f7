#include "client.h"

#include <cmath>
#include <filesystem>
#include <fstream>

namespace {

using zarn::client::Panel;

int CodeOf(const zarn::client::Result<void>& result) { return result ? 0 : result.error().code; }

/// An error text if a failed call has changed its output.
std::string Touched(const zarn::BlNitsValue& now, const zarn::BlNitsValue& before) {
  const auto fields = [](const auto& record) {
    return std::tuple(record.size, record.percentage, record.bl, record.nits, record.hdr);
  };
  return fields(now) == fields(before) ? "" : " and wrote";
}

}  // namespace

std::string LogLines::With(std::string outcome) {
  for (const auto& [level, text] : log_.Take()) {
    std::string line = text;
    for (const auto& [name, nick] : {std::pair<std::string, const char*>{"BackLightNitsImp::", "engine::"},
                                     {"BackLightNitsParserImp::", "parser::"},
                                     {"BackLightNitsFactoryIntfImp::", "factory::"}}) {
      if (line.rfind(name, 0) == 0) {
        line.replace(0, name.size(), nick);
      }
    }
    outcome += std::string(" | ") + level + " " + line;
  }
  return outcome;
}

TemporaryFolder::TemporaryFolder() : before_(std::filesystem::current_path()) {
  std::string pattern = std::filesystem::temp_directory_path() / "blnits.XXXXXX";
  path_ = mkdtemp(pattern.data());
  std::filesystem::current_path(path_);
}

TemporaryFolder::~TemporaryFolder() {
  std::filesystem::current_path(before_);
  std::filesystem::remove_all(path_);
}

void WriteFile(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

void Client::Open(const Calibration& calibration) {
  static int count = 0;
  panel_ = "panel" + std::to_string(++count);
  Write(calibration.Text());
  engine_ = Panel::Open(panel_).value().Engine();
  log_.With("");
}

std::string Client::Nits(uint32_t bl, uint32_t percentage, bool hdr) {
  const Holding<zarn::BlBackLight> in({sizeof(zarn::BlBackLight), percentage, bl, hdr});
  const zarn::BlNitsValue before{1, 2, 3, -4.0, !hdr};
  Holding<zarn::BlNitsValue> out(before);
  const int ret = engine_->ProcessOps(zarn::kBLToNits, in.payload, &out.payload);
  if (ret != 0) {
    return log_.With(std::to_string(ret) + Touched(*out.record, before));
  }
  EXPECT_TRUE(out->size == 1 && out->percentage == percentage && out->bl == bl);
  return log_.With(Shortest(out->nits) + (out->hdr == hdr ? " hdr" : ""));
}

std::string Client::Level(double nits, uint32_t percentage, bool hdr) {
  Holding<zarn::BlNitsValue> in({sizeof(zarn::BlNitsValue), percentage, 9, nits, hdr});
  const zarn::BlNitsValue before{1, 2, 3, -4.0, !hdr};
  Holding<zarn::BlNitsValue> out(before);
  const int ret = engine_->ProcessOps(zarn::kNitsToBL, in.payload, &out.payload);
  if (ret != 0) {
    return log_.With(std::to_string(ret) + Touched(*out.record, before));
  }
  EXPECT_TRUE(out->size == 1 && out->percentage == percentage && (out->nits == nits || std::isnan(nits)));
  std::string told = log_.With(std::to_string(out->bl) + (out->hdr == hdr ? " hdr" : ""));
  EXPECT_EQ(engine_->ProcessOps(zarn::kNitsToBL, in.payload, &in.payload), 0);
  EXPECT_EQ(in->bl, out->bl);
  log_.With("");
  return told;
}

std::string Client::Dim(bool enabled) { return log_.With(CodeOf(Panel::Attach(engine_)->SetDimming(enabled))); }

std::string Client::SetLuts(const std::vector<uint32_t>& bl, const std::vector<double>& pcc) {
  return log_.With(CodeOf(Panel::Attach(engine_)->SetDimmingLuts(bl, pcc)));
}
