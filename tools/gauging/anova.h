#pragma once

#include <cstddef>
#include <limits>
#include <vector>

namespace blnits {

/// How often each part was measured by each operator.
struct CrossedDesign {
  size_t parts;  ///< 2 or more, as the other two.
  size_t operators;
  size_t trials;  ///< Readings of one part by one operator.
};

/// One line of a table of the analysis of variance.
struct Variation {
  double squares = 0.0;  ///< Sum of squares.
  double freedom = 0.0;  ///< Degrees of freedom.

  /// 0 without a degree of freedom.
  double MeanSquare() const { return freedom > 0.0 ? squares / freedom : 0.0; }
};

/// \param numbers at least one. Any thread.
double MeanOf(const std::vector<double>& numbers);

/// The analysis of variance of a crossed study. Studies of the same design add up.
struct Anova {
  Variation part;
  Variation operators;
  Variation interaction;  ///< Between part and operator.
  Variation repeatability;
  Variation total;

  void Add(const Anova& other);
};

/// \param readings by part, then operator, then trial; as many as the design has. Any thread.
Anova AnovaOf(const CrossedDesign& design, const std::vector<double>& readings);

/// a / b, of numbers that are not negative: infinite if only b is 0, NaN if both are.
inline double Ratio(double a, double b) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  return b != 0.0 ? a / b : a * kInfinity;
}

/// What a gauge study says about a measurement, by the ANOVA method. Standard deviations are in the unit of the readings.
struct Gauge {
  double f;                ///< Mean squares of interaction / repeatability; NaN if both are 0.
  double p;                ///< Probability of an F as large without interaction.
  bool pooled;             ///< The interaction is not significant, so it counts as repeatability.
  double equipment = 0.0;  ///< EV: repeatability.
  double appraiser = 0.0;  ///< AV: reproducibility, of operators and interaction.
  double grr = 0.0;        ///< Repeatability and reproducibility.
  double part = 0.0;       ///< PV: between the parts.
  double total = 0.0;      ///< TV.

  /// A standard deviation in per cent of the total one; NaN if that is 0.
  double PercentOfTotal(double deviation) const { return Ratio(100.0 * deviation, total); }

  /// The same for variances.
  double Contribution(double deviation) const { return 100.0 * Ratio(deviation, total) * Ratio(deviation, total); }

  /// Number of distinct categories before it is rounded down: 1.41 PV / GRR; infinite or NaN if GRR is 0.
  double Categories() const { return Ratio(1.41 * part, grr); }
};

/// \param alpha the interaction is significant if its p is at most this. Any thread.
Gauge GaugeOf(const Anova& anova, const CrossedDesign& design, double alpha);

}  // namespace blnits
