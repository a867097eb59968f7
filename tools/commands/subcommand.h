#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// CLI11 parses the command line. Its headers take seconds to compile, so that only the files that need them have them.
namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace blnits {

/// An option or positional argument of a subcommand. Each function returns the option itself, for the next one. Copies
/// are the same option.
class Option {
 public:
  explicit Option(CLI::Option* option) : option_(option) {}

  /// The command line must have it.
  Option Required() const;

  /// Names its value in the help: "FILE".
  Option Takes(const char* value) const;

  /// The help shows the value that the variable has now.
  Option ShowDefault() const;

  /// Refuses all words but these. The help lists them.
  Option OneOf(const std::vector<std::string>& words) const;

  /// The same; the help does not list the words.
  Option OneOfMany(const std::vector<std::string>& words) const;

  /// Refuses whole numbers outside `least` to `most`.
  Option Between(uint32_t least, uint32_t most) const;

  /// Refuses what is not a finite decimal number.
  Option Finite() const;

  /// Refuses what is not a finite decimal number from 0 on.
  Option NotNegative() const;

  /// Refuses values for which `wrong` returns what is wrong. It returns an empty text for a correct one.
  Option Check(std::function<std::string(const std::string& value)> wrong) const;

  /// A list that takes one value each time, not all that follow.
  Option OneEachTime() const;

  /// Whether the command line has it. Known in the action.
  bool IsGiven() const;

  /// Only together with, or never together with the other one.
  Option Needs(Option other) const;
  Option Excludes(Option other) const;

 private:
  CLI::Option* option_;
};

/// A subcommand of blnits: its options and its action. Copies are the same subcommand. Only while the command line is
/// set up, by its thread.
class Subcommand {
 public:
  /// Adds a subcommand to `app`, which owns it.
  Subcommand(CLI::App* app, const char* name, const char* summary);

  /// Adds an option ("-o,--output") or a positional argument ("FILE") whose value goes to `value`, which must live until
  /// the action has run. `Value` is std::string, uint32_t, uint64_t, double, std::optional of the last three, or
  /// std::vector of std::string, uint32_t or double; a vector takes all values that follow.
  template <class Value>
  Option Add(const std::string& names, Value* value, const std::string& help) const;

  /// Adds an option whose text goes to `use`.
  Option Add(const std::string& names, std::function<void(const std::string& text)> use, const std::string& help) const;

  /// Adds an option without a value, which sets `value`.
  Option AddFlag(const std::string& names, bool* value, const char* help) const;

  /// The text below the options in the help: notes and an example.
  void Footer(const std::string& text) const;

  /// What the subcommand does, once the command line is known to be correct.
  void Action(std::function<void()> action) const;

 private:
  CLI::App* app_;
};

/// What is wrong with a number of an option, or an empty text.
std::string WhatIsWrong(const std::string& number, bool may_be_negative);

}  // namespace blnits
