#pragma once

/// \file
/// The version of these headers, and the version of the library that the process has loaded.

#include <elf.h>
#include <link.h>

#include <cstddef>
#include <cstring>

/// The headers' version. While this number is the same, clients that were built against older headers still work.
#define BACKLIGHT_NITS_VERSION_MAJOR 1
/// Increases when something is added.
#define BACKLIGHT_NITS_VERSION_MINOR 0
/// Increases when something is corrected.
#define BACKLIGHT_NITS_VERSION_PATCH 0

/// \cond
#define BLNITS_VERSION_OF(major, minor, patch) BLNITS_VERSION_TEXT(major, minor, patch)
#define BLNITS_VERSION_TEXT(major, minor, patch) #major "." #minor "." #patch
/// \endcond

/// The three numbers as text: "1.0.0".
#define BACKLIGHT_NITS_VERSION \
  BLNITS_VERSION_OF(BACKLIGHT_NITS_VERSION_MAJOR, BACKLIGHT_NITS_VERSION_MINOR, BACKLIGHT_NITS_VERSION_PATCH)

namespace zarn {

/// \cond
namespace version_note {

// The library stores its version in an ELF note of this owner and type, because its only export is the factory
// function.
constexpr char kOwner[] = "backlight-nits";
constexpr unsigned kType = 1;

// Looks for the note in one module of the process. If it is there, sets `version`, a const char*, and returns 1, which
// ends the search.
inline int Find(dl_phdr_info* module, size_t /*size*/, void* version) {
  for (int i = 0; i < module->dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = module->dlpi_phdr[i];
    if (segment.p_type != PT_NOTE) {
      continue;
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr) the loader gives addresses as numbers
    const char* const begin = reinterpret_cast<const char*>(module->dlpi_addr + segment.p_vaddr);
    const size_t alignment = segment.p_align < 4 ? 4 : segment.p_align;
    const auto aligned = [alignment](size_t offset) { return (offset + alignment - 1) / alignment * alignment; };
    size_t offset = 0;
    while (offset + sizeof(ElfW(Nhdr)) <= segment.p_memsz) {
      ElfW(Nhdr) note;
      std::memcpy(&note, begin + offset, sizeof note);
      const char* const owner = begin + offset + sizeof note;
      const size_t text = aligned(offset + sizeof note + note.n_namesz);
      if (note.n_type == kType && note.n_namesz == sizeof kOwner && std::memcmp(owner, kOwner, sizeof kOwner) == 0) {
        *static_cast<const char**>(version) = begin + text;
        return 1;
      }
      offset = aligned(text + note.n_descsz);
    }
  }
  return 0;
}

}  // namespace version_note
/// \endcond

/// The version of the library that this process has loaded, linked or by dlopen, as "1.0.0". Any thread may call it.
/// \return null if the library is not loaded; otherwise valid until the library is unloaded.
inline const char* LoadedBackLightNitsVersion() {
  const char* version = nullptr;
  dl_iterate_phdr(version_note::Find, &version);
  return version;
}

}  // namespace zarn
