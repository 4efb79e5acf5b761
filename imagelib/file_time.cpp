#include "imagelib/file_time.h"

#include <chrono>
#include <cstdlib>
#include <optional>

namespace imx {
namespace {

/// Seconds since 1970 in UTC; none beyond the year 9999. On 32-bit Windows a time_t ends in 2038.
std::optional<std::tm> UtcTime(long long seconds) {
  using std::chrono::days;
  constexpr long long kMost = 253402300799;
  if (seconds < 0 || seconds > kMost) return std::nullopt;
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  std::tm utc{};
  utc.tm_year = static_cast<int>(date.year()) - 1900;
  utc.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
  utc.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
  utc.tm_hour = static_cast<int>(clock.hours().count());
  utc.tm_min = static_cast<int>(clock.minutes().count());
  utc.tm_sec = static_cast<int>(clock.seconds().count());
  return utc;
}

}  // namespace

std::tm FileTime() {
  if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH")) {
    char* end = nullptr;
    const long long seconds = std::strtoll(epoch, &end, 10);
    const std::optional<std::tm> utc = UtcTime(seconds);
    if (end != epoch && *end == 0 && utc) return *utc;
  }
  const std::time_t now = std::time(nullptr);
  const std::tm* local = std::localtime(&now);
  return local ? *local : std::tm{};
}

}  // namespace imx
