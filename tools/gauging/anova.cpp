#include "gauging/anova.h"

#include <algorithm>
#include <boost/math/distributions/fisher_f.hpp>
#include <cmath>

namespace blnits {
namespace {

double Square(double number) { return number * number; }

/// The distances of readings from their mean: luminances scatter by far less than they are.
std::vector<double> Centred(std::vector<double> readings) {
  const double mean = MeanOf(readings);
  for (double& reading : readings) {
    reading -= mean;
  }
  return readings;
}

/// The means of a study by part, by operator, and by both.
struct Means {
  std::vector<double> parts;
  std::vector<double> operators;
  std::vector<double> cells;  ///< By part, then operator.
};

Means MeansOf(const CrossedDesign& design, const std::vector<double>& readings) {
  const auto [parts, operators, trials] = design;
  Means means = {std::vector<double>(parts), std::vector<double>(operators), std::vector<double>(parts * operators)};
  for (size_t i = 0; i < readings.size(); ++i) {
    means.cells[i / trials] += readings[i] / static_cast<double>(trials);
  }
  for (size_t cell = 0; cell < means.cells.size(); ++cell) {
    means.parts[cell / operators] += means.cells[cell] / static_cast<double>(operators);
    means.operators[cell % operators] += means.cells[cell] / static_cast<double>(parts);
  }
  return means;
}

/// The probability of an F above `f`.
double Tail(double f, const Variation& above, const Variation& below) {
  if (std::isnan(f) || above.freedom == 0.0) {
    return 1.0;
  }
  if (std::isinf(f)) {
    return 0.0;
  }
  return boost::math::cdf(boost::math::complement(boost::math::fisher_f(above.freedom, below.freedom), f));
}

double Root(double variance) { return std::sqrt(std::max(variance, 0.0)); }

}  // namespace

double MeanOf(const std::vector<double>& numbers) {
  double sum = 0.0;
  for (const double number : numbers) {
    sum += number;
  }
  return sum / static_cast<double>(numbers.size());
}

void Anova::Add(const Anova& other) {
  for (const auto line : {&Anova::part, &Anova::operators, &Anova::interaction, &Anova::repeatability, &Anova::total}) {
    (this->*line).squares += (other.*line).squares;
    (this->*line).freedom += (other.*line).freedom;
  }
}

Anova AnovaOf(const CrossedDesign& design, const std::vector<double>& readings) {
  const std::vector<double> centred = Centred(readings);
  const Means means = MeansOf(design, centred);
  const auto parts = static_cast<double>(design.parts);
  const auto operators = static_cast<double>(design.operators);
  const auto trials = static_cast<double>(design.trials);
  Anova anova;
  anova.part.freedom = parts - 1.0;
  anova.operators.freedom = operators - 1.0;
  anova.interaction.freedom = anova.part.freedom * anova.operators.freedom;
  anova.repeatability.freedom = parts * operators * (trials - 1.0);
  anova.total.freedom = parts * operators * trials - 1.0;
  for (const double mean : means.parts) {
    anova.part.squares += operators * trials * Square(mean);
  }
  for (const double mean : means.operators) {
    anova.operators.squares += parts * trials * Square(mean);
  }
  for (size_t cell = 0; cell < means.cells.size(); ++cell) {
    anova.interaction.squares += trials * Square(means.cells[cell] - means.parts[cell / design.operators] -
                                                 means.operators[cell % design.operators]);
  }
  for (size_t i = 0; i < centred.size(); ++i) {
    anova.repeatability.squares += Square(centred[i] - means.cells[i / design.trials]);
    anova.total.squares += Square(centred[i]);
  }
  return anova;
}

Gauge GaugeOf(const Anova& anova, const CrossedDesign& design, double alpha) {
  Gauge gauge = {};
  gauge.f = Ratio(anova.interaction.MeanSquare(), anova.repeatability.MeanSquare());
  gauge.p = Tail(gauge.f, anova.interaction, anova.repeatability);
  gauge.pooled = gauge.p > alpha;
  Variation error = anova.repeatability;
  if (gauge.pooled) {
    error.squares += anova.interaction.squares;
    error.freedom += anova.interaction.freedom;
  }
  const auto parts = static_cast<double>(design.parts);
  const auto operators = static_cast<double>(design.operators);
  const auto trials = static_cast<double>(design.trials);
  const double repeat = error.MeanSquare();
  const double interaction = gauge.pooled ? repeat : anova.interaction.MeanSquare();
  gauge.equipment = Root(repeat);
  gauge.appraiser = std::hypot(Root((anova.operators.MeanSquare() - interaction) / (parts * trials)),
                               Root((interaction - repeat) / trials));
  gauge.grr = std::hypot(gauge.equipment, gauge.appraiser);
  gauge.part = Root((anova.part.MeanSquare() - interaction) / (operators * trials));
  gauge.total = std::hypot(gauge.grr, gauge.part);
  return gauge;
}

}  // namespace blnits
