#include "context.h"

#include <cstdlib>
#include <string_view>

#include "arguments.h"
#include "last_error.h"

using namespace blnits;

namespace {

bln_status AddXdgFolders(std::string_view data_dirs, const char* subfolder, std::vector<std::string>* folders) {
  std::vector<std::string> all = *folders;
  while (!data_dirs.empty()) {
    const std::string_view folder = data_dirs.substr(0, data_dirs.find(':'));
    data_dirs.remove_prefix(folder.size());
    data_dirs.remove_prefix(data_dirs.empty() ? 0 : 1);
    if (!folder.empty() && folder[0] == '/') {
      all.push_back(std::string(folder) + "/" + subfolder);
    }
  }
  folders->swap(all);
  return BLN_OK;
}

}  // namespace

bln_status bln_context_create(bln_context** context) {
  const bln_status status = CheckNotNull(__func__, {{"context", context}});
  return status != BLN_OK ? status : Guarded([&] {
    *context = new bln_context;
    return BLN_OK;
  });
}

void bln_context_free(bln_context* context) { delete context; }

bln_status bln_context_add_folder(bln_context* context, const char* folder) {
  const bln_status status = CheckNotNull(__func__, {{"context", context}, {"folder", folder}});
  if (status != BLN_OK) {
    return status;
  }
  if (*folder == '\0') {
    return Fail(BLN_INVALID_ARGUMENT, "%s: folder is empty", __func__);
  }
  return Guarded([&] {
    context->folders.emplace_back(folder);
    return BLN_OK;
  });
}

bln_status bln_context_add_xdg_folders(bln_context* context, const char* subfolder) {
  const bln_status status = CheckNotNull(__func__, {{"context", context}, {"subfolder", subfolder}});
  if (status != BLN_OK) {
    return status;
  }
  if (*subfolder == '\0' || *subfolder == '/') {
    return Fail(BLN_INVALID_ARGUMENT, "%s: subfolder must be a relative path, not empty", __func__);
  }
  const char* const set = std::getenv("XDG_DATA_DIRS");
  const char* const data_dirs = set != nullptr && *set != '\0' ? set : "/usr/local/share:/usr/share";
  return Guarded([&] { return AddXdgFolders(data_dirs, subfolder, &context->folders); });
}

bln_status bln_context_set_log(bln_context* context, bln_log_function log, void* user_data) {
  const bln_status status = CheckNotNull(__func__, {{"context", context}});
  if (status == BLN_OK) {
    context->log = {log, user_data};
  }
  return status;
}
