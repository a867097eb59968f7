#include "lots/exact_sum.h"

#include <cmath>
#include <utility>

namespace blnits {

ExactSum::ExactSum(const std::vector<double>& terms) {
  for (const double term : terms) {
    Add(term);
  }
}

// Shewchuk's expansion: each step splits a sum of two doubles into its rounded value and the exact rest.
void ExactSum::Add(double value) {
  size_t kept = 0;
  for (double term : terms_) {
    if (std::abs(value) < std::abs(term)) {
      std::swap(value, term);
    }
    const double sum = value + term;
    const double rest = term - (sum - value);
    if (rest != 0.0) {
      terms_[kept++] = rest;
    }
    value = sum;
  }
  terms_.resize(kept);
  if (value != 0.0) {
    terms_.push_back(value);
  }
}

void ExactSum::Add(const ExactSum& other) {
  for (const double term : other.terms_) {
    Add(term);
  }
}

double ExactSum::Value() const {
  size_t left = terms_.size();
  double value = 0.0;
  double rest = 0.0;
  while (left > 0 && rest == 0.0) {
    const double before = value;
    const double term = terms_[--left];
    value = before + term;
    rest = term - (value - before);
  }
  // A rest of exactly half a unit was rounded to even. The next term decides whether that was the nearer side.
  const bool beyond_half = left > 0 && std::signbit(terms_[left - 1]) == std::signbit(rest);
  const double other = value + 2.0 * rest;
  return beyond_half && other - value == 2.0 * rest ? other : value;
}

double ExactSum::Mean(uint64_t count) const {
  const auto summands = static_cast<double>(count);
  const double mean = Value() / summands;
  const double product = mean * summands;
  ExactSum rest = *this;
  rest.Add(-product);
  rest.Add(-std::fma(mean, summands, -product));  // What the product was rounded by.
  return mean + rest.Value() / summands;
}

std::vector<double> ExactSum::Terms() const {
  std::vector<double> terms;
  ExactSum rest = *this;
  while (!rest.terms_.empty()) {
    terms.push_back(rest.Value());
    rest.Add(-terms.back());
  }
  return terms;
}

}  // namespace blnits
