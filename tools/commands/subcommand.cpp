#include "commands/subcommand.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>

#include "support/numbers.h"

namespace blnits {

Option Option::Required() const { return Option(option_->required()); }

Option Option::Takes(const char* value) const { return Option(option_->type_name(value)); }

Option Option::ShowDefault() const { return Option(option_->capture_default_str()); }

Option Option::OneOf(const std::vector<std::string>& words) const {
  return Option(option_->check(CLI::IsMember(words)));
}

Option Option::OneOfMany(const std::vector<std::string>& words) const {
  return Option(option_->check(CLI::IsMember(words).description("")));
}

Option Option::Between(uint32_t least, uint32_t most) const {
  return Option(option_->check(CLI::Range(least, most).description("")));
}

Option Option::Finite() const {
  return Check([](const std::string& number) { return WhatIsWrong(number, true); });
}

Option Option::NotNegative() const {
  return Check([](const std::string& number) { return WhatIsWrong(number, false); });
}

Option Option::Check(std::function<std::string(const std::string& value)> wrong) const {
  return Option(option_->check(CLI::Validator(std::move(wrong), "")));
}

Option Option::OneEachTime() const { return Option(option_->allow_extra_args(false)); }

bool Option::IsGiven() const { return option_->count() > 0; }

Option Option::Needs(Option other) const { return Option(option_->needs(other.option_)); }

Option Option::Excludes(Option other) const { return Option(option_->excludes(other.option_)); }

Subcommand::Subcommand(CLI::App* app, const char* name, const char* summary)
    : app_(app->add_subcommand(name, summary)) {}

template <class Value>
Option Subcommand::Add(const std::string& names, Value* value, const std::string& help) const {
  return Option(app_->add_option(names, *value, help));
}

template Option Subcommand::Add(const std::string&, std::string*, const std::string&) const;
template Option Subcommand::Add(const std::string&, uint32_t*, const std::string&) const;
template Option Subcommand::Add(const std::string&, uint64_t*, const std::string&) const;
template Option Subcommand::Add(const std::string&, double*, const std::string&) const;
template Option Subcommand::Add(const std::string&, std::optional<uint32_t>*, const std::string&) const;
template Option Subcommand::Add(const std::string&, std::optional<uint64_t>*, const std::string&) const;
template Option Subcommand::Add(const std::string&, std::optional<double>*, const std::string&) const;
template Option Subcommand::Add(const std::string&, std::vector<std::string>*, const std::string&) const;
template Option Subcommand::Add(const std::string&, std::vector<uint32_t>*, const std::string&) const;
template Option Subcommand::Add(const std::string&, std::vector<double>*, const std::string&) const;

Option Subcommand::Add(const std::string& names, std::function<void(const std::string& text)> use,
                       const std::string& help) const {
  return Option(app_->add_option_function(names, use, help));
}

Option Subcommand::AddFlag(const std::string& names, bool* value, const char* help) const {
  return Option(app_->add_flag(names, *value, help));
}

void Subcommand::Footer(const std::string& text) const { app_->footer(text); }

void Subcommand::Action(std::function<void()> action) const { app_->callback(std::move(action)); }

std::string WhatIsWrong(const std::string& number, bool may_be_negative) {
  const bool fits = IsNumber(number) && (may_be_negative || std::strtod(number.c_str(), nullptr) >= 0.0);
  const char* const expected = may_be_negative ? "a number" : "a number that is not negative";
  return fits ? "" : fmt::format("found \"{}\", expected {}", number, expected);
}

}  // namespace blnits
