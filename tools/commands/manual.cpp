#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "commands/commands.h"

namespace blnits {
namespace {

std::vector<const CLI::App*> CommandsOf(const CLI::App* app) {
  return app->get_subcommands([](const CLI::App*) { return true; });
}

/// Escapes text so that roff takes no character of it for a request.
std::string Roff(const std::string& text) {
  std::string roff;
  for (const char c : text) {
    const bool line_start = roff.empty() || roff.back() == '\n';
    if (line_start && (c == '.' || c == '\'')) {
      roff += "\\&";
    }
    roff += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
  }
  return roff;
}

std::string Synopsis(const CLI::App* command) {
  std::string synopsis = fmt::format("{} {} [OPTIONS]", command->get_parent()->get_name(), command->get_name());
  for (const CLI::Option* option : command->get_options()) {
    if (option->get_positional()) {
      synopsis += fmt::format(" {}{}", option->get_name(true), option->get_items_expected_max() > 1 ? "..." : "");
    }
  }
  return synopsis;
}

void PrintOptions(const CLI::App* app) {
  for (const CLI::Option* option : app->get_options()) {
    const std::string name = option->get_positional() ? option->get_name(true) : option->get_name(false, true);
    const std::string value = option->get_positional() || option->get_items_expected_max() == 0
                                  ? ""
                                  : fmt::format(" \\fI{}\\fR", Roff(option->get_type_name()));
    const std::string preset =
        option->get_default_str().empty() ? "" : fmt::format(" Default: {}.", option->get_default_str());
    fmt::print(".TP\n\\fB{}\\fR{}\n{}\n", Roff(name), value, Roff(option->get_description() + "." + preset));
  }
}

// The page has the text that --help prints.
void PrintPage(const CLI::App* app) {
  const std::string name = app->get_name();
  fmt::print(".TH BLNITS 1 \"\" \"backlight-nits {}\" \"User commands\"\n", BLNITS_VERSION);
  fmt::print(".SH NAME\n{} \\- {}\n", name, Roff(app->get_description()));
  fmt::print(".SH SYNOPSIS\n\\fB{}\\fR [OPTIONS] COMMAND ...\n.SH OPTIONS\n", name);
  PrintOptions(app);
  fmt::print(".SH COMMANDS\n");
  for (const CLI::App* command : CommandsOf(app)) {
    fmt::print(".SS {}\n{}.\n", Roff(Synopsis(command)), Roff(command->get_description()));
    PrintOptions(command);
    fmt::print(".PP\n.nf\n{}\n.fi\n", Roff(command->get_footer()));
  }
  fmt::print(".SH EXIT STATUS\n{}\n", Roff(app->get_footer()));
}

std::string LongNames(const CLI::App* app) {
  std::string names;
  for (const CLI::Option* option : app->get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names += fmt::format("{}--{}", names.empty() ? "" : " ", name);
    }
  }
  return names;
}

// Completes commands and options. Every other word completes to a file name.
void PrintCompletion(const CLI::App* app) {
  std::string names = LongNames(app);
  std::string cases;
  for (const CLI::App* command : CommandsOf(app)) {
    names += " " + command->get_name();
    cases += fmt::format("    {}) words='{}' ;;\n", command->get_name(), LongNames(command));
  }
  fmt::print(
      "_{0}() {{\n  local words='' current=${{COMP_WORDS[COMP_CWORD]}}\n"
      "  if [[ $COMP_CWORD -eq 1 ]]; then\n    words='{1}'\n"
      "  elif [[ $current == -* ]]; then\n    case ${{COMP_WORDS[1]}} in\n{2}    esac\n  fi\n"
      "  COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n}}\ncomplete -o default -F _{0} {0}\n",
      app->get_name(), names, cases);
}

}  // namespace

void AddManualCommand(CLI::App* app) {
  auto* const command = app->add_subcommand("manual", "Print the manual page, or the completion script for bash");
  auto* const completion = command->add_flag("--bash-completion", "Print the completion script for bash");
  command->footer("Example: blnits manual | man -l -");
  command->callback([app, completion] { completion->count() > 0 ? PrintCompletion(app) : PrintPage(app); });
}

}  // namespace blnits
