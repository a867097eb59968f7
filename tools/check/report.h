#pragma once

#include <cstdio>
#include <nlohmann/json_fwd.hpp>

#include "check/check.h"

namespace blnits {

/// Default number of findings that are printed for each rule.
constexpr size_t kUsualLimit = 20;

/// Prints the findings of `file` in the format of compilers, between two lines with the verdict. Uses colours on a
/// terminal.
void PrintReport(const std::string& file, const CheckReport& report, std::FILE* stream = stdout);

/// The same as a part of a JSON report.
nlohmann::ordered_json ToJson(const std::string& file, const CheckReport& report);

}  // namespace blnits
