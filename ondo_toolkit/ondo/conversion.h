#pragma once

#include <ctime>
#include <string>

namespace ondo {

// A date text to a time value at 01:00 local standard time (the daylight saving flag is 0).
// Forms: yy-mm-dd, dd.mm.yy, mm/dd/yy (years below 70 are 20yy, others 19yy), yyyy-mm-dd,
// dd.mm.yyyy, mm/dd/yyyy. Any other text gives day 0 of month 0 of the year 2000 (eight
// characters) or 0, normalised by mktime. A field such as "--" throws std::invalid_argument.
time_t timestamp_conversion(std::string const& date);

// A time value to text through localtime and strftime; 0 stands for the present time. The text
// is what strftime leaves in a buffer of 100 bytes, up to its first zero byte.
std::string timestamp_conversion(long const& time, std::string const& format);

} // namespace ondo
