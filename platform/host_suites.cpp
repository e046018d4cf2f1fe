#include "platform/host_suites.h"

#include <algorithm>
#include <array>
#include <utility>


namespace host {
namespace {

std::array<host_function, core_suite.count> core_table{};
std::array<host_function, rsmp_suite.count> rsmp_table{};
std::array<host_function, filt_suite.count> filt_table{};

std::pair<host_function*, std::size_t> table_of(suite_id suite) {
  switch (suite) {
    case suite_id::core: return {core_table.data(), core_table.size()};
    case suite_id::rsmp: return {rsmp_table.data(), rsmp_table.size()};
    default: return {filt_table.data(), filt_table.size()};
  }
}

const char* name_of(suite_id suite) {
  switch (suite) {
    case suite_id::core: return "core";
    case suite_id::rsmp: return "rsmp";
    default: return "filt";
  }
}

}  // namespace

void copy_suite(suite_id suite, const host_function* functions) {
  auto [table, count] = table_of(suite);
  if (functions) {
    std::copy_n(functions, count, table);
  } else {
    std::fill_n(table, count, nullptr);
  }
}

host_function slot(suite_id suite, std::size_t index) {
  auto [table, count] = table_of(suite);
  return index < count ? table[index] : nullptr;
}

host_function exchange_slot(suite_id suite, std::size_t index, host_function function) {
  auto [table, count] = table_of(suite);
  if (index >= count) missing_entry(suite, index);
  return std::exchange(table[index], function);
}

void missing_entry(suite_id suite, std::size_t index) {
  throw std::logic_error(std::string("host::entry(): the host suite '") + name_of(suite) +
                         "' has no entry " + std::to_string(index) +
                         " (is the library initialised?)");
}

}  // namespace host
