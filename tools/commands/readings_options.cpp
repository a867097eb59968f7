#include "commands/readings_options.h"

#include <fmt/format.h>

#include <cstdint>

namespace blnits {

void AddKindOption(const Subcommand& command, const char* help, std::string* kind) {
  std::vector<std::string> kinds;
  for (const auto& [name, description] : ReadingKinds()) {
    kinds.push_back(name);
  }
  command.Add("--from", kind, help).OneOfMany(kinds).Takes("KIND");
}

void AddReadingsOptions(const Subcommand& command, ReadingsOptions* options) {
  AddKindOption(command, "Kind of the files of readings; default: recognised by their content", &options->kind);
  command.Add("--level-column", &options->level_column, "Column of the level in a CSV file, if its name does not tell")
      .Takes("NAME|NUMBER");
  command
      .Add("--nits-column", &options->nits_column, "Column of the luminance in a CSV file, if its name does not tell")
      .Takes("NAME|NUMBER");
  command
      .Add("--levels", &options->levels,
           "Levels of readings without one, in their order: 0..255, 0..255:5, or a file with one on each line")
      .Takes("FILE|RANGE");
  command.Add("--repeats", &options->repeats, "Readings in a row at each of these levels")
      .Between(1, INT32_MAX)
      .Takes("N")
      .ShowDefault();
  command
      .Add(
          "--scale", [options](const std::string& text) { options->scale = ParseScale(text); },
          "Scale of the files' levels: a factor, or FROM:TO; 255:4095 makes level 255 of a file client level 4095")
      .Check([](const std::string& text) {
        return ParseScale(text) ? std::string()
                                : fmt::format("found \"{}\", expected a factor or FROM:TO above 0", text);
      })
      .Takes("FACTOR|FROM:TO");
  command
      .Add("--hbm-from", &options->hbm_from,
           "Split the series of a file: from this client level on, it is high brightness")
      .Between(0, INT32_MAX)
      .Takes("LEVEL");
}

std::string HelpOnReadingKinds() {
  std::string help = "Kinds of files of readings (--from):\n";
  for (const auto& [kind, description] : ReadingKinds()) {
    help += fmt::format("  {:<14} {}\n", kind, description);
  }
  return help;
}

}  // namespace blnits
