#include "commands/readings_options.h"

#include <fmt/format.h>

#include <cstdint>

namespace blnits {

void AddReadingsOptions(CLI::App* command, ReadingsOptions* options) {
  std::vector<std::string> kinds;
  for (const auto& [kind, description] : ReadingKinds()) {
    kinds.push_back(kind);
  }
  command->add_option("--from", options->kind, "Kind of the files of readings; default: recognised by their content")
      ->check(CLI::IsMember(kinds).description(""))
      ->type_name("KIND");
  command
      ->add_option("--level-column", options->level_column,
                   "Column of the level in a CSV file, if its name does not tell")
      ->type_name("NAME|NUMBER");
  command
      ->add_option("--nits-column", options->nits_column,
                   "Column of the luminance in a CSV file, if its name does not tell")
      ->type_name("NAME|NUMBER");
  command
      ->add_option("--levels", options->levels,
                   "Levels of readings without one, in their order: 0..255, 0..255:5, or a file with one on each line")
      ->type_name("FILE|RANGE");
  command->add_option("--repeats", options->repeats, "Readings in a row at each of these levels")
      ->check(CLI::Range(1, INT32_MAX).description(""))
      ->type_name("N")
      ->capture_default_str();
  command
      ->add_option_function<std::string>(
          "--scale", [options](const std::string& text) { options->scale = ParseScale(text); },
          "Scale of the files' levels: a factor, or FROM:TO; 255:4095 makes level 255 of a file client level 4095")
      ->check(CLI::Validator(
          [](const std::string& text) {
            return ParseScale(text) ? std::string()
                                    : fmt::format("found \"{}\", expected a factor or FROM:TO above 0", text);
          },
          ""))
      ->type_name("FACTOR|FROM:TO");
  command
      ->add_option("--hbm-from", options->hbm_from,
                   "Split the series of a file: from this client level on, it is high brightness")
      ->check(CLI::Range(0, INT32_MAX).description(""))
      ->type_name("LEVEL");
}

std::string HelpOnReadingKinds() {
  std::string help = "Kinds of files of readings (--from):\n";
  for (const auto& [kind, description] : ReadingKinds()) {
    help += fmt::format("  {:<14} {}\n", kind, description);
  }
  return help;
}

}  // namespace blnits
