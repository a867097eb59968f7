#pragma once

namespace blnits {

/// report.html, with report.css and sort.js in it. CMake makes its source from the three files, so that the tool is one
/// program that finds its template everywhere.
extern const char* const kReportTemplate;

}  // namespace blnits
