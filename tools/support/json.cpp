#include "support/json.h"

#include "support/json_errors.h"

namespace blnits {

std::string JsonLine(const nlohmann::ordered_json& object) {
  return object.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

std::string JsonErrors(const std::vector<std::string>& errors) {
  nlohmann::ordered_json report = JsonReport("error");
  report["errors"] = errors;
  return JsonLine(report);
}

}  // namespace blnits
