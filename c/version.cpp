#include "backlight_nits.h"

#define BLNITS_TEXT_OF(major, minor, patch) BLNITS_TEXT(major, minor, patch)
#define BLNITS_TEXT(major, minor, patch) #major "." #minor "." #patch

const char* bln_version(void) { return BLNITS_TEXT_OF(BLN_VERSION_MAJOR, BLN_VERSION_MINOR, BLN_VERSION_PATCH); }

const char* bln_status_name(bln_status status) {
  switch (status) {
    case BLN_OK:
      return "BLN_OK";
    case BLN_INVALID_ARGUMENT:
      return "BLN_INVALID_ARGUMENT";
    case BLN_NOT_FOUND:
      return "BLN_NOT_FOUND";
    case BLN_BAD_FILE:
      return "BLN_BAD_FILE";
    case BLN_REFUSED:
      return "BLN_REFUSED";
    case BLN_NO_MEMORY:
      return "BLN_NO_MEMORY";
    case BLN_TOO_SMALL:
      return "BLN_TOO_SMALL";
    default:
      return "unknown";
  }
}
