// Writes sample reports as pages: report_samples FOLDER.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <utility>

#include "tests/tools/regplan/sample_reports.hpp"
#include "tools/regplan/report/report_file.hpp"

int main(int count, char* values[]) {
  namespace samples = regplan::samples;
  if (count != 2) return EXIT_FAILURE;
  try {
    for (auto const& [name, report] :
         {std::pair("failing", samples::failingRun()), std::pair("hostile", samples::hostileRun()),
          std::pair("restore", samples::restore()), std::pair("preview", samples::preview())}) {
      regplan::ReportFile(std::string(values[1]) + "/" + name + ".html").write(report);
    }
  } catch (std::exception const& failure) {
    std::cerr << failure.what() << "\n";
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
