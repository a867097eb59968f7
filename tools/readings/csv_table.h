#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "support/csv.h"

namespace blnits {

/// A column that a CSV file must or may have.
struct Column {
  const char* what;                ///< For messages: "the level".
  std::vector<std::string> names;  ///< In a header: lower case, one blank between words, without a unit.
  bool needed = true;
  const char* option = nullptr;  ///< The option that chooses the column; null: none does.
  std::string chosen = {};       ///< The name or the number (from 1) that the option gives; empty: by `names`.
};

/// A CSV file whose header names the columns, in any case and order, with further columns between them. Without a header
/// it has exactly the needed columns, in their order, or they are chosen by number.
class CsvTable {
 public:
  /// Takes a fault of a row: its line, and what was found and expected.
  using Refuse = std::function<void(size_t line, const std::string& text)>;

  /// \param lines must outlive the table.
  CsvTable(LineReader* lines, std::vector<Column> columns, Refuse refuse);

  /// Goes to the next row; refuses rows with too few or too many fields. False at the end of the file.
  /// \throws Failure if a column is missing or ambiguous, or if there is no row at all.
  bool Next();

  size_t Line() const { return rows_.Line(); }

  /// Whether the file has the column of that index.
  bool Has(size_t column) const { return places_[column] != kNowhere; }

  /// The column's field in this row.
  const std::string& Field(size_t column) const { return rows_.Fields()[places_[column]]; }

  /// The column's name and, in brackets behind it, its unit, in the form of Column::names; both empty without a header.
  std::string NameOf(size_t column) const;
  std::string UnitOf(size_t column) const;

  /// The line of the header; without one, of the first row.
  size_t FirstLine() const { return first_line_; }

  bool HasDecimalComma() const { return rows_.HasDecimalComma(); }

 private:
  static constexpr size_t kNowhere = static_cast<size_t>(-1);

  bool Located() const { return !places_.empty(); }
  void Locate();
  bool HasName(const std::vector<std::string>& fields) const;
  void LocateByHeader();
  void LocateByOrder();
  size_t PlaceOfChosen(const Column& column) const;
  size_t PlaceByName(const Column& column) const;
  bool IsTaken(size_t place) const;
  [[noreturn]] void Fail(const std::string& text) const;

  LineReader* lines_;
  CsvReader rows_;
  std::vector<Column> columns_;
  Refuse refuse_;
  std::vector<std::string> header_;  ///< The fields of the header; empty without one.
  std::vector<size_t> places_;       ///< The field of each column; empty before the first row.
  size_t needed_ = 0;                ///< How many columns are needed.
  size_t fields_ = 0;                ///< How many fields each row has.
  size_t first_line_ = 0;
  std::string expected_;  ///< What a row has, for messages.
  bool empty_ = true;
};

}  // namespace blnits
