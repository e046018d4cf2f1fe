// Reading the lists of an alignment report back, for tests that compare it
// with what else they know of the run.
#pragma once

#include <string>
#include <vector>

namespace test_support {

// The entries of the report's list `key`, as texts; empty for an empty list.
inline std::vector<std::string> list_of(const std::string& report, const std::string& key) {
  const std::size_t start = report.find("'" + key + "':[");
  if (start == std::string::npos) return {};
  const std::size_t open = report.find('[', start) + 1;
  const std::size_t close = report.find(']', open);
  std::vector<std::string> entries;
  const std::string body = report.substr(open, close - open);
  std::size_t from = 0;
  while (!body.empty()) {
    const std::size_t comma = body.find(',', from);
    entries.push_back(body.substr(from, comma == std::string::npos ? std::string::npos : comma - from));
    if (comma == std::string::npos) break;
    from = comma + 1;
  }
  return entries;
}

inline std::vector<double> numbers_of(const std::string& report, const std::string& key) {
  std::vector<double> values;
  for (const std::string& entry : list_of(report, key)) values.push_back(std::stod(entry));
  return values;
}

}  // namespace test_support
