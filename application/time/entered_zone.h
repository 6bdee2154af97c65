#pragma once

#include <QString>

#include <optional>

// A time zone as the user types it into the offset panel. The one place that says what counts as
// a zone: every part of the program that takes an entered zone reads it from here, so that no
// zone a clock can't have is ever written into a file.
namespace entered_zone {

// Minutes east of UTC of a typed zone: hours ("2", "+2", "-3.5", "-3,5", also with the minus sign
// "−") or a clock offset ("+02:00", "5:30", "-03:30"), blanks around it allowed. Whole, half and
// quarter hours from -12:00 to +14:00 only; nothing for anything else, the empty text included.
// The same in every locale.
std::optional<int> minutes(const QString& text);

// Whether `minutes` east of UTC is such a zone.
bool valid(int minutes);

// "+05:30" for 330, "-03:30" for -210, "+00:00" for 0.
QString text(int minutes);

} // namespace entered_zone
