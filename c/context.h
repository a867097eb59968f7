#pragma once

#include <string>
#include <vector>

#include "backlight_nits.h"
#include "log.h"

struct bln_context {
  std::vector<std::string> folders;
  blnits::LogTarget log;
};
