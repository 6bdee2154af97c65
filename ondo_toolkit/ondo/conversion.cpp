#include "ondo/conversion.h"

#include <algorithm>
#include <cctype>

namespace ondo {

namespace {

// Anything but digits and '-' becomes a blank, so that stoi gets only what can be a number;
// a field without a single digit or '-' counts as 0 instead of throwing.
int field_value(std::string const& date, std::size_t pos, std::size_t length)
{
    std::string field = date.substr(pos, length);
    bool has_number = false;
    for (char& c : field) {
        if (std::isdigit(static_cast<unsigned char>(c)) || c == '-')
            has_number = true;
        else
            c = ' ';
    }
    return has_number ? std::stoi(field) : 0;
}

int full_year(int two_digits)
{
    return two_digits < 70 ? 2000 + two_digits : 1900 + two_digits;
}

bool separators_at(std::string const& date, char separator, std::size_t first, std::size_t second)
{
    return date[first] == separator && date[second] == separator;
}

} // namespace

time_t timestamp_conversion(std::string const& date)
{
    int year = 0;
    int month = 0;
    int day = 0;

    if (date.size() == 8) {
        if (separators_at(date, '-', 2, 5)) {
            year = field_value(date, 0, 2);
            month = field_value(date, 3, 2);
            day = field_value(date, 6, 2);
        } else if (separators_at(date, '.', 2, 5)) {
            day = field_value(date, 0, 2);
            month = field_value(date, 3, 2);
            year = field_value(date, 6, 2);
        } else if (separators_at(date, '/', 2, 5)) {
            month = field_value(date, 0, 2);
            day = field_value(date, 3, 2);
            year = field_value(date, 6, 2);
        }
        year = full_year(year);
    } else if (date.size() == 10) {
        if (separators_at(date, '-', 4, 7)) {
            year = field_value(date, 0, 4);
            month = field_value(date, 5, 2);
            day = field_value(date, 8, 2);
        } else if (separators_at(date, '.', 2, 5)) {
            day = field_value(date, 0, 2);
            month = field_value(date, 3, 2);
            year = field_value(date, 6, 4);
        } else if (separators_at(date, '/', 2, 5)) {
            month = field_value(date, 0, 2);
            day = field_value(date, 3, 2);
            year = field_value(date, 6, 4);
        }
    }

    // One o'clock rather than midnight, and always standard time: values made here keep that.
    std::tm parts {};
    parts.tm_sec = 0;
    parts.tm_min = 0;
    parts.tm_hour = 1;
    parts.tm_mday = day;
    parts.tm_mon = month - 1;
    parts.tm_year = year - 1900;
    parts.tm_isdst = 0;
    return std::mktime(&parts);
}

std::string timestamp_conversion(long const& time, std::string const& format)
{
    const time_t value = time == 0 ? std::time(nullptr) : static_cast<time_t>(time);
    char buffer[100] = {};
    std::tm parts {};
    localtime_r(&value, &parts);
    std::strftime(buffer, sizeof buffer, format.c_str(), &parts);
    return std::string(buffer);
}

} // namespace ondo
