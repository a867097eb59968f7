// For ./dev libcxx: a program with another standard library than the C library's. Its allocation function serves both,
// and fails on request: the library's exception must not get out of the library.
#include <backlight_nits.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <new>
#include <set>
#include <string>
#include <vector>

namespace {

bool no_memory = false;

std::set<std::string> LoadedStandardLibraries() {
  std::set<std::string> libraries;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    const std::string name = line.substr(line.rfind('/') + 1);
    if (name.rfind("libc++.so", 0) == 0 || name.rfind("libstdc++.so", 0) == 0) {
      libraries.insert(name);
    }
  }
  return libraries;
}

/// Whether each level comes back from its luminance on a curve of `panel`.
bool ComesBack(const bln_panel* panel) {
  bln_curve* curve = nullptr;
  const double* nits = nullptr;
  size_t count = 0;
  if (bln_curve_create(panel, 55, BLN_STANDARD, &curve) != BLN_OK || bln_curve_values(curve, &nits, &count) != BLN_OK) {
    return false;
  }
  std::vector<uint32_t> levels(count);
  bln_curve_levels(curve, nits, count, levels.data());
  std::cout << count << " levels, " << nits[120] << " nits at level 120\n";
  bool same = count > 0;
  for (size_t level = 0; level < count; ++level) {
    same = same && levels[level] == level;
  }
  bln_curve_free(curve);
  return same;
}

}  // namespace

void* operator new(size_t size) {
  void* const memory = no_memory ? nullptr : std::malloc(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t /*size*/) noexcept { std::free(memory); }

int main(int /*count*/, char** arguments) {
  bln_panel* panel = nullptr;
  if (bln_panel_open_file(nullptr, arguments[1], &panel) != BLN_OK || !ComesBack(panel)) {
    std::cerr << bln_last_error() << "\n";
    return 1;
  }
  bln_panel* other = nullptr;
  no_memory = true;
  const bln_status status = bln_panel_open_file(nullptr, arguments[1], &other);
  no_memory = false;
  std::cout << "without memory: " << bln_status_name(status) << "\n";
  bln_panel_free(panel);

  const std::set<std::string> libraries = LoadedStandardLibraries();
  for (const std::string& library : libraries) {
    std::cout << "in this process: " << library << "\n";
  }
  return status == BLN_NO_MEMORY && libraries.size() == 2 ? 0 : 1;
}
