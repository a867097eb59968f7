#pragma once

#include <cstdio>

#include "check/check.h"

namespace blnits {

/// How many findings of one rule are told where the user does not say.
constexpr size_t kUsualLimit = 20;

/// Prints what a check of `file` found, as compilers do, with the verdict before and after; colours on a terminal.
void PrintReport(const std::string& file, const CheckReport& report, std::FILE* stream = stdout);

}  // namespace blnits
