#include "commands/command_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "support/nearest_name.h"

namespace blnits {
namespace {

using Words = std::vector<std::string>;

std::vector<const CLI::App*> CommandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

std::string DidYouMean(const std::string& word, const Words& known) {
  const std::string likely = NearestName(word, known);
  return likely.empty() ? "" : fmt::format("; did you mean {}?", likely);
}

const CLI::App* CommandNamed(const CLI::App& app, const std::string& name) {
  Words known;
  for (const CLI::App* command : CommandsOf(app)) {
    if (command->get_name() == name) {
      return command;
    }
    known.push_back(command->get_name());
  }
  throw Failure(fmt::format("there is no subcommand {}{}", name, DidYouMean(name, known)));
}

// Whether the word ("--level", "--level=5", "-l", "-l5") is an option that takes any number of values.
bool IsList(const CLI::App& command, const std::string& word) {
  const std::string name = word.compare(0, 2, "--") == 0 ? word.substr(0, word.find('=')) : word.substr(0, 2);
  const CLI::Option* const option = command.get_option_no_throw(name);
  return option != nullptr && option->get_items_expected_max() > 1;
}

// CLI11 takes "--" after a list for the end of the list. A second "--" then ends the options.
void EndOptions(const CLI::App& command, Words* words) {
  const auto end = std::find(words->begin(), words->end(), "--");
  const auto last_option = std::find_if(std::make_reverse_iterator(end), words->rend(),
                                        [](const std::string& word) { return word.size() > 1 && word[0] == '-'; });
  if (end != words->end() && last_option != words->rend() && IsList(command, *last_option)) {
    words->insert(end, "--");
  }
}

Words WordsOf(const CLI::App& app, int argc, char** argv) {
  Words words(argv + 1, argv + argc);
  if (!words.empty() && words.front().compare(0, 1, "-") != 0) {
    EndOptions(*CommandNamed(app, words.front()), &words);
  }
  return words;
}

// CLI11 lists the unparsed words in reverse order.
std::string WhatIsLeft(const CLI::App& command) {
  const Words left = command.remaining();
  const auto end = std::find(left.begin(), left.end(), "--");
  const auto option = std::find_if(left.begin(), end, [](const std::string& word) { return word[0] == '-'; });
  if (option == end) {
    return fmt::format("unexpected argument {}", end == left.begin() ? left.back() : left.front());
  }
  Words known;
  for (const CLI::Option* each : command.get_options()) {
    for (const std::string& name : each->get_lnames()) {
      known.push_back("--" + name);
    }
  }
  return fmt::format("unknown option {}{}", *option, DidYouMean(*option, known));
}

std::string WordsFor(const CLI::App& app, const CLI::ParseError& error) {
  const auto parsed = app.get_subcommands();
  const CLI::App& command = parsed.empty() ? app : *parsed.front();
  return command.remaining().empty() ? error.what() : WhatIsLeft(command);
}

}  // namespace

void AddHelpCommand(CLI::App* app) {
  auto* const command = app->add_subcommand("help", "Print the help of blnits or of one subcommand");
  auto name = std::make_shared<std::string>();
  command->add_option("COMMAND", *name, "The subcommand; default: blnits itself");
  command->footer("Example: blnits help check");
  command->callback([app, name] {
    // The help() of an app prints the help of the subcommand that runs.
    const std::string help = name->empty()
                                 ? app->get_formatter()->make_help(app, app->get_name(), CLI::AppFormatMode::Normal)
                                 : CommandNamed(*app, *name)->help(app->get_name());
    fmt::print("{}", help);
  });
}

bool AsksForJson(int argc, char** argv) {
  const Words words(argv, argv + argc);
  const auto end = std::find(words.begin(), words.end(), "--");
  const Words two_words = {"--format", "json"};
  return std::search(words.begin(), end, two_words.begin(), two_words.end()) != end ||
         std::find(words.begin(), end, "--format=json") != end;
}

void RunCommandLine(CLI::App* app, int argc, char** argv) {
  Words words = WordsOf(*app, argc, argv);
  std::reverse(words.begin(), words.end());  // CLI11 expects reverse order.
  try {
    app->parse(words);
  } catch (const CLI::Success& asked) {
    app->exit(asked);  // prints help or version
  } catch (const CLI::ParseError& error) {
    throw WrongUsage(WordsFor(*app, error));
  }
}

}  // namespace blnits
